#include "datasources/frmDataSource.h"

#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "core/HelpViewer.h"
#include "core/Prompts.h"
#include "datasources/ConnectionTester.h"
#include "datasources/DataSourceControls.h"
#include "datasources/DataSourceKeys.h"
#include "datasources/frmAddNewDataSource.h"
#include "framework/Readers.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>

namespace qm {

namespace {

constexpr char kModule[] = "frmDataSource.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");
constexpr Procedure kLoad{"Form_Load", kUnanticipated, kModule};
constexpr Procedure kChoose{"cboDataSource_Click", kUnanticipated, kModule};
constexpr Procedure kAddNew{"cmdAddNew_Click", kUnanticipated, kModule};
constexpr Procedure kSave{"cmdSave_Click", kUnanticipated, kModule};
constexpr Procedure kTest{"cmdTest_Click", kUnanticipated, kModule};
constexpr Procedure kHelp{"cmdHelp_Click", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while displaying the help file."),
                          "frmAddDataSource.frm"};

} // namespace

frmDataSource::frmDataSource(const Services &services, QWidget *parent)
    : QDialog(parent), m_services(services), m_controls(std::make_unique<Controls>(*this))
{
    setObjectName(QStringLiteral("frmDataSource"));
    setWindowTitle(tr("Database Connection Information"));
    connectControls();
}

frmDataSource::~frmDataSource() = default;

