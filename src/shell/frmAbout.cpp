#include "shell/frmAbout.h"

#include "core/RuntimeError.h"
#include "platform/Registry.h"
#include "shell/Icons.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFontDatabase>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr int kIconSize = 64;
constexpr int kLicenceColumns = 80, kLicenceRows = 24;

QString frameworkValue(const QString &installPath, const char *key)
{
    return shortProfileString(installPath + QStringLiteral("Packages.ini"), QStringLiteral("Framework"), QString::fromLatin1(key));
}

QLabel *plainLabel(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

QString thirdPartyText()
{
    QFile file(icons::resource(QStringLiteral("third-party.txt")));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

frmAbout::frmAbout(const QString &installPath, QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("About %1").arg(QString::fromLatin1(kApplicationTitle)));

    auto *picture = new QLabel(this);
    picture->setPixmap(icons::applicationIcon().pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
    auto *title = plainLabel(QString::fromLatin1(kApplicationTitle), this);
    title->setObjectName(QStringLiteral("lblTitle"));
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.5);
    font.setBold(true);
    title->setFont(font);

    auto *facts = new QFormLayout;
    facts->setVerticalSpacing(3);
    for (const auto &[caption, key] :
         {std::pair{tr("Version:"), "Version"}, {tr("Service pack:"), "ServicePack"}, {tr("Build:"), "Build"}}) {
        QLabel *value = plainLabel(frameworkValue(installPath, key), this);
        value->setObjectName(QStringLiteral("lbl") + QLatin1String(key));
        facts->addRow(caption, value);
    }

    auto *licences = new QPlainTextEdit(thirdPartyText(), this);
    licences->setObjectName(QStringLiteral("txtLicences"));
    licences->setAccessibleName(tr("Third-party licences"));
    licences->setReadOnly(true);
    licences->setTabChangesFocus(true);
    licences->setLineWrapMode(QPlainTextEdit::NoWrap);
    licences->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    const QFontMetrics metrics = licences->fontMetrics();
    const int around = 2 * (licences->frameWidth() + static_cast<int>(licences->document()->documentMargin()));
    licences->setMinimumSize(metrics.horizontalAdvance(QString(kLicenceColumns, u'0')) + around +
                                 licences->style()->pixelMetric(QStyle::PM_ScrollBarExtent),
                             metrics.height() * kLicenceRows + around);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::close);
    buttons->button(QDialogButtonBox::Ok)->setFocus();

    auto *words = new QVBoxLayout;
    words->addWidget(title);
    words->addLayout(facts);
    words->addStretch();
    auto *head = new QHBoxLayout;
    head->setSpacing(18);
    head->addWidget(picture, 0, Qt::AlignTop);
    head->addLayout(words, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 18, 18, 14);
    layout->setSpacing(14);
    layout->addLayout(head);
    layout->addWidget(licences, 1);
    layout->addWidget(buttons);
}

} // namespace qm
