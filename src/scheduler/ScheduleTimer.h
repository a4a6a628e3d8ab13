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

/// Keeps exactly one wake-up pending, for the earliest row of the schedule table, and shows a countdown to it every second.
///
/// SetTimer and RescheduleJob call each other as their last act; the calls are run as a loop, so any number of overdue jobs fits. A job
/// that comes up again and again without moving ends the chain with error 28. A wake-up that arrives while a report is producing rows, or
/// while a job is being moved on, waits until that is done.
class ScheduleTimer final : public QObject
{
    Q_OBJECT
public:
    /// \p runReport makes the current query's report through the given interface identifier; \p isBusy tells whether a report produces rows
    /// now.
    ScheduleTimer(const ScheduleServices &services, std::function<void(const QString &interfaceId, bool interactive)> runReport,
                  std::function<bool()> isBusy, QObject *parent = nullptr);
    ~ScheduleTimer() override;

    /// Takes the timer component into use.
    void setDueTimer(std::unique_ptr<DueTimer> dueTimer);

    /// Arms the component for the earliest row, or runs that row when it is due or its query file is missing.
    void SetTimer(bool repopulate);
    /// Processes the job of a row that is due.
    void RescheduleJob(int row);
    /// Delivers a wake-up that waited for the end of a report.
    void deliverWaitingMature();

    /// Has every row rebuilt from the job collection; set once by the owner.
    void setPopulateJobs(std::function<void()> populateJobs) { m_populateJobs = std::move(populateJobs); }

    [[nodiscard]] const QString &countdownText() const { return m_countdownText; }

Q_SIGNALS:
    /// The text of the status bar's panel "NextSchReport" and of the tray icon's tip.
    void countdownChanged(const QString &text);

private:
    /// What RescheduleJob asks for when it ends.
    enum class Afterwards { Stop, SetTimer };

    void mudoTimer_Mature();
    void tmrScheduleTimer_Timer();
    void showCountdown(const QString &text);
    void startTick();
    /// One pass of SetTimer. \returns the row that must be rescheduled at once, if any.
    std::optional<int> chooseAndArm(bool repopulate);
    /// One pass of RescheduleJob.
    Afterwards reschedule(int row);
    Afterwards runOrReportMissing(const ScheduledReportJob &job, const QString &interfaceId, int periodsSkipped);
    /// The chain of RescheduleJob and SetTimer calls that begins with \p row.
    void runChain(std::optional<int> row);
    void guardAgainstStandstill(std::int32_t jobId, const QString &nextRun);

    ScheduleServices m_services;
    std::function<void(const QString &, bool)> m_runReport;
    std::function<bool()> m_isBusy;
    std::function<void()> m_populateJobs;
    std::unique_ptr<DueTimer> m_mudoTimer;
    QTimer m_tmrScheduleTimer;
    QString m_countdownText;

    std::optional<WallTime> m_mdtmNextRun; ///< with which the component was last armed; empty: never
    QString m_mstrNextJobDescription;
    std::int32_t m_lngMissingCount = 0; ///< calls of RescheduleJob that found the query file missing, since the program started

    bool m_rescheduling = false;
    bool m_matureWaits = false;
    std::int32_t m_standstillJob = 0;
    QString m_standstillRun;
    int m_standstillRounds = 0;
};

} // namespace qm
