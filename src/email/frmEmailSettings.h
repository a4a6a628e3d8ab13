/// \file
/// The e-mail settings dialog.
#pragma once

#include <QDialog>

#include <functional>
#include <memory>

class QLineEdit;
class QPushButton;

namespace qm {

class EmailConfigReader;
class ErrorReporter;
class HelpViewer;
class Prompts;
struct EmailSettings;
struct Globals;

/// Edits the SMTP settings record in place and writes "Config\Email.cfg". Made anew for each showing.
class frmEmailSettings final : public QDialog
{
    Q_OBJECT
public:
    using MakeReader = std::function<std::unique_ptr<EmailConfigReader>()>;

    frmEmailSettings(Globals &globals, MakeReader makeReader, ErrorReporter &errors, Prompts &prompts, HelpViewer &help,
                     QWidget *parent = nullptr);

    void cmdOK_Click();
    void cmdCancel_Click();
    void cmdHelp_Click();
    /// Esc is the Cancel button.
    void reject() override { cmdCancel_Click(); }

private:
    void Form_Load();
    [[nodiscard]] bool AllValid();
    void buildControls();
    void storeAndWrite();
    [[nodiscard]] EmailSettings &settings();

    Globals &m_globals;
    MakeReader m_makeReader;
    ErrorReporter &m_errors;
    Prompts &m_prompts;
    HelpViewer &m_help;
    bool m_mblnDirty = false;

    QLineEdit *m_txtSmtpServer;
    QLineEdit *m_txtSmtpPort;
    QLineEdit *m_txtTimeout;
    QLineEdit *m_txtSmtpUser;
    QLineEdit *m_txtSmtpPassword;
    QPushButton *m_cmdOK;
    QPushButton *m_cmdCancel;
    QPushButton *m_cmdHelp;
};

} // namespace qm
