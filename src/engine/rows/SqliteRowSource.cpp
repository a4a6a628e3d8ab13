#include "engine/rows/SqliteRowSource.h"

#include "core/Failure.h"
#include "engine/sql/SqlLexer.h"
#include "platform/Files.h"

#include <QFileInfo>
#include <QStorageInfo>

#include <condition_variable>
#include <mutex>

namespace qm {

namespace {

using namespace std::chrono_literals;
using sqlite::Trouble;

constexpr auto kBusyTimeout = 10s;
constexpr auto kBusyPause = 20ms;
/// Virtual machine steps between two looks at the limits: about a millisecond.
constexpr int kStepsPerLook = 20000;

/// Where the name stands that \p words are about ("no such table: events"), looked for from \p from on; -1 when they are about no name.
qsizetype offsetOfName(const QString &sql, qsizetype from, const QString &words)
{
    const QString name = words.section(QStringLiteral(": "), 1).section(u'.', -1);
    if (!words.startsWith(QStringLiteral("no such ")) || name.isEmpty())
        return -1;
    for (const SqlToken &token : lexSql(sql, SqlDialect::Sqlite)) {
        const bool isName = token.kind == SqlToken::Kind::Word || token.kind == SqlToken::Kind::QuotedName;
        QStringView text = QStringView(sql).mid(token.offset, token.length);
        if (token.kind == SqlToken::Kind::QuotedName && text.size() > 2)
            text = text.sliced(1, text.size() - 2);
        if (isName && token.offset >= from && text.compare(name, Qt::CaseInsensitive) == 0)
            return token.offset;
    }
    return -1;
}

} // namespace

SqliteRowSource::SqliteRowSource(const QString &database, const QString &sql, const std::vector<BoundParameter> &parameters,
                                 const RunLimits &limits)
    : m_path(database), m_sql(sql), m_limits(limits)
{
    m_limits.check();
    openDatabase();
    prepare();
    bind(parameters);
    readColumns();
    m_limits.onCancel([connection = m_connection.get()] { sqlite3_interrupt(connection); });
    interruptInTime();
}

SqliteRowSource::~SqliteRowSource()
{
    m_limits.onCancel({});
}

void SqliteRowSource::interruptInTime()
{
    const auto left = m_limits.left();
    if (!left)
        return;
    // A little late, so that the time is over for certain when the run looks.
    m_watchdog =
        std::jthread([connection = m_connection.get(), end = std::chrono::steady_clock::now() + *left + 2ms](std::stop_token stop) {
            std::mutex mutex;
            std::condition_variable_any stopped;
            std::unique_lock lock(mutex);
            stopped.wait_until(lock, stop, end, [] { return false; });
            if (!stop.stop_requested())
                sqlite3_interrupt(connection);
        });
}

void SqliteRowSource::openDatabase()
{
    const QFileInfo file(m_path);
    if (!file.exists())
        raise(
            err::fileNotFound,
            QStringLiteral("the event database %1. Import events into it, or mend the key \"Database\" of the package in \"Packages.ini\".")
                .arg(m_path),
            kFrameworkSource);
    if (!file.isFile() || !file.isReadable())
        raise(err::pathFileAccess,
              file.isFile()  ? QStringLiteral("the event database %1 is not readable for this user.").arg(m_path)
              : file.isDir() ? QStringLiteral("%1 is a folder, not an event database.").arg(m_path)
                             : QStringLiteral("%1 is a device or a pipe, not an event database.").arg(m_path),
              kFrameworkSource);
    const auto openAs = [&](int flags) {
        int code = SQLITE_OK;
        auto connection =
            sqlite::isUnchanging(m_path) ? sqlite::openUnchanging(m_path, code) : sqlite::open(m_path, flags | SQLITE_OPEN_NOMUTEX, code);
        return beginReading(std::move(connection), code);
    };
    int code = openAs(SQLITE_OPEN_READONLY);
    if (sqlite::troubleOf(code) == Trouble::NotPermitted)
        code = openAs(SQLITE_OPEN_READWRITE);
    if (code != SQLITE_OK)
        raiseOpening(code);
    m_guard.watch(m_connection.get());
}

int SqliteRowSource::beginReading(sqlite::Connection opened, int code)
{
    m_connection = std::move(opened);
    sqlite3 *connection = m_connection.get();
    if (code != SQLITE_OK)
        return code;
    SqliteGuard::harden(connection);
    // A reader's last close must not move the log into the database.
    sqlite3_db_config(connection, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_busy_handler(connection, &SqliteRowSource::onBusy, this);
    sqlite3_progress_handler(connection, kStepsPerLook, &SqliteRowSource::onProgress, this);
    for (const char *sql : {"PRAGMA query_only=1", "BEGIN", "SELECT count(*) FROM sqlite_schema"})
        if (code = sqlite::execute(connection, sql); code != SQLITE_OK)
            return code;
    return code;
}

int SqliteRowSource::onBusy(void *self, int count)
{
    auto *source = static_cast<SqliteRowSource *>(self);
    const auto now = std::chrono::steady_clock::now();
    if (count == 0)
        source->m_busySince = now;
    if (source->m_limits.reached() || now - source->m_busySince >= kBusyTimeout)
        return 0;
    std::this_thread::sleep_for(kBusyPause);
    return 1;
}

int SqliteRowSource::onProgress(void *self)
{
    return static_cast<SqliteRowSource *>(self)->m_limits.reached() ? 1 : 0;
}

sqlite::MemoryDeadline SqliteRowSource::deadline() const
{
    return {[](const void *limits) { return static_cast<const RunLimits *>(limits)->reached(); }, &m_limits};
}

void SqliteRowSource::prepare()
{
    const sqlite::MemoryDeadline memory = deadline(); // constant expressions are worked out here
    const QByteArray sql = m_sql.toUtf8();
    if (const qsizetype nul = m_sql.indexOf(QChar(u'\0')); nul >= 0)
        raiseAt(QStringLiteral("The SQL holds a NUL character"), nul);
    if (firstStatementOffset(m_sql, 0, SqlDialect::Sqlite) < 0)
        failReport(QStringLiteral("The query has no SQL statement. Open it in the query editor and write one."));
    const char *rest = sql.constData();
    sqlite3_stmt *statement = nullptr;
    while (!statement) { // semicolons before the statement prepare to nothing
        const char *begin = rest;
        const int code = sqlite3_prepare_v2(m_connection.get(), begin, static_cast<int>(sql.cend() - begin + 1), &statement, &rest);
        if (code == SQLITE_OK && rest != sql.cend())
            continue;
        if (code != SQLITE_OK)
            raisePreparing(code, sql, begin - sql.constData());
        break;
    }
    m_statement.reset(statement);
    const qsizetype done = QString::fromUtf8(sql.constData(), rest - sql.constData()).size();
    if (const qsizetype second = firstStatementOffset(m_sql, done, SqlDialect::Sqlite); second >= 0)
        raiseAt(QStringLiteral("A report runs one statement, and here a second one begins"), second);
    if (!sqlite3_stmt_readonly(statement))
        failReport(QStringLiteral("The SQL of a report may only read, and this statement writes."));
    if (sqlite3_column_count(statement) == 0)
        failReport(QStringLiteral("The SQL gives no columns. A report needs a statement that selects."));
}

void SqliteRowSource::raisePreparing(int code, const QByteArray &sql, qsizetype begin) const
{
    m_limits.check();
    if (!m_guard.refusal().isEmpty())
        failReport(QStringLiteral("The SQL of a report may only read. Refused: %1.").arg(m_guard.refusal()));
    const int offset = sqlite3_error_offset(m_connection.get());
    if (offset < 0 && (code & 0xFF) != SQLITE_ERROR)
        raiseRunning(code);
    const QString words = sqlite::message(m_connection.get());
    const qsizetype before = QString::fromUtf8(sql.constData(), begin + std::max(offset, 0)).size();
    raiseAt(words, offset < 0 ? offsetOfName(m_sql, before, words) : before);
}

void SqliteRowSource::bind(const std::vector<BoundParameter> &parameters)
{
    sqlite3_stmt *statement = m_statement.get();
    for (int index = 1; index <= sqlite3_bind_parameter_count(statement); ++index) {
        const char *mark = sqlite3_bind_parameter_name(statement, index);
        if (!mark || *mark == '?')
            failReport(QStringLiteral("The SQL has the nameless parameter \"?\". Write parameters as :name."));
        const QString name = QString::fromUtf8(mark + 1);
        const auto found = std::find_if(parameters.begin(), parameters.end(), [&](const BoundParameter &parameter) {
            return parameter.name.compare(name, Qt::CaseInsensitive) == 0;
        });
        if (found == parameters.end())
            failReport(QStringLiteral("The SQL's parameter \"%1\" has no value.").arg(name));
        if (const auto *integer = std::get_if<std::int64_t>(&found->value))
            sqlite3_bind_int64(statement, index, *integer);
        else if (const auto *real = std::get_if<double>(&found->value))
            sqlite3_bind_double(statement, index, *real);
        else
            sqlite::bindText(statement, index, QString::fromUtf8(std::get<QByteArray>(found->value)));
    }
}

void SqliteRowSource::readColumns()
{
    sqlite3_stmt *statement = m_statement.get();
    for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        const char *name = sqlite3_column_name(statement, i);
        const char *declared = sqlite3_column_decltype(statement, i);
        m_columns.push_back({name ? name : "", QString::fromUtf8(declared).toUpper().toStdString()});
    }
}

bool SqliteRowSource::next(std::span<Value> row)
{
    if (m_limits.isCancelled())
        m_limits.check();
    sqlite3_stmt *statement = m_statement.get();
    const sqlite::MemoryDeadline memory = deadline();
    const int code = sqlite3_step(statement);
    if (code == SQLITE_DONE)
        return false;
    if (code != SQLITE_ROW)
        raiseRunning(code);
    for (std::size_t i = 0; i < row.size(); ++i) {
        const int column = static_cast<int>(i);
        switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            row[i] = Value::of(std::int64_t{sqlite3_column_int64(statement, column)});
            break;
        case SQLITE_FLOAT:
            row[i] = Value::of(sqlite3_column_double(statement, column));
            break;
        case SQLITE_NULL:
            row[i] = Value::ofNull();
            break;
        case SQLITE_BLOB: {
            const auto *bytes = static_cast<const char *>(sqlite3_column_blob(statement, column));
            row[i] = Value::ofBlob({bytes ? bytes : "", static_cast<std::size_t>(sqlite3_column_bytes(statement, column))});
            break;
        }
        default: {
            const void *text = sqlite3_column_text(statement, column);
            if (!text)
                throw std::bad_alloc();
            row[i] = Value::ofText({static_cast<const char *>(text), static_cast<std::size_t>(sqlite3_column_bytes(statement, column))});
        }
        }
    }
    return true;
}

