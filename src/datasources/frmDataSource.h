/// \file
/// The data source editor.
#pragma once

#include <QDialog>

#include <memory>

class QButtonGroup;
class QComboBox;
class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace qm {

class ConnectionTester;
class DataSourceFileReader;
class DatabaseInfo;
class ErrorReporter;
class HelpViewer;
class Prompts;
class frmAddNewDataSource;
struct Globals;

/// Lists, creates, edits, saves and tests data sources, directly on the global table. Made anew for each showing.
class frmDataSource final : public QDialog
{
    Q_OBJECT
public:
    struct Services
    {
        Globals &globals;
        DataSourceFileReader &reader;
        ConnectionTester &tester;
        ErrorReporter &errors;
        Prompts &prompts;
        HelpViewer &help;
        frmAddNewDataSource &addDialog; ///< outlives the editor
    };
    explicit frmDataSource(const Services &services, QWidget *parent = nullptr);
    ~frmDataSource() override;

    /// Shows the editor until it is closed; not at all when there is no data source and the first one was not confirmed.
    void showModal();

    void cboDataSource_Click();
    void cmdAddNew_Click();
    void cmdSave_Click();
    void cmdTest_Click();
    void cmdHelp_Click();
    void optConnectionType_Click(int index);
    /// OK, Cancel and Esc close the form; saving happens through the question.
    void accept() override { close(); }
    void reject() override { close(); }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    struct Controls;
    void Form_Load();
    /// Whether the form may close. Asks when there are unsaved edits.
    bool Form_QueryUnload();
    void EnableSQLControls(bool enabled);
    void EnableOracleControls(bool enabled);
    void ClearDataSourceFields();
    [[nodiscard]] bool IsSQLDataSourceValid() const;
    [[nodiscard]] bool IsOracleDataSourceValid() const;
    void connectControls();
    void selectConnectionType(int index);
    void storeRecord(const QString &key, std::shared_ptr<DatabaseInfo> info, const char *prefix);
    [[nodiscard]] std::shared_ptr<DatabaseInfo> enteredSqlServer() const;
    [[nodiscard]] std::shared_ptr<DatabaseInfo> enteredOracle() const;
    [[nodiscard]] QString connectionString() const;
    void tell(const QString &text, int style);

    Services m_services;
    std::unique_ptr<Controls> m_controls;
    bool m_mblnDirty = false;
    bool m_mblnCloseOnActivate = false;
};

} // namespace qm
