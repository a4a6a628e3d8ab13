#include "scheduler/ScheduleTimer.h"

#include "core/Clock.h"
#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "core/WorkAtHand.h"
#include "platform/DueTimer.h"
#include "platform/Files.h"
#include "scheduler/JobTable.h"
#include "scheduler/NextRun.h"

#include <QScopeGuard>

#include <algorithm>
#include <limits>

#include <QCoreApplication>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr Procedure kSetTimer{"SetTimer", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while setting the Timer."), kModule};
constexpr Procedure kRescheduleJob{"RescheduleJob", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while rescheduling Report Job"),
                                   kModule};
constexpr Procedure kTick{"tmrScheduleTimer_Timer", QT_TRANSLATE_NOOP("qm::Procedure", "Internal Error occured in the report scheduler"),
                          kModule};

/// Rounds in which one job may come up without moving before the chain is ended.
constexpr int kStandstillRounds = 3;

/// Seconds on the wall from \p now to \p when, held in 32 bits.
std::int32_t secondsUntil(const WallTime &when, const WallTime &now)
{
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(when.secondsSince(now), std::numeric_limits<std::int32_t>::min(),
                                                              std::numeric_limits<std::int32_t>::max()));
}

} // namespace

ScheduleTimer::ScheduleTimer(const ScheduleServices &services, JobTable &table, ReportMaker runReport, QObject *parent)
    : QObject(parent), m_services(services), m_table(table), m_runReport(std::move(runReport))
{
    m_tmrScheduleTimer.setObjectName(QStringLiteral("tmrScheduleTimer"));
    m_tmrScheduleTimer.setTimerType(Qt::PreciseTimer);
    m_tmrScheduleTimer.setSingleShot(true);
    connect(&m_tmrScheduleTimer, &QTimer::timeout, this, &ScheduleTimer::tmrScheduleTimer_Timer);
    startTick();
}

ScheduleTimer::~ScheduleTimer() = default;

void ScheduleTimer::setDueTimer(std::unique_ptr<DueTimer> dueTimer)
{
    m_mudoTimer = std::move(dueTimer);
    connect(m_mudoTimer.get(), &DueTimer::Mature, this, &ScheduleTimer::mudoTimer_Mature);
}

void ScheduleTimer::SetTimer(bool repopulate)
{
    // A chain that runs ends by setting the timer itself.
    if (m_chainRuns || m_hasEnded)
        return;
    runChain(setTimer(repopulate));
}

void ScheduleTimer::RescheduleJob(int row)
{
    runChain(row);
}

template <class Body>
auto ScheduleTimer::explained(Body &&body)
{
    m_whyStill.clear();
    try {
        return body();
    } catch (...) {
        m_whyStill = currentError().description();
        throw;
    }
}

void ScheduleTimer::runChain(std::optional<int> row)
{
    m_chainRuns = true;
    while (row && !m_hasEnded) {
        if (m_services.work.isProducingRows()) {
            m_dueJobWaits = true;
            break;
        }
        const UnattendedScope unattended(m_services.prompts);
        const Afterwards afterwards = trap(m_services.errors, kRescheduleJob, [&] { return explained([&] { return reschedule(*row); }); });
        if (afterwards == Afterwards::ReportGoesOn)
            return; // reportOver() takes the chain up again
        if (afterwards == Afterwards::Stop) {
            standStill();
            break;
        }
        row = setTimer(true);
    }
    m_chainRuns = false;
    m_standstillRounds = 0;
    deliverWaitingMature();
}

void ScheduleTimer::reportOver()
{
    m_reportIsMade = false;
    if (!m_chainWaits)
        return;
    m_chainWaits = false;
    const UnattendedScope unattended(m_services.prompts);
    runChain(m_hasEnded ? std::nullopt : setTimer(true));
    if (m_tmrScheduleTimer.isActive())
        tmrScheduleTimer_Timer(); // the countdown stood while the report was made
}

void ScheduleTimer::end()
{
    m_hasEnded = true;
    m_matureWaits = m_dueJobWaits = false;
}

