/// \file
/// The scheduler's journal in the application log and the run ledger.
#pragma once

#include "engine/run/RunLedger.h"
#include "scheduler/ScheduleServices.h"

#include <QTimer>

#include <optional>

namespace qm {

class ApplicationLog;

class RunJournal final : public ScheduleJournal
{
public:
    /// \p installPath ends with a separator, or is empty: then there is no ledger.
    RunJournal(ApplicationLog &log, const Clock &clock, QString installPath);

    /// Marks runs of this machine that a program which is gone left unfinished.
    void markInterruptedRuns();

    void notRun(const ScheduledReportJob &job, const QString &reason) override;
    void refused(const QString &queryFile, bool interactive, const QString &reason) override;
    void skippedRuns(const ScheduledReportJob &job, const WallTime &ran, int skipped) override;
    void note(const QString &text) override;

private:
    /// The ledger, open until the event loop comes round: many lines may be written at once.
    [[nodiscard]] RunLedger &ledger();

    ApplicationLog &m_log;
    const Clock &m_clock;
    QString m_installPath;
    std::optional<RunLedger> m_ledger;
    QTimer m_closeLedger;
};

} // namespace qm
