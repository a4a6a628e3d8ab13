/// \file
/// The colours of charts, for white and for dark pages.
#pragma once

#include <cstdint>
#include <string>

namespace qm {

/// What a colour is for, not what it is.
enum class ChartColour : std::uint8_t {
    Series1,
    Series2,
    Series3,
    Series4,
    Series5,
    Other, ///< the rest; its areas are hatched as well, for prints without colour
    Heat1, ///< few ...
    Heat2,
    Heat3,
    Heat4,
    Heat5, ///< ... many; letters on the last two are of the colour Page, on the others Ink
    Page,
    Ink,
    Title,
    Soft,
    Grid,
};
inline constexpr int kChartColours = 16;
inline constexpr int kChartSeries = 5; ///< series with a colour of their own

enum class ChartScheme : std::uint8_t { Light, Dark };

struct ChartRgb
{
    std::uint8_t red = 0, green = 0, blue = 0;
};

/// The series keep a CIEDE2000 difference of at least 16 from each other for every kind of colour vision, and differ in lightness.
[[nodiscard]] ChartRgb chartRgb(ChartColour colour, ChartScheme scheme);
/// "#1b4f8c".
[[nodiscard]] std::string chartHex(ChartColour colour, ChartScheme scheme);

} // namespace qm
