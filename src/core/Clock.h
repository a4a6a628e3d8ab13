/// \file
/// The seam for "now".
#pragma once

#include "core/WallTime.h"

#include <chrono>

namespace qm {

/// Gives the current time. The real one is SystemClock; tests pass one that they move.
class Clock
{
public:
    virtual ~Clock() = default;
    [[nodiscard]] virtual std::chrono::system_clock::time_point now() const = 0;
    /// Now on the wall in the local time zone, cut to the second.
    [[nodiscard]] virtual WallTime wallNow() const = 0;
};

class SystemClock final : public Clock
{
public:
    [[nodiscard]] std::chrono::system_clock::time_point now() const override;
    [[nodiscard]] WallTime wallNow() const override;
};

/// \p instant on the wall in the process's local time zone, cut to the second.
[[nodiscard]] WallTime toLocalWallTime(std::chrono::system_clock::time_point instant);
/// The earliest instant whose local wall clock shows \p wall or later: after a gap its first second, in a fold the first occurrence.
/// Follows a change of the machine's time zone. An instant that time_point cannot hold (after the year 2262) becomes its end.
/// \throws RuntimeError 5 when \p wall has no valid date.
[[nodiscard]] std::chrono::system_clock::time_point firstInstantAt(const WallTime &wall);
/// The same instant for every year, in seconds since 1970-01-01 00:00:00 UTC.
[[nodiscard]] std::int64_t firstUnixSecondAt(const WallTime &wall);

} // namespace qm
