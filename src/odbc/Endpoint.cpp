#include "odbc/Endpoint.h"

#include "core/ConnectionString.h"
#include "odbc/Drivers.h"
#include "odbc/InstanceBrowser.h"
#include "odbc/SourceGuard.h"

#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace qm::odbc {

namespace {

constexpr int kDefaultPort = 1433;

/// \p value behind "KEY=". A driver manager may look for its own keys in a string that it cut to the low byte of each character, where
/// U+013B is a semicolon: there, too, it must stay one value. \returns nothing when it cannot.
std::optional<QString> written(const QString &value, Escaping escaping)
{
    QString cut = value;
    for (QChar &unit : cut)
        unit = QChar(unit.unicode() & 0xFF);
    std::optional<QString> text = escaped(value, escaping);
    if (text && !text->startsWith(u'{') && (cut.contains(u';') || cut.startsWith(u'{')))
        text = u'{' + value + u'}';
    // A manager closes at a brace before blanks and a semicolon, and takes two braces for one.
    static const QRegularExpression closed(QStringLiteral("\\}\\s*(?:;|$)"));
    const bool endsEarly = cut.count(u'}') != value.count(u'}') || (escaping == Escaping::Bare && cut.contains(closed));
    return text && text->startsWith(u'{') && endsEarly ? std::nullopt : text;
}

/// The connection strings that say \p properties to a driver of \p family: more than one where its version decides the spelling, which is
/// told only once connected; most values are spelled alike. Empty when none can.
std::vector<QString> spelled(Family family, const Properties &properties)
{
    std::vector<QString> strings;
    const auto &entries = properties.entries();
    const bool hasBrace =
        std::any_of(entries.begin(), entries.end(), [](const Properties::Entry &entry) { return entry.second.contains(u'}'); });
    for (const Escaping escaping : {Escaping::Bare, Escaping::Doubled}) {
        if (escaping == Escaping::Bare && family != Family::FreeTds)
            continue;
        QString text;
        bool isPossible = true;
        for (const auto &[key, value] : entries) {
            const bool isDriver = key.compare(QStringLiteral("Driver"), Qt::CaseInsensitive) == 0;
            const auto said = isDriver ? u'{' + value + u'}' : written(value, escaping);
            isPossible = isPossible && said;
            text += key + u'=' + said.value_or(QString()) + u';';
        }
        if (isPossible && (strings.empty() || (hasBrace && strings.front() != text)))
            strings.push_back(text);
    }
    return strings;
}

void add(Properties &properties, const char *key, const QString &value)
{
    properties.add(QString::fromLatin1(key), value);
}

/// The settings of the driver's family that neither \p properties nor their DSN make.
void addDefaults(Properties &properties, Family family, const QString &dsn)
{
    for (const auto &[key, value] : driverFamily(family).defaults) {
        const QString name = QString::fromLatin1(key);
        if (!properties.find(name) && (dsn.isEmpty() || dsnSetting(dsn, name).isEmpty()))
            properties.add(name, QString::fromLatin1(value));
    }
}

void addLogIn(Properties &properties, const Endpoint &endpoint)
{
    if (endpoint.integrated) {
        add(properties, "Trusted_Connection", QStringLiteral("Yes"));
        return;
    }
    add(properties, "UID", endpoint.user);
    add(properties, "PWD", endpoint.password);
}

/// The route with \p engine's driver, or the failure that there is none.
Routing withDriver(const Engine &engine)
{
    const QStringList installed = installedDrivers();
    Routing routing;
    routing.route.driver = chooseDriver(engine, installed);
    routing.route.family = familyOf(routing.route.driver);
    if (!routing.route.driver.isEmpty())
        return routing;
    const QString have = installed.isEmpty() ? QStringLiteral("none") : installed.join(QStringLiteral(", "));
    routing.failure = {Stage::Driver,
                       {{QStringLiteral("IM002"), 0,
                         QStringLiteral("no ODBC driver for %1 is installed. Looked for: %2. Installed: %3.")
                             .arg(QLatin1StringView(engine.label), driverNames(engine).join(QStringLiteral(", ")), have),
                         0}}};
    return routing;
}

Routing toSqlServer(const Endpoint &endpoint, std::chrono::milliseconds patience)
{
    Routing routing = withDriver(engineOf(SqlDialect::MsSql));
    if (routing.failure)
        return routing;
    ServerAddress address = ServerAddress::of(endpoint.server);
    if (address.host.isEmpty()) {
        routing.failure = {Stage::Name, {{QString(), 0, QStringLiteral("no server is named."), 0}}};
        return routing;
    }
    if (!address.instance.isEmpty() && address.port == 0) {
        const InstanceAnswer answer = askForInstance(address.host, address.instance, patience);
        if (answer.failure) {
            routing.failure = answer.failure;
            return routing;
        }
        address.port = answer.port;
    }
    Properties properties;
    add(properties, "Driver", routing.route.driver);
    if (routing.route.family == Family::FreeTds) {
        add(properties, "Server", address.host);
        add(properties, "Port", QString::number(address.port > 0 ? address.port : kDefaultPort));
    } else {
        add(properties, "Server", address.port > 0 ? QStringLiteral("%1,%2").arg(address.host).arg(address.port) : address.host);
    }
    addDefaults(properties, routing.route.family, {});
    add(properties, "Database", endpoint.database);
    addLogIn(properties, endpoint);
    if (routing.route.driver.contains(QStringLiteral(" 18 ")))
        add(properties, "Encrypt", QStringLiteral("optional"));
    routing.route.strings = spelled(routing.route.family, properties);
    return routing;
}

Routing toOracle(const Endpoint &endpoint)
{
    Routing routing = withDriver(engineOf(SqlDialect::Oracle));
    if (routing.failure)
        return routing;
    Properties properties;
    add(properties, "Driver", routing.route.driver);
    add(properties, "DBQ", endpoint.server);
    add(properties, "UID", endpoint.integrated ? QStringLiteral("/") : endpoint.user);
    if (!endpoint.integrated)
        add(properties, "PWD", endpoint.password);
    routing.route.strings = spelled(routing.route.family, properties);
    return routing;
}

/// What the query's string sets, written anew so that the driver reads the entries that were looked at and no others, with what keeps this
/// driver from hanging or from reading a whole result at once unless string or DSN say otherwise.
Routing toOdbc(const Endpoint &endpoint)
{
    const Guarding guarding = guard(endpoint.connection);
    const GuardedSource &source = guarding.source;
    Routing routing;
    routing.route.driver = source.driver;
    routing.route.family = source.family;
    if (!guarding.refusal.isEmpty() || source.family == Family::Sqlite) {
        const QString words = guarding.refusal.isEmpty() ? QStringLiteral("SQLite is not read through its driver.") : guarding.refusal;
        routing.failure = {Stage::Driver, {{QString(), 0, words, 0}}};
        return routing;
    }
    Properties properties = source.properties;
    addDefaults(properties, source.family, source.dsn);
    routing.route.strings = spelled(source.family, properties);
    return routing;
}

} // namespace