void SqliteRowSource::raiseOpening(int code) const
{
    m_limits.check();
    const QString words = sqlite::message(m_connection.get());
    const QString folder = QFileInfo(m_path).absolutePath();
    switch (sqlite::troubleOf(code)) {
    case Trouble::NotPermitted:
        if (QStorageInfo(folder).isReadOnly())
            failReport(
                QStringLiteral("The event database %1 cannot be read: %2. It lies on a medium that cannot be written, and the rows of "
                               "its last import stand only in the log beside it. Copy the database together with the files whose "
                               "names begin with its name to a medium that can be written, and read it there.")
                    .arg(m_path, words));
        failReport(
            QStringLiteral(
                "The event database %1 cannot be read by this user: %2. Either an import that was broken off left it in need of recovery, "
                "or its write-ahead log lies in a folder that this user may not write. Open it once as a user who may write to %3, "
                "or give this user the right to write there.")
                .arg(m_path, words, folder));
    case Trouble::NotADatabase:
        failReport(QStringLiteral("%1 is not an event database: %2. Choose another file, or import the events again.").arg(m_path, words));
    default:
        raiseRunning(code);
    }
}

void SqliteRowSource::raiseRunning(int code) const
{
    m_limits.check();
    const QString words = sqlite::message(m_connection.get());
    switch (sqlite::troubleOf(code)) {
    case Trouble::Locked:
        failReport(
            QStringLiteral(
                "The event database %1 was locked by another program for %2 seconds (an import?): %3. Run the report again when that "
                "program has finished.")
                .arg(m_path)
                .arg(std::chrono::seconds(kBusyTimeout).count())
                .arg(words));
    case Trouble::Damaged:
        failReport(
            QStringLiteral("The event database %1 is damaged: %2. Restore it from a copy, or import the events again.").arg(m_path, words));
    case Trouble::DiskFull:
        if (code == SQLITE_IOERR_SHMSIZE)
            raise(err::diskFull,
                  QStringLiteral("beside the event database %1 there is no room for the file that its readers share. Free some space, then "
                                 "run the report again.")
                      .arg(m_path),
                  kFrameworkSource);
        raise(err::diskFull, QStringLiteral("while sorting rows of %1: %2").arg(m_path, words), kFrameworkSource);
    case Trouble::TooLong:
        failReport(QStringLiteral("The SQL makes or reads a value that is longer than %1 MB, more than a report takes. Shorten it with "
                                  "substr().")
                       .arg(SqliteGuard::kLongestValue >> 20));
    case Trouble::DeviceError:
        raise(err::deviceIo, QStringLiteral("while reading %1: %2").arg(m_path, words), kFrameworkSource);
    case Trouble::OutOfMemory:
        raise(err::outOfMemory, QStringLiteral("for what the SQL asks of %1. Shorten the report's period, or join less text.").arg(m_path),
              kFrameworkSource);
    case Trouble::Refused:
        if (!m_guard.refusal().isEmpty())
            failReport(QStringLiteral("The SQL of a report may only read. Refused: %1.").arg(m_guard.refusal()));
        [[fallthrough]];
    default:
        failReport(QStringLiteral("The database %1 reports: %2.").arg(m_path, words));
    }
}

void SqliteRowSource::raiseAt(const QString &words, qsizetype offset) const
{
    if (offset < 0)
        failReport(QStringLiteral("The SQL is refused: %1.").arg(words));
    const SqlPosition position = sqlPosition(m_sql, offset);
    failReport(QStringLiteral("The SQL is refused in line %1, column %2: %3.").arg(position.line).arg(position.column).arg(words));
}

} // namespace qm
