/// \file
/// The run ledger: one row for each report run of an installation, "Logs/RunLedger.db".
#pragma once

#include "reporting/engine/Sqlite.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace qm {

/// What became of one run's output at one recipient or printer.
struct LedgerDelivery
{
    QString target; ///< e-mail address, or name of a print queue
    QString sender; ///< e-mail address; empty for printers
    QString state;  ///< delivered, refused, deferred, unknown, not sent; printed, taken, failed
    QString words;  ///< of the server or the queue
    QString whenUtc;
};

/// One run. Texts; times are UTC as "YYYY-MM-DD HH:MM:SS". Nothing in it holds a password.
struct LedgerEntry
{
    std::int64_t id = 0;
    QString queryFile, description, package;
    QString trigger;    ///< "operator", "schedule", "command line"
    QString period;     ///< in words
    QString outputType; ///< screen, printer, file, email, none
    QString format;
    QString outputFile;
    QString startedUtc, endedUtc;
    std::int64_t rows = 0;
    std::uint64_t bytes = 0;
    QString sha256;
    QString status; ///< running, done, failed, cancelled, interrupted, not run
    QString error;
    QString note;
    std::vector<LedgerDelivery> deliveries; ///< of e-mailed and printed runs; written by recordDeliveries() only
};

/// Writes and lists the ledger. A ledger that cannot be written never stops a report: the calls then do nothing and problem() says why.
/// Several processes may write it at once. One object per thread.
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
    /// Records that a due report was not run, and why. \p when is UTC.
    void notRun(const QString &queryFile, const QString &trigger, const QString &reason, const QString &when) noexcept;
    /// Marks rows that a process of this host left running when it died. \returns how many.
    int markInterrupted(const QString &when) noexcept;
    /// The newest runs first; at most \p limit, 0 for all. A missing ledger is empty.
    /// \throws RuntimeError reportFailed when it is there and cannot be read.
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
    [[nodiscard]] std::vector<LedgerEntry> read(const char *sql, std::int64_t parameter) const;
    void insert(LedgerEntry &entry);
    void update(const LedgerEntry &entry);

    QString m_path; ///< empty: no ledger
    QString m_problem;
    sqlite::Connection m_connection;
};

} // namespace qm
