#include "engine/rows/CancelFlag.h"

#include "core/RuntimeError.h"

#include <algorithm>

namespace qm {

void CancelFlag::cancel()
{
    if (m_cancelled.exchange(true, std::memory_order_acq_rel))
        return;
    const std::lock_guard lock(m_mutex);
    if (m_hasten)
        m_hasten();
}

void CancelFlag::check() const
{
    if (isCancelled())
        throw RuntimeError(err::cancelledByOperator, QStringLiteral("The report was cancelled."), QString::fromLatin1(kFrameworkSource));
}

void CancelFlag::onCancel(std::function<void()> hasten)
{
    const std::lock_guard lock(m_mutex);
    m_hasten = std::move(hasten);
}

RunLimits::RunLimits(std::shared_ptr<CancelFlag> cancel, std::chrono::seconds timeout)
    : m_cancel(std::move(cancel)), m_timeout(timeout), m_deadline(std::chrono::steady_clock::now() + timeout)
{
}

bool RunLimits::reached() const noexcept
{
    return isCancelled() || (m_timeout.count() > 0 && std::chrono::steady_clock::now() >= m_deadline);
}

void RunLimits::check() const
{
    if (m_cancel)
        m_cancel->check();
    if (reached())
        throw RuntimeError(
            err::reportFailed,
            QStringLiteral("The report was stopped: it did not finish within its time-out of %1 seconds. Shorten its period, "
                           "or raise the query's time-out.")
                .arg(m_timeout.count()),
            QString::fromLatin1(kFrameworkSource));
}

std::optional<std::chrono::milliseconds> RunLimits::left() const noexcept
{
    if (m_timeout.count() <= 0)
        return std::nullopt;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

void RunLimits::onCancel(std::function<void()> hasten) const
{
    if (m_cancel)
        m_cancel->onCancel(std::move(hasten));
}

} // namespace qm
