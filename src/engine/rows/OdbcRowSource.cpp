#include "engine/rows/OdbcRowSource.h"

#include "core/Failure.h"

#include <algorithm>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds kConnectDeadline = 15s;
constexpr auto kLook = 100ms;
/// How long a stopped reader may take to let go of the database before it is left behind.
constexpr auto kLeaveGrace = 3s;

} // namespace

OdbcRowSource::OdbcRowSource(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                             const RunLimits &limits)
    : OdbcRowSource(requestFor(source, sql, parameters, limits), limits)
{
    m_columns = m_reader->columns();
}

OdbcRowSource::OdbcRowSource(OdbcRequest request, const RunLimits &limits) : m_shown(request.shown), m_limits(limits)
{
    m_limits.check();
    m_reader = std::make_shared<OdbcReader>(std::move(request));
    m_limits.onCancel([reader = m_reader] { reader->wake(); });
    m_reader->start();
    try {
        waitFor(OdbcReader::Phase::Reading);
    } catch (...) {
        leave();
        throw;
    }
}

OdbcRowSource::~OdbcRowSource()
{
    leave();
}

OdbcRequest OdbcRowSource::requestFor(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                                      const RunLimits &limits)
{
    requireOneReadingStatement(sql, source.dialect);
    OdbcRequest request;
    request.endpoint = *source.endpoint;
    request.shown = source.shown;
    request.sql = withPositionalMarks(sql, source.dialect, parameters);
    request.connectPatience = kConnectDeadline;
    if (const auto left = limits.left())
        request.timeout = std::max(std::chrono::duration_cast<std::chrono::seconds>(*left), 1s);
    return request;
}

void OdbcRowSource::check(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                          const RunLimits &limits)
{
    OdbcRequest request = requestFor(source, sql, parameters, limits);
    request.prepareOnly = true;
    const OdbcRowSource prepared(std::move(request), limits);
}

void OdbcRowSource::waitFor(OdbcReader::Phase phase)
{
    const auto begun = std::chrono::steady_clock::now();
    while (m_reader->phase() < phase) {
        // A run whose time ends here is told what it waited for.
        const auto waited = std::chrono::steady_clock::now() - begun;
        const bool isLate = waited >= kConnectDeadline || (m_limits.reached() && !m_limits.isCancelled());
        if (isLate && m_reader->phase() == OdbcReader::Phase::Connecting)
            failReport(QStringLiteral("The data source %1 cannot be reached. %2")
                           .arg(m_shown, odbc::explain(odbc::connectTimedOut(std::chrono::round<std::chrono::seconds>(waited)), {})
                                             .replace(QStringLiteral("\r\n\r\n"), QStringLiteral(" "))));
        checkLimits();
        m_reader->wait(kLook);
    }
    if (m_reader->phase() == OdbcReader::Phase::Ended) {
        checkLimits();
        if (const auto failure = m_reader->failure())
            throw *failure;
    }
}

void OdbcRowSource::checkLimits()
{
    if (!m_limits.reached())
        return;
    leave();
    m_limits.check();
}

void OdbcRowSource::leave() noexcept
{
    if (m_hasLeft)
        return;
    m_hasLeft = true;
    m_limits.onCancel({});
    m_reader->stop();
    if (m_reader->phase() == OdbcReader::Phase::Connecting)
        return; // it holds nothing yet that could be let go
    const auto until = std::chrono::steady_clock::now() + kLeaveGrace;
    while (m_reader->phase() != OdbcReader::Phase::Ended && std::chrono::steady_clock::now() < until) {
        while (m_reader->takeBlock()) {
        }
        m_reader->wait(kLook);
    }
}

bool OdbcRowSource::next(std::span<Value> row)
{
    if (m_limits.isCancelled())
        checkLimits();
    while (!m_block || m_next == m_block->rows()) {
        if (m_block)
            m_reader->giveBack(std::move(m_block));
        m_next = 0;
        checkLimits();
        // The phase is asked first: what the reader published before its end is there then.
        const bool ended = m_reader->phase() == OdbcReader::Phase::Ended;
        m_block = m_reader->takeBlock();
        if (m_block)
            continue;
        if (ended) {
            if (const auto failure = m_reader->failure())
                throw *failure;
            return false;
        }
        m_reader->wait(kLook);
    }
    const auto cells = m_block->row(m_next++);
    std::copy(cells.begin(), cells.end(), row.begin());
    return true;
}

} // namespace qm
