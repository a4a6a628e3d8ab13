/// \file
/// Keeps the job collection, its file and the schedule table in step.
#pragma once

#include "scheduler/ScheduleServices.h"

#include <functional>

namespace qm {

class frmScheduledReport;
class ScheduleTimer;

/// The operations on scheduled jobs. Every change is saved at once and ends by setting the timer anew.
class ScheduledJobs final
{
public:
    /// \p tableEmptied is called after a delete that left no row: the views must match the empty schedule.
    ScheduledJobs(const ScheduleServices &services, frmScheduledReport &dialog, ScheduleTimer &timer, std::function<void()> tableEmptied);

    /// Rebuilds every row from the job collection.
    void PopulateJobs();
    /// Asks for a new job. \p querySelected: the list has a selected report query, whose file is \p queryFile.
    void AddNewScheduledJob(const QString &queryFile, const QString &interfaceId, bool querySelected);
    /// Edits the job of the selected row. \throws RuntimeError 9 no row, 91 jobs never read, or what saving says.
    void ModifyScheduledJob();
    /// Deletes the job of the selected row after a question. \throws as ModifyScheduledJob.
    void DeleteScheduledJob();

private:
    void addFromDialog(const QString &interfaceId);

    ScheduleServices m_services;
    frmScheduledReport &m_dialog;
    ScheduleTimer &m_timer;
    std::function<void()> m_tableEmptied;
};

} // namespace qm
