/// \file
/// A journal that keeps what it is told.
#pragma once

#include "scheduler/ScheduleServices.h"

namespace qm::test {

class FakeJournal final : public ScheduleJournal
{
public:
    QStringList lines, refusals;
    void notRun(const ScheduledReportJob &job, const QString &reason) override
    {
        lines.append(QStringLiteral("not run: ") + job.JobDescription + QStringLiteral(": ") + reason);
    }
    void refused(const QString &queryFile, bool interactive, const QString &reason) override
    {
        refusals.append(queryFile + (interactive ? QStringLiteral(" operator ") : QStringLiteral(" schedule ")) + reason);
    }
    void skippedRuns(const ScheduledReportJob &job, const WallTime &, int skipped) override
    {
        lines.append(QStringLiteral("skipped %1: ").arg(skipped) + job.JobDescription);
    }
    void note(const QString &text) override { lines.append(text); }
};

} // namespace qm::test
