#include "odbc/Drivers.h"

#include "odbc/Handles.h"
#include "odbc/Wide.h"

#include <algorithm>
#include <array>

namespace qm::odbc {

namespace {

constexpr SQLSMALLINT kMostUnits = 1024;

struct NamedEntry
{
    QString name, description;
};

/// Walks one of the driver manager's lists; \p ask is called for the first entry, then for each next one.
template <class Ask>
std::vector<NamedEntry> walk(Ask &&ask)
{
    std::vector<NamedEntry> entries;
    std::array<SQLWCHAR, kMostUnits> name{}, description{};
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    for (;;) {
        SQLSMALLINT nameUnits = 0, descriptionUnits = 0;
        if (!SQL_SUCCEEDED(ask(direction, name.data(), &nameUnits, description.data(), &descriptionUnits)))
            return entries;
        direction = SQL_FETCH_NEXT;
        entries.push_back({fromWide(name.data(), std::min<SQLSMALLINT>(nameUnits, kMostUnits - 1)),
                           fromWide(description.data(), std::min<SQLSMALLINT>(descriptionUnits, kMostUnits - 1))});
    }
}

QString firstOf(const QStringList &wanted, const QStringList &installed)
{
    for (const QString &name : wanted)
        for (const QString &driver : installed)
            if (driver.compare(name, Qt::CaseInsensitive) == 0)
                return driver;
    return {};
}

} // namespace

QStringList installedDrivers()
{
    const Environment environment;
    QStringList names;
    for (const NamedEntry &entry :
         walk([&](SQLUSMALLINT direction, SQLWCHAR *name, SQLSMALLINT *nameUnits, SQLWCHAR *attributes, SQLSMALLINT *attributeUnits) {
             return SQLDriversW(environment.get(), direction, name, kMostUnits, nameUnits, attributes, kMostUnits, attributeUnits);
         }))
        names << entry.name;
    return names;
}

QString driverOfDsn(const QString &dsn)
{
    const Environment environment;
    for (const NamedEntry &entry :
         walk([&](SQLUSMALLINT direction, SQLWCHAR *name, SQLSMALLINT *nameUnits, SQLWCHAR *driver, SQLSMALLINT *driverUnits) {
             return SQLDataSourcesW(environment.get(), direction, name, kMostUnits, nameUnits, driver, kMostUnits, driverUnits);
         }))
        if (entry.name.compare(dsn, Qt::CaseInsensitive) == 0)
            return entry.description;
    return {};
}

Family familyOf(const QString &driver)
{
    const QString name = driver.toLower();
    if (name.contains(QStringLiteral("freetds")) || name.contains(QStringLiteral("tdsodbc")))
        return Family::FreeTds;
    if (name.contains(QStringLiteral("oracle")))
        return Family::Oracle;
    if (name.contains(QStringLiteral("sql server")) || name.contains(QStringLiteral("sql native client")) ||
        name.contains(QStringLiteral("msodbcsql")))
        return Family::Microsoft;
    if (name.contains(QStringLiteral("postgres")) || name.contains(QStringLiteral("psqlodbc")))
        return Family::PostgreSql;
    if (name.contains(QStringLiteral("sqlite")))
        return Family::Sqlite;
    return Family::Other;
}

QStringList sqlServerDriverNames()
{
    return {QStringLiteral("ODBC Driver 18 for SQL Server"), QStringLiteral("ODBC Driver 17 for SQL Server"),
            QStringLiteral("ODBC Driver 13 for SQL Server"), QStringLiteral("FreeTDS"),
            QStringLiteral("Devart ODBC Driver for SQL Server")};
}

QStringList oracleDriverNames()
{
    return {QStringLiteral("Oracle 21 ODBC driver"), QStringLiteral("Oracle 19 ODBC driver"), QStringLiteral("Oracle 18 ODBC driver"),
            QStringLiteral("Oracle 12c ODBC driver"), QStringLiteral("Devart ODBC Driver for Oracle")};
}

QString sqlServerDriver(const QStringList &installed)
{
    return firstOf(sqlServerDriverNames(), installed);
}

QString oracleDriver(const QStringList &installed)
{
    const QString known = firstOf(oracleDriverNames(), installed);
    if (!known.isEmpty())
        return known;
    const auto any = std::find_if(installed.begin(), installed.end(),
                                  [](const QString &name) { return name.contains(QStringLiteral("oracle"), Qt::CaseInsensitive); });
    return any == installed.end() ? QString() : *any;
}

} // namespace qm::odbc
