/// \file
/// A report's SQL as it goes to a database server.
#pragma once

#include "engine/sql/SqlLexer.h"
#include "engine/sql/SqlParameters.h"

#include <QString>

#include <vector>

namespace qm {

/// The statement with a "?" for each parameter mark, and the values in the order of the marks. Lines are where they were.
struct OdbcSql
{
    QString text;
    std::vector<BoundParameter> values;
};

/// Refuses what a report must not send to a server: nothing, a second statement, or one that writes. A server's own rights and the
/// read-only transaction stand behind this; it is here to say it early, with the place.
/// \throws RuntimeError reportFailed with line and column.
void requireOneReadingStatement(const QString &sql, SqlDialect dialect);

/// \throws RuntimeError reportFailed for a nameless mark or a name without a value.
[[nodiscard]] OdbcSql withPositionalMarks(const QString &sql, SqlDialect dialect, const std::vector<BoundParameter> &parameters);

} // namespace qm
