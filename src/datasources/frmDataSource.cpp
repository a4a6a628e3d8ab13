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
    : QDialog(parent), m_services(services), m(std::make_unique<Controls>(*this))
{
    setObjectName(QStringLiteral("frmDataSource"));
    setWindowTitle(tr("Database Connection Information"));
    connectControls();
}

frmDataSource::~frmDataSource() = default;

void frmDataSource::connectControls()
{
    connect(m->cboDataSource, &QComboBox::activated, this, &frmDataSource::cboDataSource_Click);
    for (const int index : {0, 1})
        connect(m->optConnectionType[index], &QRadioButton::clicked, this, [this, index] { optConnectionType_Click(index); });
    for (QLineEdit *field :
         {m->txtDatabase, m->txtOraPassword, m->txtOraServer, m->txtOraUser, m->txtPassword, m->txtServerName, m->txtUserName})
        connect(field, &QLineEdit::textChanged, this, [this] { m_mblnDirty = true; });
    connect(m->cmdAddNew, &QPushButton::clicked, this, &frmDataSource::cmdAddNew_Click);
    connect(m->cmdSave, &QPushButton::clicked, this, &frmDataSource::cmdSave_Click);
    connect(m->cmdTest, &QPushButton::clicked, this, &frmDataSource::cmdTest_Click);
    connect(m->cmdOK, &QPushButton::clicked, this, &QDialog::close);
    connect(m->cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    connect(m->cmdHelp, &QPushButton::clicked, this, &frmDataSource::cmdHelp_Click);
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
        const QSignalBlocker filling(m->cboDataSource);
        for (const QString &key : globals.gdicDataSources.Keys())
            m->cboDataSource->addItem(globals.gdicDataSources.at(key)->DatasourceName);
        m->cboDataSource->setCurrentIndex(-1);
    }
    if (globals.gdicDataSources.Count() > 0) {
        m->cboDataSource->setCurrentIndex(m->cboDataSource->currentIndex() + 1);
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
        const QString key = m->cboDataSource->currentText();
        if (!sources.Exists(key)) {
            ClearDataSourceFields();
            m_mblnDirty = false;
            return;
        }
        const std::shared_ptr<DatabaseInfo> info = sources.at(key)->Info;
        if (const auto sql = std::dynamic_pointer_cast<QMMDSMSSql>(info)) {
            EnableOracleControls(false);
            EnableSQLControls(true);
            m->txtServerName->setText(sql->ServerName);
            m->txtDatabase->setText(sql->DatabaseName);
            const bool specificUser = sql->ConnectionType != 0;
            selectConnectionType(specificUser ? 1 : 0);
            m->txtUserName->setText(specificUser ? sql->UserName : QString());
            m->txtPassword->setText(specificUser ? sql->Password : QString());
        } else if (const auto oracle = std::dynamic_pointer_cast<QMMDSOracle>(info)) {
            EnableSQLControls(false);
            EnableOracleControls(true);
            m->txtOraServer->setText(oracle->ServerName);
            m->txtOraUser->setText(oracle->UserName);
            m->txtOraPassword->setText(oracle->Password);
        }
        m_mblnDirty = false;
    });
}

void frmDataSource::selectConnectionType(int index)
{
    m->optConnectionType[index]->setChecked(true);
    optConnectionType_Click(index);
}

void frmDataSource::optConnectionType_Click(int index)
{
    m->frameSpecificUser->setEnabled(index != 0);
    m->lblUserName->setEnabled(index != 0);
    m->lblPassword->setEnabled(index != 0);
}

void frmDataSource::EnableSQLControls(bool enabled)
{
    for (QWidget *control :
         std::initializer_list<QWidget *>{m->fraSQL, m->lblSQL, m->txtSQL, m->lblServer, m->txtServerName, m->lblDatabaseName,
                                          m->lblUserName, m->txtDatabase, m->lblPassword, m->txtUserName})
        control->setEnabled(enabled);
}

void frmDataSource::EnableOracleControls(bool enabled)
{
    // The user field is left as it is.
    for (QWidget *control : std::initializer_list<QWidget *>{m->fraOracle, m->lblOra, m->txtOra, m->lblOraServer, m->txtOraServer,
                                                             m->lblOraUser, m->lblOraPassword, m->txtOraPassword})
        control->setEnabled(enabled);
}

void frmDataSource::ClearDataSourceFields()
{
    const QString type = m_services.addDialog.DatasourceType();
    if (type == QLatin1StringView(kSqlServerLabel)) {
        for (QLineEdit *field : {m->txtServerName, m->txtDatabase, m->txtUserName, m->txtPassword})
            field->clear();
    } else if (type == QLatin1StringView(kOracleLabel)) {
        for (QLineEdit *field : {m->txtOraServer, m->txtOraPassword, m->txtOraUser})
            field->clear();
    }
}

bool frmDataSource::IsSQLDataSourceValid() const
{
    return !m->txtServerName->text().isEmpty() && !m->txtDatabase->text().isEmpty() &&
           (!m->optConnectionType[1]->isChecked() || !m->txtUserName->text().isEmpty());
}

bool frmDataSource::IsOracleDataSourceValid() const
{
    return !m->txtOraServer->text().isEmpty() && !m->txtOraUser->text().isEmpty() && !m->txtOraPassword->text().isEmpty();
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
            const QSignalBlocker inserting(m->cboDataSource);
            m->cboDataSource->insertItem(0, dialog.DatasourceName());
            if (isSql) {
                EnableOracleControls(false);
                EnableSQLControls(true);
            } else {
                EnableSQLControls(false);
                EnableOracleControls(true);
            }
            ClearDataSourceFields();
        }
        m->cboDataSource->setCurrentIndex(0);
        cboDataSource_Click();
        m_mblnDirty = true;
    });
}

std::shared_ptr<DatabaseInfo> frmDataSource::enteredSqlServer() const
{
    auto info = std::make_shared<QMMDSMSSql>();
    info->ServerName = m->txtServerName->text();
    info->DatabaseName = m->txtDatabase->text();
    if (!m->optConnectionType[0]->isChecked()) {
        info->ConnectionType = 1;
        info->UserName = m->txtUserName->text();
        info->Password = m->txtPassword->text();
    }
    return info;
}

std::shared_ptr<DatabaseInfo> frmDataSource::enteredOracle() const
{
    auto info = std::make_shared<QMMDSOracle>();
    info->ServerName = m->txtOraServer->text();
    info->UserName = m->txtOraUser->text();
    info->Password = m->txtOraPassword->text();
    return info;
}

void frmDataSource::cmdSave_Click()
{
    trap(m_services.errors, kSave, [&] {
        const QString key = m->cboDataSource->currentText();
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
    if (!isSqlServerKey(m->cboDataSource->currentText()))
        return QStringLiteral("Provider=MSDAORA.1;Password=") + m->txtOraPassword->text() + QStringLiteral(";User ID=") +
               m->txtOraUser->text() + QStringLiteral(";Data Source=") + m->txtOraServer->text() +
               QStringLiteral(";Persist Security Info=False");
    const QString where =
        QStringLiteral(";Initial Catalog=") + m->txtDatabase->text() + QStringLiteral(";Data Source=") + m->txtServerName->text();
    if (m->optConnectionType[0]->isChecked())
        return QStringLiteral("Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False") + where;
    return QStringLiteral("Provider=SQLOLEDB.1;Persist Security Info=False;User ID=") + m->txtUserName->text() +
           QStringLiteral(";Password=") + m->txtPassword->text() + where;
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
