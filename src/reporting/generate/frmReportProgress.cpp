#include "reporting/generate/frmReportProgress.h"

#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"
#include "reporting/generate/RunProgress.h"

#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace qm {

frmReportProgress::frmReportProgress(const QString &report, const RunProgress &run, QWidget *parent)
    : QDialog(parent), m_run(run), m_status(new QLabel(this)), m_cancel(nullptr)
{
    setObjectName(QStringLiteral("frmReportProgress"));
    setWindowTitle(tr("Generating report"));
    setWindowIcon(uiIcon("report"));
    setWindowModality(Qt::ApplicationModal);
    setMinimumWidth(420);

    auto name = new QLabel(this);
    name->setTextFormat(Qt::PlainText);
    name->setObjectName(QStringLiteral("reportName"));
    QFont bold = name->font();
    bold.setBold(true);
    name->setFont(bold);
    name->setText(QFontMetrics(bold).elidedText(visibleText(report), Qt::ElideMiddle, 520));
    auto bar = new QProgressBar(this);
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    m_status->setTextFormat(Qt::PlainText);
    m_status->setObjectName(QStringLiteral("progressStatus"));
    auto buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    m_cancel = buttons->button(QDialogButtonBox::Cancel);
    m_cancel->setIcon(uiIcon("cancel"));
    m_cancel->setObjectName(QStringLiteral("cmdCancel"));
    connect(buttons, &QDialogButtonBox::rejected, this, &frmReportProgress::reject);

    auto layout = new QVBoxLayout(this);
    layout->setSpacing(10);
    layout->addWidget(name);
    layout->addWidget(bar);
    layout->addWidget(m_status);
    layout->addWidget(buttons);

    m_appear.setSingleShot(true);
    connect(&m_appear, &QTimer::timeout, this, [this] {
        refresh();
        show();
    });
    connect(&m_tick, &QTimer::timeout, this, &frmReportProgress::refresh);
    m_appear.start(kAppearsAfterMs);
    m_tick.start(200);
}

void frmReportProgress::reject()
{
    m_cancel->setEnabled(false);
    m_status->setText(tr("Stopping…"));
    m_tick.stop();
    Q_EMIT cancelRequested();
}

void frmReportProgress::refresh()
{
    m_status->setText(m_run.text());
}

} // namespace qm
