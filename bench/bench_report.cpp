/// \file
/// Makes the table of the benchmarks, and writes it with the report writers or with libxlsxwriter, each run in a process of its own so that
/// the caller can measure it.
///   bench_report data ROWS DATABASE            the same rows for each run
///   bench_report csv|html|xlsx DATABASE FILE   SQLite's rows straight into a writer
///   bench_report libxlsxwriter DATABASE FILE   its constant-memory mode
///   bench_report step DATABASE                 reading the rows alone
#include "core/RuntimeError.h"
#include "documents/Writers.h"

#include <QCoreApplication>
#include <QStringList>

#include <sqlite3.h>
#include <xlsxwriter.h>

#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

constexpr std::size_t kColumns = 7;
constexpr std::array<const char *, kColumns> kNames = {"id", "time", "event_id", "source", "computer", "user", "message"};
constexpr char kSelect[] = "SELECT id, time, event_id, source, computer, user, message FROM event ORDER BY id";

using Connection = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;
using Statement = std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)>;

Connection open(const QString &path, int flags)
{
    sqlite3 *connection = nullptr;
    if (sqlite3_open_v2(path.toUtf8().constData(), &connection, flags, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(connection));
    return {connection, &sqlite3_close};
}

Statement prepare(const Connection &connection, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(connection.get(), sql, -1, &statement, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(connection.get()));
    return {statement, &sqlite3_finalize};
}

/// The splitmix64 generator: equal rows on every machine.
class Random final
{
public:
    std::uint64_t operator()()
    {
        std::uint64_t x = m_state += 0x9E3779B97F4A7C15U;
        x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
        x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
        return x ^ (x >> 31);
    }

private:
    std::uint64_t m_state = 42;
};

std::string message(Random &random)
{
    static constexpr std::array<const char *, 16> kWords = {"account", "failed",    "to log on,", "the",     "service", "\"Spooler\"",
                                                            "entered", "state",     "running",    "network", "policy",  "from <10.",
                                                            "user",    "privilege", "was",        "changed"};
    std::string text;
    const std::size_t length = 80 + random() % 81;
    while (text.size() < length) {
        text += kWords[random() % (random() % 4 == 0 ? 16 : 2)];
        text += ' ';
        if (random() % 6 == 0)
            text += std::to_string(random() % 100000) + ' ';
    }
    text.resize(length);
    return text;
}

void makeData(std::int64_t rows, const QString &path)
{
    const Connection database = open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    sqlite3_exec(
        database.get(),
        "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; CREATE TABLE event (id INTEGER PRIMARY KEY, time DATETIME, event_id INTEGER, "
        "source TEXT, computer TEXT, user TEXT, message TEXT); BEGIN",
        nullptr, nullptr, nullptr);
    const Statement insert = prepare(database, "INSERT INTO event VALUES (?,?,?,?,?,?,?)");
    Random random;
    const auto text = [&](int at, const std::string &value) {
        sqlite3_bind_text(insert.get(), at, value.c_str(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
    };
    for (std::int64_t row = 1; row <= rows; ++row) {
        char time[32];
        std::snprintf(time, sizeof time, "2026-%02d-%02d %02d:%02d:%02d", static_cast<int>(row / 90000 % 12) + 1,
                      static_cast<int>(row / 3200 % 28) + 1, static_cast<int>(row / 3600 % 24), static_cast<int>(row / 60 % 60),
                      static_cast<int>(row % 60));
        sqlite3_bind_int64(insert.get(), 1, row);
        text(2, time);
        sqlite3_bind_int64(insert.get(), 3, static_cast<std::int64_t>(4600 + random() % 200));
        text(4, "Security-Auditing-" + std::to_string(random() % 9));
        text(5, "SRV-" + std::to_string(random() % 500));
        text(6, "user" + std::to_string(random() % 5000));
        text(7, message(random));
        if (sqlite3_step(insert.get()) != SQLITE_DONE)
            throw std::runtime_error(sqlite3_errmsg(database.get()));
        sqlite3_reset(insert.get());
    }
    sqlite3_exec(database.get(), "COMMIT", nullptr, nullptr, nullptr);
}

qm::Value valueOf(sqlite3_stmt *statement, int column)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        return qm::Value::of(static_cast<std::int64_t>(sqlite3_column_int64(statement, column)));
    case SQLITE_TEXT: {
        const auto *const text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
        return qm::Value::ofText({text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))});
    }
    default:
        return qm::Value::ofNull();
    }
}

