#include "engine/rows/OdbcReader.h"

#include "core/ErrorReporter.h"
#include "core/Failure.h"
#include "engine/rows/OdbcColumns.h"
#include "engine/rows/OdbcParameters.h"
#include "odbc/Wide.h"
#include "platform/DetachedThread.h"

#include <QRegularExpression>

#include <algorithm>

namespace qm {

namespace {

using namespace std::chrono_literals;
using odbc::Diagnostic;

/// Blocks on their way at one time: one being filled, one being written, one waiting.
constexpr std::size_t kMostBlocks = 3;
/// A block that is not full is handed on after so long, for a result that comes slowly.
constexpr auto kBlockPatience = 100ms;
/// The driver's own time-out is only to end what our cancelling did not.
constexpr auto kDriverGrace = 2s;
constexpr auto kCancelPause = 100ms;
constexpr int kCancelTries = 50, kTriesBeforeOutside = 2;

/// Makes the statement known to the cancelling thread while it lives.
class Cancellable final
{
public:
    Cancellable(std::mutex &mutex, SQLHANDLE &slot, SQLHANDLE statement) : m_mutex(mutex), m_slot(slot)
    {
        const std::lock_guard lock(m_mutex);
        m_slot = statement;
    }
    ~Cancellable()
    {
        const std::lock_guard lock(m_mutex);
        m_slot = nullptr;
    }
    Cancellable(const Cancellable &) = delete;
    Cancellable &operator=(const Cancellable &) = delete;

private:
    std::mutex &m_mutex;
    SQLHANDLE &m_slot;
};

void runCommand(odbc::Connection &connection, const QString &sql)
{
    odbc::StatementHandle statement;
    if (!statement.allocate(connection.get()))
        return;
    odbc::WideText text(sql);
    if (!SQL_SUCCEEDED(SQLExecDirectW(statement.get(), text.data(), text.length())))
        failReport(QStringLiteral("The database refuses to prepare for reading (%1): %2.")
                       .arg(sql, odbc::shown(odbc::mostTelling(odbc::diagnosticsOf(SQL_HANDLE_STMT, statement.get())))));
}

/// The first value of what \p sql gives; 0 when it gives none.
int numberFrom(odbc::Connection &connection, const QString &sql)
{
    odbc::StatementHandle statement;
    odbc::WideText text(sql);
    SQLINTEGER number = 0;
    SQLLEN indicator = 0;
    if (statement.allocate(connection.get()) && SQL_SUCCEEDED(SQLExecDirectW(statement.get(), text.data(), text.length())) &&
        SQL_SUCCEEDED(SQLFetch(statement.get())))
        SQLGetData(statement.get(), 1, SQL_C_SLONG, &number, sizeof number, &indicator);
    return number;
}

/// Line and column of the name that the server's \p words quote, where the SQL holds it just once or more; empty when it does not.
QString placeOfQuotedName(const QString &sql, const QString &words)
{
    static const QRegularExpression quoted(QStringLiteral("[\"']([^\"']+)[\"']"));
    const auto match = quoted.match(words);
    if (!match.hasMatch())
        return {};
    const QString name = match.captured(1).section(u'.', -1);
    for (const SqlToken &token : lexSql(sql, SqlDialect::Standard)) {
        const QStringView text = QStringView(sql).mid(token.offset, token.length);
        const bool isName = token.kind == SqlToken::Kind::Word || token.kind == SqlToken::Kind::QuotedName;
        if (!isName || (text.compare(name, Qt::CaseInsensitive) != 0 && text != u'"' + name + u'"'))
            continue;
        const SqlPosition position = sqlPosition(sql, token.offset);
        return QStringLiteral(" in line %1, column %2").arg(position.line).arg(position.column);
    }
    return {};
}

/// Whether the server went away, by ODBC's states, PostgreSQL's, and the numbers of the driver for SQL Server.
bool tellsLostConnection(const Diagnostic &diagnostic)
{
    return diagnostic.state.startsWith(QStringLiteral("08")) || diagnostic.state.startsWith(QStringLiteral("57P")) ||
           diagnostic.native == 20017 || diagnostic.native == 20003 || diagnostic.native == 20006 || diagnostic.native == 20047;
}

} // namespace

void OdbcReader::start()
{
    runDetached([self = shared_from_this()] { self->run(); });
}

void OdbcReader::run()
{
    try {
        read();
    } catch (...) {
        const RuntimeError error = currentError();
        const std::lock_guard lock(m_mutex);
        m_failure = error;
    }
    enter(Phase::Ended);
}

void OdbcReader::read()
{
    const odbc::ConnectOutcome outcome = odbc::connectTo(m_request.endpoint, std::max(m_request.connectPatience - 1s, 1s));
    if (!outcome.connection)
        failReport(
            shownText(QStringLiteral("The data source %1 cannot be reached. %2")
                          .arg(m_request.shown,
                               odbc::explain(outcome.failure, outcome.driver).replace(QStringLiteral("\r\n\r\n"), QStringLiteral(" ")))));
    if (isStopped())
        return;
    odbc::Connection &connection = *outcome.connection;
    enter(Phase::Running);
    prepareSession(connection);
    odbc::StatementHandle statement;
    if (!statement.allocate(connection.get()))
        failReport(QStringLiteral("The driver %1 gives no statement.").arg(connection.driver()));
    const Cancellable cancellable(m_cancelMutex, m_statement, statement.get());
    if (isStopped())
        return;
    OdbcParameters parameters(m_request.sql.values, connection.engine());
    if (!m_request.prepareOnly && !SQL_SUCCEEDED(parameters.bind(statement.get())))
        raiseRefused(statement.get());
    execute(statement.get());
    OdbcColumns columns(statement.get(), connection);
    {
        const std::lock_guard lock(m_mutex);
        m_columns = columns.resultColumns();
    }
    enter(Phase::Reading);
    if (!m_request.prepareOnly)
        fetchRows(statement.get(), columns);
}

void OdbcReader::prepareSession(odbc::Connection &connection)
{
    const odbc::Engine &engine = connection.engine();
    if (engine.backendQuery) {
        const int backend = numberFrom(connection, QString::fromLatin1(engine.backendQuery));
        const std::lock_guard lock(m_cancelMutex);
        m_cancelCommand = backend == 0 ? QString() : QString::fromLatin1(engine.cancelCommand).arg(backend);
    }
    for (const char *command : engine.sessionCommands)
        runCommand(connection, QString::fromLatin1(command));
    connection.beginTransaction();
    for (const char *command : engine.transactionCommands)
        runCommand(connection, QString::fromLatin1(command));
}

void OdbcReader::execute(SQLHANDLE statement)
{
    if (m_request.timeout)
        SQLSetStmtAttrW(statement, SQL_ATTR_QUERY_TIMEOUT,
                        odbc::Environment::attribute(static_cast<SQLULEN>((*m_request.timeout + kDriverGrace).count())), 0);
    odbc::WideText text(m_request.sql.text);
    const SQLRETURN code =
        m_request.prepareOnly ? SQLPrepareW(statement, text.data(), text.length()) : SQLExecDirectW(statement, text.data(), text.length());
    if (!SQL_SUCCEEDED(code) && code != SQL_NO_DATA)
        raiseRefused(statement);
    // A procedure may count the rows of its own work before it selects.
    for (SQLSMALLINT columns = 0; columns == 0;) {
        if (!SQL_SUCCEEDED(SQLNumResultCols(statement, &columns)))
            raiseRefused(statement);
        if (columns > 0 || m_request.prepareOnly)
            return;
        const SQLRETURN more = SQLMoreResults(statement);
        if (more == SQL_NO_DATA)
            return;
        if (!SQL_SUCCEEDED(more))
            raiseRefused(statement);
    }
}

void OdbcReader::fetchRows(SQLHANDLE statement, OdbcColumns &columns)
{
    std::unique_ptr<RowBlock> block = nextEmpty();
    auto begun = std::chrono::steady_clock::now();
    while (block) {
        const SQLRETURN code = SQLFetch(statement);
        if (code == SQL_NO_DATA) {
            // What a procedure says behind its rows comes with its next result.
            if (SQLMoreResults(statement) == SQL_ERROR)
                raiseLost(statement);
            break;
        }
        if (!SQL_SUCCEEDED(code))
            raiseLost(statement);
        columns.addRow(*block);
        ++m_rows;
        const auto now = std::chrono::steady_clock::now();
        if (!block->isFull() && now - begun < kBlockPatience)
            continue;
        publish(std::move(block));
        block = nextEmpty();
        begun = now;
    }
    if (block && block->rows() > 0)
        publish(std::move(block));
}

std::unique_ptr<RowBlock> OdbcReader::nextEmpty()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_stopped || !m_empty.empty() || m_made < kMostBlocks; });
    if (m_stopped)
        return nullptr;
    if (m_empty.empty()) {
        ++m_made;
        return std::make_unique<RowBlock>(m_columns.size());
    }
    auto block = std::move(m_empty.front());
    m_empty.pop_front();
    return block;
}

