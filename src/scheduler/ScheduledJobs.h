/// \file
/// Keeps the job collection, its file and the schedule table in step.
#pragma once

#include "scheduler/ScheduleServices.h"

#include <QObject>

namespace qm {

class frmScheduledReport;
class JobTable;
class ScheduleTimer;

/// The operations on scheduled jobs. Every change is saved at once and ends by setting the timer anew.
class ScheduledJobs final : public QObject
{
    Q_OBJECT
public:
    ScheduledJobs(const ScheduleServices &services, JobTable &table, frmScheduledReport &dialog, ScheduleTimer &timer);

    /// Rebuilds every row from the job collection.
    void PopulateJobs();
    /// Asks for a new job. \p prefillQuery: the dialog begins with \p queryFile; else with what it held when it was shown last.
    void AddNewScheduledJob(const QString &queryFile, const QString &interfaceId, bool prefillQuery);
    /// Edits the job of the selected row. \throws RuntimeError 9 no row, 91 jobs never read, or what saving says.
    void ModifyScheduledJob();
    /// Deletes the job of the selected row after a question. \throws as ModifyScheduledJob.
    void DeleteScheduledJob();

Q_SIGNALS:
    /// A delete left no row: the views must match the empty schedule.
    void tableEmptied();

private:
    void addFromDialog(const QString &interfaceId);

    ScheduleServices m_services;
    JobTable &m_table;
    frmScheduledReport &m_dialog;
    ScheduleTimer &m_timer;
};

} // namespace qm
