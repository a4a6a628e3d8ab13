#include "app/RunJournal.h"

#include "core/Clock.h"
#include "engine/sql/Period.h"
#include "platform/ApplicationLog.h"

namespace qm {

RunJournal::RunJournal(ApplicationLog &log, const Clock &clock, QString installPath)
    : m_log(log), m_clock(clock), m_installPath(std::move(installPath))
{
    m_closeLedger.setSingleShot(true);
    m_closeLedger.setInterval(0);
    QObject::connect(&m_closeLedger, &QTimer::timeout, &m_closeLedger, [this] { m_ledger.reset(); });
}

RunLedger &RunJournal::ledger()
{
    if (!m_ledger)
        m_ledger.emplace(m_installPath);
    m_closeLedger.start();
    return *m_ledger;
}

void RunJournal::markInterruptedRuns()
{
    RunLedger ledger(m_installPath);
    if (const int runs = ledger.markInterrupted(utcText(m_clock.now())); runs > 0)
        m_log.warning(QStringLiteral("%1 report runs were found unfinished and marked interrupted").arg(runs));
    ledger.sweepFolders();
}

int RunJournal::began(const QString &queryFile, const QString &progId, bool interactive)
{
    LedgerEntry &entry = m_foreign[++m_lastForeign];
    entry.queryFile = queryFile;
    entry.trigger = interactive ? RunTrigger::Operator : RunTrigger::Schedule;
    entry.startedUtc = utcText(m_clock.now());
    entry.note = QStringLiteral("made by %1").arg(progId);
    ledger().start(entry);
    return m_lastForeign;
}

void RunJournal::ended(int run, const std::optional<RuntimeError> &failure)
{
    LedgerEntry entry = m_foreign.at(run);
    m_foreign.erase(run);
    entry.status = !failure                                        ? RunStatus::Done
                   : failure->number() == err::cancelledByOperator ? RunStatus::Cancelled
                   : failure->number() == err::noOutputByRule      ? RunStatus::Done
                                                                   : RunStatus::Failed;
    if (failure)
        (entry.status == RunStatus::Done ? entry.note : entry.error) = failure->description();
    entry.endedUtc = utcText(m_clock.now());
    ledger().finish(entry);
}

void RunJournal::notRun(const ScheduledReportJob &job, const QString &reason)
{
    m_log.warning(QStringLiteral("scheduled report '%1' (%2) was not run: %3").arg(job.JobDescription, job.QueryFileName, reason));
    ledger().notRun(job.QueryFileName, RunTrigger::Schedule, reason, utcText(m_clock.now()));
}

void RunJournal::refused(const QString &queryFile, bool interactive, const QString &reason)
{
    m_log.error(QStringLiteral("the report of %1 was not begun: %2").arg(queryFile, reason));
    ledger().notRun(queryFile, interactive ? RunTrigger::Operator : RunTrigger::Schedule, reason, utcText(m_clock.now()));
}

void RunJournal::skippedRuns(const ScheduledReportJob &job, const WallTime &ran, int skipped)
{
    // The times that have no run of their own are those behind the due one: all up to the end of the day on which it ran.
    const QString reason = QStringLiteral("due %1 %2, ran %3 %4; its next %5 times, up to the end of that day, are left out")
                               .arg(shortDateText(job.DateTime.date), time24Text(job.DateTime.secondOfDay), shortDateText(ran.date),
                                    time24Text(ran.secondOfDay), QString::number(skipped));
    m_log.warning(QStringLiteral("scheduled report '%1' (%2): %3").arg(job.JobDescription, job.QueryFileName, reason));
    ledger().notRun(job.QueryFileName, RunTrigger::Schedule, reason, utcText(m_clock.now()));
}

void RunJournal::note(const QString &text)
{
    m_log.info(text);
}

} // namespace qm
