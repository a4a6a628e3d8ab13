#include "documents/charts/ChartCanvas.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qm::charts {

namespace {

/// The outline of a slice as points, for its hatching.
std::vector<ChartPoint> outlineOf(const ChartSlice &slice)
{
    std::vector<ChartPoint> points{slice.centre};
    const int steps = std::max(2, static_cast<int>(slice.sweep * 90));
    for (int i = 0; i <= steps; ++i) {
        const double angle = (slice.from + slice.sweep * i / steps) * 2 * std::numbers::pi;
        points.push_back({slice.centre.x + slice.radius * std::sin(angle), slice.centre.y - slice.radius * std::cos(angle)});
    }
    return points;
}

} // namespace

void layoutPie(ChartCanvas &canvas, const Figures &figures, const ValueText &values, const Area &area)
{
    constexpr double kMostRadius = 75, kSwatch = 6, kSpace = 14, kLine = 13;
    const double radius = std::min({kMostRadius, area.height() / 2 - 1, area.width() / 4});
    if (radius < 5)
        return;
    const ChartPoint centre{area.left + radius + 1, area.top + radius + 1};
    const std::size_t count = figures.categories.size();
    double whole = 0;
    for (std::size_t i = 0; i < count; ++i)
        whole += figures.value(0, i);
    const double left = centre.x + radius + kSpace;
    const double nameLeft = left + kSwatch + kGap;
    const double line = std::min(kLine, area.height() / static_cast<double>(count));
    double top = centre.y - line * static_cast<double>(count) / 2;
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back(values(figures.value(0, i)));
    const double valueWidth = canvas.widest(texts, kLabelSize, true);
    const double shareWidth = canvas.widthOf("(100 %)");
    const double nameWidth = std::clamp(area.right - nameLeft - valueWidth - shareWidth - 3 * kGap, 0.0, canvas.widest(figures.categories));
    double from = 0;
    for (std::size_t i = 0; i < count; ++i, top += line) {
        const double value = figures.value(0, i);
        const ChartColour colour = figures.isOther(i) ? ChartColour::Other : static_cast<ChartColour>(i);
        const bool alone = value == whole;
        if (value > 0) {
            const ChartSlice slice{centre, radius, from, alone ? 1 : value / whole, {colour, {}, 0}};
            canvas.add(slice);
            if (figures.isOther(i))
                canvas.hatch(outlineOf(slice));
            from += slice.sweep;
        }
        const double swatch = top + (line - kSwatch) / 2;
        canvas.bar({left, swatch, left + kSwatch, swatch + kSwatch}, colour,
                   figures.isOther(i) ? ChartCanvas::Fill::Hatched : ChartCanvas::Fill::Solid);
        const double baseline = top + line / 2 + 2.5;
        canvas.text(
            {.text = ellipsized(figures.categories[i], nameWidth, kLabelSize, false, canvas.textWidth()), .at = {nameLeft, baseline}});
        const double valueRight = nameLeft + nameWidth + kGap + valueWidth;
        canvas.text({.text = texts[i],
                     .at = {valueRight, baseline},
                     .anchor = ChartText::Anchor::End,
                     .bold = true,
                     .part = ChartText::Part::Value});
        if (const std::string share = shareText(value, whole); !share.empty())
            canvas.text({.text = '(' + share + ')',
                         .at = {valueRight + kGap, baseline},
                         .colour = ChartColour::Soft,
                         .part = ChartText::Part::Value});
    }
    // The slices are kept apart by lines of the page from the centre.
    double at = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double value = figures.value(0, i);
        if (value <= 0 || value == whole)
            continue;
        const double angle = at * 2 * std::numbers::pi;
        canvas.line(centre, {centre.x + radius * std::sin(angle), centre.y - radius * std::cos(angle)}, kStackGap, ChartColour::Page);
        at += value / whole;
    }
}

} // namespace qm::charts
