#include "platform/SystemDueTimer.h"

#include "platform/SystemFileWindows.h"

#include <QWinEventNotifier>

#include <algorithm>

namespace qm {

using namespace qm::win;

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kUnixEpoch = 11'644'473'600; ///< seconds from the system's epoch, 1601, to 1970

std::int64_t unixNow()
{
    FILETIME now{};
    GetSystemTimePreciseAsFileTime(&now);
    const auto ticks = (static_cast<std::uint64_t>(now.dwHighDateTime) << 32U) | now.dwLowDateTime;
    return static_cast<std::int64_t>(ticks) / kTicksPerSecond - kUnixEpoch;
}

} // namespace

struct SystemDueTimer::State
{
    Handle timer;
    std::unique_ptr<QWinEventNotifier> notifier; // after the timer: gone before it is closed
    std::optional<WallTime> due;
    std::int64_t longestSleep = 0; ///< seconds

    /// Sleeps until \p instant, but not too long. \returns whether the system agreed.
    bool sleepUntil(std::int64_t instant)
    {
        LARGE_INTEGER until{};
        until.QuadPart = (std::clamp<std::int64_t>(instant, 1, unixNow() + longestSleep) + kUnixEpoch) * kTicksPerSecond;
        return SetWaitableTimer(timer.get(), &until, 0, nullptr, nullptr, FALSE) != 0;
    }
};

SystemDueTimer::SystemDueTimer(QObject *parent, std::chrono::seconds longestSleep) : DueTimer(parent), m_state(std::make_unique<State>())
{
    m_state->longestSleep = longestSleep.count();
}

SystemDueTimer::~SystemDueTimer() = default;

void SystemDueTimer::SetDueTime(const WallTime &due)
{
    const std::int64_t instant = firstUnixSecondAt(due);
    if (!m_state->timer.isOpen()) {
        m_state->timer = Handle(CreateWaitableTimerW(nullptr, FALSE, nullptr));
        if (!m_state->timer.isOpen())
            raiseSystem(GetLastError(), QStringLiteral("making the timer of the schedule"));
        m_state->notifier = std::make_unique<QWinEventNotifier>(m_state->timer.get());
        connect(m_state->notifier.get(), &QWinEventNotifier::activated, this, &SystemDueTimer::wake);
    }
    if (!m_state->sleepUntil(instant))
        raiseSystem(GetLastError(), QStringLiteral("arming the timer of the schedule"));
    m_state->due = due;
}

void SystemDueTimer::wake()
{
    if (!m_state->due)
        return;
    const std::int64_t instant = firstUnixSecondAt(*m_state->due);
    if (unixNow() < instant) {
        (void)m_state->sleepUntil(instant); // it agreed when the timer was armed
        return;
    }
    m_state->due.reset();
    Q_EMIT Mature();
}

} // namespace qm
