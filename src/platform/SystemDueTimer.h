/// \file
/// The due-time timer of the operating system.
#pragma once

#include "platform/DueTimer.h"

#include <chrono>
#include <memory>

namespace qm {

/// Follows the wall clock: a clock that is set, a changed time zone and a suspended machine all count. The due time is a wall time until it
/// is reached; a due time in the past is reached at once, through the event loop.
class SystemDueTimer final : public DueTimer
{
    Q_OBJECT
public:
    /// Systems do not tell of a changed zone, so the due instant is worked out again at least this often.
    static constexpr std::chrono::seconds kLongestSleep{60};

    explicit SystemDueTimer(QObject *parent = nullptr, std::chrono::seconds longestSleep = kLongestSleep);
    ~SystemDueTimer() override;

    /// \throws RuntimeError 5 when \p due has no valid date, 75 when the system gives no timer; what was armed before stays armed.
    void SetDueTime(const WallTime &due) override;

private:
    void wake();

    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
