/// \file
/// Opens the rows of a query, whatever engine holds them.
#pragma once

#include "engine/rows/RowSource.h"
#include "engine/sql/SqlLexer.h"
#include "engine/sql/SqlParameters.h"
#include "framework/Query.h"
#include "odbc/Endpoint.h"

#include <memory>
#include <optional>

namespace qm {

class RunLimits;

/// Where a query's rows come from, as its data source says.
struct SourceDescription
{
    QString database; ///< the embedded database's file
    QString shown;    ///< for titles, ledger and log: never holds a password
    SqlDialect dialect = SqlDialect::Sqlite;
    std::optional<odbc::Endpoint> endpoint; ///< a database server; nothing: the embedded database. Holds a password: never shown
};

/// The source that \p dataSource names: "" is the embedded \p database, "ODBC::" + connection string any engine with an ODBC driver (SQLite
/// by the embedded reader, whatever driver is named), else a data source key ("MSSQL::Payroll.dsf"), whose file in the installation \p
/// installPath is read now. Connects to nothing and loads no driver. \throws RuntimeError reportFailed: a connection string that asks for
/// more than a query may, an unknown kind of key, or a file of another class than the key says; as the reader of data source files does.
[[nodiscard]] SourceDescription describeSource(const QString &dataSource, const QString &database, const QString &installPath);

/// The SQL that runs on an engine of \p dialect: the query's variant for it, or the general one.
[[nodiscard]] QString sqlFor(const Query &query, SqlDialect dialect);

/// Opens \p sql on \p source. \throws RuntimeError as the row source's constructor does.
[[nodiscard]] std::unique_ptr<RowSource> openRowSource(const SourceDescription &source, const QString &sql,
                                                       const std::vector<BoundParameter> &parameters, const RunLimits &limits);
/// Has the source look at \p sql without giving rows. \throws RuntimeError with the database's words.
void checkRowSource(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                    const RunLimits &limits);

} // namespace qm
