#include "documents/charts/ChartCanvas.h"

#include <algorithm>
#include <cmath>

namespace qm::charts {

namespace {

using Anchor = ChartText::Anchor;
using Part = ChartText::Part;

constexpr int kSteps = 5;
constexpr double kHeatGap = 0.75, kLegendHeight = 14;

/// Which of the five steps a value belongs to, from 0; -1: none, nothing is drawn.
struct Scale
{
    double low = 0, high = 0;
    [[nodiscard]] int stepOf(double value) const
    {
        if (std::isnan(value) || (value == 0 && low == 0) || high <= low)
            return -1;
        return std::clamp(static_cast<int>(std::ceil((value - low) / (high - low) * kSteps)) - 1, 0, kSteps - 1);
    }
};

ChartColour heat(int step)
{
    return static_cast<ChartColour>(static_cast<int>(ChartColour::Heat1) + step);
}

/// What the steps mean: each with its values, or where that is too wide, all of them between the least and the largest.
void drawLegend(ChartCanvas &canvas, const Figures &figures, const ValueText &values, const Scale &scale, double left, double right,
                double baseline)
{
    constexpr double kSwatch = 7, kSpace = 10, kBeside = 3;
    struct Entry
    {
        ChartColour colour;
        std::string text;
    };
    std::vector<Entry> entries;
    double needed = 0;
    for (int step = 0; step < kSteps; ++step) {
        const double width = scale.high - scale.low;
        double from = scale.low + width * step / kSteps;
        double to = scale.low + width * (step + 1) / kSteps;
        if (figures.whole) {
            from = std::floor(from) + (scale.low < 0 && step == 0 ? 0 : 1);
            to = std::floor(to);
            if (from > to)
                continue; // no whole number lies in it
        }
        entries.push_back({heat(step), from == to ? values(to) : values(from) + " \u2013 " + values(to)});
        needed += kSwatch + kBeside + canvas.widthOf(entries.back().text) + kSpace;
    }
    const auto swatch = [&](ChartColour colour) {
        canvas.add(ChartRect{left, baseline - kSwatch + 1, kSwatch, kSwatch, {colour, {}, 0}});
        left += kSwatch;
    };
    const auto text = [&](const std::string &words) {
        canvas.text({.text = words, .at = {left, baseline}, .part = Part::Legend});
        left += canvas.widthOf(words);
    };
    if (needed - kSpace <= right - left) {
        for (const Entry &entry : entries) {
            swatch(entry.colour);
            left += kBeside;
            text(entry.text);
            left += kSpace;
        }
        return;
    }
    const std::string least = values(scale.low), largest = values(scale.high);
    if (canvas.widthOf(least) + canvas.widthOf(largest) + kSteps * kSwatch + 2 * kBeside > right - left)
        return;
    text(least);
    left += kBeside;
    for (int step = 0; step < kSteps; ++step)
        swatch(heat(step));
    left += kBeside;
    text(largest);
}

} // namespace

void layoutHeat(ChartCanvas &canvas, const Figures &figures, const ValueText &values, const Area &area)
{
    // What there is more of goes across: 24 hours beside 7 days.
    const bool categoriesAcross = figures.categories.size() >= figures.series.size();
    std::vector<std::string> names;
    for (const FigureSeries &series : figures.series)
        names.push_back(series.name);
    std::vector<std::string> across = categoriesAcross ? figures.categories : names;
    std::vector<std::string> down = categoriesAcross ? names : figures.categories;
    const auto valueAt = [&](std::size_t column, std::size_t row) {
        return categoriesAcross ? figures.series[row].values[column] : figures.series[column].values[row];
    };
    constexpr double kLeastCell = 2, kMostCellWidth = 40, kMostCellHeight = 20;
    const double labelWidth = std::min(canvas.widest(down), area.width() * 0.3);
    Area plot{area.left + labelWidth + (labelWidth > 0 ? kGap : 0), area.top, area.right, area.bottom - kLabelLine - kLegendHeight};
    if (plot.width() < 10 || plot.height() < 7)
        return;
    const auto fitting = [](double room, std::size_t count) {
        return std::min(count, static_cast<std::size_t>(std::max(room / kLeastCell, 1.0)));
    };
    across.resize(fitting(plot.width(), across.size()));
    down.resize(fitting(plot.height(), down.size()));
    const double cellWidth = std::min(plot.width() / static_cast<double>(across.size()), kMostCellWidth);
    const double cellHeight = std::min(plot.height() / static_cast<double>(down.size()), kMostCellHeight);
    plot.bottom = plot.top + cellHeight * static_cast<double>(down.size());

    Scale scale;
    bool brief = false, written = cellHeight >= kAxisSize + 1;
    for (std::size_t column = 0; column < across.size(); ++column)
        for (std::size_t row = 0; row < down.size(); ++row)
            if (const double value = valueAt(column, row); !std::isnan(value)) {
                scale.low = std::min(scale.low, value);
                scale.high = std::max(scale.high, value);
                brief = brief || canvas.widthOf(values(value), kAxisSize) > cellWidth - 2;
                written = written && canvas.widthOf(brief ? ValueText::brief(value) : values(value), kAxisSize) <= cellWidth - 1;
            }
    for (std::size_t row = 0; row < down.size(); ++row)
        for (std::size_t column = 0; column < across.size(); ++column) {
            const double value = valueAt(column, row);
            const double left = plot.left + static_cast<double>(column) * cellWidth;
            const double top = plot.top + static_cast<double>(row) * cellHeight;
            const int step = scale.stepOf(value);
            const double gap = cellWidth > 4 && cellHeight > 4 ? kHeatGap : 0;
            if (step >= 0)
                canvas.add(ChartRect{left, top, cellWidth - gap, cellHeight - gap, {heat(step), {}, 0}});
            if (written && !std::isnan(value))
                canvas.text({.text = brief ? ValueText::brief(value) : values(value),
                             .at = {left + (cellWidth - gap) / 2, top + (cellHeight - gap) / 2 + 2.3},
                             .anchor = Anchor::Middle,
                             .size = kAxisSize,
                             .colour = step >= 3   ? ChartColour::Page
                                       : step >= 0 ? ChartColour::Ink
                                                   : ChartColour::Soft,
                             .part = Part::Cell});
        }
    double end = plot.top - kLabelLine;
    for (std::size_t row = 0; row < down.size(); ++row) {
        const double middle = plot.top + (static_cast<double>(row) + 0.5) * cellHeight;
        if (middle - kLabelLine / 2 < end - 0.01)
            continue;
        end = middle + kLabelLine / 2;
        canvas.text({.text = ellipsized(down[row], labelWidth, kLabelSize, false, canvas.textWidth()),
                     .at = {area.left + labelWidth, middle + 2.5},
                     .anchor = Anchor::End});
    }
    const double widest = std::min(canvas.widest(across), area.width() / 3);
    const auto every = std::max<std::size_t>(static_cast<std::size_t>(std::ceil((widest + 3) / cellWidth)), 1);
    double last = -1;
    for (std::size_t column = 0; column < across.size(); column += every) {
        const std::string text = ellipsized(across[column], widest, kLabelSize, false, canvas.textWidth());
        const double width = canvas.widthOf(text);
        const double left =
            std::clamp(plot.left + (static_cast<double>(column) + 0.5) * cellWidth - width / 2, 0.0, std::max(area.right - width, 0.0));
        if (left <= last)
            continue;
        last = left + width;
        canvas.text({.text = text, .at = {left, plot.bottom + kLabelLine - kDescent}});
    }
    drawLegend(canvas, figures, values, scale, plot.left, area.right, plot.bottom + kLabelLine + kLegendHeight - kDescent - 1);
}

} // namespace qm::charts
