#include "documents/charts/ChartCanvas.h"

#include <algorithm>
#include <cmath>

namespace qm::charts {

namespace {

using Anchor = ChartText::Anchor;
using Part = ChartText::Part;

/// Categories without an order of their own have at least so much room for their labels.
constexpr double kLeastLabelledStep = 24;
/// The points of lines keep so far from the edges of the plot.
constexpr double kEdge = 6;
/// Between the plot and the labels below it.
constexpr double kBelowPlot = 3;

/// Every n-th label, so many as stand side by side.
void drawThinnedLabels(ChartCanvas &canvas, const Figures &figures, const ColumnFrame &frame, double baseline, double widest,
                       double pictureWidth)
{
    constexpr double kBetween = 6;
    const double most = std::min(widest, pictureWidth / 3);
    const auto every = static_cast<std::size_t>(std::ceil((most + kBetween) / frame.step));
    double end = -kBetween;
    for (std::size_t i = 0; i < figures.categories.size(); i += std::max<std::size_t>(every, 1)) {
        const std::string text = ellipsized(figures.categories[i], most, kLabelSize, false, canvas.textWidth());
        const double width = canvas.widthOf(text);
        const double left = std::clamp(frame.centre(i) - width / 2, 0.0, std::max(pictureWidth - width, 0.0));
        if (left < end + kBetween / 2)
            continue;
        end = left + width;
        canvas.text({.text = text, .at = {left, baseline}});
    }
}

} // namespace

ColumnFrame layoutColumnFrame(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area,
                              const ColumnRoom &room)
{
    const std::string categoryTitle = oneLine(spec.categoryTitle);
    const std::string valueTitle = oneLine(spec.valueTitle);
    const bool titled = area.height() >= 60;
    const double belowTitle = titled && !categoryTitle.empty() ? kLabelLine : 0;
    const double aboveTitle = titled && !valueTitle.empty() ? kLabelLine + 2 : 0;

    // First of all: the rest may be larger than any of those that are kept.
    constexpr double kUsualTicks = 24;
    if (!figures.inOrder)
        keepFirst(figures, static_cast<std::size_t>(std::max((area.width() - room.right - kUsualTicks) / kLeastLabelledStep, 1.0)));
    const Figures::Range range = figures.range();
    const double unit = values.unit(std::max(range.largest, -range.smallest));
    ColumnFrame frame;
    std::vector<std::string> tickTexts;
    const auto mostTicks = static_cast<int>(std::clamp((area.height() - 3 * kLabelLine) / kLabelLine, 2.0, 6.0));
    for (int ticks = mostTicks; ticks >= 2; --ticks) {
        frame.axis = axisFor(range.smallest, range.largest, figures.whole, unit, ticks);
        if (frame.axis.ticks.size() <= static_cast<std::size_t>(mostTicks))
            break;
    }
    tickTexts = values.ticks(frame.axis.ticks);
    const double tickWidth = canvas.widest(tickTexts, kAxisSize);
    frame.plot = {area.left + tickWidth + kGap, area.top + aboveTitle + room.top, area.right - room.right, area.bottom};
    if (frame.plot.width() < 10)
        return {};
    const std::size_t count = figures.categories.size();
    frame.step = frame.plot.width() / static_cast<double>(count);
    if (room.mostStep > 0)
        frame.step = std::min(frame.step, std::max(room.mostStep, 14.0 * static_cast<double>(figures.series.size())));
    frame.plot.right = frame.plot.left + frame.step * static_cast<double>(count);
    frame.first = frame.step / 2;
    if (room.points && count > 1) {
        frame.first = std::min(kEdge, frame.plot.width() / 4);
        frame.step = (frame.plot.width() - 2 * frame.first) / static_cast<double>(count - 1);
    }

    const double widest = canvas.widest(figures.categories);
    std::vector<std::vector<std::string>> lines;
    std::size_t mostLines = 1;
    const bool thinned = figures.inOrder;
    for (std::size_t i = 0; i < count && !thinned; ++i) {
        lines.push_back(twoLines(figures.categories[i], frame.step - 3, kLabelSize, canvas.textWidth()));
        mostLines = std::max(mostLines, lines.back().size());
    }
    const double negativeRoom = range.smallest < 0 && room.top > 0 ? kLabelLine : 0;
    frame.plot.bottom = area.bottom - belowTitle - static_cast<double>(mostLines) * kLabelLine - kBelowPlot - negativeRoom;
    if (frame.plot.height() < 10)
        return {};

    for (std::size_t i = 0; i < frame.axis.ticks.size(); ++i) {
        const double y = frame.y(frame.axis.ticks[i]);
        if (frame.axis.ticks[i] != 0)
            canvas.line({frame.plot.left, y}, {frame.plot.right, y}, 0.35, ChartColour::Grid);
        canvas.text({.text = tickTexts[i],
                     .at = {frame.plot.left - kGap, y + 2.3},
                     .anchor = Anchor::End,
                     .size = kAxisSize,
                     .colour = ChartColour::Soft,
                     .part = Part::Axis});
    }
    const double baseline = frame.plot.bottom + negativeRoom + kBelowPlot + kLabelLine - kDescent;
    if (thinned)
        drawThinnedLabels(canvas, figures, frame, baseline, widest, area.right);
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (std::size_t line = 0; line < lines[i].size(); ++line)
            canvas.text({.text = lines[i][line],
                         .at = {frame.centre(i), baseline + static_cast<double>(line) * kLabelLine},
                         .anchor = Anchor::Middle});
    const auto title = [&](const std::string &text, ChartPoint at, Anchor anchor, double width) {
        canvas.text({.text = ellipsized(text, width, kAxisSize, false, canvas.textWidth()),
                     .at = at,
                     .anchor = anchor,
                     .size = kAxisSize,
                     .colour = ChartColour::Soft,
                     .part = Part::Axis});
    };
    if (belowTitle > 0)
        title(categoryTitle, {frame.plot.middle(), area.bottom - kDescent}, Anchor::Middle, frame.plot.width());
    if (aboveTitle > 0)
        title(valueTitle, {area.left, area.top + kLabelLine - kDescent}, Anchor::Start, area.width());
    return frame;
}

void drawZeroLine(ChartCanvas &canvas, const ColumnFrame &frame)
{
    canvas.line({frame.plot.left, frame.y(0)}, {frame.plot.right, frame.y(0)}, 0.75, ChartColour::Soft);
}

} // namespace qm::charts
