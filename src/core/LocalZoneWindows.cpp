#include "core/LocalZone.h"

#include <windows.h>

namespace qm::zone {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kUnixEpoch = 11'644'473'600; ///< seconds from the system's epoch, 1601, to 1970

std::int64_t secondsOf(const FILETIME &time)
{
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32U) | time.dwLowDateTime) / kTicksPerSecond;
}

} // namespace

void refresh() noexcept
{
    // The system is asked for its zone at each conversion.
}

std::int64_t offsetAt(std::int64_t unixSecond) noexcept
{
    const std::int64_t seconds = unixSecond + kUnixEpoch;
    const auto ticks = static_cast<std::uint64_t>(seconds * kTicksPerSecond);
    const FILETIME instant{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32U)};
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    FILETIME wall{};
    TIME_ZONE_INFORMATION rules{}; // of the machine's zone in the instant's own year
    if (seconds < 0 || !FileTimeToSystemTime(&instant, &utc) || !GetTimeZoneInformationForYear(utc.wYear, nullptr, &rules) ||
        !SystemTimeToTzSpecificLocalTime(&rules, &utc, &local) || !SystemTimeToFileTime(&local, &wall))
        return 0;
    return secondsOf(wall) - seconds;
}

} // namespace qm::zone