void frmDataSource::connectControls()
{
    connect(m_controls->cboDataSource, &QComboBox::activated, this, &frmDataSource::cboDataSource_Click);
    for (const int index : {0, 1})
        connect(m_controls->optConnectionType[index], &QRadioButton::clicked, this, [this, index] { optConnectionType_Click(index); });
    for (QLineEdit *field : {m_controls->txtDatabase, m_controls->txtOraPassword, m_controls->txtOraServer, m_controls->txtOraUser,
                             m_controls->txtPassword, m_controls->txtServerName, m_controls->txtUserName})
        connect(field, &QLineEdit::textChanged, this, [this] { m_mblnDirty = true; });
    connect(m_controls->cmdAddNew, &QPushButton::clicked, this, &frmDataSource::cmdAddNew_Click);
    connect(m_controls->cmdSave, &QPushButton::clicked, this, &frmDataSource::cmdSave_Click);
    connect(m_controls->cmdTest, &QPushButton::clicked, this, &frmDataSource::cmdTest_Click);
    connect(m_controls->cmdOK, &QPushButton::clicked, this, &QDialog::close);
    connect(m_controls->cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    connect(m_controls->cmdHelp, &QPushButton::clicked, this, &frmDataSource::cmdHelp_Click);
}

void frmDataSource::showModal()
{
    trap(m_services.errors, kLoad, [&] { Form_Load(); });
    if (m_mblnCloseOnActivate) {
        m_mblnCloseOnActivate = false;
        return;
    }
    exec();
}

void frmDataSource::Form_Load()
{
    const Globals &globals = m_services.globals;
    optConnectionType_Click(0);
    {
        const QSignalBlocker filling(m_controls->cboDataSource);
        for (const QString &key : globals.gdicDataSources.Keys())
            m_controls->cboDataSource->addItem(globals.gdicDataSources.at(key)->DatasourceName);
        m_controls->cboDataSource->setCurrentIndex(-1);
    }
    if (globals.gdicDataSources.Count() > 0) {
        m_controls->cboDataSource->setCurrentIndex(m_controls->cboDataSource->currentIndex() + 1);
        cboDataSource_Click();
    } else {
        cmdAddNew_Click();
        m_mblnCloseOnActivate = !m_services.addDialog.IsOK();
    }
    m_mblnDirty = false;
}

void frmDataSource::cboDataSource_Click()
{
    trap(m_services.errors, kChoose, [&] {
        const auto &sources = m_services.globals.gdicDataSources;
        const QString key = m_controls->cboDataSource->currentText();
        if (!sources.Exists(key)) {
            ClearDataSourceFields();
            m_mblnDirty = false;
            return;
        }
        const std::shared_ptr<DatabaseInfo> info = sources.at(key)->Info;
        if (const auto sql = std::dynamic_pointer_cast<QMMDSMSSql>(info)) {
            EnableOracleControls(false);
            EnableSQLControls(true);
            m_controls->txtServerName->setText(sql->ServerName);
            m_controls->txtDatabase->setText(sql->DatabaseName);
            const bool specificUser = sql->ConnectionType != 0;
            selectConnectionType(specificUser ? 1 : 0);
            m_controls->txtUserName->setText(specificUser ? sql->UserName : QString());
            m_controls->txtPassword->setText(specificUser ? sql->Password : QString());
        } else if (const auto oracle = std::dynamic_pointer_cast<QMMDSOracle>(info)) {
            EnableSQLControls(false);
            EnableOracleControls(true);
            m_controls->txtOraServer->setText(oracle->ServerName);
            m_controls->txtOraUser->setText(oracle->UserName);
            m_controls->txtOraPassword->setText(oracle->Password);
        }
        m_mblnDirty = false;
    });
}

void frmDataSource::selectConnectionType(int index)
{
    m_controls->optConnectionType[index]->setChecked(true);
    optConnectionType_Click(index);
}

void frmDataSource::optConnectionType_Click(int index)
{
    m_controls->frameSpecificUser->setEnabled(index != 0);
    m_controls->lblUserName->setEnabled(index != 0);
    m_controls->lblPassword->setEnabled(index != 0);
}

void frmDataSource::EnableSQLControls(bool enabled)
{
    for (QWidget *control :
         std::initializer_list<QWidget *>{m_controls->fraSQL, m_controls->lblSQL, m_controls->txtSQL, m_controls->lblServer,
                                          m_controls->txtServerName, m_controls->lblDatabaseName, m_controls->lblUserName,
                                          m_controls->txtDatabase, m_controls->lblPassword, m_controls->txtUserName})
        control->setEnabled(enabled);
}

void frmDataSource::EnableOracleControls(bool enabled)
{
    // The user field is left as it is.
    for (QWidget *control : std::initializer_list<QWidget *>{m_controls->fraOracle, m_controls->lblOra, m_controls->txtOra,
                                                             m_controls->lblOraServer, m_controls->txtOraServer, m_controls->lblOraUser,
                                                             m_controls->lblOraPassword, m_controls->txtOraPassword})
        control->setEnabled(enabled);
}

void frmDataSource::ClearDataSourceFields()
{
    const QString type = m_services.addDialog.DatasourceType();
    if (type == QLatin1StringView(kSqlServerLabel))
        for (QLineEdit *field : {m_controls->txtServerName, m_controls->txtDatabase, m_controls->txtUserName, m_controls->txtPassword})
            field->clear();
    else if (type == QLatin1StringView(kOracleLabel))
        for (QLineEdit *field : {m_controls->txtOraServer, m_controls->txtOraPassword, m_controls->txtOraUser})
            field->clear();
}

bool frmDataSource::IsSQLDataSourceValid() const
{
    return !m_controls->txtServerName->text().isEmpty() && !m_controls->txtDatabase->text().isEmpty() &&
           (!m_controls->optConnectionType[1]->isChecked() || !m_controls->txtUserName->text().isEmpty());
}

bool frmDataSource::IsOracleDataSourceValid() const
{
    return !m_controls->txtOraServer->text().isEmpty() && !m_controls->txtOraUser->text().isEmpty() &&
           !m_controls->txtOraPassword->text().isEmpty();
}

void frmDataSource::cmdAddNew_Click()
{
    trap(m_services.errors, kAddNew, [&] {
        frmAddNewDataSource &dialog = m_services.addDialog;
        dialog.showModal();
        if (!dialog.IsOK())
            return;
        const bool isSql = dialog.DatasourceType() == QLatin1StringView(kSqlServerLabel);
        const bool isOracle = dialog.DatasourceType() == QLatin1StringView(kOracleLabel);
        if (isSql || isOracle) {
            const QSignalBlocker inserting(m_controls->cboDataSource);
            m_controls->cboDataSource->insertItem(0, dialog.DatasourceName());
            if (isSql) {
                EnableOracleControls(false);
                EnableSQLControls(true);
            } else {
                EnableSQLControls(false);
                EnableOracleControls(true);
            }
            ClearDataSourceFields();
        }
        m_controls->cboDataSource->setCurrentIndex(0);
        cboDataSource_Click();
        m_mblnDirty = true;
    });
}

std::shared_ptr<DatabaseInfo> frmDataSource::enteredSqlServer() const
{
    auto info = std::make_shared<QMMDSMSSql>();
    info->ServerName = m_controls->txtServerName->text();
    info->DatabaseName = m_controls->txtDatabase->text();
    if (!m_controls->optConnectionType[0]->isChecked()) {
        info->ConnectionType = 1;
        info->UserName = m_controls->txtUserName->text();
        info->Password = m_controls->txtPassword->text();
    }
    return info;
}

std::shared_ptr<DatabaseInfo> frmDataSource::enteredOracle() const
{
    auto info = std::make_shared<QMMDSOracle>();
    info->ServerName = m_controls->txtOraServer->text();
    info->UserName = m_controls->txtOraUser->text();
    info->Password = m_controls->txtOraPassword->text();
    return info;
}

void frmDataSource::cmdSave_Click()
{
    trap(m_services.errors, kSave, [&] {
        const QString key = m_controls->cboDataSource->currentText();
        const bool sql = isSqlServerKey(key), oracle = !sql && isOracleKey(key);
        if ((sql && !IsSQLDataSourceValid()) || (oracle && !IsOracleDataSourceValid())) {
            tell(tr("Please fill in all the fields."), box::exclamation);
            return;
        }
        if (sql)
            storeRecord(key, enteredSqlServer(), kSqlServerPrefix);
        else if (oracle)
            storeRecord(key, enteredOracle(), kOraclePrefix);
        tell(tr("Datasource information was saved."), box::information);
        m_mblnDirty = false;
    });
}

void frmDataSource::storeRecord(const QString &key, std::shared_ptr<DatabaseInfo> info, const char *prefix)
{
    Globals &globals = m_services.globals;
    auto record = std::make_shared<QMKDataSource>();
    record->Info = info;
    record->DatasourceName = key;
    if (globals.gdicDataSources.Exists(key))
        globals.gdicDataSources.Remove(key);
    globals.gdicDataSources.Add(key, record);
    m_services.reader.WriteDataSource(*info, dataSourcePath(globals.gstrInstallPath, key, prefix));
}

QString frmDataSource::connectionString() const
{
    // Field texts go in as typed, without quoting.
    if (!isSqlServerKey(m_controls->cboDataSource->currentText()))
        return QStringLiteral("Provider=MSDAORA.1;Password=") + m_controls->txtOraPassword->text() + QStringLiteral(";User ID=") +
               m_controls->txtOraUser->text() + QStringLiteral(";Data Source=") + m_controls->txtOraServer->text() +
               QStringLiteral(";Persist Security Info=False");
    const QString where = QStringLiteral(";Initial Catalog=") + m_controls->txtDatabase->text() + QStringLiteral(";Data Source=") +
                          m_controls->txtServerName->text();
    if (m_controls->optConnectionType[0]->isChecked())
        return QStringLiteral("Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False") + where;
    return QStringLiteral("Provider=SQLOLEDB.1;Persist Security Info=False;User ID=") + m_controls->txtUserName->text() +
           QStringLiteral(";Password=") + m_controls->txtPassword->text() + where;
}

void frmDataSource::cmdTest_Click()
{
    trap(m_services.errors, kTest, [&] {
        const QString connection = connectionString();
        m_services.prompts.pointer(11);
        const std::optional<RuntimeError> failure = attempt([&] { m_services.tester.testConnection(connection); });
        m_services.prompts.pointer(0);
        if (failure)
            tell(tr("Test Connection Failed.") + failure->description(), box::exclamation);
        else
            tell(tr("Test Connection Succeeded."), box::information);
    });
}

bool frmDataSource::Form_QueryUnload()
{
    if (!m_mblnDirty)
        return true;
    const int answer = m_services.prompts.messageBox(tr("Changes have been made.Do you wish to save these changes?"),
                                                     box::yesNoCancel | box::exclamation, QString::fromLatin1(kApplicationTitle));
    if (answer == box::idYes)
        cmdSave_Click();
    return answer != box::idCancel;
}

void frmDataSource::closeEvent(QCloseEvent *event)
{
    event->ignore();
    trapSilently([&] {
        if (!Form_QueryUnload())
            return;
        event->accept();
        done(Accepted);
    });
}

void frmDataSource::cmdHelp_Click()
{
    trap(m_services.errors, kHelp, [&] { m_services.help.showContext(helpcontext::dataSources); });
}

void frmDataSource::tell(const QString &text, int style)
{
    m_services.prompts.messageBox(text, box::ok | style, QString::fromLatin1(kApplicationTitle));
}

} // namespace qm