Endpoint Endpoint::ofAdo(const QString &text)
{
    const Properties properties = parseAdo(text);
    Endpoint endpoint;
    const QString provider = properties.value(u"Provider");
    const bool oracle = provider.startsWith(QStringLiteral("MSDAORA"), Qt::CaseInsensitive) ||
                        (!provider.startsWith(QStringLiteral("SQL"), Qt::CaseInsensitive) && !properties.find(u"Initial Catalog"));
    endpoint.kind = oracle ? Kind::Oracle : Kind::SqlServer;
    endpoint.server = properties.value(u"Data Source");
    endpoint.database = properties.value(u"Initial Catalog");
    endpoint.user = properties.value(u"User ID");
    endpoint.password = properties.value(u"Password");
    endpoint.integrated = properties.value(u"Integrated Security").compare(QStringLiteral("SSPI"), Qt::CaseInsensitive) == 0;
    return endpoint;
}

Endpoint Endpoint::ofOdbc(const QString &connection)
{
    Endpoint endpoint;
    endpoint.connection = connection;
    return endpoint;
}

ServerAddress ServerAddress::of(const QString &server)
{
    ServerAddress address;
    QString rest = server.trimmed();
    if (rest.startsWith(QStringLiteral("tcp:"), Qt::CaseInsensitive))
        rest.remove(0, 4);
    if (const qsizetype comma = rest.lastIndexOf(u','); comma >= 0) {
        address.port = rest.mid(comma + 1).trimmed().toInt();
        rest.truncate(comma);
    }
    if (const qsizetype backslash = rest.indexOf(u'\\'); backslash >= 0) {
        address.instance = rest.mid(backslash + 1).trimmed();
        rest.truncate(backslash);
    }
    address.host = rest.trimmed();
    if (address.host == QStringLiteral(".") || address.host.compare(QStringLiteral("(local)"), Qt::CaseInsensitive) == 0)
        address.host = QStringLiteral("127.0.0.1");
    if (address.instance.compare(QStringLiteral("MSSQLSERVER"), Qt::CaseInsensitive) == 0)
        address.instance.clear();
    return address;
}

Routing routeTo(const Endpoint &endpoint, std::chrono::milliseconds patience)
{
    switch (endpoint.kind) {
    case Endpoint::Kind::SqlServer:
        return toSqlServer(endpoint, patience);
    case Endpoint::Kind::Oracle:
        return toOracle(endpoint);
    case Endpoint::Kind::Odbc:
        break;
    }
    return toOdbc(endpoint);
}

} // namespace qm::odbc
