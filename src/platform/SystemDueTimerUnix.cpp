#include "platform/SystemDueTimer.h"

#include "platform/PosixFileUnix.h"

#include <QSocketNotifier>

#include <algorithm>

#include <sys/timerfd.h>
#include <unistd.h>

namespace qm {

using namespace qm::posix;

namespace {

std::int64_t unixNow()
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

} // namespace

struct SystemDueTimer::State
{
    Descriptor timer;
    std::unique_ptr<QSocketNotifier> notifier;
    std::optional<WallTime> due;
    std::int64_t longestSleep = 0; ///< seconds

    /// Sleeps until \p instant, but not too long. \returns whether the system agreed.
    bool sleepUntil(std::int64_t instant)
    {
        itimerspec until{};
        until.it_value.tv_sec = std::clamp<std::int64_t>(instant, 1, unixNow() + longestSleep);
        return ::timerfd_settime(timer.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &until, nullptr) == 0;
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
        m_state->timer = Descriptor(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
        if (!m_state->timer.isOpen())
            raiseSystem(errno, QStringLiteral("making the timer of the schedule"));
        m_state->notifier = std::make_unique<QSocketNotifier>(m_state->timer.get(), QSocketNotifier::Read);
        connect(m_state->notifier.get(), &QSocketNotifier::activated, this, &SystemDueTimer::wake);
    }
    if (!m_state->sleepUntil(instant))
        raiseSystem(errno, QStringLiteral("arming the timer of the schedule"));
    m_state->due = due;
}

void SystemDueTimer::wake()
{
    std::uint64_t expirations = 0;
    // A clock that was set makes this fail with ECANCELED, which is as good a reason to look at the clock as the expiry.
    if (::read(m_state->timer.get(), &expirations, sizeof expirations) < 0 && errno != ECANCELED)
        return;
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
