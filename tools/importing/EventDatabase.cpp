#include "importing/EventDatabase.h"

#include "importing/ImportError.h"
#include "importing/LookupRows.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <thread>

namespace qm {

namespace {

constexpr int kBusyStepMs = 50;
constexpr int kStepsPerStopCheck = 100'000; ///< of the database's virtual machine: some milliseconds

} // namespace

EventDatabase::EventDatabase(const QString &path, const EventSchema &schema, const Options &options)
    : m_path(path), m_schema(schema), m_options(options)
{
    open();
    beginTransaction();
    prepareSchema();
    prepareInsert();
}

EventDatabase::~EventDatabase()
{
    m_insert.reset();
    if (m_database && sqlite3_get_autocommit(m_database.get()) == 0)
        sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void EventDatabase::fail(int code) const
{
    const QString says = sqlite::message(m_database.get());
    if (stopped())
        failImport(err::cancelledByOperator, QStringLiteral("interrupted"));
    using sqlite::Trouble;
    switch (sqlite::troubleOf(code)) {
    case Trouble::NotADatabase:
    case Trouble::Damaged:
        failImport(err::invalidFileFormat,
                   QStringLiteral("%1 is not an SQLite database or is damaged (%2); name the database of a package, or a new file")
                       .arg(m_path, says));
    case Trouble::Locked:
        failImport(err::permissionDenied,
                   QStringLiteral("%1 is in use by another program that writes to it; waited %2 seconds. Try again when it has finished")
                       .arg(m_path)
                       .arg(m_options.waitSeconds));
    case Trouble::NotPermitted:
    case Trouble::Refused:
        failImport(err::pathFileAccess,
                   QStringLiteral("%1 cannot be written (%2); check the permissions of the file and of its folder").arg(m_path, says));
    case Trouble::DiskFull:
        failImport(err::diskFull, QStringLiteral("%1: the disk is full; nothing was imported").arg(m_path));
    case Trouble::OutOfMemory:
        throw std::bad_alloc();
    default:
        failImport(err::deviceIo, QStringLiteral("%1: the database reports: %2").arg(m_path, says));
    }
}

int EventDatabase::whenBusy(void *self, int count)
{
    const auto *database = static_cast<EventDatabase *>(self);
    if (count >= database->m_options.waitSeconds * 1000 / kBusyStepMs || database->stopped())
        return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(kBusyStepMs));
    return 1;
}

void EventDatabase::open()
{
    const QFileInfo info(m_path);
    if (info.isDir())
        failImport(err::pathFileAccess, QStringLiteral("%1 is a folder; name a database file in it").arg(m_path));
    if (info.exists() && !info.isFile())
        failImport(err::pathFileAccess, QStringLiteral("%1 is a device or a pipe; name a database file").arg(m_path));
    if (!info.absoluteDir().exists())
        failImport(err::pathNotFound, QStringLiteral("%1: its folder does not exist; make it first").arg(m_path));
    constexpr QFile::Permissions kAnyWrite = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    if (info.exists() && (info.permissions() & kAnyWrite) == QFile::Permissions())
        failImport(err::pathFileAccess, QStringLiteral("%1 is read-only; make it writable or name another file").arg(m_path));
    int code = SQLITE_OK;
    m_database = sqlite::open(m_path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, code);
    if (code != SQLITE_OK)
        fail(code);
    sqlite3 *opened = m_database.get();
    sqlite3_busy_handler(opened, whenBusy, this);
    if (m_options.stop) {
        sqlite3_progress_handler(
            opened, kStepsPerStopCheck, [](void *self) { return static_cast<const EventDatabase *>(self)->stopped() ? 1 : 0; }, this);
    }
    if (sqlite3_db_readonly(opened, "main") == 1)
        failImport(err::pathFileAccess, QStringLiteral("%1 is read-only; make it writable or name another file").arg(m_path));
    // A look at the file before anything is changed: what is not a database, or another program's, stays as it is.
    if (number("SELECT count(*) FROM sqlite_schema") > 0)
        checkTable();
    useWriteAheadLog();
    execute("PRAGMA synchronous=FULL; PRAGMA cache_size=-131072; PRAGMA temp_store=MEMORY");
}

/// The switch needs the file for itself and does not wait by itself, so a second importer of a new file tries again until the first is
/// done.
void EventDatabase::useWriteAheadLog()
{
    for (int attempt = 0;; ++attempt) {
        const int code = sqlite3_exec(m_database.get(), "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
        if (code == SQLITE_OK)
            return;
        if ((code & 0xFF) != SQLITE_BUSY || whenBusy(this, attempt) == 0)
            fail(code);
    }
}

void EventDatabase::beginTransaction()
{
    execute("BEGIN IMMEDIATE");
}

void EventDatabase::execute(const std::string &sql)
{
    const int code = sqlite3_exec(m_database.get(), sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        fail(code);
}

std::int64_t EventDatabase::number(const std::string &sql)
{
    sqlite3_stmt *prepared = nullptr;
    int code = sqlite3_prepare_v2(m_database.get(), sql.c_str(), -1, &prepared, nullptr);
    const sqlite::Statement statement(prepared);
    if (code == SQLITE_OK)
        code = sqlite3_step(prepared);
    if (code != SQLITE_ROW)
        fail(code);
    return sqlite3_column_int64(prepared, 0);
}

void EventDatabase::prepareSchema()
{
    m_isNew = number("SELECT count(*) FROM sqlite_schema") == 0;
    if (m_isNew) {
        execute(std::string(m_schema.tablesSql));
        execute(lookupRowsSql(m_schema.kind));
        return;
    }
    checkTable();
    m_firstId = m_nextId = number("SELECT coalesce(max(id), 0) FROM " + std::string(m_schema.table)) + 1;
}

void EventDatabase::checkTable()
{
    const QString table = toQt(m_schema.table);
    sqlite3_stmt *prepared = nullptr;
    const int code = sqlite3_prepare_v2(m_database.get(), "SELECT name FROM pragma_table_info(?1)", -1, &prepared, nullptr);
    const sqlite::Statement statement(prepared);
    if (code != SQLITE_OK)
        fail(code);
    sqlite3_bind_text(prepared, 1, m_schema.table.data(), static_cast<int>(m_schema.table.size()), SQLITE_STATIC);
    std::vector<std::string> names;
    while (sqlite3_step(prepared) == SQLITE_ROW)
        names.emplace_back(reinterpret_cast<const char *>(sqlite3_column_text(prepared, 0)));
    if (names.empty()) {
        failImport(err::invalidFileFormat,
                   QStringLiteral("%1 is a database of something else: it has tables, but no table \"%2\" of %3 events. Name the database "
                                  "of the right package, or a new file")
                       .arg(m_path, table, toQt(m_schema.name)));
    }
    QStringList missing;
    const auto require = [&](std::string_view column) {
        if (std::ranges::none_of(names, [&](const std::string &name) { return sameName(name, column); }))
            missing.append(toQt(column));
    };
    require("id");
    for (const EventColumn &column : m_schema.columns)
        require(column.name);
    if (!missing.isEmpty()) {
        failImport(err::invalidFileFormat,
                   QStringLiteral("%1: its table \"%2\" lacks the columns %3; it was made by another program or an older version")
                       .arg(m_path, table, missing.join(QStringLiteral(", "))));
    }
}

void EventDatabase::prepareInsert()
{
    std::string names = "id", marks = "?";
    for (const EventColumn &column : m_schema.columns) {
        names += ',' + std::string(column.name);
        marks += ",?";
    }
    const std::string sql = "INSERT INTO " + std::string(m_schema.table) + '(' + names + ") VALUES(" + marks + ')';
    sqlite3_stmt *prepared = nullptr;
    const int code = sqlite3_prepare_v3(m_database.get(), sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    m_insert.reset(prepared);
    if (code != SQLITE_OK)
        fail(code);
}

void EventDatabase::insert(const EventRecord &record)
{
    sqlite3_stmt *statement = m_insert.get();
    sqlite3_bind_int64(statement, 1, m_nextId);
    int position = 2;
    for (const EventRecord::Cell &cell : record.cells()) {
        if (cell.state == EventRecord::State::Text)
            sqlite3_bind_text64(statement, position, cell.text.data(), cell.text.size(), SQLITE_STATIC, SQLITE_UTF8);
        else if (cell.state == EventRecord::State::Integer)
            sqlite3_bind_int64(statement, position, cell.number);
        else
            sqlite3_bind_null(statement, position);
        ++position;
    }
    const int code = sqlite3_step(statement);
    sqlite3_reset(statement);
    if (code != SQLITE_DONE)
        fail(code);
    if (m_schema.lookup.column >= 0) {
        const std::string_view value = record.text(m_schema.lookup.column);
        if (!m_lookedUp.contains(value))
            m_lookedUp.emplace(value);
    }
    ++m_nextId;
    ++m_rows;
}

QStringList EventDatabase::unlistedValues()
{
    QStringList unlisted;
    if (m_lookedUp.empty())
        return unlisted;
    const std::string sql = "SELECT 1 FROM " + std::string(m_schema.lookup.table) + " WHERE " + std::string(m_schema.lookup.key) + "=?1";
    sqlite3_stmt *prepared = nullptr;
    sqlite3_prepare_v2(m_database.get(), sql.c_str(), -1, &prepared, nullptr);
    const sqlite::Statement statement(prepared);
    if (prepared == nullptr)
        return unlisted; // an older database without the look-up table
    for (const std::string &value : m_lookedUp) {
        sqlite3_bind_text64(prepared, 1, value.data(), value.size(), SQLITE_STATIC, SQLITE_UTF8);
        if (sqlite3_step(prepared) != SQLITE_ROW)
            unlisted.append(toQt(value));
        sqlite3_reset(prepared);
    }
    return unlisted;
}

std::optional<std::int64_t> EventDatabase::rowsThere() const
{
    sqlite3 *opened = nullptr;
    const int code = sqlite3_open_v2(m_path.toUtf8().constData(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    const sqlite::Connection database(opened);
    if (code != SQLITE_OK)
        return std::nullopt;
    sqlite3_busy_timeout(opened, kBusyStepMs * 20);
    const std::string sql = "SELECT count(*) FROM " + std::string(m_schema.table) + " WHERE id BETWEEN ?1 AND ?2";
    sqlite3_stmt *prepared = nullptr;
    const int found = sqlite3_prepare_v2(opened, sql.c_str(), -1, &prepared, nullptr);
    const sqlite::Statement statement(prepared);
    if (found == SQLITE_ERROR) // a new file, whose tables did not arrive either
        return 0;
    sqlite3_bind_int64(prepared, 1, m_firstId);
    sqlite3_bind_int64(prepared, 2, m_nextId - 1);
    if (found != SQLITE_OK || sqlite3_step(prepared) != SQLITE_ROW)
        return std::nullopt;
    const std::int64_t rows = sqlite3_column_int64(prepared, 0);
    sqlite3_reset(prepared);
    // The log still holds the given-up rows behind its end. Another change in their place, and no recovery brings them back.
    if (rows == 0 && sqlite3_exec(opened, "PRAGMA user_version = 0", nullptr, nullptr, nullptr) != SQLITE_OK)
        return std::nullopt;
    return rows;
}

void EventDatabase::failCommit(int code)
{
    const QString words = sqlite::message(m_database.get());
    if (sqlite3_get_autocommit(m_database.get()) == 0) {
        const int undone = sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        if ((code & 0xFF) != SQLITE_IOERR && undone == SQLITE_OK)
            fail(code); // it was only refused
    }
    // What the log of changes holds counts from the next opening on, even where this connection has given it up.
    m_database.reset();
    const std::optional<std::int64_t> there = rowsThere();
    if (there == 0)
        failImport((code & 0xFF) == SQLITE_FULL ? err::diskFull : err::deviceIo,
                   QStringLiteral("%1: the database reports: %2").arg(m_path, words));
    const QString known = there == m_rows
                              ? QStringLiteral("The rows are there nevertheless, but a power failure could still lose them. Check the "
                                               "disk; do not import the same files again")
                              : QStringLiteral("Whether the rows are there is not known. Check the disk, then look for them before "
                                               "you import the same files again");
    throw UncertainImport(QStringLiteral("%1: the disk refused to keep the last step (%2). %3").arg(m_path, words, known));
}

void EventDatabase::commit()
{
    if (m_isNew)
        execute(std::string(m_schema.indexesSql));
    // Statistics go stale when the table has grown by half or more; they cost a pass over the indexes.
    if (m_isNew || m_rows * 2 > m_nextId)
        execute("ANALYZE");
    m_insert.reset();
    if (const int code = sqlite3_exec(m_database.get(), "COMMIT", nullptr, nullptr, nullptr); code != SQLITE_OK)
        failCommit(code);
    // Moves the new pages into the database file; a reader that still needs the old ones only delays that.
    sqlite3_busy_handler(m_database.get(), nullptr, nullptr);
    sqlite3_wal_checkpoint_v2(m_database.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
}

} // namespace qm
