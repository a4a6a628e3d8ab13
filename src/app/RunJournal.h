/// \file
/// The scheduler's journal in the application log and the run ledger.
#pragma once

#include "engine/run/RunLedger.h"
#include "framework/ComponentRegistry.h"
#include "scheduler/ScheduleServices.h"

#include <QTimer>

#include <map>
#include <optional>

namespace qm {

class ApplicationLog;

class RunJournal final : public ScheduleJournal, public ForeignRuns
{
public:
    /// \p installPath ends with a separator, or is empty: then there is no ledger.
    RunJournal(ApplicationLog &log, const Clock &clock, QString installPath);

    /// Marks runs of this machine that a program which is gone left unfinished, and removes what they left outside the installation.
    void markInterruptedRuns();

    void notRun(const ScheduledReportJob &job, const QString &reason) override;
    void refused(const QString &queryFile, bool interactive, const QString &reason) override;
    void skippedRuns(const ScheduledReportJob &job, const WallTime &ran, int skipped) override;
    void note(const QString &text) override;
    int began(const QString &queryFile, const QString &progId, bool interactive) override;
    void ended(int run, const std::optional<RuntimeError> &failure) override;

private:
    /// The ledger, open until the event loop comes round: many lines may be written at once.
    [[nodiscard]] RunLedger &ledger();

    ApplicationLog &m_log;
    const Clock &m_clock;
    QString m_installPath;
    std::optional<RunLedger> m_ledger;
    QTimer m_closeLedger;
    std::map<int, LedgerEntry> m_foreign; ///< under way
    int m_lastForeign = 0;
};

} // namespace qm
