/// \file
/// The dialog that names a new data source.
#pragma once

#include <QDialog>

class QComboBox;
class QLineEdit;
class QPushButton;

namespace qm {

class ErrorReporter;
class Prompts;
struct Globals;

/// Asks for name and type of a new data source. One long-lived instance: type, name and `IsOK` of the last showing stay readable.
class frmAddNewDataSource final : public QDialog
{
    Q_OBJECT
public:
    frmAddNewDataSource(const Globals &globals, ErrorReporter &errors, Prompts &prompts, QWidget *parent = nullptr);

    /// The type label chosen last ("Microsoft SQL Server", "Oracle"); empty before the first use.
    [[nodiscard]] QString DatasourceType() const { return m_type; }
    /// The new key: prefix + name + ".dsf".
    [[nodiscard]] QString DatasourceName() const { return m_name; }
    /// True only when closed through OK with a name that passed; the close box leaves it.
    [[nodiscard]] bool IsOK() const { return m_isOk; }

    void showModal();
    void cmdOK_Click();
    void cmdCancel_Click();
    void reject() override { cmdCancel_Click(); }

protected:
    /// The close box closes and sets nothing.
    void closeEvent(QCloseEvent *event) override;

private:
    void Form_Load();

    const Globals &m_globals;
    ErrorReporter &m_errors;
    Prompts &m_prompts;
    QString m_type, m_name;
    bool m_isOk = false;

    QLineEdit *m_txtDataSource;
    QComboBox *m_cboDatabase;
    QPushButton *m_cmdOK;
    QPushButton *m_cmdCancel;
};

} // namespace qm