void OdbcReader::publish(std::unique_ptr<RowBlock> block)
{
    const std::lock_guard lock(m_mutex);
    m_full.push_back(std::move(block));
    m_changed.notify_all();
}

void OdbcReader::enter(Phase phase)
{
    const std::lock_guard lock(m_mutex);
    m_phase = phase;
    m_changed.notify_all();
}

bool OdbcReader::isStopped()
{
    const std::lock_guard lock(m_mutex);
    return m_stopped;
}

void OdbcReader::wait(std::chrono::milliseconds longest)
{
    std::unique_lock lock(m_mutex);
    if (m_full.empty() && m_phase != Phase::Ended)
        m_changed.wait_for(lock, longest);
}

void OdbcReader::wake()
{
    const std::lock_guard lock(m_mutex);
    m_changed.notify_all();
}

OdbcReader::Phase OdbcReader::phase()
{
    const std::lock_guard lock(m_mutex);
    return m_phase;
}

std::optional<RuntimeError> OdbcReader::failure()
{
    const std::lock_guard lock(m_mutex);
    return m_failure;
}

std::vector<ResultColumn> OdbcReader::columns()
{
    const std::lock_guard lock(m_mutex);
    return m_columns;
}

std::unique_ptr<RowBlock> OdbcReader::takeBlock()
{
    const std::lock_guard lock(m_mutex);
    if (m_full.empty())
        return nullptr;
    auto block = std::move(m_full.front());
    m_full.pop_front();
    return block;
}

