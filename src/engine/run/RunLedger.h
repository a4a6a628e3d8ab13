/// \file
/// The run ledger: one row for each report run of an installation, "Logs/RunLedger.db".
#pragma once

#include "engine/outputs/LedgerDelivery.h"
#include "engine/run/RunWords.h"
#include "sqlite/Sqlite.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <vector>

namespace qm {

/// One run. Texts; times are UTC as "YYYY-MM-DD HH:MM:SS". Nothing in it holds a password.
struct LedgerEntry
{
    std::int64_t id = 0;
    QString queryFile, description, package;
    RunTrigger trigger = RunTrigger::Operator;
    QString period;     ///< in words
    QString outputType; ///< screen, printer, file, email, none
    QString format;
    QString outputFile;
    QString startedUtc, endedUtc;
    std::int64_t rows = 0;
    std::uint64_t bytes = 0;
    QString sha256;
    RunStatus status = RunStatus::Running;
    QString error;
    QString note;
    std::vector<LedgerDelivery> deliveries; ///< of e-mailed and printed runs; written by recordDeliveries() only
};

/// Writes and lists the ledger. A ledger that cannot be written never stops a report: the calls then do nothing and problem() says why.
/// Several processes may write it at once, also those of other users of the group that its folder is shared with. One object per thread.
class RunLedger final
{
public:
    /// \p installPath with trailing separator; empty: there is no ledger, which is no problem.
    explicit RunLedger(const QString &installPath);

    /// Adds \p entry as running in this process, and sets its id (0 when that failed).
    void start(LedgerEntry &entry) noexcept;
    /// Writes every member of \p entry, status included; adds it when its id is 0.
    void finish(LedgerEntry &entry) noexcept;
    /// Writes what is known of run \p id's recipients by now, in place of what was known of the same ones before. Does nothing for id 0.
    void recordDeliveries(std::int64_t id, const std::vector<LedgerDelivery> &deliveries) noexcept;
    /// Writes down that run \p id makes its file in \p folder, for as long as it runs. Does nothing for id 0.
    void recordFolder(std::int64_t id, const QString &folder) noexcept;
    /// Removes what interrupted runs of this host left in such folders and no living program holds. A folder is remembered until nothing of
    /// the run's time is left in it.
    void sweepFolders() noexcept;
    /// Records that a due report was not run, and why. \p when is UTC.
    void notRun(const QString &queryFile, RunTrigger trigger, const QString &reason, const QString &when) noexcept;
    /// Marks rows that a process of this host left running when it died. \returns how many.
    int markInterrupted(const QString &when) noexcept;
    /// Hands \p take the newest run first, until it returns false; some thousand runs are in memory at once. A missing ledger is empty.
    /// \throws RuntimeError reportFailed when it is there and cannot be read.
    void visit(const std::function<bool(const LedgerEntry &)> &take) const;
    /// The newest runs first, as visit() gives them; at most \p limit, 0 for all.
    [[nodiscard]] std::vector<LedgerEntry> list(int limit = 0) const;
    /// The run \p id. \throws RuntimeError reportFailed when there is none, and as list().
    [[nodiscard]] LedgerEntry entry(std::int64_t id) const;

    /// Why the ledger could not be written; empty when it could.
    [[nodiscard]] const QString &problem() const { return m_problem; }
    [[nodiscard]] const QString &path() const { return m_path; }

private:
    template <class Body>
    void guarded(Body &&body) noexcept;
    void openForWriting();
    /// Null when there is no ledger, or one that nothing was written to yet.
    [[nodiscard]] sqlite::Connection openForReading() const;
    [[noreturn]] void failReading(sqlite3 *connection) const;
    /// The \p most newest runs below number \p below, without deliveries.
    [[nodiscard]] std::vector<LedgerEntry> readPage(sqlite3 *connection, std::int64_t below, int most) const;
    void insert(LedgerEntry &entry);
    void update(const LedgerEntry &entry);
    void forgetFolder(std::int64_t id);

    QString m_installPath;
    QString m_path; ///< empty: no ledger
    QString m_problem;
    sqlite::Connection m_connection;
    bool m_hasFolder = false; ///< recordFolder() was called
};

} // namespace qm
