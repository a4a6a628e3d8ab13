/// \file
/// The scheduler as the main window sees it.
#pragma once

#include "scheduler/JobTable.h"
#include "scheduler/ScheduleTimer.h"
#include "scheduler/ScheduledJobs.h"
#include "scheduler/frmScheduledReport.h"

#include <QObject>
#include <QPoint>

#include <functional>

namespace qm {

class HelpViewer;
class ScheduleTableView;

/// What the schedule table's events need of the main window.
struct SchedulePaneHooks
{
    std::function<void(const QString &selectionCode)> enableDisableMenus;
    std::function<void(const QPoint &globalPosition)> popUpRightClickMenu;
    std::function<void()> deleteCommand; ///< the generic Delete command
    std::function<void()> focusTree;
    std::function<void()> tableEmptied; ///< node-click handling for the tree's selected node
    std::function<void(const QString &interfaceId, bool interactive)> runReport;
    std::function<bool()> isProducingRows;
};

/// Owns the schedule: table model, control, job operations, timer and dialog, and the table's event handlers.
class SchedulePane final : public QObject
{
    Q_OBJECT
public:
    /// What outlives the pane.
    struct Services
    {
        Globals &globals;
        JobConfigReader &reader;
        ErrorReporter &errors;
        Prompts &prompts;
        const Clock &clock;
        ScheduleJournal &journal;
        HelpViewer &help;
    };
    SchedulePane(const Services &services, SchedulePaneHooks hooks, QWidget *window);
    ~SchedulePane() override;

    [[nodiscard]] ScheduleTableView &dtblScheduleTable() { return *m_view; }
    [[nodiscard]] JobTable &table() { return m_table; }
    [[nodiscard]] ScheduledJobs &jobs() { return m_jobs; }
    [[nodiscard]] ScheduleTimer &timer() { return m_timer; }
    [[nodiscard]] frmScheduledReport &dialog() { return m_dialog; }

private:
    void dtblScheduleTable_LfDblClick();
    void dtblScheduleTable_KeyDown(int keyCode);
    void dtblScheduleTable_RtClick(int row, const QPoint &position);
    void rowChosen(int row);

    Services m_services;
    SchedulePaneHooks m_hooks;
    JobTable m_table;
    frmScheduledReport m_dialog;
    ScheduleTimer m_timer;
    ScheduledJobs m_jobs;
    ScheduleTableView *m_view; ///< owned by its parent widget
};

} // namespace qm
