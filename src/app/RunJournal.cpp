#include "app/RunJournal.h"

#include "core/Clock.h"
#include "platform/ApplicationLog.h"
#include "reporting/engine/RunLedger.h"

#include <QDateTime>

namespace qm {

namespace {

QString utcText(std::chrono::system_clock::time_point instant)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(instant.time_since_epoch()).count();
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

} // namespace

RunJournal::RunJournal(ApplicationLog &log, const Clock &clock, QString installPath)
    : m_log(log), m_clock(clock), m_installPath(std::move(installPath))
{
}

void RunJournal::markInterruptedRuns()
{
    RunLedger ledger(m_installPath);
    if (const int runs = ledger.markInterrupted(utcText(m_clock.now())); runs > 0)
        m_log.warning(QStringLiteral("%1 report runs were found unfinished and marked interrupted").arg(runs));
}

void RunJournal::notRun(const ScheduledReportJob &job, const QString &reason)
{
    m_log.warning(QStringLiteral("scheduled report '%1' (%2) was not run: %3").arg(job.JobDescription, job.QueryFileName, reason));
    RunLedger(m_installPath).notRun(job.QueryFileName, QStringLiteral("schedule"), reason, utcText(m_clock.now()));
}

void RunJournal::skippedRuns(const ScheduledReportJob &job, const WallTime &ran, int skipped)
{
    const QString reason = QStringLiteral("%1 of its times went by before it ran on %2 %3")
                               .arg(QString::number(skipped), shortDateText(ran.date), time24Text(ran.secondOfDay));
    m_log.warning(QStringLiteral("scheduled report '%1' (%2): %3").arg(job.JobDescription, job.QueryFileName, reason));
    RunLedger(m_installPath).notRun(job.QueryFileName, QStringLiteral("schedule"), reason, utcText(m_clock.now()));
}

void RunJournal::note(const QString &text)
{
    m_log.info(text);
}

} // namespace qm
