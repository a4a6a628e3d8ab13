/// \file
/// The rows of one report on disk, for a viewer: a private SQLite file that nobody else can open.
#pragma once

#include "documents/Writers.h"
#include "engine/rows/ShapeSources.h"
#include "sqlite/Sqlite.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace qm {

/// The folder for spools under the user's cache folder, made for this user only. \throws RuntimeError 75.
[[nodiscard]] QString spoolFolder();

/// Removes what programs that were killed left there, on systems where an open file keeps its name; files in use stay.
void removeLeftSpools();

/// A statement of a spool's database.
class SpoolStatement final
{
public:
    /// \throws RuntimeError 61, 57, 7 by what the database says.
    SpoolStatement(sqlite3 *database, const char *sql);

    [[nodiscard]] sqlite3_stmt *get() const { return m_statement.get(); }
    /// \returns whether there is a row. \throws RuntimeError as the constructor; cancelledByOperator when interrupted.
    bool step();
    void reset();

private:
    sqlite::Statement m_statement;
};

/// Holds report rows numbered from 1. The file has no name any more once it is open (where the system allows that), so that it goes with
/// the process however that ends. Two connections, so that work on another thread does not hold up the window: each is used by one thread
/// at a time.
class Spool final
{
public:
    /// \throws RuntimeError 75, 61, 57.
    Spool();
    ~Spool();
    Spool(const Spool &) = delete;
    Spool &operator=(const Spool &) = delete;

    [[nodiscard]] sqlite3 *front() const { return m_front.get(); } ///< of the writing thread, then of the window
    [[nodiscard]] sqlite3 *back() const { return m_back.get(); }   ///< of background work

private:
    QString m_path; ///< empty once the file has no name
    sqlite::Connection m_front, m_back;
};

/// Everything about one finished report.
struct SpooledReport
{
    std::unique_ptr<Spool> spool;
    ReportHead head;
    ReportShape shape;
    ReportTail tail;
    CsvOptions csv = {};                                   ///< how the query wants CSV made of the rows
    ShapeSources sources = {};                             ///< what groups and sums are made of: columns of the spooled rows
    std::shared_ptr<const struct KeptTail> kept = nullptr; ///< what the tail's spans point into

    /// The columns that are shown, without those that are only kept.
    [[nodiscard]] std::vector<ReportColumn> shownColumns() const;
};

/// Receives a report's rows into a spool. Rows become visible with end(); destroyed before that, nothing is left.
class SpoolWriter final : public ReportWriter
{
public:
    SpoolWriter();
    ~SpoolWriter() override;

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override;
    void row(std::span<const Value> cells) override;
    void end(const ReportTail &tail) override;

    [[nodiscard]] bool isComplete() const { return m_complete; }
    /// The report, once complete. The writer is empty afterwards.
    [[nodiscard]] SpooledReport take();

private:
    void keepTail(const ReportTail &tail);

    SpooledReport m_report;
    std::unique_ptr<SpoolStatement> m_insert;
    bool m_complete = false;
};

/// Reads rows of a spool through one of its connections; at most one reader at a time for each of them.
class SpoolReader final
{
public:
    SpoolReader(sqlite3 *database, std::size_t columns);
    ~SpoolReader();
    SpoolReader(const SpoolReader &) = delete;
    SpoolReader &operator=(const SpoolReader &) = delete;

    /// The row with number \p id; values live until the next call. \returns an empty span when it cannot be read.
    [[nodiscard]] std::span<const Value> row(std::int64_t id);

private:
    sqlite3 *m_database;
    SpoolStatement m_byId;
    std::vector<Value> m_values;
};

/// Fills \p values from the statement's current row, starting at its column \p first.
void readSpoolValues(sqlite3_stmt *statement, int first, std::span<Value> values);

} // namespace qm
