#include "engine/run/RunLedger.h"

#include "core/Failure.h"
#include "engine/run/ProcessIdentity.h"
#include "framework/Query.h"
#include "platform/FileRights.h"
#include "platform/Files.h"
#include "platform/InstallationFolder.h"
#include "platform/TemporaryFiles.h"

#include <QDateTime>
#include <QFileInfo>

#include <limits>

namespace qm {

namespace {

constexpr int kBusyTimeoutMs = 5000;
constexpr int kSchemaVersion = 2;
/// A page at a time, no transaction stays open while a reader takes its time.
constexpr int kRunsPerPage = 1000;
constexpr char kCreate[] = R"(
CREATE TABLE IF NOT EXISTS run (
  id INTEGER PRIMARY KEY AUTOINCREMENT, query_file TEXT NOT NULL, description TEXT NOT NULL, package TEXT NOT NULL, "trigger" TEXT NOT NULL,
  period TEXT NOT NULL, output_type TEXT NOT NULL, format TEXT NOT NULL, output_file TEXT NOT NULL, started_utc TEXT NOT NULL, ended_utc TEXT NOT NULL,
  rows INTEGER NOT NULL, bytes INTEGER NOT NULL, sha256 TEXT NOT NULL, status TEXT NOT NULL, error TEXT NOT NULL, note TEXT NOT NULL,
  host TEXT NOT NULL, pid INTEGER NOT NULL, process_start TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS run_status ON run(status);
CREATE TABLE IF NOT EXISTS delivery (
  run_id INTEGER NOT NULL REFERENCES run(id), target TEXT NOT NULL, sender TEXT NOT NULL, state TEXT NOT NULL, words TEXT NOT NULL,
  when_utc TEXT NOT NULL, PRIMARY KEY (run_id, target)) WITHOUT ROWID;
PRAGMA user_version = 2;
)";
constexpr char kInsert[] = R"(INSERT INTO run (query_file, description, package, "trigger", period, output_type, format, output_file,
  started_utc, ended_utc, rows, bytes, sha256, status, error, note, host, pid, process_start)
  VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18, ?19))";
constexpr char kUpdate[] = R"(UPDATE run SET query_file = ?1, description = ?2, package = ?3, "trigger" = ?4, period = ?5, output_type = ?6,
  format = ?7, output_file = ?8, started_utc = ?9, ended_utc = ?10, rows = ?11, bytes = ?12, sha256 = ?13, status = ?14, error = ?15,
  note = ?16 WHERE id = ?17)";
constexpr char kPage[] = R"(SELECT id, query_file, description, package, "trigger", period, output_type, format, output_file, started_utc,
  ended_utc, rows, bytes, sha256, status, error, note FROM run WHERE id < ?1 ORDER BY id DESC LIMIT ?2)";
constexpr char kDeliver[] =
    R"(INSERT OR REPLACE INTO delivery (run_id, target, sender, state, words, when_utc) VALUES (?1, ?2, ?3, ?4, ?5, ?6))";
constexpr char kDeliveries[] = R"(SELECT target, sender, state, words, when_utc FROM delivery WHERE run_id = ?1 ORDER BY target)";

/// Beside the tables above, since it needs no other version: a ledger without it has nothing to sweep.
constexpr char kCreateFolders[] =
    "CREATE TABLE IF NOT EXISTS working_folder (run_id INTEGER PRIMARY KEY REFERENCES run(id), folder TEXT NOT NULL)";
constexpr char kLeftFolders[] = R"(SELECT run_id, folder, started_utc, ended_utc FROM working_folder JOIN run ON run.id = run_id
  WHERE status = ?1 AND host = ?2)";

[[noreturn]] void fail(sqlite3 *connection)
{
    failReport(sqlite::message(connection));
}

void run(sqlite3 *connection, const char *sql)
{
    if (sqlite::execute(connection, sql) != SQLITE_OK)
        fail(connection);
}

/// Steps a statement that gives no rows.
void finishStatement(sqlite3 *connection, sqlite3_stmt *statement)
{
    if (sqlite3_step(statement) != SQLITE_DONE)
        fail(connection);
}

/// Binds ?1 to ?16, which insert and update share.
void bindEntry(sqlite3_stmt *statement, const LedgerEntry &entry)
{
    const QString trigger = runWord(entry.trigger), status = runWord(entry.status);
    int index = 0;
    for (const QString *text : {&entry.queryFile, &entry.description, &entry.package, &trigger, &entry.period, &entry.outputType,
                                &entry.format, &entry.outputFile, &entry.startedUtc, &entry.endedUtc})
        sqlite::bindText(statement, ++index, *text);
    sqlite3_bind_int64(statement, ++index, entry.rows);
    sqlite3_bind_int64(statement, ++index, static_cast<sqlite3_int64>(entry.bytes));
    for (const QString *text : {&entry.sha256, &status, &entry.error, &entry.note})
        sqlite::bindText(statement, ++index, *text);
}

