// Rows through the engine's ODBC row source against the bare fetch of bound columns with the same driver and the same types.
//   bench_odbc own|raw CONNECTION SQL ROWS      prints nothing; fails unless the result has ROWS rows

#include "engine/rows/CancelFlag.h"
#include "engine/rows/RowSources.h"
#include "odbc/Handles.h"
#include "odbc/Wide.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace qm;

std::int64_t readOwn(const QString &connection, const QString &sql)
{
    const auto source = describeSource(QStringLiteral("ODBC::") + connection, {}, {});
    const auto rows = openRowSource(source, sql, {}, RunLimits(nullptr, std::chrono::seconds(0)));
    std::vector<Value> row(rows->columns().size());
    std::int64_t count = 0;
    while (rows->next(row))
        ++count;
    return count;
}

/// Each column bound once: numbers as numbers, times as structures, everything else as UTF-16 of the declared length.
std::int64_t readRaw(const QString &connection, const QString &sql)
{
    const odbc::Environment environment;
    odbc::ConnectionHandle handle;
    odbc::WideText text(connection), statementText(sql);
    if (!handle.allocate(environment.get()) ||
        !SQL_SUCCEEDED(SQLDriverConnectW(handle.get(), nullptr, text.data(), text.shortLength(), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT)))
        return -1;
    std::int64_t count = 0;
    {
        odbc::StatementHandle statement;
        SQLSMALLINT columns = 0;
        if (!statement.allocate(handle.get()) ||
            !SQL_SUCCEEDED(SQLExecDirectW(statement.get(), statementText.data(), statementText.length())) ||
            !SQL_SUCCEEDED(SQLNumResultCols(statement.get(), &columns)))
            return -1;
        constexpr std::size_t kBytes = 2048;
        std::vector<std::array<std::max_align_t, kBytes / sizeof(std::max_align_t)>> buffers(static_cast<std::size_t>(columns));
        std::vector<SQLLEN> indicators(static_cast<std::size_t>(columns));
        for (SQLSMALLINT i = 0; i < columns; ++i) {
            SQLSMALLINT type = 0, digits = 0, nullable = 0, length = 0;
            SQLULEN size = 0;
            SQLWCHAR name = 0;
            const auto index = static_cast<SQLUSMALLINT>(i + 1);
            SQLDescribeColW(statement.get(), index, &name, 1, &length, &type, &size, &digits, &nullable);
            const bool integer = type == SQL_INTEGER || type == SQL_BIGINT || type == SQL_SMALLINT;
            const SQLSMALLINT cType = integer                                      ? SQL_C_SBIGINT
                                      : type == SQL_TYPE_TIMESTAMP                 ? SQL_C_TYPE_TIMESTAMP
                                      : type == SQL_DECIMAL || type == SQL_NUMERIC ? SQL_C_CHAR
                                                                                   : SQL_C_WCHAR;
            SQLBindCol(statement.get(), index, cType, &buffers[static_cast<std::size_t>(i)], kBytes,
                       &indicators[static_cast<std::size_t>(i)]);
        }
        while (SQL_SUCCEEDED(SQLFetch(statement.get())))
            ++count;
    }
    SQLDisconnect(handle.get());
    return count;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 5) {
        std::fputs("usage: bench_odbc own|raw CONNECTION SQL ROWS\n", stderr);
        return 2;
    }
    const QString connection = QString::fromLocal8Bit(argv[2]), sql = QString::fromLocal8Bit(argv[3]);
    const std::int64_t rows = argv[1][0] == 'o' ? readOwn(connection, sql) : readRaw(connection, sql);
    if (rows != std::atoll(argv[4])) {
        std::fprintf(stderr, "bench_odbc: %lld rows\n", static_cast<long long>(rows));
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
