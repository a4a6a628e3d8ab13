#include "reporting/ui/frmReportDone.h"

#include "reporting/ui/Icons.h"
#include "reporting/ui/VisibleText.h"

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

} // namespace

frmReportDone::frmReportDone(const QString &report, const QString &file, qint64 rows, quint64 bytes, const QString &note, QWidget *parent)
    : QWidget(parent, Qt::Dialog)
{
    setObjectName(QStringLiteral("frmReportDone"));
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(tr("Report finished"));
    setWindowIcon(uiIcon("done"));
    setMinimumWidth(460);

    auto name = plainLabel(visibleText(report), this);
    QFont bold = name->font();
    bold.setBold(true);
    name->setFont(bold);
    auto path = plainLabel(QDir::toNativeSeparators(file), this);
    path->setObjectName(QStringLiteral("reportPath"));
    auto size = plainLabel(tr("%1 rows, %2").arg(QLocale().toString(rows), QLocale().formattedDataSize(static_cast<qint64>(bytes))), this);

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
    if (!note.isEmpty())
        layout->addWidget(plainLabel(visibleText(note, LineBreaks::Kept), this));
    layout->addWidget(buttons);
    open->setFocus();
}

void frmReportDone::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace qm