void createTables(sqlite3 *connection)
{
    const auto version = sqlite::prepare(connection, "PRAGMA user_version");
    if (sqlite3_step(version.get()) != SQLITE_ROW)
        fail(connection);
    const int found = sqlite3_column_int(version.get(), 0);
    sqlite3_reset(version.get());
    if (found > kSchemaVersion)
        failReport(QStringLiteral("it belongs to a newer version of this program"));
    if (found == kSchemaVersion)
        return;
    run(connection, "BEGIN IMMEDIATE");
    run(connection, kCreate);
    run(connection, "COMMIT");
}

LedgerEntry readEntry(sqlite3_stmt *statement)
{
    LedgerEntry entry;
    QString trigger, status;
    int column = 0;
    entry.id = sqlite3_column_int64(statement, column);
    for (QString *text : {&entry.queryFile, &entry.description, &entry.package, &trigger, &entry.period, &entry.outputType, &entry.format,
                          &entry.outputFile, &entry.startedUtc, &entry.endedUtc})
        *text = sqlite::columnText(statement, ++column);
    entry.rows = sqlite3_column_int64(statement, ++column);
    entry.bytes = static_cast<std::uint64_t>(sqlite3_column_int64(statement, ++column));
    for (QString *text : {&entry.sha256, &status, &entry.error, &entry.note})
        *text = sqlite::columnText(statement, ++column);
    entry.trigger = runTriggerOf(trigger);
    entry.status = runStatusOf(status);
    return entry;
}

/// Of the ledger's text, in UTC.
QDateTime timeOf(const QString &text)
{
    QDateTime time = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    time.setTimeSpec(Qt::UTC);
    return time;
}

bool hasTable(sqlite3 *connection, const char *name)
{
    const auto statement = sqlite::prepare(connection, "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?1");
    sqlite::bindText(statement.get(), 1, QString::fromLatin1(name));
    return sqlite3_step(statement.get()) == SQLITE_ROW;
}

bool hasDeliveries(const LedgerEntry &entry)
{
    return entry.outputType == outputTypeWord(static_cast<int>(OutputKind::Email)) ||
           entry.outputType == outputTypeWord(static_cast<int>(OutputKind::Printer));
}

void readDeliveries(sqlite3 *connection, LedgerEntry &entry)
{
    const auto statement = sqlite::prepare(connection, kDeliveries);
    sqlite3_bind_int64(statement.get(), 1, entry.id);
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        LedgerDelivery delivery;
        int column = 0;
        for (QString *text : {&delivery.target, &delivery.sender, &delivery.state, &delivery.words, &delivery.whenUtc})
            *text = sqlite::columnText(statement.get(), column++);
        entry.deliveries.push_back(delivery);
    }
}

} // namespace

RunLedger::RunLedger(const QString &installPath)
    : m_installPath(installPath),
      m_path(installPath.isEmpty() ? QString() : installPath + QStringLiteral("Logs") + kSep + QStringLiteral("RunLedger.db"))
{
}

template <class Body>
void RunLedger::guarded(Body &&body) noexcept
{
    if (m_path.isEmpty())
        return;
    try {
        openForWriting();
        body();
    } catch (const std::exception &error) {
        m_problem = QStringLiteral("The run ledger %1 could not be written: %2").arg(m_path, QString::fromUtf8(error.what()));
    }
}

void RunLedger::openForWriting()
{
    if (m_connection)
        return;
    if (!makeInstallationFolder(m_installPath, QStringLiteral("Logs")))
        raise(err::pathNotFound, QStringLiteral("its folder is missing, and %1 holds no \"Packages.ini\"").arg(m_installPath),
              kFrameworkSource);
    if (files::isPipeOrDevice(m_path))
        raise(err::pathFileAccess, QStringLiteral("it is not a file"), kFrameworkSource);
    files::makeShared(m_path);
    int code = SQLITE_OK;
    sqlite::Connection connection = sqlite::open(m_path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, code);
    if (code != SQLITE_OK)
        fail(connection.get());
    sqlite3_busy_timeout(connection.get(), kBusyTimeoutMs);
    if (sqlite3_db_readonly(connection.get(), "main") == 1)
        raise(err::pathFileAccess, QStringLiteral("it is read-only for this user"), kFrameworkSource);
    // Another process may be switching at the same moment; the ledger works in either journal mode.
    sqlite::execute(connection.get(), "PRAGMA journal_mode=WAL");
    sqlite::execute(connection.get(), "PRAGMA synchronous=NORMAL");
    createTables(connection.get());
    m_connection = std::move(connection);
}

