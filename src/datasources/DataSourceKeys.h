/// \file
/// The vocabulary of data source types, and the way from a key to its file.
#pragma once

#include "core/DataSourcePrefix.h"

#include <QString>

namespace qm {

inline constexpr char kSqlServerLabel[] = "Microsoft SQL Server";
inline constexpr char kOracleLabel[] = "Oracle";

/// Whether \p key holds the SQL Server (Oracle) prefix anywhere, letter case respected.
[[nodiscard]] bool isSqlServerKey(const QString &key);
[[nodiscard]] bool isOracleKey(const QString &key);

/// The path of the key's file: the key with every occurrence of \p prefix deleted, in the "Config" folder.
/// \throws RuntimeError 52 when what is left cannot be a file name, or would leave the folder.
[[nodiscard]] QString dataSourcePath(const QString &installPath, const QString &key, const char *prefix);

} // namespace qm
