#include "documents/charts/ChartColours.h"

#include "documents/Palette.h"
#include "documents/TextScan.h"

#include <array>

namespace qm {

namespace {

using Palette = std::array<std::uint32_t, kChartColours>;

constexpr Palette kLight{0x1B4F8C, 0x2494FF, 0xB7381D, 0x68152B,       0x108761,      0x7B8794,       0xDCE8F5,       0xA6C8EC,
                         0x6CA4E0, 0x3A76BC, 0x1B4F8C, palette::kPage, palette::kInk, palette::kNavy, palette::kSoft, palette::kHairline};
constexpr Palette kDark{0x1299FF, 0xCBDEFF, 0xFF9849, 0xD13E77, 0x1AE4AA, 0x8793A1, 0x1A2D45, 0x1C4470,
                        0x1F5FA3, 0x62A8EE, 0xBCDBFA, 0x14181E, 0xE4E8EE, 0xA9C8EE, 0xA7B2BF, 0x3D4753};

} // namespace

ChartRgb chartRgb(ChartColour colour, ChartScheme scheme)
{
    const std::uint32_t rgb = (scheme == ChartScheme::Dark ? kDark : kLight)[static_cast<std::size_t>(colour)];
    const auto part = [&](int shift) { return static_cast<std::uint8_t>(rgb >> shift & 0xFF); };
    return {part(16), part(8), part(0)};
}

std::string chartHex(ChartColour colour, ChartScheme scheme)
{
    const ChartRgb rgb = chartRgb(colour, scheme);
    const char bytes[] = {static_cast<char>(rgb.red), static_cast<char>(rgb.green), static_cast<char>(rgb.blue)};
    std::string text = "#";
    textscan::appendHex({bytes, sizeof bytes}, text);
    return text;
}

} // namespace qm
