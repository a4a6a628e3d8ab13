#include "engine/rows/Spool.h"

#include "core/RuntimeError.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QUuid>

#include <cmath>

namespace qm {

namespace {

/// Another program may be about to open a file that it made so recently.
constexpr qint64 kSecondsToOpen = 60;

[[noreturn]] void raiseSpoolError(sqlite3 *database, int code)
{
    const QString words = QString::fromUtf8(database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
    const QString where = QStringLiteral("the viewer's temporary rows in \"%1\" (%2)").arg(spoolFolder(), words);
    using sqlite::Trouble;
    switch (sqlite::troubleOf(code)) {
    case Trouble::Cancelled:
        raise(err::cancelledByOperator, {}, kFrameworkSource);
    case Trouble::DiskFull:
        raise(err::diskFull, where + QStringLiteral(". Free some space, or send the report to a file."), kFrameworkSource);
    case Trouble::OutOfMemory:
        raise(err::outOfMemory, where, kFrameworkSource);
    case Trouble::NotPermitted:
        raise(err::pathFileAccess, where, kFrameworkSource);
    default:
        raise(err::deviceIo, where, kFrameworkSource);
    }
}

void execute(sqlite3 *database, const char *sql)
{
    if (const int code = sqlite::execute(database, sql); code != SQLITE_OK)
        raiseSpoolError(database, code);
}

sqlite::Connection openSpool(const QString &path)
{
    int code = SQLITE_OK;
    auto database = sqlite::open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE, code);
    if (code != SQLITE_OK)
        raiseSpoolError(nullptr, code);
    sqlite3_busy_timeout(database.get(), 10000);
    return database;
}

void bindCell(sqlite3_stmt *statement, int at, const Value &cell)
{
    switch (cell.kind) {
    case Value::Kind::Null:
        sqlite3_bind_null(statement, at);
        break;
    case Value::Kind::Integer:
        sqlite3_bind_int64(statement, at, cell.integer);
        break;
    case Value::Kind::Real:
        // The database turns NaN into NULL; its text keeps it apart from a missing value.
        if (std::isnan(cell.real))
            sqlite3_bind_text(statement, at, "NaN", 3, SQLITE_STATIC);
        else
            sqlite3_bind_double(statement, at, cell.real);
        break;
    case Value::Kind::Text:
        sqlite3_bind_text64(statement, at, cell.data ? cell.data : "", cell.size, SQLITE_STATIC, SQLITE_UTF8);
        break;
    case Value::Kind::Blob:
        if (cell.size == 0)
            sqlite3_bind_zeroblob(statement, at, 0);
        else
            sqlite3_bind_blob64(statement, at, cell.data, cell.size, SQLITE_STATIC);
        break;
    }
}

QString spoolPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/quillmark/spool");
}

} // namespace

/// What a tail is made of, with memory of its own.
struct KeptTail
{
    std::vector<OwnedValue> totals, keyFigures;
    std::vector<Value> totalViews, keyFigureViews;
    std::vector<ChartData> charts;
    ChartData top;
};

QString spoolFolder()
{
    const QString folder = spoolPath();
    if (!QDir().mkpath(folder) || !QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner))
        raise(err::pathFileAccess, QStringLiteral("\"%1\" cannot be made; the viewer keeps its rows there").arg(folder), kFrameworkSource);
    return folder;
}

void removeLeftSpools()
{
    const QDateTime justMade = QDateTime::currentDateTimeUtc().addSecs(-kSecondsToOpen);
    for (const QFileInfo &file : QDir(spoolPath()).entryInfoList({QStringLiteral("*.spool"), QStringLiteral("order-*")}, QDir::Files))
        if (file.lastModified() < justMade)
            QFile::remove(file.filePath());
}

SpoolStatement::SpoolStatement(sqlite3 *database, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    const int code = sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (code != SQLITE_OK)
        raiseSpoolError(database, code);
    m_statement.reset(statement);
}

bool SpoolStatement::step()
{
    const int code = sqlite3_step(get());
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        raiseSpoolError(sqlite3_db_handle(get()), code);
    return false;
}

void SpoolStatement::reset()
{
    sqlite3_reset(get());
}