std::optional<int> ScheduleTimer::setTimer(bool repopulate)
{
    bool done = false;
    m_dueJobWaits = false;
    const std::optional<int> row = trap(m_services.errors, kSetTimer, [&] {
        return explained([&] {
            const std::optional<int> due = chooseAndArm(repopulate);
            done = true;
            return due;
        });
    });
    if (done)
        Q_EMIT goesOn();
    else
        standStill();
    return row;
}

void ScheduleTimer::standStill()
{
    Q_EMIT standsStill(m_whyStill);
}

std::optional<int> ScheduleTimer::chooseAndArm(bool repopulate)
{
    JobTable &table = m_table;
    if (repopulate) {
        // The operator may be about to change or delete the selected job.
        const std::optional<std::int32_t> selected =
            table.selectedRow() >= 0 ? std::optional(table.row(table.selectedRow()).jobId) : std::nullopt;
        Q_EMIT rowsWanted();
        if (const std::optional<int> row = selected ? table.rowOfJob(*selected) : std::nullopt)
            table.selectRow(*row);
    }
    if (table.rows() == 0)
        return std::nullopt;

    const int chosen = table.earliestRow();
    const WallTime due = table.nextRun(chosen);
    const JobRow &row = table.row(chosen);
    if (!files::fileExists(row.queryFile)) {
        m_mdtmNextRun = due;
        m_mstrNextJobDescription = row.description;
        return chosen;
    }
    if (secondsUntil(due, m_services.clock.wallNow()) <= 0)
        return chosen;
    m_mdtmNextRun = due;
    m_mstrNextJobDescription = row.description;
    if (!m_mudoTimer)
        raise(err::objectNotSet, tr("the timer component was not created"));
    m_matureWaits = false;
    m_mudoTimer->SetDueTime(due);
    return std::nullopt;
}

ScheduleTimer::Afterwards ScheduleTimer::reschedule(int rowIndex)
{
    const JobRow row = m_table.row(rowIndex);
    guardAgainstStandstill(row);

    JobCollection &jobs = requireJobs(m_services.globals);
    const auto job = std::find_if(jobs.begin(), jobs.end(), [&](const auto &each) { return each->JobId == row.jobId; });
    const QDate today = m_services.clock.wallNow().date;
    const Advance advance = advancePast(today, parseDate(row.date), row.frequency);
    ScheduledReportJob facts{row.description, row.queryFile, {parseDate(row.date), parseTime(row.time)}, 0, row.jobId};

    if (advance.retired || advance.periods > 0) {
        if (job == jobs.end())
            raise(err::subscriptOutOfRange,
                  tr("the job '%1' (%2) is in the table but no longer in the schedule").arg(row.description, row.queryFile));
        if (advance.retired) {
            jobs.erase(job);
            m_table.removeRowAt(rowIndex);
        } else {
            (*job)->DateTime = {advance.date, parseTime(row.time)};
        }
    }
    auto tellNotRun = qScopeGuard([&] { m_services.journal.notRun(facts, QStringLiteral("job file could not be saved")); });
    saveJobs(m_services);
    tellNotRun.dismiss();
    m_services.globals.gstrCurrentQueryFile = row.queryFile;
    return runOrReportMissing(facts, row.interfaceId, advance.periods > 1 ? advance.periods - 1 : 0);
}

ScheduleTimer::Afterwards ScheduleTimer::runOrReportMissing(const ScheduledReportJob &job, const QString &interfaceId, int periodsSkipped)
{
    if (files::fileExists(job.QueryFileName)) {
        const WallTime now = m_services.clock.wallNow();
        if (periodsSkipped > 0)
            m_services.journal.skippedRuns(job, now, periodsSkipped);
        m_services.journal.note(
            QStringLiteral("scheduled report '%1' (%2) starts; due %3 %4")
                .arg(job.JobDescription, job.QueryFileName, shortDateText(job.DateTime.date), time24Text(job.DateTime.secondOfDay)));
        m_reportIsMade = true;
        m_runReport(interfaceId, false, [this] { reportOver(); });
        m_chainWaits = m_reportIsMade;
        if (!m_chainWaits)
            return Afterwards::SetTimer;
        showMoved(job.JobId, interfaceId);
        return Afterwards::ReportGoesOn;
    }
    m_whyStill =
        tr("the query file of '%1' is missing (%2). Change or delete that job, or add one.").arg(job.JobDescription, job.QueryFileName);
    m_services.journal.notRun(job, QStringLiteral("query file missing"));
    if (++m_lngMissingCount == 1) {
        m_services.prompts.messageBox(tr("The query file for the scheduled Report Job is either missing or corrupt."),
                                      box::ok | box::exclamation, QString::fromLatin1(kApplicationTitle));
        return Afterwards::Stop;
    }
    return Afterwards::SetTimer;
}

