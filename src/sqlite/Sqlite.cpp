#include "sqlite/Sqlite.h"

#include "core/Failure.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QUrl>

#include <cstring>

namespace qm::sqlite {

namespace {

/// Smaller pieces are had at any time.
constexpr int kLargePiece = 1 << 16;
/// For all databases of this program together.
constexpr sqlite3_int64 kMostMemory = sqlite3_int64{1} << 30;
/// Where a database file says how it is written and read, and what it says for a write-ahead log. Source: "Database File Format".
constexpr qsizetype kVersionOffset = 18;
constexpr char kWriteAheadLog = 2;

thread_local MemoryDeadline::IsOver t_isOver = nullptr;
thread_local const void *t_argument = nullptr;
sqlite3_mem_methods g_memory{}; ///< SQLite's own

bool isRefused(int bytes)
{
    return bytes >= kLargePiece && t_isOver && t_isOver(t_argument);
}

void *allocate(int bytes)
{
    return isRefused(bytes) ? nullptr : g_memory.xMalloc(bytes);
}

void *reallocate(void *piece, int bytes)
{
    return isRefused(bytes) ? nullptr : g_memory.xRealloc(piece, bytes);
}

/// Before the first connection; later it does nothing.
void configureOnce()
{
    static const bool done = [] {
        if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_memory) == SQLITE_OK) {
            sqlite3_mem_methods methods = g_memory;
            methods.xMalloc = allocate;
            methods.xRealloc = reallocate;
            sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
        }
        sqlite3_hard_heap_limit64(kMostMemory);
        return true;
    }();
    static_cast<void>(done);
}

Connection openAs(const QByteArray &name, int flags, int &result)
{
    configureOnce();
    sqlite3 *connection = nullptr;
    result = sqlite3_open_v2(name.constData(), &connection, flags, nullptr);
    if (!connection)
        throw std::bad_alloc();
    sqlite3_extended_result_codes(connection, 1);
    return Connection(connection);
}

} // namespace

Trouble troubleOf(int code) noexcept
{
    switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return Trouble::None;
    case SQLITE_INTERRUPT:
        return Trouble::Cancelled;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        return Trouble::Locked;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
        return Trouble::NotPermitted;
    case SQLITE_AUTH:
        return Trouble::Refused;
    case SQLITE_FULL:
        return Trouble::DiskFull;
    case SQLITE_NOMEM:
        return Trouble::OutOfMemory;
    case SQLITE_TOOBIG:
        return Trouble::TooLong;
    case SQLITE_CORRUPT:
        return Trouble::Damaged;
    case SQLITE_NOTADB:
        return Trouble::NotADatabase;
    case SQLITE_IOERR:
        // No room for the file that readers of a write-ahead log share.
        return code == SQLITE_IOERR_SHMSIZE ? Trouble::DiskFull : Trouble::DeviceError;
    default:
        return Trouble::Other;
    }
}

QString message(sqlite3 *connection)
{
    QString text = QString::fromUtf8(sqlite3_errmsg(connection));
    if (const int system = sqlite3_system_errno(connection); system != 0 && sqlite3_errcode(connection) == SQLITE_CANTOPEN)
        text += QStringLiteral(" (%1)").arg(QString::fromLocal8Bit(std::strerror(system)));
    return text;
}

Connection open(const QString &path, int flags, int &result)
{
    return openAs(path.toUtf8(), flags, result);
}

bool isUnchanging(const QString &path)
{
    const QFileInfo info(path);
    if (info.isWritable() || QFileInfo(info.absolutePath()).isWritable() || !QStorageInfo(info.absolutePath()).isReadOnly())
        return false;
    QFile file(path);
    const QByteArray head = file.open(QIODevice::ReadOnly) ? file.read(kVersionOffset + 2) : QByteArray();
    if (!head.endsWith(kWriteAheadLog) || head.size() < kVersionOffset + 2)
        return false;
    // Rows that stand in the log alone would be missing, and a shared file tells of somebody who writes from elsewhere.
    return !QFileInfo::exists(path + QStringLiteral("-shm")) && QFileInfo(path + QStringLiteral("-wal")).size() == 0;
}

Connection openUnchanging(const QString &path, int &result)
{
    const QByteArray name = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toEncoded(QUrl::FullyEncoded) + "?immutable=1";
    return openAs(name, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, result);
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

MemoryDeadline::MemoryDeadline(IsOver isOver, const void *argument) : m_outerIsOver(t_isOver), m_outerArgument(t_argument)
{
    t_isOver = isOver;
    t_argument = argument;
}

MemoryDeadline::~MemoryDeadline()
{
    t_isOver = m_outerIsOver;
    t_argument = m_outerArgument;
}

} // namespace qm::sqlite
