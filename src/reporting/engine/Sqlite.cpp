#include "reporting/engine/Sqlite.h"

#include "reporting/engine/Failure.h"

#include <cstring>

namespace qm::sqlite {

QString message(sqlite3 *connection)
{
    QString text = QString::fromUtf8(sqlite3_errmsg(connection));
    if (const int system = sqlite3_system_errno(connection); system != 0 && sqlite3_errcode(connection) == SQLITE_CANTOPEN)
        text += QStringLiteral(" (%1)").arg(QString::fromLocal8Bit(std::strerror(system)));
    return text;
}

Connection open(const QString &path, int flags, int &result)
{
    sqlite3 *connection = nullptr;
    result = sqlite3_open_v2(path.toUtf8().constData(), &connection, flags, nullptr);
    if (!connection)
        throw std::bad_alloc();
    sqlite3_extended_result_codes(connection, 1);
    return Connection(connection);
}

int execute(sqlite3 *connection, const char *sql)
{
    return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr);
}

Statement prepare(sqlite3 *connection, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr) != SQLITE_OK)
        failReport(message(connection));
    return Statement(statement);
}

void bindText(sqlite3_stmt *statement, int index, const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    // The copy is SQLite's own: the bytes above end with this function.
    sqlite3_bind_text64(statement, index, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()), SQLITE_TRANSIENT, SQLITE_UTF8);
}

QString columnText(sqlite3_stmt *statement, int column)
{
    const void *text = sqlite3_column_blob(statement, column);
    return QString::fromUtf8(static_cast<const char *>(text), sqlite3_column_bytes(statement, column));
}

} // namespace qm::sqlite
