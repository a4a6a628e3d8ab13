#include "reporting/common/frmReportDone.h"

#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace qm {

namespace {

QLabel *plainLabel(const QString &text, QWidget *parent)
{
    auto label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

RunResult fileResult(const QString &file, qint64 rows, quint64 bytes, const QString &note)
{
    RunResult result;
    result.outputFile = file;
    result.rows = rows;
    result.bytes = bytes;
    result.note = note;
    return result;
}

} // namespace

frmReportDone::frmReportDone(const QString &report, const QString &file, qint64 rows, quint64 bytes, const QString &note, QWidget *parent)
    : frmReportDone(report, fileResult(file, rows, bytes, note), parent)
{
}

frmReportDone::frmReportDone(const QString &report, const RunResult &result, QWidget *parent) : QWidget(parent, Qt::Dialog)
{
    setObjectName(QStringLiteral("frmReportDone"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Report finished"));
    setWindowIcon(uiIcon("done"));
    setMinimumWidth(460);

    auto name = plainLabel(visibleText(report), this);
    QFont bold = name->font();
    bold.setBold(true);
    name->setFont(bold);
    const QString file = result.outputFile;
    const bool isFile = !file.isEmpty();
    auto path = plainLabel(isFile ? QDir::toNativeSeparators(file) : visibleText(tr("The report was %1.").arg(result.delivered)), this);
    path->setObjectName(QStringLiteral("reportPath"));
    auto size = plainLabel(
        tr("%1 rows, %2")
            .arg(QLocale().toString(static_cast<qint64>(result.rows)), QLocale().formattedDataSize(static_cast<qint64>(result.bytes))),
        this);

    auto buttons = new QDialogButtonBox(this);
    auto open = buttons->addButton(tr("&Open"), QDialogButtonBox::AcceptRole);
    auto folder = buttons->addButton(tr("&Show in folder"), QDialogButtonBox::ActionRole);
    auto closeButton = buttons->addButton(QDialogButtonBox::Close);
    open->setIcon(uiIcon("report"));
    folder->setIcon(uiIcon("open"));
    closeButton->setIcon(uiIcon("cancel"));
    open->setObjectName(QStringLiteral("cmdOpen"));
    folder->setObjectName(QStringLiteral("cmdShowInFolder"));
    closeButton->setObjectName(QStringLiteral("cmdClose"));
    open->setVisible(isFile);
    folder->setVisible(isFile);
    connect(open, &QPushButton::clicked, this, [this, file] {
        QDesktopServices::openUrl(QUrl::fromLocalFile(file));
        close();
    });
    connect(folder, &QPushButton::clicked, this,
            [file] { QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(file).absolutePath())); });
    connect(closeButton, &QPushButton::clicked, this, &QWidget::close);

    auto layout = new QVBoxLayout(this);
    layout->setSpacing(8);
    layout->addWidget(name);
    layout->addWidget(path);
    layout->addWidget(size);
    if (!result.note.isEmpty())
        layout->addWidget(plainLabel(visibleText(result.note, LineBreaks::Kept), this));
    layout->addWidget(buttons);
    (isFile ? open : closeButton)->setFocus();
}

void frmReportDone::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // The operator waited for it; on a desktop that leaves the focus elsewhere, it must be asked for.
    QMetaObject::invokeMethod(
        this,
        [this] {
            raise();
            activateWindow();
        },
        Qt::QueuedConnection);
}

void frmReportDone::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace qm
