#include "odbc/Connection.h"

#include "odbc/Wide.h"
#include "platform/DetachedThread.h"

#include <array>
#include <condition_variable>
#include <mutex>

namespace qm::odbc {

namespace {

using namespace std::chrono_literals;

/// How long a named instance's port is waited for.
constexpr auto kBrowserPatience = 2s;
/// Shorter secrets are parts of ordinary words.
constexpr qsizetype kShortestSecret = 4;

QString infoText(SQLHANDLE connection, SQLUSMALLINT what)
{
    std::array<SQLWCHAR, 256> text{};
    SQLSMALLINT bytes = 0;
    if (!SQL_SUCCEEDED(SQLGetInfoW(connection, what, text.data(), static_cast<SQLSMALLINT>(sizeof text), &bytes)))
        return {};
    return fromWide(text.data(), std::min<qsizetype>(bytes / 2, static_cast<qsizetype>(text.size()) - 1));
}

} // namespace

/// Opens one connection; apart so that a Connection is never seen half made.
struct ConnectAttempt
{
    static ConnectOutcome run(const QString &text, const Route &route, std::chrono::seconds patience)
    {
        ConnectOutcome outcome;
        outcome.driver = route.driver;
        std::unique_ptr<Connection> connection(new Connection);
        if (!connection->m_environment.get() || !connection->m_handle.allocate(connection->m_environment.get())) {
            outcome.failure = {Stage::Driver, {{QString(), 0, QStringLiteral("the ODBC driver manager does not start."), 0}}};
            return outcome;
        }
        SQLHANDLE handle = connection->get();
        SQLSetConnectAttrW(handle, SQL_ATTR_LOGIN_TIMEOUT, Environment::attribute(static_cast<SQLULEN>(patience.count())), 0);
        SQLSetConnectAttrW(handle, SQL_ATTR_ACCESS_MODE, Environment::attribute(SQL_MODE_READ_ONLY), 0);
        WideText wide(text);
        const SQLRETURN code =
            SQLDriverConnectW(handle, nullptr, wide.data(), wide.shortLength(), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
        if (!SQL_SUCCEEDED(code)) {
            outcome.failure = judgeConnecting(diagnosticsOf(SQL_HANDLE_DBC, handle));
            return outcome;
        }
        connection->m_open = true;
        connection->m_driver = route.driver;
        connection->m_family = route.family;
        if (const QString refusal = connection->learn(); !refusal.isEmpty()) {
            outcome.failure = {Stage::Driver, {{QString(), 0, refusal, 0}}};
            return outcome;
        }
        outcome.connection = std::move(connection);
        return outcome;
    }
};

Connection::~Connection()
{
    if (!m_open)
        return;
    SQLEndTran(SQL_HANDLE_DBC, m_handle.get(), SQL_ROLLBACK);
    SQLDisconnect(m_handle.get());
}

QString Connection::learn()
{
    SQLGetInfoW(m_handle.get(), SQL_GETDATA_EXTENSIONS, &m_getData, sizeof m_getData, nullptr);
    // The library tells more than the name under which it is registered.
    if (const Family library = familyOf(infoText(m_handle.get(), SQL_DRIVER_NAME)); library != Family::Other)
        m_family = library;
    if (m_family != Family::Sqlite && familyOf(infoText(m_handle.get(), SQL_DBMS_NAME)) != Family::Sqlite)
        return {};
    return QStringLiteral("the driver %1 reads SQLite under another name. Register it under a name that holds \"SQLite\".").arg(m_driver);
}

void Connection::beginTransaction()
{
    SQLSetConnectAttrW(m_handle.get(), SQL_ATTR_AUTOCOMMIT, Environment::attribute(SQL_AUTOCOMMIT_OFF), 0);
}

ConnectOutcome connectTo(const Endpoint &endpoint, std::chrono::seconds patience)
{
    const Routing routing = routeTo(endpoint, kBrowserPatience);
    if (routing.failure)
        return {nullptr, *routing.failure, routing.route.driver};
    if (routing.route.strings.empty())
        return {nullptr,
                {Stage::LogIn,
                 {{QString(), 0,
                   QStringLiteral("the driver %1 cannot be given a value whose closing brace it would take for the value's end.")
                       .arg(routing.route.driver),
                   0}}},
                routing.route.driver};
    ConnectOutcome first;
    for (const QString &text : routing.route.strings) {
        ConnectOutcome outcome = ConnectAttempt::run(text, routing.route, patience);
        const bool refused = !outcome.connection && outcome.failure.stage == Stage::LogIn;
        if (&text == &routing.route.strings.front())
            first = std::move(outcome);
        else if (outcome.connection)
            return outcome;
        if (!refused)
            break;
    }
    return first;
}

std::optional<QString> testConnecting(const Endpoint &endpoint, std::chrono::milliseconds deadline)
{
    struct Shared
    {
        std::mutex mutex;
        std::condition_variable ended;
        bool isEnded = false;
        std::optional<QString> failure;
    };
    const auto shared = std::make_shared<Shared>();
    const auto patience = std::max(std::chrono::duration_cast<std::chrono::seconds>(deadline) - 1s, 1s);
    runDetached([shared, endpoint, patience] {
        std::optional<QString> failure;
        {
            const ConnectOutcome outcome = connectTo(endpoint, patience);
            if (!outcome.connection)
                failure = without(explain(outcome.failure, outcome.driver), endpoint.password);
        }
        const std::lock_guard lock(shared->mutex);
        shared->failure = std::move(failure);
        shared->isEnded = true;
        shared->ended.notify_one();
    });
    std::unique_lock lock(shared->mutex);
    if (!shared->ended.wait_for(lock, deadline, [&] { return shared->isEnded; }))
        return explain(connectTimedOut(deadline), {});
    return shared->failure;
}

ConnectFailure connectTimedOut(std::chrono::milliseconds deadline)
{
    return {Stage::Network,
            {{QStringLiteral("HYT00"), 0,
              QStringLiteral("the server did not answer within %1 seconds.").arg(static_cast<double>(deadline.count()) / 1000), 0}}};
}

QString without(QString text, const QString &secret)
{
    return secret.size() < kShortestSecret ? text : text.replace(secret, QStringLiteral("***"));
}

} // namespace qm::odbc
