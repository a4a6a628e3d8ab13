#include "sqlite/SqliteGuard.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace qm {

namespace {

using std::string_view;

string_view viewOf(const char *text)
{
    return text ? string_view(text) : string_view();
}

bool contains(const auto &names, string_view name)
{
    return std::any_of(names.begin(), names.end(), [&](string_view known) {
        return known.size() == name.size() && sqlite3_strnicmp(known.data(), name.data(), static_cast<int>(name.size())) == 0;
    });
}

/// Functions that load code or reach outside the database.
constexpr std::array<string_view, 5> kDangerousFunctions{"load_extension", "fts3_tokenizer", "readfile", "writefile", "edit"};
/// Pragmas that only tell about the schema. Table-valued pragma_... functions ask for them too; data_version is asked by full-text tables.
constexpr std::array<string_view, 13> kReadingPragmas{
    "table_info",    "table_xinfo",    "table_list",    "index_list",      "index_info",   "index_xinfo", "foreign_key_list",
    "database_list", "collation_list", "function_list", "compile_options", "data_version", "module_list"};

struct ActionName
{
    int action;
    const char *name;
};
constexpr std::array kActionNames{
    ActionName{SQLITE_ALTER_TABLE, "ALTER TABLE"},
    ActionName{SQLITE_ANALYZE, "ANALYZE"},
    ActionName{SQLITE_ATTACH, "ATTACH (and VACUUM)"},
    ActionName{SQLITE_CREATE_INDEX, "CREATE INDEX"},
    ActionName{SQLITE_CREATE_TABLE, "CREATE TABLE"},
    ActionName{SQLITE_CREATE_TEMP_INDEX, "CREATE INDEX"},
    ActionName{SQLITE_CREATE_TEMP_TABLE, "CREATE TEMPORARY TABLE"},
    ActionName{SQLITE_CREATE_TEMP_TRIGGER, "CREATE TRIGGER"},
    ActionName{SQLITE_CREATE_TEMP_VIEW, "CREATE TEMPORARY VIEW"},
    ActionName{SQLITE_CREATE_TRIGGER, "CREATE TRIGGER"},
    ActionName{SQLITE_CREATE_VIEW, "CREATE VIEW"},
    ActionName{SQLITE_CREATE_VTABLE, "CREATE VIRTUAL TABLE"},
    ActionName{SQLITE_DELETE, "DELETE"},
    ActionName{SQLITE_DETACH, "DETACH"},
    ActionName{SQLITE_DROP_INDEX, "DROP INDEX"},
    ActionName{SQLITE_DROP_TABLE, "DROP TABLE"},
    ActionName{SQLITE_DROP_TEMP_TABLE, "DROP TABLE"},
    ActionName{SQLITE_DROP_TRIGGER, "DROP TRIGGER"},
    ActionName{SQLITE_DROP_VIEW, "DROP VIEW"},
    ActionName{SQLITE_DROP_VTABLE, "DROP TABLE"},
    ActionName{SQLITE_FUNCTION, "the function"},
    ActionName{SQLITE_INSERT, "INSERT"},
    ActionName{SQLITE_PRAGMA, "PRAGMA"},
    ActionName{SQLITE_REINDEX, "REINDEX"},
    ActionName{SQLITE_SAVEPOINT, "SAVEPOINT"},
    ActionName{SQLITE_TRANSACTION, "BEGIN, COMMIT or ROLLBACK"},
    ActionName{SQLITE_UPDATE, "UPDATE"},
};

QString describe(int action, string_view first, string_view second)
{
    const auto found =
        std::find_if(kActionNames.begin(), kActionNames.end(), [&](const ActionName &name) { return name.action == action; });
    QString text = found == kActionNames.end() ? QStringLiteral("this kind of statement") : QString::fromLatin1(found->name);
    const string_view object = action == SQLITE_FUNCTION ? second : first;
    const bool named = action == SQLITE_FUNCTION || action == SQLITE_PRAGMA || action == SQLITE_INSERT || action == SQLITE_UPDATE ||
                       action == SQLITE_DELETE;
    if (named && !object.empty())
        text += u' ' + QString::fromUtf8(object.data(), static_cast<qsizetype>(object.size()));
    return text;
}

} // namespace

void SqliteGuard::harden(sqlite3 *connection)
{
    sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0, nullptr);
    sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, kLongestValue);
}

void SqliteGuard::watch(sqlite3 *connection)
{
    sqlite3_set_authorizer(connection, &SqliteGuard::authorize, this);
}

int SqliteGuard::authorize(void *self, int action, const char *first, const char *second, const char *, const char *)
{
    return static_cast<SqliteGuard *>(self)->decide(action, first, second);
}

int SqliteGuard::decide(int action, const char *first, const char *second)
{
    switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_RECURSIVE:
        return SQLITE_OK;
    case SQLITE_FUNCTION:
        if (!contains(kDangerousFunctions, viewOf(second)))
            return SQLITE_OK;
        break;
    case SQLITE_PRAGMA:
        if (contains(kReadingPragmas, viewOf(first)))
            return SQLITE_OK;
        break;
    case SQLITE_UPDATE:
        // Asked while a virtual table (json_each, pragma_table_info) declares its columns. A statement that really changes this table is
        // refused by SQLite itself, and by the test that the prepared statement only reads.
        if (contains(std::array<string_view, 2>{"sqlite_master", "sqlite_temp_master"}, viewOf(first)))
            return SQLITE_OK;
        break;
    default:
        break;
    }
    if (m_refusal.isEmpty())
        m_refusal = describe(action, viewOf(first), viewOf(second));
    return SQLITE_DENY;
}

} // namespace qm