Spool::Spool()
{
    m_path = spoolFolder() + u'/' + QUuid::createUuid().toString(QUuid::Id128) + QStringLiteral(".spool");
    QFile file(m_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        raise(err::pathFileAccess, QStringLiteral("\"%1\": %2").arg(m_path, file.errorString()), kFrameworkSource);
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.close();
    try {
        m_front = openSpool(m_path);
        execute(front(), "PRAGMA page_size=4096; PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-8000; "
                         "PRAGMA temp_store=FILE;");
        m_back = openSpool(m_path);
        execute(back(), "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-8000; PRAGMA temp_store=FILE;");
    } catch (...) {
        m_back.reset();
        m_front.reset();
        QFile::remove(m_path);
        throw;
    }
    if (QFile::remove(m_path))
        m_path.clear();
}

Spool::~Spool()
{
    m_back.reset();
    m_front.reset();
    if (!m_path.isEmpty())
        QFile::remove(m_path);
}

SpoolWriter::SpoolWriter() = default;
SpoolWriter::~SpoolWriter() = default;

void SpoolWriter::begin(const ReportHead &head, const ReportShape &shape, const SampleRows &)
{
    const std::vector<ReportColumn> &columns = shape.columns;
    m_insert.reset();
    m_complete = false;
    m_report = SpooledReport{std::make_unique<Spool>(), head, shape, {}};
    const auto limit = static_cast<std::size_t>(sqlite3_limit(m_report.spool->front(), SQLITE_LIMIT_COLUMN, -1));
    if (columns.empty() || columns.size() > limit)
        raise(err::reportFailed,
              QStringLiteral("the report has %1 columns; the viewer shows 1 to %2. Send it to a file instead.")
                  .arg(columns.size())
                  .arg(limit),
              kFrameworkSource);
    std::string create = "CREATE TABLE rows(", insert = "INSERT INTO rows VALUES(";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        create += (i ? ",c" : "c") + std::to_string(i);
        insert += i ? ",?" : "?";
    }
    execute(m_report.spool->front(), (create + ")").c_str());
    m_insert = std::make_unique<SpoolStatement>(m_report.spool->front(), (insert + ")").c_str());
    execute(m_report.spool->front(), "BEGIN");
}

void SpoolWriter::row(std::span<const Value> cells)
{
    sqlite3_stmt *statement = m_insert->get();
    for (std::size_t i = 0; i < cells.size(); ++i)
        bindCell(statement, static_cast<int>(i) + 1, cells[i]);
    m_insert->step();
    m_insert->reset();
}

void SpoolWriter::end(const ReportTail &tail)
{
    m_insert.reset();
    execute(m_report.spool->front(), "COMMIT");
    keepTail(tail);
    m_complete = true;
}

/// The tail's own spans end with this call of the run.
void SpoolWriter::keepTail(const ReportTail &tail)
{
    auto kept = std::make_shared<KeptTail>();
    const auto keep = [](std::span<const Value> values, std::vector<OwnedValue> &owned, std::vector<Value> &views) {
        for (const Value &value : values)
            owned.emplace_back(value);
        for (const OwnedValue &value : owned)
            views.push_back(value.view());
    };
    keep(tail.totals, kept->totals, kept->totalViews);
    keep(tail.keyFigures, kept->keyFigures, kept->keyFigureViews);
    kept->charts.assign(tail.charts.begin(), tail.charts.end());
    if (tail.top)
        kept->top = *tail.top;
    m_report.tail = tail;
    m_report.tail.totals = kept->totalViews;
    m_report.tail.keyFigures = kept->keyFigureViews;
    m_report.tail.charts = kept->charts;
    m_report.tail.top = tail.top ? &kept->top : nullptr;
    m_report.kept = std::move(kept);
}

std::vector<ReportColumn> SpooledReport::shownColumns() const
{
    return {shape.columns.begin(), shape.columns.end() - static_cast<std::ptrdiff_t>(shape.hidden)};
}

SpooledReport SpoolWriter::take()
{
    m_complete = false;
    return std::move(m_report);
}

SpoolReader::SpoolReader(sqlite3 *database, std::size_t columns)
    : m_database(database), m_byId(database, "SELECT * FROM rows WHERE rowid=?"), m_values(columns)
{
    // One transaction for all rows: without it each row would lock and unlock the file.
    execute(database, "BEGIN");
}

SpoolReader::~SpoolReader()
{
    m_byId.reset();
    sqlite3_exec(m_database, "COMMIT", nullptr, nullptr, nullptr);
}

std::span<const Value> SpoolReader::row(std::int64_t id)
{
    sqlite3_stmt *statement = m_byId.get();
    sqlite3_reset(statement);
    sqlite3_bind_int64(statement, 1, id);
    if (sqlite3_step(statement) != SQLITE_ROW)
        return {};
    readSpoolValues(statement, 0, m_values);
    return m_values;
}

void readSpoolValues(sqlite3_stmt *statement, int first, std::span<Value> values)
{
    int column = first;
    for (Value &value : values) {
        switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            value = Value::of(std::int64_t{sqlite3_column_int64(statement, column)});
            break;
        case SQLITE_FLOAT:
            value = Value::of(sqlite3_column_double(statement, column));
            break;
        case SQLITE_TEXT: {
            const auto text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
            value = Value::ofText({text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))});
            break;
        }
        case SQLITE_BLOB: {
            const auto bytes = static_cast<const char *>(sqlite3_column_blob(statement, column));
            value = Value::ofBlob({bytes ? bytes : "", static_cast<std::size_t>(sqlite3_column_bytes(statement, column))});
            break;
        }
        default:
            value = Value::ofNull();
        }
        ++column;
    }
}

} // namespace qm
