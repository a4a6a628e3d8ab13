#include "email/frmEmailSettings.h"

#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "core/HelpViewer.h"
#include "core/Prompts.h"
#include "email/NumericText.h"
#include "framework/Readers.h"
#include "platform/Files.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr char kModule[] = "frmEmailSettings.frm";
constexpr char kUnexpected[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unexpected error occured on the user interface.");
constexpr Procedure kOk{"cmdOK_Click", kUnexpected, kModule};
constexpr Procedure kAllValid{"AllValid", kUnexpected, kModule};
constexpr Procedure kHelp{"cmdHelp_Click", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while displaying the help file."), kModule};

void zeroWhenEmpty(QLineEdit &field)
{
    if (field.text().isEmpty())
        field.setText(QStringLiteral("0"));
}

} // namespace

frmEmailSettings::frmEmailSettings(Globals &globals, MakeReader makeReader, ErrorReporter &errors, Prompts &prompts, HelpViewer &help,
                                   QWidget *parent)
    : QDialog(parent), m_globals(globals), m_makeReader(std::move(makeReader)), m_errors(errors), m_prompts(prompts), m_help(help)
{
    setObjectName(QStringLiteral("frmEmailSettings"));
    setWindowTitle(tr("Email Settings"));
    buildControls();
    trapSilently([&] { Form_Load(); });
}

void frmEmailSettings::buildControls()
{
    const auto named = [](auto *widget, const char *name) {
        widget->setObjectName(QLatin1StringView(name));
        return widget;
    };
    m_txtSmtpServer = named(new QLineEdit, "txtSmtpServer");
    m_txtSmtpServer->setMinimumWidth(300);
    m_txtSmtpPort = named(new QLineEdit, "txtSmtpPort");
    m_txtTimeout = named(new QLineEdit, "txtTimeout");
    m_txtSmtpUser = named(new QLineEdit, "txtSmtpUser");
    m_txtSmtpPassword = named(new QLineEdit, "txtSmtpPassword");
    m_txtSmtpPassword->setEchoMode(QLineEdit::Password);
    m_cmdOK = named(new QPushButton(tr("OK")), "cmdOK");
    m_cmdOK->setDefault(true);
    m_cmdCancel = named(new QPushButton(tr("Cancel")), "cmdCancel");
    m_cmdHelp = named(new QPushButton(tr("&Help")), "cmdHelp");

    auto *panel = named(new QWidget, "SSActiveTabPanel1");
    auto *form = new QFormLayout(panel);
    const auto addRow = [&](const char *labelName, const QString &caption, QLineEdit *field) {
        auto *label = named(new QLabel(caption), labelName);
        label->setBuddy(field);
        form->addRow(label, field);
        connect(field, &QLineEdit::textChanged, this, [this] { m_mblnDirty = true; });
    };
    addRow("lblServerName", tr("&Server:"), m_txtSmtpServer);
    addRow("lblPort", tr("P&ort:"), m_txtSmtpPort);
    addRow("Label1", tr("Tim&eout (ms) :"), m_txtTimeout);
    addRow("Label2", tr("User N&ame:"), m_txtSmtpUser);
    addRow("Label3", tr("Pass&word:"), m_txtSmtpPassword);
    auto *tabs = named(new QTabWidget, "SSActiveTabs1");
    tabs->addTab(panel, tr("Email"));

    auto *buttons = new QDialogButtonBox;
    buttons->addButton(m_cmdOK, QDialogButtonBox::ActionRole);
    buttons->addButton(m_cmdCancel, QDialogButtonBox::ActionRole);
    buttons->addButton(m_cmdHelp, QDialogButtonBox::HelpRole);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);
    connect(m_cmdOK, &QPushButton::clicked, this, &frmEmailSettings::cmdOK_Click);
    connect(m_cmdCancel, &QPushButton::clicked, this, &frmEmailSettings::cmdCancel_Click);
    connect(m_cmdHelp, &QPushButton::clicked, this, &frmEmailSettings::cmdHelp_Click);
}

EmailSettings &frmEmailSettings::settings()
{
    if (!m_globals.gudoEmailSettings)
        m_globals.gudoEmailSettings = std::make_shared<EmailSettings>();
    return *m_globals.gudoEmailSettings;
}

void frmEmailSettings::Form_Load()
{
    const EmailSettings &record = settings();
    m_txtSmtpServer->setText(record.SmtpServer);
    m_txtSmtpPort->setText(QString::number(record.SmtpPort));
    m_txtSmtpPassword->setText(record.SmtpPassword);
    m_txtSmtpUser->setText(record.SmtpUser);
    m_txtTimeout->setText(QString::number(record.Timeout));
    m_mblnDirty = false;
}

bool frmEmailSettings::AllValid()
{
    return trap(m_errors, kAllValid,
                [&] { return numericValue(m_txtSmtpPort->text()).has_value() && numericValue(m_txtTimeout->text()).has_value(); });
}

void frmEmailSettings::cmdOK_Click()
{
    trap(m_errors, kOk, [&] {
        if (!m_mblnDirty) {
            done(Accepted);
            return;
        }
        if (!AllValid()) {
            m_prompts.messageBox(tr("Please only make valid entries in the fields."), box::ok | box::exclamation,
                                 QString::fromLatin1(kApplicationTitle));
            return;
        }
        storeAndWrite();
        done(Accepted);
    });
}

void frmEmailSettings::storeAndWrite()
{
    EmailSettings &record = settings();
    record.SmtpServer = m_txtSmtpServer->text();
    zeroWhenEmpty(*m_txtSmtpPort);
    record.SmtpPort = roundedInteger(m_txtSmtpPort->text());
    record.SmtpPassword = m_txtSmtpPassword->text();
    record.SmtpUser = m_txtSmtpUser->text();
    zeroWhenEmpty(*m_txtTimeout);
    record.Timeout = roundedInteger(m_txtTimeout->text());
    if (m_globals.gstrInstallPath.isEmpty())
        qm::raise(err::pathNotFound, tr("the installation folder is not known, so \"Email.cfg\" cannot be saved"));
    m_makeReader()->WriteEmailSettings(record, m_globals.gstrInstallPath + QStringLiteral("Config") + kSep + QStringLiteral("Email.cfg"));
}

void frmEmailSettings::cmdCancel_Click()
{
    trapSilently([&] {
        if (m_mblnDirty) {
            const int answer = m_prompts.messageBox(tr("You have made changes to the email settings.Do you wish to save your settings?"),
                                                    box::yesNo, QString::fromLatin1(kApplicationTitle));
            if (answer == box::idYes)
                cmdOK_Click();
        }
        done(Rejected);
    });
}

void frmEmailSettings::cmdHelp_Click()
{
    trap(m_errors, kHelp, [&] { m_help.showContext(helpcontext::email); });
}

} // namespace qm
