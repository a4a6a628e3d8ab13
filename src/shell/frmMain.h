/// \file
/// The main window.
#pragma once

#include "catalogue/CataloguePane.h"
#include "scheduler/SchedulePane.h"
#include "shell/ActiveControl.h"
#include "shell/Commands.h"
#include "shell/ConfigurationLoader.h"
#include "shell/ReportRunner.h"
#include "shell/SelectionCommands.h"
#include "shell/TrayIcon.h"
#include "shell/WindowState.h"

#include <QMainWindow>
#include <QPointer>

class QSplitter;

namespace qm {

class CaptionPanel;
class CatalogueCommands;
class Clock;
class ComponentFactory;
class ConnectionTester;
class DueTimer;
class ElidedLabel;
class HelpFile;
class Prompts;
class ScheduleStatus;
class WorkAtHand;
class frmAbout;
class frmAddNewDataSource;

/// What the main window works with; all of it outlives the window.
struct MainWindowServices
{
    Globals &globals;
    ErrorReporter &errors;
    Prompts &prompts;
    const Clock &clock;
    ComponentFactory &components;
    HelpFile &help;
    ScheduleJournal &journal;
    JobConfigReader &jobReader;
    const WorkAtHand &work;
    ReaderFactories readers;
    std::function<std::unique_ptr<QueryReader>()> makeQueryReader;
    std::function<std::unique_ptr<DueTimer>()> makeDueTimer;
    ConnectionTester *connectionTester = nullptr; ///< null: data sources cannot be edited
    QString stateFile;                            ///< where the window's look is kept for this user; empty: nowhere
};

/// Makes the widgets, owns the collaborators and connects them. The catalogue's work is in CataloguePane, the schedule's in SchedulePane,
/// the commands' in Commands.
class frmMain final : public QMainWindow, private CommandFacts
{
    Q_OBJECT
public:
    explicit frmMain(MainWindowServices services);
    ~frmMain() override;

    /// Loads the configuration, fills tree and schedule, and starts the scheduler.
    void Form_Load();
    void RestoreFromTray();
    /// Hides to the notification area; minimises where there is none.
    void hideToNotificationArea();

    [[nodiscard]] Commands &commands() { return m_commands; }
    [[nodiscard]] CataloguePane &catalogue() { return *m_catalogue; }
    [[nodiscard]] SchedulePane &schedule() { return *m_schedule; }
    [[nodiscard]] ReportRunner &reportRunner() { return m_runner; }

Q_SIGNALS:
    /// The operator has closed the window for good: the program ends.
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void TrayIcon_LeftDoubleClick();
    void HelpContentsClicked();
    void connectCatalogue();
    void connectSchedule();
    [[nodiscard]] bool isPastePending() const override;
    [[nodiscard]] bool hasScheduledJobs() const override;
    [[nodiscard]] bool isReadyForCommand() const override;
    void buildBars();
    void buildPanes();
    void buildTray();
    void setCommands();
    void setShortcuts();
    void activeControlChanged();
    void generate();
    void addNewScheduledJob();
    void scheduledRunBegan(const QString &queryFile);
    void scheduledRunOver();
    void runOver();
    void editDataSources();
    void editEmailSettings();
    void showAbout();
    void popUpRightClickMenu(const QPoint &globalPosition);
    [[nodiscard]] bool mayRunCommand() const;
    /// Whether all jobs are saved, or the operator has the program end without.
    [[nodiscard]] bool mayLeaveJobs();
    [[nodiscard]] WindowParts parts();

    MainWindowServices m_services;
    WindowState m_state;
    ActiveControl m_active;
    std::unique_ptr<CataloguePane> m_catalogue; ///< both panes: null until the constructor's body; the command facts ask about them before
    std::unique_ptr<SchedulePane> m_schedule;
    Commands m_commands;
    SelectionCommands m_selectionCommands;
    ReportRunner m_runner;
    ConfigurationLoader m_loader;
    std::unique_ptr<TrayIcon> m_tray;
    std::unique_ptr<CatalogueCommands> m_catalogueCommands;
    std::unique_ptr<frmAddNewDataSource> m_addDataSource;
    CaptionPanel *m_ssReportQuery = nullptr;
    QSplitter *m_splitterMain = nullptr;
    QSplitter *m_splitterListView = nullptr;
    ElidedLabel *m_nextSchReport = nullptr;
    ScheduleStatus *m_scheduleStatus = nullptr;
    bool m_closesAfterRun = false;
    QPointer<frmAbout> m_about;
};

} // namespace qm
