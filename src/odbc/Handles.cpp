#include "odbc/Handles.h"

#include "odbc/Wide.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace qm::odbc {

namespace {

/// Line of the statement that the message is about; the number is common to the drivers for SQL Server.
constexpr SQLSMALLINT kDiagServerLine = -1154;
constexpr SQLSMALLINT kMostRecords = 20;

/// Without "[unixODBC][FreeTDS][SQL Server]" in front and blank lines behind.
QString withoutNames(QString words)
{
    static const QRegularExpression names(QStringLiteral("^(\\[[^\\]]*\\]\\s*)+"));
    words.remove(names);
    words.replace(u'\n', u' ');
    return words.simplified();
}

} // namespace

std::vector<Diagnostic> diagnosticsOf(SQLSMALLINT handleType, SQLHANDLE handle)
{
    std::vector<Diagnostic> all;
    std::vector<SQLWCHAR> text(2048);
    for (SQLSMALLINT record = 1; record <= kMostRecords; ++record) {
        std::array<SQLWCHAR, 6> state{};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        const auto read = [&] {
            return SQLGetDiagRecW(handleType, handle, record, state.data(), &native, text.data(), static_cast<SQLSMALLINT>(text.size()),
                                  &length);
        };
        SQLRETURN code = read();
        if (code == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(text.size())) {
            text.resize(static_cast<std::size_t>(length) + 1);
            code = read();
        }
        if (!SQL_SUCCEEDED(code))
            break;
        SQLLEN line = 0;
        if (handleType == SQL_HANDLE_STMT)
            SQLGetDiagFieldW(handleType, handle, record, kDiagServerLine, &line, SQL_IS_INTEGER, nullptr);
        const auto units = std::min<qsizetype>(length, static_cast<qsizetype>(text.size()) - 1);
        all.push_back({fromWide(state.data(), 5), native, withoutNames(fromWide(text.data(), units)), static_cast<int>(line & 0x7FFFFFFF)});
    }
    return all;
}

} // namespace qm::odbc
