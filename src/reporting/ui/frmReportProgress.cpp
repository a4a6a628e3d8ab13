#include "reporting/ui/frmReportProgress.h"

#include "reporting/ui/Icons.h"
#include "reporting/ui/VisibleText.h"

#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace qm {

frmReportProgress::frmReportProgress(const QString &report, const std::atomic<std::int64_t> &rows, QWidget *parent)
    : QDialog(parent), m_rows(rows), m_status(new QLabel(this)), m_cancel(nullptr)
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

    m_elapsed.start();
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
    const qint64 seconds = m_elapsed.elapsed() / 1000;
    const QString time = QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
    const qint64 rows = m_rows.load(std::memory_order_relaxed);
    const RunStage stage = m_stage ? m_stage->load(std::memory_order_relaxed) : RunStage::Rows;
    if (stage == RunStage::Sending)
        m_status->setText(tr("Sending the e-mail · %1").arg(time));
    else if (stage == RunStage::Printing)
        m_status->setText(tr("Printing · %1").arg(time));
    else
        m_status->setText(rows == 0 ? tr("Waiting for the first row · %1").arg(time)
                                    : tr("%1 rows so far · %2").arg(QLocale().toString(rows), time));
}

} // namespace qm
