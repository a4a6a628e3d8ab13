#include "odbc/Drivers.h"

#include "odbc/Handles.h"
#include "odbc/Wide.h"

#include <algorithm>
#include <array>

namespace qm::odbc {

namespace {

constexpr SQLSMALLINT kMostUnits = 2048;

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

/// The value of \p key among "key=value" pieces, each ended by a NUL.
QString attribute(const QString &attributes, QStringView key)
{
    for (const QString &piece : attributes.split(QChar(u'\0')))
        if (piece.startsWith(key, Qt::CaseInsensitive) && piece.mid(key.size()).startsWith(u'='))
            return piece.mid(key.size() + 1).trimmed();
    return {};
}

} // namespace

std::vector<InstalledDriver> listDrivers()
{
    const Environment environment;
    std::vector<InstalledDriver> drivers;
    for (const NamedEntry &entry :
         walk([&](SQLUSMALLINT direction, SQLWCHAR *name, SQLSMALLINT *nameUnits, SQLWCHAR *attributes, SQLSMALLINT *attributeUnits) {
             return SQLDriversW(environment.get(), direction, name, kMostUnits, nameUnits, attributes, kMostUnits, attributeUnits);
         }))
        drivers.push_back({entry.name, attribute(entry.description, u"Driver")});
    return drivers;
}

QStringList installedDrivers()
{
    QStringList names;
    for (const InstalledDriver &driver : listDrivers())
        names << driver.name;
    return names;
}

std::vector<DataSourceName> listDataSourceNames()
{
    const Environment environment;
    std::vector<DataSourceName> names;
    for (const NamedEntry &entry :
         walk([&](SQLUSMALLINT direction, SQLWCHAR *name, SQLSMALLINT *nameUnits, SQLWCHAR *driver, SQLSMALLINT *driverUnits) {
             return SQLDataSourcesW(environment.get(), direction, name, kMostUnits, nameUnits, driver, kMostUnits, driverUnits);
         }))
        names.push_back({entry.name, entry.description});
    return names;
}

QString dsnSetting(const QString &dsn, const QString &key)
{
    std::array<SQLWCHAR, kMostUnits> value{};
    WideText section(dsn), entry(key), nothing((QString())), file(QStringLiteral("ODBC.INI"));
    const int units = SQLGetPrivateProfileStringW(section.data(), entry.data(), nothing.data(), value.data(),
                                                  static_cast<int>(value.size()), file.data());
    return fromWide(value.data(), std::clamp<qsizetype>(units, 0, kMostUnits - 1));
}

} // namespace qm::odbc