void RunLedger::insert(LedgerEntry &entry)
{
    const auto statement = sqlite::prepare(m_connection.get(), kInsert);
    bindEntry(statement.get(), entry);
    const ProcessIdentity process = thisProcess();
    sqlite::bindText(statement.get(), 17, process.host);
    sqlite3_bind_int64(statement.get(), 18, process.pid);
    sqlite::bindText(statement.get(), 19, process.start);
    finishStatement(m_connection.get(), statement.get());
    entry.id = sqlite3_last_insert_rowid(m_connection.get());
}

void RunLedger::update(const LedgerEntry &entry)
{
    const auto statement = sqlite::prepare(m_connection.get(), kUpdate);
    bindEntry(statement.get(), entry);
    sqlite3_bind_int64(statement.get(), 17, entry.id);
    finishStatement(m_connection.get(), statement.get());
}

void RunLedger::start(LedgerEntry &entry) noexcept
{
    entry.status = RunStatus::Running;
    guarded([&] { insert(entry); });
}

void RunLedger::finish(LedgerEntry &entry) noexcept
{
    guarded([&] {
        if (entry.id == 0)
            insert(entry);
        else
            update(entry);
        if (m_hasFolder)
            forgetFolder(entry.id);
    });
}

void RunLedger::recordFolder(std::int64_t id, const QString &folder) noexcept
{
    if (id == 0)
        return;
    guarded([&] {
        run(m_connection.get(), kCreateFolders);
        const auto statement =
            sqlite::prepare(m_connection.get(), "INSERT OR REPLACE INTO working_folder (run_id, folder) VALUES (?1, ?2)");
        sqlite3_bind_int64(statement.get(), 1, id);
        sqlite::bindText(statement.get(), 2, folder);
        finishStatement(m_connection.get(), statement.get());
        m_hasFolder = true;
    });
}

void RunLedger::forgetFolder(std::int64_t id)
{
    const auto statement = sqlite::prepare(m_connection.get(), "DELETE FROM working_folder WHERE run_id = ?1");
    sqlite3_bind_int64(statement.get(), 1, id);
    finishStatement(m_connection.get(), statement.get());
}

void RunLedger::sweepFolders() noexcept
{
    if (m_path.isEmpty() || !QFileInfo::exists(m_path))
        return;
    guarded([&] {
        if (!hasTable(m_connection.get(), "working_folder"))
            return;
        const auto left = sqlite::prepare(m_connection.get(), kLeftFolders);
        sqlite::bindText(left.get(), 1, runWord(RunStatus::Interrupted));
        sqlite::bindText(left.get(), 2, thisProcess().host);
        std::vector<std::int64_t> clean;
        while (sqlite3_step(left.get()) == SQLITE_ROW)
            if (sweepTemporariesOf(sqlite::columnText(left.get(), 1), timeOf(sqlite::columnText(left.get(), 2)),
                                   timeOf(sqlite::columnText(left.get(), 3)).addSecs(1)))
                clean.push_back(sqlite3_column_int64(left.get(), 0));
        sqlite3_reset(left.get());
        for (const std::int64_t id : clean)
            forgetFolder(id);
    });
}

void RunLedger::recordDeliveries(std::int64_t id, const std::vector<LedgerDelivery> &deliveries) noexcept
{
    if (id == 0)
        return;
    guarded([&] {
        const auto statement = sqlite::prepare(m_connection.get(), kDeliver);
        for (const LedgerDelivery &delivery : deliveries) {
            int index = 1;
            sqlite3_bind_int64(statement.get(), index, id);
            for (const QString *text : {&delivery.target, &delivery.sender, &delivery.state, &delivery.words, &delivery.whenUtc})
                sqlite::bindText(statement.get(), ++index, *text);
            finishStatement(m_connection.get(), statement.get());
            sqlite3_reset(statement.get());
        }
    });
}

void RunLedger::notRun(const QString &queryFile, RunTrigger trigger, const QString &reason, const QString &when) noexcept
{
    LedgerEntry entry;
    entry.queryFile = queryFile;
    entry.trigger = trigger;
    entry.status = RunStatus::NotRun;
    entry.error = reason;
    entry.startedUtc = entry.endedUtc = when;
    guarded([&] { insert(entry); });
}

