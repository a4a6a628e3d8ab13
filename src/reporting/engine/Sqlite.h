/// \file
/// Ownership of SQLite connections and statements, and their failures as run-time errors.
#pragma once

#include <QString>

#include <sqlite3.h>

#include <memory>

namespace qm::sqlite {

struct CloseConnection
{
    void operator()(sqlite3 *connection) const noexcept { sqlite3_close(connection); }
};
struct FinalizeStatement
{
    void operator()(sqlite3_stmt *statement) const noexcept { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/// What the database last said: its own words, and the system's where it names an error of the system.
[[nodiscard]] QString message(sqlite3 *connection);
/// Opens \p path without URI names. The connection is there even when \p result is an error (unless memory is out).
[[nodiscard]] Connection open(const QString &path, int flags, int &result);
/// Runs \p sql to its end, rows ignored. \returns an SQLite result code.
int execute(sqlite3 *connection, const char *sql);
/// \throws RuntimeError reportFailed with the database's words when \p sql cannot be prepared.
[[nodiscard]] Statement prepare(sqlite3 *connection, const char *sql);
/// Binds text (UTF-8); an empty text stays an empty text.
void bindText(sqlite3_stmt *statement, int index, const QString &text);
[[nodiscard]] QString columnText(sqlite3_stmt *statement, int column);

} // namespace qm::sqlite
