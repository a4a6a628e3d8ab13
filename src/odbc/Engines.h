/// \file
/// The database engines and the drivers that reach them: everything that differs between them stands in one row of one table.
#pragma once

#include "core/ConnectionString.h"

#include <QString>
#include <QStringList>

#include <initializer_list>
#include <span>

namespace qm {

enum class SqlDialect {
    Standard,   ///< quotes, comments and :name only: an engine that is not known closer
    Sqlite,     ///< also [name], `name`, and the marks @name and $name
    MsSql,      ///< also [name], nested comments and the mark @name; @@name is a system function
    Oracle,     ///< also q'[text]'; @name is a database link
    PostgreSql, ///< also $tag$text$tag$, E'text', nested comments and the cast ::name
};

namespace odbc {

using Words = std::span<const char *const>;

/// One engine, whatever driver reaches it. Adding one: a dialect for the lexer, a row here, and a row for each of its drivers.
struct Engine
{
    SqlDialect dialect = SqlDialect::Standard;
    const char *label = "";              ///< for messages
    const char *word = "";               ///< its key in a query's table sql_for; empty: none
    Words drivers = {};                  ///< names of drivers, in order of preference
    const char *driversHold = nullptr;   ///< when none of these is installed: a word that the name of any other one holds
    Words sessionCommands = {};          ///< before the transaction begins
    Words transactionCommands = {};      ///< first in it
    const char *backendQuery = nullptr;  ///< the number of the server's process, where statements are cancelled by it
    const char *cancelCommand = nullptr; ///< with "%1" for that number
    int firstYear = 0;                   ///< of its timestamps, where "all time" must not begin before; 0: any
    bool hasBooleans = false;            ///< wants them bound as such
    bool hasBigIntegers = true;          ///< its driver takes 64-bit integers
    bool hasEndlessDecimals = false;     ///< a decimal without precision is longer than any buffer
    /// Gives table, its type, column, the column's type, in order of type and table; table names are in columns 1 to 4 of each row.
    const char *schemaQuery = "";
};

/// The driver families that need something of their own.
enum class Family { FreeTds, Microsoft, PostgreSql, Sqlite, Oracle, Other };

struct Setting
{
    const char *key, *value;
};

struct DriverFamily
{
    Family family = Family::Other;
    SqlDialect dialect = SqlDialect::Standard;
    Words marks = {}; ///< parts of the names of drivers and of their libraries, lower case
    Words keys = {};  ///< beside the common ones, what a query's connection string may set: none loads code or opens files
    std::span<const Setting> defaults = {}; ///< set unless string or DSN say otherwise
};

[[nodiscard]] const Engine &engineOf(SqlDialect dialect);
[[nodiscard]] const DriverFamily &driverFamily(Family family);
/// What a driver is, by its name or its library's.
[[nodiscard]] Family familyOf(const QString &driver);

/// The first of the drivers wanted for \p engine that is in \p installed; empty when none is. Letter case does not matter.
[[nodiscard]] QString chooseDriver(const Engine &engine, const QStringList &installed);
/// The names looked for, for messages.
[[nodiscard]] QStringList driverNames(const Engine &engine);
/// Whether a query's connection string may set \p key for a driver of \p family.
[[nodiscard]] bool maySet(const DriverFamily &family, const QString &key);

} // namespace odbc
} // namespace qm
