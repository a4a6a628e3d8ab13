#include "core/LocalZone.h"

#include <atomic>

#include <windows.h>

namespace qm::zone {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kUnixEpoch = 11'644'473'600; ///< seconds from the system's epoch, 1601, to 1970

std::int64_t secondsOf(const FILETIME &time)
{
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32U) | time.dwLowDateTime) / kTicksPerSecond;
}

/// Counts the refreshes.
std::atomic<unsigned> generation{1};

/// The rules of the machine's zone in \p year, kept until the next refresh: the system reads them out of its registry.
/// \returns null when the system has none.
const TIME_ZONE_INFORMATION *rulesOf(WORD year)
{
    struct Known
    {
        unsigned generation = 0;
        WORD year = 0;
        bool good = false;
        TIME_ZONE_INFORMATION rules{};
    };
    thread_local Known known;
    if (const unsigned now = generation; known.generation != now || known.year != year) {
        known.generation = now;
        known.year = year;
        known.good = GetTimeZoneInformationForYear(year, nullptr, &known.rules) != 0;
    }
    return known.good ? &known.rules : nullptr;
}

} // namespace

void refresh() noexcept
{
    ++generation;
}

std::int64_t offsetAt(std::int64_t unixSecond) noexcept
{
    const std::int64_t seconds = unixSecond + kUnixEpoch;
    const auto ticks = static_cast<std::uint64_t>(seconds * kTicksPerSecond);
    const FILETIME instant{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32U)};
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    FILETIME wall{};
    if (seconds < 0 || !FileTimeToSystemTime(&instant, &utc))
        return 0;
    const TIME_ZONE_INFORMATION *rules = rulesOf(utc.wYear);
    if (rules == nullptr || !SystemTimeToTzSpecificLocalTime(rules, &utc, &local) || !SystemTimeToFileTime(&local, &wall))
        return 0;
    return secondsOf(wall) - seconds;
}

} // namespace qm::zone
