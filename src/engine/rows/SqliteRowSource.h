/// \file
/// Rows of an embedded event database.
#pragma once

#include "engine/rows/CancelFlag.h"
#include "engine/rows/RowSource.h"
#include "engine/sql/SqlParameters.h"
#include "sqlite/Sqlite.h"
#include "sqlite/SqliteGuard.h"

#include <thread>

namespace qm {

/// Streams the rows of one SELECT from an SQLite file. The file is opened for reading only and guarded, and the whole result comes from one
/// read transaction: rows that a running import commits meanwhile are not seen. A lock is waited for up to 10 seconds.
///
/// A file that nobody can change, on a medium that cannot be written, is read without locks.
///
/// A database that a killed import left behind can need recovery, which a reader may not do: it is then opened for writing, with
/// every write of the SQL still refused.
class SqliteRowSource final : public RowSource
{
public:
    /// Opens, prepares and binds. \p parameters must hold every parameter of \p sql.
    /// \throws RuntimeError 53 no such file, 75 not readable, reportFailed: no database, locked, not permitted (and what to do), or the
    /// database's words with line and column for an error in the SQL; cancelledByOperator.
    SqliteRowSource(const QString &database, const QString &sql, const std::vector<BoundParameter> &parameters, const RunLimits &limits);
    ~SqliteRowSource() override;

    [[nodiscard]] std::span<const ResultColumn> columns() const override { return m_columns; }
    bool next(std::span<Value> row) override;

private:
    void openDatabase();
    /// Takes the connection just opened with \p code and begins the read transaction. \returns an SQLite result code.
    int beginReading(sqlite::Connection connection, int code);
    void prepare();
    void bind(const std::vector<BoundParameter> &parameters);
    void readColumns();
    /// Ends at the time-out what runs for long inside one function of SQLite, where no progress is called.
    void interruptInTime();

    [[noreturn]] void raiseOpening(int code) const;
    /// \p begin: where in \p sql (UTF-8) the statement begins that was refused.
    [[noreturn]] void raisePreparing(int code, const QByteArray &sql, qsizetype begin) const;
    [[noreturn]] void raiseRunning(int code) const;
    [[noreturn]] void raiseAt(const QString &words, qsizetype offset) const;

    /// Ends large values of SQLite's own functions in time, which ask for no progress.
    [[nodiscard]] sqlite::MemoryDeadline deadline() const;

    static int onBusy(void *self, int count);
    static int onProgress(void *self);

    QString m_path, m_sql;
    RunLimits m_limits;
    std::chrono::steady_clock::time_point m_busySince;
    SqliteGuard m_guard;
    sqlite::Connection m_connection;
    sqlite::Statement m_statement;
    std::vector<ResultColumn> m_columns;
    std::jthread m_watchdog; ///< last: it ends before the connection
};

} // namespace qm
