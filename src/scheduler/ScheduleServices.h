/// \file
/// What the scheduler's classes share.
#pragma once

#include "core/Globals.h"

#include <QString>
#include <QStringMatcher>

#include <vector>

namespace qm {

class Clock;
class ErrorReporter;
class JobConfigReader;
class Prompts;
class WorkAtHand;

/// Keeps the facts of unattended runs that nobody was there to see: application log and run ledger.
class ScheduleJournal
{
public:
    virtual ~ScheduleJournal() = default;
    /// A due job whose report was not made, and why.
    virtual void notRun(const ScheduledReportJob &job, const QString &reason) = 0;
    /// A report that was not even begun, and why; \p interactive: the operator asked for it, not the schedule.
    virtual void refused(const QString &queryFile, bool interactive, const QString &reason) = 0;
    /// A job, due at its `DateTime`, that ran so late that \p skipped later times of its own, up to the end of the day on which it
    /// \p ran, are left out.
    virtual void skippedRuns(const ScheduledReportJob &job, const WallTime &ran, int skipped) = 0;
    /// A line of the application log.
    virtual void note(const QString &text) = 0;
};

/// References that outlive every class of the scheduler.
struct ScheduleServices
{
    Globals &globals;
    JobConfigReader &reader;
    ErrorReporter &errors;
    Prompts &prompts;
    const Clock &clock;
    ScheduleJournal &journal;
    const WorkAtHand &work;
};

/// Writes the whole job collection to "Config\Jobs.cfg" and keeps the collection that comes back.
/// \throws RuntimeError 91 when the jobs were never read, 76 without an installation folder, or what the writer says.
void saveJobs(const ScheduleServices &services);

/// Finds the packages of many query files; it looks at the packages once.
class PackageInterfaces final
{
public:
    explicit PackageInterfaces(const Globals &globals);
    /// The `Interface` identifier of the first package whose folder is part of \p queryFile (letter case ignored); empty without a match.
    [[nodiscard]] QString of(const QString &queryFile) const;

private:
    struct Package
    {
        QStringMatcher folder;
        QString interfaceId;
    };
    std::vector<Package> m_packages;
};

/// PackageInterfaces::of() for one query file.
[[nodiscard]] QString FindPackageInterface(const Globals &globals, const QString &queryFile);

} // namespace qm
