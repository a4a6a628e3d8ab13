/// \file
/// Which ODBC drivers this computer has, and what is known of them.
#pragma once

#include <QString>
#include <QStringList>

namespace qm::odbc {

/// The driver families that need something of their own.
enum class Family { FreeTds, Microsoft, PostgreSql, Sqlite, Oracle, Other };

/// Names of the installed drivers, as the driver manager lists them.
[[nodiscard]] QStringList installedDrivers();
/// The driver of the data source name \p dsn; empty when the driver manager does not list it.
[[nodiscard]] QString driverOfDsn(const QString &dsn);

/// What \p driver is, by its name.
[[nodiscard]] Family familyOf(const QString &driver);

/// The first of the wanted drivers, in order of preference, that is in \p installed; empty when none is. Letter case does not matter.
[[nodiscard]] QString sqlServerDriver(const QStringList &installed);
/// The same for Oracle; when no known one is installed, any whose name holds "oracle".
[[nodiscard]] QString oracleDriver(const QStringList &installed);
/// The names looked for, for messages.
[[nodiscard]] QStringList sqlServerDriverNames();
[[nodiscard]] QStringList oracleDriverNames();

} // namespace qm::odbc