int RunLedger::markInterrupted(const QString &when) noexcept
{
    if (m_path.isEmpty() || !QFileInfo::exists(m_path))
        return 0;
    int marked = 0;
    guarded([&] {
        std::vector<std::int64_t> dead;
        const auto running = sqlite::prepare(m_connection.get(), "SELECT id, host, pid, process_start FROM run WHERE status = ?1");
        sqlite::bindText(running.get(), 1, runWord(RunStatus::Running));
        while (sqlite3_step(running.get()) == SQLITE_ROW)
            if (!isRunning(
                    {sqlite::columnText(running.get(), 1), sqlite3_column_int64(running.get(), 2), sqlite::columnText(running.get(), 3)}))
                dead.push_back(sqlite3_column_int64(running.get(), 0));
        sqlite3_reset(running.get());
        const auto mark = sqlite::prepare(m_connection.get(), "UPDATE run SET status = ?3, ended_utc = ?2, "
                                                              "error = 'The program ended before the report was finished.' "
                                                              "WHERE id = ?1 AND status = ?4");
        for (const std::int64_t id : dead) {
            sqlite3_bind_int64(mark.get(), 1, id);
            sqlite::bindText(mark.get(), 2, when);
            sqlite::bindText(mark.get(), 3, runWord(RunStatus::Interrupted));
            sqlite::bindText(mark.get(), 4, runWord(RunStatus::Running));
            finishStatement(m_connection.get(), mark.get());
            marked += sqlite3_changes(m_connection.get());
            sqlite3_reset(mark.get());
        }
    });
    return marked;
}

void RunLedger::visit(const std::function<bool(const LedgerEntry &)> &take) const
{
    const sqlite::Connection connection = openForReading();
    if (!connection)
        return;
    // A ledger that an older version wrote last has no table of deliveries.
    const bool knowsDeliveries = hasTable(connection.get(), "delivery");
    for (std::int64_t below = std::numeric_limits<std::int64_t>::max();;) {
        std::vector<LedgerEntry> page = readPage(connection.get(), below, kRunsPerPage);
        for (LedgerEntry &entry : page) {
            if (knowsDeliveries && hasDeliveries(entry))
                readDeliveries(connection.get(), entry);
            if (!take(entry))
                return;
        }
        if (page.size() < kRunsPerPage)
            return;
        below = page.back().id;
    }
}

std::vector<LedgerEntry> RunLedger::list(int limit) const
{
    std::vector<LedgerEntry> entries;
    visit([&](const LedgerEntry &entry) {
        entries.push_back(entry);
        return limit <= 0 || entries.size() < static_cast<std::size_t>(limit);
    });
    return entries;
}

LedgerEntry RunLedger::entry(std::int64_t id) const
{
    if (const sqlite::Connection connection = openForReading()) {
        const auto found = readPage(connection.get(), id < std::numeric_limits<std::int64_t>::max() ? id + 1 : id, 1);
        if (!found.empty() && found.front().id == id) {
            LedgerEntry entry = found.front();
            if (hasTable(connection.get(), "delivery"))
                readDeliveries(connection.get(), entry);
            return entry;
        }
    }
    failReport(QStringLiteral("There is no run %1 in this installation's ledger. quillmark-report --history lists the runs.").arg(id));
}

void RunLedger::failReading(sqlite3 *connection) const
{
    failReport(QStringLiteral("The run ledger %1 cannot be read: %2.").arg(m_path, sqlite::message(connection)));
}

sqlite::Connection RunLedger::openForReading() const
{
    if (m_path.isEmpty() || !QFileInfo::exists(m_path))
        return {};
    if (files::isPipeOrDevice(m_path))
        failReport(QStringLiteral("The run ledger %1 cannot be read: it is not a file.").arg(m_path));
    int code = SQLITE_OK;
    sqlite::Connection connection = sqlite::open(m_path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, code);
    sqlite3_busy_timeout(connection.get(), kBusyTimeoutMs);
    if (code != SQLITE_OK || sqlite::execute(connection.get(), "SELECT 1 FROM sqlite_master") != SQLITE_OK)
        failReading(connection.get());
    // A program that died while it made the ledger left an empty file.
    return hasTable(connection.get(), "run") ? std::move(connection) : sqlite::Connection();
}

std::vector<LedgerEntry> RunLedger::readPage(sqlite3 *connection, std::int64_t below, int most) const
{
    const auto statement = sqlite::prepare(connection, kPage);
    sqlite3_bind_int64(statement.get(), 1, below);
    sqlite3_bind_int(statement.get(), 2, most);
    std::vector<LedgerEntry> entries;
    int code = SQLITE_OK;
    while ((code = sqlite3_step(statement.get())) == SQLITE_ROW)
        entries.push_back(readEntry(statement.get()));
    if (code != SQLITE_DONE)
        failReading(connection);
    return entries;
}

} // namespace qm
