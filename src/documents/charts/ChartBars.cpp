#include "documents/charts/ChartCanvas.h"

#include <algorithm>
#include <cmath>

namespace qm::charts {

namespace {

using Anchor = ChartText::Anchor;
using Part = ChartText::Part;
using Fill = ChartCanvas::Fill;

Fill fillOf(const Figures &figures, std::size_t series, std::size_t category)
{
    if (figures.isPartial(category))
        return Fill::Hollow;
    return figures.isOther(category) || figures.series[series].other ? Fill::Hatched : Fill::Solid;
}

ChartColour colourOf(const Figures &figures, std::size_t series, std::size_t category)
{
    return figures.isOther(category) && figures.series.size() == 1 ? ChartColour::Other : figures.series[series].colour;
}

/// One part of what stands on a category: from and to are values, begin and end places within the step.
struct BarPart
{
    std::size_t series = 0;
    double from = 0, to = 0, begin = 0, end = 0;
    bool last = true; ///< of its stack, in its direction
};

/// The bars of a category whose step is \p step wide.
std::vector<BarPart> barParts(const Figures &figures, std::size_t category, double step)
{
    const std::size_t count = figures.series.size();
    const double share = figures.kind == ChartKind::Histogram ? (step > 4 ? 1 - kStackGap / step : 1) : kBarShare;
    const double begin = step * (1 - share) / 2;
    std::vector<BarPart> parts;
    double above = 0, below = 0;
    std::size_t lastAbove = count, lastBelow = count;
    for (std::size_t i = 0; i < count; ++i) {
        const double value = figures.value(i, category);
        BarPart part{i, 0, value, begin, step - begin};
        if (figures.stacked()) {
            double &sum = value < 0 ? below : above;
            part.from = sum;
            part.to = sum += value;
            part.last = false;
            if (value != 0)
                (value < 0 ? lastBelow : lastAbove) = parts.size();
        } else {
            const double each = share * step / static_cast<double>(count);
            part.begin = begin + static_cast<double>(i) * each;
            part.end = part.begin + each;
        }
        parts.push_back(part);
    }
    for (const std::size_t last : {lastAbove, lastBelow})
        if (last < parts.size())
            parts[last].last = true;
    return parts;
}

/// The end of a part that is not the last of its stack, drawn shorter by the gap.
double gapped(double from, double to, bool last)
{
    if (last || std::fabs(to - from) < 2 * kStackGap)
        return to;
    return to > from ? to - kStackGap : to + kStackGap;
}

/// What is written at the end of a bar: the value, or the total of a stack.
struct EndLabel
{
    double value = 0, middle = 0; ///< middle: within the step
};

std::vector<EndLabel> endLabels(const Figures &figures, const std::vector<BarPart> &parts, std::size_t category, double step)
{
    std::vector<EndLabel> labels;
    if (figures.stacked())
        return {{figures.total(category), step / 2}};
    for (const BarPart &part : parts)
        if (!std::isnan(figures.series[part.series].values[category]))
            labels.push_back({part.to, (part.begin + part.end) / 2});
    return labels;
}

/// Where a label of \p value begins: for a stack with parts on both sides, beyond the one that is as the total.
double labelEnd(const Figures &figures, std::size_t category, double value)
{
    if (!figures.stacked())
        return value;
    double above = 0, below = 0;
    for (std::size_t i = 0; i < figures.series.size(); ++i) {
        above += std::max(figures.value(i, category), 0.0);
        below += std::min(figures.value(i, category), 0.0);
    }
    return value < 0 ? below : above;
}

} // namespace

void layoutBars(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area)
{
    constexpr double kMostStep = 26, kLeastPart = 3, kCategoryShare = 0.35;
    const auto parallel = figures.stacked() ? 1.0 : static_cast<double>(figures.series.size());
    const std::string axisTitle = oneLine(spec.valueTitle);
    const double axisHeight = kLabelLine + (axisTitle.empty() ? 0 : kLabelLine);
    const double leastStep = std::max(kLabelLine, parallel * kLeastPart / kBarShare);
    const double room = area.height() - axisHeight;
    const auto most = static_cast<std::size_t>(std::max(room / leastStep, 0.0));
    if (most == 0)
        return;
    if (figures.inTime && figures.categories.size() > most) {
        figures.kind = figures.stacked() ? ChartKind::StackedColumn : ChartKind::Column;
        layoutColumns(canvas, figures, values, spec, area);
        return;
    }
    keepFirst(figures, most);
    const std::size_t count = figures.categories.size();
    const double step = std::min(room / static_cast<double>(count), std::max(kMostStep, parallel * 11 / kBarShare));
    const bool labelled = step * kBarShare / parallel >= 5;

    std::vector<std::string> positive, negative;
    for (std::size_t i = 0; i < count && labelled; ++i)
        for (const EndLabel &label : endLabels(figures, barParts(figures, i, step), i, step))
            (label.value < 0 ? negative : positive).push_back(values(label.value));
    const auto margin = [&](const std::vector<std::string> &texts) {
        const double widest = canvas.widest(texts, kLabelSize, true);
        return widest > 0 ? std::min(widest + kGap, area.width() * 0.25) : 0;
    };
    const double mostLabel = area.width() * kCategoryShare;
    const double labelWidth = std::min(canvas.widest(figures.categories), mostLabel);
    const double left = area.left + labelWidth + kGap + margin(negative);
    const Figures::Range range = figures.range();
    Axis axis;
    std::vector<std::string> tickTexts;
    double right = area.right - std::max(margin(positive), 1.0);
    for (int ticks = 6; ticks >= 2; --ticks) {
        axis = axisFor(range.smallest, range.largest, figures.whole, values.unit(std::max(range.largest, -range.smallest)), ticks);
        tickTexts = values.ticks(axis.ticks);
        right = std::min(area.right - std::max(margin(positive), 1.0), area.right - canvas.widthOf(tickTexts.back(), kAxisSize) / 2);
        const double each = (right - left) / static_cast<double>(axis.ticks.size() - 1);
        if (canvas.widest(tickTexts, kAxisSize) + kGap <= each)
            break;
    }
    const Area plot{left, area.top, right, area.top + step * static_cast<double>(count)};
    if (plot.width() < 10)
        return;
    const auto x = [&](double value) { return plot.left + axis.position(value) * plot.width(); };
    double tickEnd = 0;
    for (std::size_t i = 0; i < axis.ticks.size(); ++i) {
        const double at = x(axis.ticks[i]);
        if (axis.ticks[i] != 0)
            canvas.line({at, plot.top}, {at, plot.bottom}, 0.35, ChartColour::Grid);
        const double half = canvas.widthOf(tickTexts[i], kAxisSize) / 2;
        if (at - half < tickEnd)
            continue;
        tickEnd = at + half + 2;
        canvas.text({.text = tickTexts[i],
                     .at = {at, plot.bottom + kLabelLine - kDescent},
                     .anchor = Anchor::Middle,
                     .size = kAxisSize,
                     .colour = ChartColour::Soft,
                     .part = Part::Axis});
    }
    if (!axisTitle.empty())
        canvas.text({.text = ellipsized(axisTitle, plot.width(), kAxisSize, false, canvas.textWidth()),
                     .at = {plot.middle(), plot.bottom + 2 * kLabelLine - kDescent},
                     .anchor = Anchor::Middle,
                     .size = kAxisSize,
                     .colour = ChartColour::Soft,
                     .part = Part::Axis});
    for (std::size_t i = 0; i < count; ++i) {
        const double top = plot.top + static_cast<double>(i) * step;
        const std::vector<BarPart> parts = barParts(figures, i, step);
        for (const BarPart &part : parts) {
            const double from = x(part.from);
            const double to = gapped(from, x(part.to), part.last);
            canvas.bar({std::min(from, to), top + part.begin, std::max(from, to), top + part.end}, colourOf(figures, part.series, i),
                       fillOf(figures, part.series, i));
        }
        canvas.text({.text = ellipsized(figures.categories[i], labelWidth, kLabelSize, false, canvas.textWidth()),
                     .at = {area.left + labelWidth, top + step / 2 + 2.5},
                     .anchor = Anchor::End});
        for (const EndLabel &label : labelled ? endLabels(figures, parts, i, step) : std::vector<EndLabel>()) {
            const bool below = label.value < 0;
            const double end = x(labelEnd(figures, i, label.value));
            canvas.text({.text = values(label.value),
                         .at = {below ? end - kGap + 1 : end + kGap - 1, top + label.middle + 2.5},
                         .anchor = below ? Anchor::End : Anchor::Start,
                         .bold = true,
                         .part = Part::Value});
        }
    }
    canvas.line({x(0), plot.top}, {x(0), plot.bottom}, 0.75, ChartColour::Soft);
}

void layoutColumns(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area)
{
    const ColumnFrame frame = layoutColumnFrame(canvas, figures, values, spec, area, {.top = kLabelLine, .mostStep = 90});
    if (frame.step <= 0)
        return;
    const std::size_t count = figures.categories.size();
    std::vector<std::vector<EndLabel>> labels;
    double room = frame.step - 2;
    if (!figures.stacked())
        room = frame.step * (figures.kind == ChartKind::Histogram ? 1 : kBarShare) / static_cast<double>(figures.series.size()) +
               (figures.series.size() == 1 ? frame.step * 0.3 : -1);
    bool labelled = true;
    for (std::size_t i = 0; i < count; ++i) {
        const std::vector<BarPart> parts = barParts(figures, i, frame.step);
        const double left = frame.plot.left + static_cast<double>(i) * frame.step;
        for (const BarPart &part : parts) {
            const double from = frame.y(part.from);
            const double to = gapped(from, frame.y(part.to), part.last);
            canvas.bar({left + part.begin, std::min(from, to), left + part.end, std::max(from, to)}, colourOf(figures, part.series, i),
                       fillOf(figures, part.series, i));
        }
        labels.push_back(labelled ? endLabels(figures, parts, i, frame.step) : std::vector<EndLabel>());
        for (const EndLabel &label : labels.back())
            labelled = labelled && canvas.widthOf(values(label.value), kLabelSize, true) <= room;
    }
    drawZeroLine(canvas, frame);
    for (std::size_t i = 0; i < count && labelled; ++i)
        for (const EndLabel &label : labels[i]) {
            const double end = frame.y(labelEnd(figures, i, label.value));
            canvas.text({.text = values(label.value),
                         .at = {frame.plot.left + static_cast<double>(i) * frame.step + label.middle,
                                label.value < 0 ? end + kLabelSize : end - kDescent},
                         .anchor = Anchor::Middle,
                         .bold = true,
                         .part = Part::Value});
        }
}

} // namespace qm::charts
