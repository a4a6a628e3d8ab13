/// \file
/// The dialog for one scheduled report job.
#pragma once

#include <QDialog>
#include <QString>

class QComboBox;
class QDateEdit;
class QLineEdit;
class QPushButton;
class QTimeEdit;

namespace qm {

class ErrorReporter;
class HelpViewer;
class Prompts;
struct Globals;

/// Asks for description, query file, frequency, start date and start time of a job.
///
/// One long-lived instance: its values, `IsOK` included, survive from one showing to the next. Texts of dates and times are as in
/// WallTime.h.
class frmScheduledReport final : public QDialog
{
    Q_OBJECT
public:
    frmScheduledReport(const Globals &globals, ErrorReporter &errors, Prompts &prompts, HelpViewer &help, QWidget *parent = nullptr);

    /// True when the dialog was last closed with OK; Cancel clears it, the close box leaves it.
    [[nodiscard]] bool IsOK() const { return m_isOk; }

    QString FrequencyString, JobDescriptionString;
    QString StartDateString; ///< after OK "Nov 21, 2026"
    QString StartTimeString; ///< after OK "14:05:37"
    QString QueryFileNameString;

    /// Loads the controls from the values and shows the dialog until it is closed.
    void showModal();

    void cmdQueryFile_Click();
    void cmdDlgSchOK_Click();
    void cmdDlgSchCancel_Click();
    void cmdHelp_Click();

    /// Esc is the Cancel button, unlike the close box.
    void reject() override { cmdDlgSchCancel_Click(); }

protected:
    /// The close box closes and sets nothing.
    void closeEvent(QCloseEvent *event) override;

private:
    void Form_Load();
    void buildControls();
    void warn(const QString &text);

    const Globals &m_globals;
    ErrorReporter &m_errors;
    Prompts &m_prompts;
    HelpViewer &m_help;
    bool m_isOk = false;
    int m_hiddenSeconds = 0; ///< seconds of the time the dialog was opened with; kept until the time is edited

    QLineEdit *m_txtJobDesc;
    QLineEdit *m_txtQueryFile;
    QPushButton *m_cmdQueryFile;
    QComboBox *m_cboFreq;
    QDateEdit *m_txtStartDate;
    QTimeEdit *m_txtStartTime;
    QPushButton *m_cmdDlgSchOK;
    QPushButton *m_cmdDlgSchCancel;
    QPushButton *m_cmdHelp;
};

} // namespace qm
