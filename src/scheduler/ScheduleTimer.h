/// \file
/// The heart of the scheduler: chooses the next job, wakes up for it, moves it on and has its report made.
#pragma once

#include "scheduler/ScheduleServices.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

class DueTimer;
class JobTable;
struct JobRow;

/// Keeps exactly one wake-up pending, for the earliest row of the schedule table, and shows a countdown to it every second.
///
/// SetTimer and RescheduleJob call each other as their last act; the calls are run as a loop, so any number of overdue jobs fits. A job
/// that comes up again and again without moving ends the chain with error 28. A report that is made in the background suspends the chain
/// until it is over; nothing else of the schedule runs meanwhile, and the operator's own calls of SetTimer are what the chain ends with
/// anyway. A wake-up that arrives while a report is producing rows, or during a chain, waits until that is done; so does a job that is
/// found due while the operator's own report is.
class ScheduleTimer final : public QObject
{
    Q_OBJECT
public:
    /// Makes the current query's report through the given interface identifier, and calls \p over when it is made or has failed: before it
    /// returns, or later.
    using ReportMaker = std::function<void(const QString &interfaceId, bool interactive, std::function<void()> over)>;

    ScheduleTimer(const ScheduleServices &services, JobTable &table, ReportMaker runReport, QObject *parent = nullptr);
    ~ScheduleTimer() override;

    /// Takes the timer component into use.
    void setDueTimer(std::unique_ptr<DueTimer> dueTimer);

    /// Arms the component for the earliest row, or runs that row when it is due or its query file is missing. A job that is selected
    /// stays so when the rows are rebuilt.
    void SetTimer(bool repopulate);
    /// Processes the job of a row that is due.
    void RescheduleJob(int row);
    /// Delivers a wake-up or a due job that waited for the end of a report, when the event loop comes round.
    void deliverWaitingMature();
    /// The program ends: no job is touched any more, those that are due included; the next start finds them as they are.
    void end();

Q_SIGNALS:
    /// Every row is to be rebuilt from the job collection, before this returns.
    void rowsWanted();
    /// The text of the status bar's panel "NextSchReport" and of the tray icon's tip.
    void countdownChanged(const QString &text);
    /// A chain ended without setting the timer: nothing runs until somebody calls SetTimer. \p why is for log and operator.
    void standsStill(const QString &why);
    /// The timer was set, or a job is due now, or there is nothing to set the timer for.
    void goesOn();

private:
    /// What RescheduleJob asks for when it ends.
    enum class Afterwards { Stop, SetTimer, ReportGoesOn };

    void mudoTimer_Mature();
    void tmrScheduleTimer_Timer();
    void startTick();
    /// SetTimer's procedure up to the job that must be rescheduled at once, if any.
    std::optional<int> setTimer(bool repopulate);
    /// One pass of SetTimer. \returns the row that must be rescheduled at once, if any.
    std::optional<int> chooseAndArm(bool repopulate);
    /// One pass of RescheduleJob.
    Afterwards reschedule(int row);
    Afterwards runOrReportMissing(const ScheduledReportJob &job, const QString &interfaceId, int periodsSkipped);
    /// The chain of RescheduleJob and SetTimer calls that begins with \p row.
    void runChain(std::optional<int> row);
    void reportOver();
    /// Shows where a job stands by now, so that the operator who changes it during its report does not move it back.
    void showMoved(std::int32_t jobId, const QString &interfaceId);
    void standStill();
    /// Runs \p body and keeps what an error that leaves it says.
    template <class Body>
    auto explained(Body &&body);
    void guardAgainstStandstill(const JobRow &row);

    ScheduleServices m_services;
    JobTable &m_table;
    ReportMaker m_runReport;
    std::unique_ptr<DueTimer> m_mudoTimer;
    QTimer m_tmrScheduleTimer;

    std::optional<WallTime> m_mdtmNextRun; ///< with which the component was last armed; empty: never
    QString m_mstrNextJobDescription;
    std::int32_t m_lngMissingCount = 0; ///< calls of RescheduleJob that found the query file missing, since the program started

    bool m_chainRuns = false;
    bool m_reportIsMade = false; ///< by the chain
    bool m_chainWaits = false;   ///< for that report, in the background
    bool m_matureWaits = false;
    bool m_dueJobWaits = false; ///< for the end of the operator's own report
    bool m_hasEnded = false;
    QString m_whyStill;
    std::int32_t m_standstillJob = 0;
    QString m_standstillRun;
    int m_standstillRounds = 0;
};

} // namespace qm
