/// \file
/// Which ODBC drivers and data source names this computer lists.
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace qm::odbc {

struct InstalledDriver
{
    QString name;
    QString library; ///< its file, where the driver manager tells it
};

/// The installed drivers, as the driver manager lists them.
[[nodiscard]] std::vector<InstalledDriver> listDrivers();
/// Their names.
[[nodiscard]] QStringList installedDrivers();

struct DataSourceName
{
    QString name;
    QString driver; ///< the driver's name or its file
};

/// The data source names of the system and of the user.
[[nodiscard]] std::vector<DataSourceName> listDataSourceNames();
/// What the data source name \p dsn sets for \p key; empty when it sets nothing.
[[nodiscard]] QString dsnSetting(const QString &dsn, const QString &key);

} // namespace qm::odbc
