#include "core/Clock.h"

#include "core/LocalZone.h"
#include "core/RuntimeError.h"

#include <algorithm>

namespace qm {

namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

const QDate kUnixEpoch(1970, 1, 1);

/// The first second in (\p before, \p after] at which the zone's offset is that of \p after, where the offsets of both differ.
std::int64_t transitionBetween(std::int64_t before, std::int64_t after)
{
    const std::int64_t offset = zone::offsetAt(after);
    while (after - before > 1) {
        const std::int64_t middle = before + (after - before) / 2;
        (zone::offsetAt(middle) == offset ? after : before) = middle;
    }
    return after;
}

} // namespace

system_clock::time_point SystemClock::now() const
{
    return system_clock::now();
}

WallTime SystemClock::wallNow() const
{
    zone::refresh();
    return toLocalWallTime(system_clock::now());
}

WallTime toLocalWallTime(system_clock::time_point instant)
{
    const std::int64_t second = std::chrono::floor<seconds>(instant).time_since_epoch().count();
    const std::int64_t wall = second + zone::offsetAt(second);
    const std::int64_t day = wall >= 0 ? wall / 86400 : -((86399 - wall) / 86400);
    return {kUnixEpoch.addDays(day), static_cast<int>(wall - day * 86400)};
}

std::int64_t firstUnixSecondAt(const WallTime &wall)
{
    if (!wall.date.isValid())
        raise(err::invalidProcedureCall, QStringLiteral("a due time without a date"));
    // No zone was ever more than 26 hours from UTC, and none changed twice within 15 minutes. Inside a stretch of one offset
    // the wall clock only grows, so the first stretch that reaches the wanted reading holds the answer.
    constexpr std::int64_t reach = 93600; // s
    constexpr std::int64_t step = 900;    // s
    zone::refresh();
    const std::int64_t wanted = wall.secondsSince({kUnixEpoch, 0});
    std::int64_t stretch = wanted - reach;
    std::int64_t offset = zone::offsetAt(stretch);
    for (std::int64_t probe = stretch + step;; probe += step) {
        const std::int64_t next = zone::offsetAt(probe);
        const std::int64_t end = next == offset ? probe : transitionBetween(probe - step, probe);
        const std::int64_t found = std::max(stretch, wanted - offset);
        if (found < end)
            return found;
        if (next != offset) {
            stretch = end;
            offset = next;
        }
    }
}

system_clock::time_point firstInstantAt(const WallTime &wall)
{
    const std::int64_t second = firstUnixSecondAt(wall);
    constexpr std::int64_t last = std::chrono::floor<seconds>(system_clock::time_point::max()).time_since_epoch().count();
    if (second > last)
        return system_clock::time_point::max();
    if (second < -last)
        return system_clock::time_point::min();
    return system_clock::time_point(seconds(second));
}

} // namespace qm
