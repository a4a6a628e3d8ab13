#include "odbc/Endpoint.h"

#include "odbc/InstanceBrowser.h"

namespace qm::odbc {

namespace {

constexpr int kDefaultPort = 1433;

/// Builds one connection string, escaping each value.
class StringBuilder final
{
public:
    explicit StringBuilder(Escaping escaping) : m_escaping(escaping) {}

    void add(const char *key, const QString &value)
    {
        const auto written = escaped(value, m_escaping);
        m_possible = m_possible && written;
        m_text += QString::fromLatin1(key) + u'=' + written.value_or(QString()) + u';';
    }
    void addDriver(const QString &name) { m_text += QStringLiteral("Driver={%1};").arg(name); }
    [[nodiscard]] bool isPossible() const { return m_possible; }
    [[nodiscard]] const QString &text() const { return m_text; }

private:
    Escaping m_escaping;
    QString m_text;
    bool m_possible = true;
};

void addLogIn(StringBuilder &builder, const Endpoint &endpoint)
{
    if (endpoint.integrated) {
        builder.add("Trusted_Connection", QStringLiteral("Yes"));
        return;
    }
    builder.add("UID", endpoint.user);
    builder.add("PWD", endpoint.password);
}

QString freeTdsString(const Endpoint &endpoint, const ServerAddress &address, const QString &driver, Escaping escaping)
{
    StringBuilder builder(escaping);
    builder.addDriver(driver);
    builder.add("Server", address.host);
    builder.add("Port", QString::number(address.port > 0 ? address.port : kDefaultPort));
    // Without a version the driver guesses it by connecting, and never ends where a server is silent.
    builder.add("TDS_Version", QStringLiteral("7.4"));
    builder.add("Database", endpoint.database);
    addLogIn(builder, endpoint);
    return builder.isPossible() ? builder.text() : QString();
}

QString microsoftString(const Endpoint &endpoint, const ServerAddress &address, const QString &driver)
{
    StringBuilder builder(Escaping::Doubled);
    builder.addDriver(driver);
    builder.add("Server", address.port > 0 ? QStringLiteral("%1,%2").arg(address.host).arg(address.port) : address.host);
    builder.add("Database", endpoint.database);
    addLogIn(builder, endpoint);
    if (driver.contains(QStringLiteral(" 18 ")))
        builder.add("Encrypt", QStringLiteral("optional"));
    return builder.text();
}

Routing noDriver(const QString &kind, const QStringList &names, const QStringList &installed)
{
    Routing routing;
    const QString have = installed.isEmpty() ? QStringLiteral("none") : installed.join(QStringLiteral(", "));
    routing.failure = {Stage::Driver,
                       {{QStringLiteral("IM002"), 0,
                         QStringLiteral("no ODBC driver for %1 is installed. Looked for: %2. Installed: %3.")
                             .arg(kind, names.join(QStringLiteral(", ")), have),
                         0}}};
    return routing;
}

/// The route's driver, or the failure that there is none.
Routing withDriver(Endpoint::Kind kind)
{
    const bool oracle = kind == Endpoint::Kind::Oracle;
    const QStringList installed = installedDrivers();
    Routing routing;
    routing.route.driver = oracle ? oracleDriver(installed) : sqlServerDriver(installed);
    routing.route.family = familyOf(routing.route.driver);
    if (!routing.route.driver.isEmpty())
        return routing;
    return oracle ? noDriver(QStringLiteral("Oracle"), oracleDriverNames(), installed)
                  : noDriver(QStringLiteral("Microsoft SQL Server"), sqlServerDriverNames(), installed);
}

Routing toSqlServer(const Endpoint &endpoint, std::chrono::milliseconds patience)
{
    Routing routing = withDriver(endpoint.kind);
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
    if (routing.route.family != Family::FreeTds) {
        routing.route.strings = {microsoftString(endpoint, address, routing.route.driver)};
        return routing;
    }
    // Which of the two is right depends on the driver's version, which is told only once connected; most values are spelled alike.
    for (const Escaping escaping : {Escaping::Bare, Escaping::Doubled}) {
        const QString text = freeTdsString(endpoint, address, routing.route.driver, escaping);
        const bool special = endpoint.password.contains(u'}') || endpoint.user.contains(u'}') || endpoint.database.contains(u'}');
        if (!text.isEmpty() && (routing.route.strings.empty() || special) &&
            (routing.route.strings.empty() || routing.route.strings.front() != text))
            routing.route.strings.push_back(text);
    }
    return routing;
}

Routing toOracle(const Endpoint &endpoint)
{
    Routing routing = withDriver(endpoint.kind);
    if (routing.failure)
        return routing;
    StringBuilder builder(Escaping::Doubled);
    builder.addDriver(routing.route.driver);
    builder.add("DBQ", endpoint.server);
    builder.add("UID", endpoint.integrated ? QStringLiteral("/") : endpoint.user);
    if (!endpoint.integrated)
        builder.add("PWD", endpoint.password);
    routing.route.strings = {builder.text()};
    return routing;
}

/// The operator's own string, with what keeps this driver from hanging or from reading a whole result at once, unless it says otherwise.
Routing toOdbc(const Endpoint &endpoint)
{
    const Properties properties = parseOdbc(endpoint.connection);
    Routing routing;
    const QString dsn = properties.value(u"DSN");
    routing.route.driver = properties.value(u"Driver");
    if (routing.route.driver.isEmpty() && !dsn.isEmpty())
        routing.route.driver = driverOfDsn(dsn);
    routing.route.family = familyOf(routing.route.driver);
    std::vector<std::pair<const char *, const char *>> defaults;
    if (routing.route.family == Family::FreeTds)
        defaults = {{"TDS_Version", "7.4"}};
    else if (routing.route.family == Family::PostgreSql)
        defaults = {
            {"UseDeclareFetch", "1"}, {"Fetch", "1000"}, {"BoolsAsChar", "0"}, {"KeepaliveTime", "30"}, {"KeepaliveInterval", "10"}};
    QString text = endpoint.connection.trimmed();
    if (!text.endsWith(u';'))
        text += u';';
    for (const auto &[key, value] : defaults)
        if (!properties.find(QString::fromLatin1(key)))
            text += QString::fromLatin1(key) + u'=' + QString::fromLatin1(value) + u';';
    routing.route.strings = {text};
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
