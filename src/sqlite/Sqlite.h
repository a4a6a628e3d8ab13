/// \file
/// Ownership of SQLite connections and statements, what their failures mean, and what bounds them.
#pragma once

#include <QString>

#include <sqlite3.h>

#include <memory>

namespace qm::sqlite {

struct CloseConnection
{
    void operator()(sqlite3 *connection) const noexcept { sqlite3_close_v2(connection); }
};
struct FinalizeStatement
{
    void operator()(sqlite3_stmt *statement) const noexcept { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/// What a result code means to whoever gets it; the words for people are the caller's, who knows what the file is for.
enum class Trouble {
    None,
    Cancelled,
    Locked,
    NotPermitted,
    Refused,
    DiskFull,
    OutOfMemory,
    TooLong,
    Damaged,
    NotADatabase,
    DeviceError,
    Other
};
[[nodiscard]] Trouble troubleOf(int code) noexcept;

/// What the database last said: its own words, and the system's where it names an error of the system.
[[nodiscard]] QString message(sqlite3 *connection);
/// Opens \p path without URI names. The connection is there even when \p result is an error (unless memory is out).
[[nodiscard]] Connection open(const QString &path, int flags, int &result);
/// Whether nobody can change \p path and its readers cannot share a file beside it: a database with a write-ahead log that was closed
/// cleanly, on a medium that cannot be written.
[[nodiscard]] bool isUnchanging(const QString &path);
/// Opens such a file for reading, without locks and without looking for changes.
[[nodiscard]] Connection openUnchanging(const QString &path, int &result);
/// Runs \p sql to its end, rows ignored. \returns an SQLite result code.
int execute(sqlite3 *connection, const char *sql);
/// \throws RuntimeError reportFailed with the database's words when \p sql cannot be prepared.
[[nodiscard]] Statement prepare(sqlite3 *connection, const char *sql);
/// Binds text (UTF-8); an empty text stays an empty text.
void bindText(sqlite3_stmt *statement, int index, const QString &text);
[[nodiscard]] QString columnText(sqlite3_stmt *statement, int column);

/// While it lives, this thread gets no large piece of memory for a database once \p isOver says so: a function that builds a huge value
/// asks nobody else whether it may go on. What was running ends with SQLITE_NOMEM.
class MemoryDeadline final
{
public:
    using IsOver = bool (*)(const void *);

    MemoryDeadline(IsOver isOver, const void *argument);
    ~MemoryDeadline();
    MemoryDeadline(const MemoryDeadline &) = delete;
    MemoryDeadline &operator=(const MemoryDeadline &) = delete;

private:
    IsOver m_outerIsOver;
    const void *m_outerArgument;
};

} // namespace qm::sqlite
