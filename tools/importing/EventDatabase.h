/// \file
/// A package's embedded event database, open for one import.
#pragma once

#include "importing/EventRecord.h"
#include "sqlite/Sqlite.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <set>

namespace qm {

/// One import into an SQLite file: everything between the constructor and commit() is one transaction, so that a reader sees all of it or
/// nothing, and whatever ends the program leaves the old data whole. The file is kept in write-ahead mode, so that reports run meanwhile.
/// Creates the schema and the look-up tables in a file that is new or has no tables. Not thread-safe.
class EventDatabase final
{
public:
    struct Options
    {
        int waitSeconds = 120;           ///< how long to wait for another writer
        std::function<bool()> stop = {}; ///< asked often, also while waiting; true ends the import. May be empty.
    };

    /// Opens the file and begins the transaction.
    /// \throws RuntimeError 76 folder missing, 75 read-only or not permitted, 321 not an SQLite database or not one of this kind of events,
    /// 70 locked by another program for longer than the wait; every member: cancelledByOperator once stop() gave true.
    EventDatabase(const QString &path, const EventSchema &schema, const Options &options);
    EventDatabase(const QString &path, const EventSchema &schema) : EventDatabase(path, schema, Options{}) {}
    /// Without commit() the transaction is rolled back.
    ~EventDatabase();
    EventDatabase(const EventDatabase &) = delete;
    EventDatabase &operator=(const EventDatabase &) = delete;

    /// Adds a complete record under the next row id. \throws RuntimeError 61 disk full, 57.
    void insert(const EventRecord &record);
    /// Creates the indexes of a new database, renews the statistics that the query planner uses, and makes the import durable. Used once,
    /// as the last. \throws UncertainImport when the rows may be there although the disk refused to keep them; else as insert(), nothing is
    /// there then.
    void commit();

    [[nodiscard]] std::int64_t rows() const { return m_rows; }
    [[nodiscard]] bool isNew() const { return m_isNew; }
    /// Values of the looked-up column that came in and that the look-up table does not list: reports that join it leave such rows out.
    [[nodiscard]] QStringList unlistedValues();

private:
    void open();
    void useWriteAheadLog();
    void beginTransaction();
    void prepareSchema();
    void checkTable();
    void prepareInsert();
    void execute(const std::string &sql);
    [[nodiscard]] std::int64_t number(const std::string &sql);
    [[noreturn]] void fail(int code) const;
    /// After a commit that failed with \p code. \throws as commit().
    [[noreturn]] void failCommit(int code);
    /// How many of this import's rows a program finds that opens the file from now on; nothing when that is not known.
    [[nodiscard]] std::optional<std::int64_t> rowsThere() const;
    [[nodiscard]] bool stopped() const { return m_options.stop && m_options.stop(); }
    static int whenBusy(void *self, int count);

    QString m_path;
    const EventSchema &m_schema;
    Options m_options;
    sqlite::Connection m_database;
    sqlite::Statement m_insert;
    std::set<std::string, std::less<>> m_lookedUp;
    std::int64_t m_rows = 0, m_firstId = 1, m_nextId = 1;
    bool m_isNew = false;
};

} // namespace qm
