/// \file
/// How a running report is told to stop.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace qm {

/// Tells a run to stop. cancel() may be called from any thread and is never lost; the run also interrupts the database.
class CancelFlag final
{
public:
    void cancel();
    [[nodiscard]] bool isCancelled() const { return m_cancelled.load(std::memory_order_acquire); }
    /// \throws RuntimeError cancelledByOperator once cancelled.
    void check() const;
    /// Called (at most once per cancel, from the cancelling thread) to hasten the end; empty to remove. Thread-safe: once this returns,
    /// the function set before is not running and will not run.
    void onCancel(std::function<void()> hasten);

private:
    std::atomic<bool> m_cancelled{false};
    std::mutex m_mutex;
    std::function<void()> m_hasten;
};

/// What ends one run before its last row: the operator's cancel and the time-out.
class RunLimits final
{
public:
    /// \p cancel may be null; \p timeout of zero is none.
    RunLimits(std::shared_ptr<CancelFlag> cancel, std::chrono::seconds timeout);

    /// Whether the run has to stop. Never throws: for the database's callbacks.
    [[nodiscard]] bool reached() const noexcept;
    /// \throws RuntimeError cancelledByOperator, or reportFailed when the time is over.
    void check() const;
    [[nodiscard]] bool isCancelled() const noexcept { return m_cancel && m_cancel->isCancelled(); }
    void onCancel(std::function<void()> hasten) const;
    /// Time left until the time-out, never negative; nothing when there is none.
    [[nodiscard]] std::optional<std::chrono::milliseconds> left() const noexcept;

private:
    std::shared_ptr<CancelFlag> m_cancel;
    std::chrono::seconds m_timeout;
    std::chrono::steady_clock::time_point m_deadline;
};

} // namespace qm
