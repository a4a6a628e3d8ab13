/// \file
/// The scheduler as the main window sees it.
#pragma once

#include "scheduler/JobTable.h"
#include "scheduler/ScheduleTimer.h"
#include "scheduler/ScheduleWatch.h"
#include "scheduler/ScheduledJobs.h"
#include "scheduler/frmScheduledReport.h"

#include <QObject>
#include <QPoint>

namespace qm {

class HelpViewer;
class ScheduleTableView;

/// Owns the schedule: table model, control, job operations, timer, watch and dialog, and the table's event handlers. What concerns the rest
/// of the window is told by signals.
class SchedulePane final : public QObject
{
    Q_OBJECT
public:
    /// \p runReport as ScheduleTimer wants it.
    SchedulePane(const ScheduleServices &services, HelpViewer &help, ScheduleTimer::ReportMaker runReport, QWidget *window);
    ~SchedulePane() override;

    /// The table below the notice of jobs that point to nothing.
    [[nodiscard]] QWidget &contents() { return *m_contents; }
    [[nodiscard]] ScheduleTableView &dtblScheduleTable() { return *m_view; }
    [[nodiscard]] JobTable &table() { return m_table; }
    [[nodiscard]] ScheduledJobs &jobs() { return m_jobs; }
    [[nodiscard]] ScheduleTimer &timer() { return m_timer; }
    [[nodiscard]] ScheduleWatch &watch() { return m_watch; }
    [[nodiscard]] frmScheduledReport &dialog() { return m_dialog; }

Q_SIGNALS:
    /// The operator turned to the schedule: its commands are wanted.
    void chosen();
    /// The pop-up menu is wanted at a global position.
    void menuRequested(const QPoint &globalPosition);
    /// The generic Delete command is wanted.
    void deleteRequested();
    /// The table is done with; the focus goes to the tree.
    void left();

private:
    void dtblScheduleTable_LfDblClick();
    void dtblScheduleTable_KeyDown(int keyCode);
    void dtblScheduleTable_RtClick(int row, const QPoint &position);
    void rowChosen(int row);

    ScheduleServices m_services;
    JobTable m_table;
    frmScheduledReport m_dialog;
    ScheduleWatch m_watch;
    ScheduleTimer m_timer;
    ScheduledJobs m_jobs;
    QWidget *m_contents; ///< owned by its parent widget, as is the table in it
    ScheduleTableView *m_view;
};

} // namespace qm
