/// \file
/// Parameter values in the form in which ODBC drivers take them.
#pragma once

#include "engine/sql/SqlParameters.h"
#include "odbc/Engines.h"
#include "platform/OdbcApi.h"

#include <deque>
#include <variant>
#include <vector>

namespace qm {

/// Holds the values of one statement while it runs.
class OdbcParameters final
{
public:
    /// Text travels as UTF-16. Dates, times and the ends of the period travel as such; to SQLite, which has no such types, as text.
    OdbcParameters(const std::vector<BoundParameter> &values, const odbc::Engine &engine);

    /// \returns the code of the first call that fails, or SQL_SUCCESS.
    SQLRETURN bind(SQLHANDLE statement);

private:
    using Content = std::variant<SQLBIGINT, SQLDOUBLE, SQLCHAR, SQL_DATE_STRUCT, SQL_TIME_STRUCT, SQL_TIMESTAMP_STRUCT,
                                 std::vector<SQLWCHAR>, std::vector<SQLCHAR>>;
    struct Bound
    {
        Content content;
        SQLSMALLINT cType = SQL_C_WCHAR, sqlType = SQL_WVARCHAR;
        SQLULEN size = 0;
        SQLLEN length = 0;
    };
    static Bound ofText(const QString &text);
    static Bound ofInteger(std::int64_t number, const odbc::Engine &engine);
    static Bound of(const BoundParameter &parameter, const odbc::Engine &engine);

    std::deque<Bound> m_bound; ///< addresses are the driver's until the statement ends
};

} // namespace qm
