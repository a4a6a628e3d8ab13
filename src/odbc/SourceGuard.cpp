#include "odbc/SourceGuard.h"

#include "odbc/Drivers.h"

#include <algorithm>
#include <array>
#include <optional>

namespace qm::odbc {

namespace {

bool sameWord(const QString &a, QStringView b)
{
    return b.compare(a, Qt::CaseInsensitive) == 0;
}

QString listed(const QStringList &names)
{
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

/// The family of a driver by its name, and where that tells nothing by its library.
Family familyOfDriver(const QString &name, const std::vector<InstalledDriver> &drivers)
{
    // A library of the SQLite family stays one under any name.
    for (const InstalledDriver &driver : drivers)
        if (sameWord(driver.name, name))
            if (const Family library = familyOf(driver.library); library != Family::Other)
                return library;
    return familyOf(name);
}

/// Finds the driver or DSN among those that this computer lists. \returns why it is refused, or nothing.
QString findDriver(GuardedSource &source)
{
    const QString driver = source.properties.value(u"Driver"), dsn = source.properties.value(u"DSN");
    const std::vector<InstalledDriver> drivers = listDrivers();
    if (driver.isEmpty() && dsn.isEmpty())
        return QStringLiteral("it names neither a driver nor a data source name. Write \"ODBC::Driver={...};Server=...;\" or "
                              "\"ODBC::DSN=...;\".");
    if (!driver.isEmpty() && !dsn.isEmpty())
        return QStringLiteral("it names both a driver and a data source name. Leave one of them out.");
    if (!driver.isEmpty()) {
        const bool known =
            std::any_of(drivers.begin(), drivers.end(), [&](const InstalledDriver &entry) { return sameWord(entry.name, driver); });
        QStringList names;
        for (const InstalledDriver &entry : drivers)
            names << entry.name;
        if (!known)
            return QStringLiteral("no ODBC driver named \"%1\" is installed on this computer, and a query may use no other. Installed: %2.")
                .arg(driver, listed(names));
        source.driver = driver;
    } else {
        QStringList names;
        for (const DataSourceName &entry : listDataSourceNames()) {
            names << entry.name;
            if (sameWord(entry.name, dsn))
                source.driver = entry.driver;
        }
        if (!names.contains(dsn, Qt::CaseInsensitive))
            return QStringLiteral("this computer has no ODBC data source name \"%1\". It has: %2.").arg(dsn, listed(names));
        source.dsn = dsn;
    }
    source.family = familyOfDriver(source.driver, drivers);
    return {};
}

/// Whether a server's address reaches it by other ways than the network's: started on demand, by a pipe, by shared memory.
bool isLocal(const QString &address)
{
    const QString start = address.trimmed();
    constexpr std::array<QStringView, 4> ways{u"(localdb)", u"np:", u"lpc:", u"\\\\"};
    return std::any_of(ways.begin(), ways.end(), [&](QStringView way) { return start.startsWith(way, Qt::CaseInsensitive); });
}

/// Why \p value may not be given for \p key; empty when it may.
QString whyNotValue(Family family, const QString &key, const QString &value)
{
    if (std::any_of(value.begin(), value.end(), [](QChar c) { return c.category() == QChar::Other_Control; }))
        return QStringLiteral("the value of \"%1\" holds a control character. Write it again.").arg(key);
    const bool isServer = sameWord(key, u"Server") || sameWord(key, u"Address") || sameWord(key, u"Addr");
    // A descriptor in place of a name can start a program: that is how a local database is reached. Behind a question mark it may name
    // files.
    if (family == Family::Oracle && (sameWord(key, u"DBQ") || isServer) && (value.contains(u'(') || value.contains(u'?')))
        return QStringLiteral(
                   "the value of \"%1\" is a whole descriptor or has options, which may start programs and open files. Write a TNS "
                   "name or host:port/service.")
            .arg(key);
    if (family == Family::Microsoft && isServer && isLocal(value))
        return QStringLiteral("the value of \"%1\" may start a server here or open a pipe. Write the server's host and port.").arg(key);
    if (!sameWord(key, u"Database") || family == Family::Sqlite)
        return {};
    // Engines in one file are told their file this way, and some clients take a whole connection for a database's name.
    if (family == Family::Other || value.contains(u'=') || value.contains(QStringLiteral("://")))
        return QStringLiteral("the value of \"%1\" is not a database's name, or may be a file for this driver. Set it in a DSN of this "
                              "computer, and write \"ODBC::DSN=...\" without it.")
            .arg(key);
    return {};
}

} // namespace

Guarding guard(const QString &connection)
{
    Guarding result;
    GuardedSource &source = result.source;
    source.properties = parseOdbc(connection);
    result.refusal = findDriver(source);
    if (!result.refusal.isEmpty())
        return result;
    for (const auto &[key, value] : source.properties.entries()) {
        if (!maySet(driverFamily(source.family), key))
            result.refusal =
                QStringLiteral("a query may not set \"%1\" for %2: such a key can load programs or open files, or is not known "
                               "here. Set it in a DSN of this computer, and write \"ODBC::DSN=...\".")
                    .arg(key, source.driver);
        else
            result.refusal = whyNotValue(source.family, key, value);
        if (!result.refusal.isEmpty())
            return result;
    }
    if (source.family == Family::Sqlite) {
        const std::optional<QString> named = source.properties.find(u"Database");
        source.file = source.dsn.isEmpty() ? named.value_or(QString()) : dsnSetting(source.dsn, QStringLiteral("Database"));
        if (named && !source.dsn.isEmpty())
            result.refusal =
                QStringLiteral("a query may not set \"Database\" beside a DSN of %1, which names the file itself. Leave it out.")
                    .arg(source.driver);
        else if (source.file.isEmpty())
            result.refusal = QStringLiteral("it names no database file. Write \"Database=...\".");
    }
    return result;
}

} // namespace qm::odbc
