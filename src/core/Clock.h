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
[[nodiscard]] std::chrono::system_clock::time_point firstInstantAt(const WallTime &wall);

} // namespace qm
