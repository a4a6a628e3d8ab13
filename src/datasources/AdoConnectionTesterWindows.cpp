#include "core/ConnectionString.h"
#include "core/ErrorReporter.h"
#include "datasources/AdoConnectionTester.h"
#include "odbc/Connection.h"
#include "platform/AutomationWindows.h"

#include <algorithm>
#include <array>

namespace qm {

using automation::Apartment;
using automation::Object;

namespace {

constexpr int kUnspecifiedOptions = -1; ///< ADO's adOptionUnspecified

/// Whether ADO itself failed to find the provider: its own 3706 "Provider cannot be found", or the system's words for an unknown class.
bool isProviderMissing(std::int32_t number)
{
    constexpr std::array<std::uint32_t, 3> numbers{3706, 0x800401F3U, 0x80040154U};
    return std::find(numbers.begin(), numbers.end(), static_cast<std::uint32_t>(number)) != numbers.end();
}

/// Whether ADO's own parts are not all registered: TYPE_E_LIBNOTREGISTERED.
bool isAdoIncomplete(std::int32_t number)
{
    return static_cast<std::uint32_t>(number) == 0x8002801DU;
}

/// Opens and closes the connection by ADO. \returns why ADO has no way to the server at all; empty when it was opened.
/// \throws RuntimeError with what the provider reported.
QString openByAdo(const QString &connectionString, std::chrono::milliseconds deadline)
{
    const Apartment apartment;
    std::optional<Object> connection;
    if (const auto failure = attempt([&] { connection = Object::create(QStringLiteral("ADODB.Connection")); }))
        return failure->description();
    if (!connection)
        return QStringLiteral("ADO (ADODB.Connection) is not installed on this machine.");
    // Its own default is the same 15 seconds, should a version refuse the property.
    const auto seconds = static_cast<int>(std::max(std::chrono::ceil<std::chrono::seconds>(deadline), std::chrono::seconds(1)).count());
    (void)attempt([&] { connection->put(QStringLiteral("ConnectionTimeout"), seconds); });
    try {
        connection->call(QStringLiteral("Open"), {connectionString, QString(), QString(), kUnspecifiedOptions});
    } catch (const RuntimeError &error) {
        if (isProviderMissing(error.number()))
            return QStringLiteral("The provider \"%1\" is not installed on this machine for %2-bit programs: %3")
                .arg(parseAdo(connectionString).value(u"Provider"), QString::number(sizeof(void *) * 8), error.description());
        if (isAdoIncomplete(error.number()))
            return QStringLiteral("ADO is not completely installed on this machine: %1").arg(error.description());
        throw;
    }
    (void)attempt([&] { connection->call(QStringLiteral("Close")); });
    return {};
}

} // namespace

void AdoConnectionTester::testConnection(const QString &connectionString)
{
    const QString password = parseAdo(connectionString).value(u"Password");
    try {
        const QString noWay = openByAdo(connectionString, m_deadline);
        if (noWay.isEmpty())
            return;
        // Reports are read through ODBC, so what ODBC reaches can be used although ADO cannot test it.
        if (const auto failure = odbc::testConnecting(odbc::Endpoint::ofAdo(connectionString), m_deadline))
            throw RuntimeError(err::reportFailed, noWay + QStringLiteral("\r\nThrough ODBC, as reports are read: ") + *failure);
    } catch (const RuntimeError &error) {
        throw RuntimeError(error.number(), odbc::without(error.description(), password), error.source());
    }
}

} // namespace qm
