/// \file
/// The axis of values: where it ends and where its ticks stand.
#pragma once

#include <vector>

namespace qm::charts {

struct Axis
{
    double low = 0, high = 1; ///< low is 0 or less, high 0 or more, and they differ
    std::vector<double> ticks;

    /// From 0 at the low end to 1 at the high end.
    [[nodiscard]] double position(double value) const { return (value - low) / (high - low); }
};

/// The finest steps of 1, 2 or 5 times a power of ten, and \p unit, that need at most \p most ticks, at least 2.
/// \param whole  no steps below 1
[[nodiscard]] Axis axisFor(double smallest, double largest, bool whole, double unit, int most);

} // namespace qm::charts
