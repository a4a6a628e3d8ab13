/// \file
/// What a query's data source begins with: it says what kind of source the rest names.
#pragma once

#include <QString>

#include <optional>

namespace qm {

inline constexpr char kSqlServerPrefix[] = "MSSQL::"; ///< + file name of a saved data source
inline constexpr char kOraclePrefix[] = "Oracle::";   ///< + file name of a saved data source
inline constexpr char kOdbcPrefix[] = "ODBC::";       ///< + connection string; letter case does not matter

/// What follows the prefix "ODBC::" in \p dataSource; nothing when it begins otherwise.
[[nodiscard]] inline std::optional<QString> odbcConnection(const QString &dataSource)
{
    const QLatin1StringView prefix(kOdbcPrefix);
    if (!dataSource.startsWith(prefix, Qt::CaseInsensitive))
        return std::nullopt;
    return dataSource.mid(prefix.size());
}

} // namespace qm