void ScheduleTimer::showMoved(std::int32_t jobId, const QString &interfaceId)
{
    const JobCollection &jobs = requireJobs(m_services.globals);
    const auto job = std::find_if(jobs.begin(), jobs.end(), [&](const auto &each) { return each->JobId == jobId; });
    const std::optional<int> row = m_table.rowOfJob(jobId);
    if (job == jobs.end() || !row)
        return;
    const ListedJob moved{(*job)->DateTime, (*job)->Frequency, (*job)->JobDescription, (*job)->QueryFileName, jobId, interfaceId};
    m_table.setRow(*row, moved.toRow());
}

void ScheduleTimer::guardAgainstStandstill(const JobRow &row)
{
    if (m_standstillRounds > 0 && m_standstillJob == row.jobId && m_standstillRun == row.nextRun) {
        if (++m_standstillRounds >= kStandstillRounds)
            raise(err::outOfStackSpace,
                  tr("the job '%1' (%2) comes up again and again without moving on").arg(row.description, row.queryFile));
        return;
    }
    m_standstillJob = row.jobId;
    m_standstillRun = row.nextRun;
    m_standstillRounds = 1;
}

void ScheduleTimer::mudoTimer_Mature()
{
    // The component's handler reports under the tick's name.
    trap(m_services.errors, kTick, [&] {
        if (m_hasEnded)
            return;
        if (m_chainRuns || m_services.work.isProducingRows()) {
            m_matureWaits = true;
            return;
        }
        m_matureWaits = false;
        JobTable &table = m_table;
        int chosen = 0;
        for (int i = 1; i < table.rows(); ++i)
            if (m_mdtmNextRun && table.nextRun(i) == *m_mdtmNextRun)
                chosen = i;
        RescheduleJob(chosen);
    });
}

void ScheduleTimer::deliverWaitingMature()
{
    // Not within the run that it waited for, whose end has more to do.
    if (m_matureWaits || m_dueJobWaits)
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (m_matureWaits)
                    mudoTimer_Mature();
                else if (m_dueJobWaits && !m_services.work.isProducingRows())
                    SetTimer(true);
            },
            Qt::QueuedConnection);
}

void ScheduleTimer::tmrScheduleTimer_Timer()
{
    trap(m_services.errors, kTick, [&] {
        // Started again only at the end: after a failure the countdown stands still.
        if (m_chainRuns) {
            // The tick does not come between: what it would count down to is what is being made.
        } else if (m_table.rows() == 0) {
            Q_EMIT countdownChanged(tr("No Reports Scheduled"));
        } else if (m_mdtmNextRun) {
            const std::int32_t s = secondsUntil(*m_mdtmNextRun, m_services.clock.wallNow());
            const int days = s / 86400, hours = s / 3600 % 24, minutes = s / 60 % 60, seconds = s % 60;
            // All put in at once: a description may hold anything, "%2" included.
            Q_EMIT countdownChanged(tr("Next Report: '%1' is scheduled to run in %2 Days %3 Hours %4 Minutes %5 Seconds.")
                                        .arg(m_mstrNextJobDescription, QString::number(days), QString::number(hours),
                                             QString::number(minutes), QString::number(seconds)));
        }
        startTick();
    });
}

void ScheduleTimer::startTick()
{
    // Just after the next full second, so that no second is left out of the countdown.
    using namespace std::chrono;
    const auto now = m_services.clock.now().time_since_epoch();
    const auto sinceSecond = duration_cast<milliseconds>(now - floor<seconds>(now));
    m_tmrScheduleTimer.start(milliseconds(1005) - sinceSecond);
}

} // namespace qm