void writeReport(const QString &format, const QString &database, const QString &path)
{
    using namespace qm;
    const Connection connection = open(database, SQLITE_OPEN_READONLY);
    const Statement select = prepare(connection, kSelect);
    std::vector<ReportColumn> columns(kColumns);
    for (std::size_t i = 0; i < kColumns; ++i)
        columns[i].field = columns[i].caption = kNames[i];
    columns[0].type = columns[2].type = ColumnType::Integer;
    columns[1].type = ColumnType::DateTime;
    columns[1].format = "datetime";
    ReportHead head;
    head.title = "Events";
    head.facts = {{qm::Fact::Kind::Source, "Source", "bench.db"}};
    OutputFile file(path);
    const auto writer = makeWriter(formatOfWord(format).value(), file, {});
    writer->begin(head, {.columns = columns}, {});
    std::array<Value, kColumns> row;
    std::int64_t rows = 0;
    for (; sqlite3_step(select.get()) == SQLITE_ROW; ++rows) {
        for (std::size_t i = 0; i < kColumns; ++i)
            row[i] = valueOf(select.get(), static_cast<int>(i));
        writer->row(row);
    }
    writer->end({rows, false, 0});
    file.commit();
}

/// The same workbook as a program using libxlsxwriter would write it. \returns false when it refuses a cell or the file.
bool writeWithLibrary(const QString &database, const QString &path)
{
    const Connection connection = open(database, SQLITE_OPEN_READONLY);
    const Statement select = prepare(connection, kSelect);
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    lxw_workbook *const book = workbook_new_opt(path.toUtf8().constData(), &options);
    lxw_worksheet *const sheet = workbook_add_worksheet(book, "Events");
    lxw_format *const timeFormat = workbook_add_format(book);
    format_set_num_format(timeFormat, "yyyy-mm-dd hh:mm:ss");
    lxw_error failed = LXW_NO_ERROR;
    for (std::size_t i = 0; i < kColumns; ++i)
        failed = std::max(failed, worksheet_write_string(sheet, 0, static_cast<lxw_col_t>(i), kNames[i], nullptr));
    for (lxw_row_t row = 1; sqlite3_step(select.get()) == SQLITE_ROW; ++row) {
        for (int i = 0; i < static_cast<int>(kColumns); ++i) {
            const auto column = static_cast<lxw_col_t>(i);
            if (sqlite3_column_type(select.get(), i) == SQLITE_INTEGER) {
                failed = std::max(failed, worksheet_write_number(sheet, row, column, sqlite3_column_double(select.get(), i), nullptr));
                continue;
            }
            const auto *const text = reinterpret_cast<const char *>(sqlite3_column_text(select.get(), i));
            lxw_datetime time{};
            if (i == 1 &&
                std::sscanf(text, "%d-%d-%d %d:%d:%lf", &time.year, &time.month, &time.day, &time.hour, &time.min, &time.sec) == 6)
                failed = std::max(failed, worksheet_write_datetime(sheet, row, column, &time, timeFormat));
            else
                failed = std::max(failed, worksheet_write_string(sheet, row, column, text, nullptr));
        }
    }
    return workbook_close(book) == LXW_NO_ERROR && failed == LXW_NO_ERROR;
}

void stepOnly(const QString &database)
{
    const Connection connection = open(database, SQLITE_OPEN_READONLY);
    const Statement select = prepare(connection, kSelect);
    std::size_t bytes = 0;
    while (sqlite3_step(select.get()) == SQLITE_ROW)
        for (int i = 0; i < static_cast<int>(kColumns); ++i)
            bytes += valueOf(select.get(), i).size;
    std::printf("%zu bytes of text\n", bytes);
}

bool run(const QStringList &arguments)
{
    const QString &what = arguments[1];
    if (what == QStringLiteral("data"))
        makeData(arguments[2].toLongLong(), arguments[3]);
    else if (what == QStringLiteral("step"))
        stepOnly(arguments[2]);
    else if (what == QStringLiteral("libxlsxwriter"))
        return writeWithLibrary(arguments[2], arguments[3]);
    else
        writeReport(what, arguments[2], arguments[3]);
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3 || (arguments.size() < 4 && arguments[1] != QStringLiteral("step"))) {
        std::fputs("usage: bench_report data ROWS DATABASE\n       bench_report csv|html|xlsx|libxlsxwriter DATABASE FILE\n"
                   "       bench_report step DATABASE\n",
                   stderr);
        return 2;
    }
    try {
        return run(arguments) ? 0 : 1;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
