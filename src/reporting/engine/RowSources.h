/// \file
/// Opens the rows of a query, whatever engine holds them.
#pragma once

#include "reporting/engine/RowSource.h"
#include "reporting/engine/SqlLexer.h"
#include "reporting/engine/SqlParameters.h"

#include <memory>

namespace qm {

class RunLimits;

/// Where a query's rows come from, as its data source says.
struct SourceDescription
{
    QString database; ///< the embedded database's file
    QString shown;    ///< for titles, ledger and log: never holds a password
    SqlDialect dialect = SqlDialect::Sqlite;
};

/// \p text (a data source or connection string) without the values of its password keys, for anything that people see.
[[nodiscard]] QString redacted(const QString &text);

/// The source that \p dataSource names; "" is the embedded \p database.
/// \throws RuntimeError reportFailed when this version cannot read it.
[[nodiscard]] SourceDescription describeSource(const QString &dataSource, const QString &database);

/// Opens \p sql on \p source. \throws RuntimeError as the row source's constructor does.
[[nodiscard]] std::unique_ptr<RowSource> openRowSource(const SourceDescription &source, const QString &sql,
                                                       const std::vector<BoundParameter> &parameters, const RunLimits &limits);

} // namespace qm