void OdbcReader::giveBack(std::unique_ptr<RowBlock> block)
{
    block->clear();
    const std::lock_guard lock(m_mutex);
    m_empty.push_back(std::move(block));
    m_changed.notify_all();
}

void OdbcReader::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopped || m_phase == Phase::Ended)
            return;
        m_stopped = true;
        m_changed.notify_all();
    }
    runDetached([self = shared_from_this()] { self->cancelUntilEnded(); });
}

void OdbcReader::cancelUntilEnded()
{
    // A cancel that comes between two calls of the driver does nothing, so it is said again until the thread has ended.
    for (int i = 0; i < kCancelTries; ++i) {
        {
            std::unique_lock lock(m_mutex);
            if (m_changed.wait_for(lock, i == 0 ? 0ms : kCancelPause, [&] { return m_phase == Phase::Ended; }))
                return;
        }
        QString command;
        {
            const std::lock_guard lock(m_cancelMutex);
            if (m_statement) {
                SQLCancel(m_statement);
                command = m_cancelCommand;
            }
        }
        if (i == kTriesBeforeOutside && !command.isEmpty())
            cancelFromOutside(command);
    }
}

void OdbcReader::cancelFromOutside(const QString &command) const
{
    // PostgreSQL's driver cancels a statement while it is executed, but not while a declared cursor is fetched from.
    const odbc::ConnectOutcome outcome = odbc::connectTo(m_request.endpoint, m_request.connectPatience);
    odbc::StatementHandle statement;
    if (!outcome.connection || !statement.allocate(outcome.connection->get()))
        return;
    odbc::WideText sql(command);
    SQLExecDirectW(statement.get(), sql.data(), sql.length());
}

void OdbcReader::raiseRefused(SQLHANDLE statement) const
{
    const Diagnostic telling = odbc::mostTelling(odbc::diagnosticsOf(SQL_HANDLE_STMT, statement));
    if (tellsLostConnection(telling))
        raiseLost(statement);
    const QString place =
        telling.line > 0 ? QStringLiteral(" in line %1").arg(telling.line) : placeOfQuotedName(m_request.sql.text, telling.words);
    failReport(shownText(QStringLiteral("The database refuses the SQL%1: %2").arg(place, odbc::shown(telling))));
}

void OdbcReader::raiseLost(SQLHANDLE statement) const
{
    const auto diagnostics = odbc::diagnosticsOf(SQL_HANDLE_STMT, statement);
    const bool lost = std::any_of(diagnostics.begin(), diagnostics.end(), tellsLostConnection);
    failReport(shownText(
        QStringLiteral("The database %1 failed while giving rows (%2 so far): %3%4")
            .arg(m_request.shown)
            .arg(m_rows)
            .arg(odbc::shown(odbc::mostTelling(diagnostics)),
                 lost ? QStringLiteral(" The connection is lost. Nothing was delivered; run the report again when the database answers.")
                      : QString())));
}

QString OdbcReader::shownText(const QString &words) const
{
    return odbc::without(words, m_request.endpoint.password);
}

} // namespace qm
