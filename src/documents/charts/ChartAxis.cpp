#include "documents/charts/ChartAxis.h"

#include <algorithm>
#include <cmath>

namespace qm::charts {

Axis axisFor(double smallest, double largest, bool whole, double unit, int most)
{
    const double low = std::min(smallest, 0.0) / unit;
    double high = std::max(largest, 0.0) / unit;
    if (high - low <= 0)
        high = 1;
    // A value that is a tick but for its last bits needs no further one.
    constexpr double kSlack = 1e-9;
    most = std::max(most, low < 0 && high > 0 ? 3 : 2);
    int exponent = static_cast<int>(std::floor(std::log10((high - low) / most))) - 1;
    if (whole && unit == 1)
        exponent = std::max(exponent, 0);
    for (;; ++exponent)
        for (const int factor : {1, 2, 5}) {
            const double step = factor * std::pow(10.0, exponent);
            const double first = std::floor(low / step + kSlack);
            const double last = std::ceil(high / step - kSlack);
            if (last - first + 1 > most)
                continue;
            Axis axis;
            for (int i = static_cast<int>(first); i <= static_cast<int>(last); ++i)
                axis.ticks.push_back(i * step * unit);
            axis.low = axis.ticks.front();
            axis.high = axis.ticks.back();
            return axis;
        }
}

} // namespace qm::charts
