#include "documents/charts/ChartCanvas.h"

#include <algorithm>
#include <cmath>

namespace qm::charts {

namespace {

constexpr double kLineWidth = 1.25, kMarkRadius = 2, kMarkIndent = 7;
/// A line of more points is a line without marks, but for its end and for what is known in part.
constexpr double kLeastMarkStep = 7;

/// The points of a series; a new part begins behind each value that is none.
std::vector<std::vector<ChartPoint>> partsOf(const Figures &figures, std::size_t series, const ColumnFrame &frame)
{
    std::vector<std::vector<ChartPoint>> parts(1);
    for (std::size_t i = 0; i < figures.categories.size(); ++i) {
        if (std::isnan(figures.series[series].values[i]) && !figures.inTime) {
            if (!parts.back().empty())
                parts.emplace_back();
            continue;
        }
        parts.back().push_back({frame.centre(i), frame.y(figures.value(series, i))});
    }
    if (parts.back().empty())
        parts.pop_back();
    return parts;
}

void drawMarks(ChartCanvas &canvas, const Figures &figures, std::size_t series, const ColumnFrame &frame)
{
    const std::size_t count = figures.categories.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (std::isnan(figures.series[series].values[i]) && !figures.inTime)
            continue;
        const bool alone = !figures.inTime && (i == 0 || std::isnan(figures.series[series].values[i - 1])) &&
                           (i + 1 == count || std::isnan(figures.series[series].values[i + 1]));
        if (frame.step >= kLeastMarkStep || alone || i + 1 == count || figures.isPartial(i))
            drawMark(canvas, {frame.centre(i), frame.y(figures.value(series, i))}, series, figures.series[series].colour,
                     figures.isPartial(i));
    }
}

/// The names of lines at their ends, pushed apart where they would overlap.
void drawEndLabels(ChartCanvas &canvas, const Figures &figures, const ColumnFrame &frame, const Area &area)
{
    struct Label
    {
        std::size_t series = 0;
        double middle = 0;
    };
    std::vector<Label> labels;
    for (std::size_t i = 0; i < figures.series.size(); ++i) {
        std::size_t last = figures.categories.size() - 1;
        while (last > 0 && std::isnan(figures.series[i].values[last]) && !figures.inTime)
            --last;
        labels.push_back({i, frame.y(figures.value(i, last))});
    }
    std::stable_sort(labels.begin(), labels.end(), [](const Label &a, const Label &b) { return a.middle < b.middle; });
    constexpr double kHalf = kLabelLine / 2;
    double end = area.top;
    for (Label &label : labels) {
        label.middle = std::max(label.middle, end + kHalf);
        end = label.middle + kHalf;
    }
    end = frame.plot.bottom + kHalf;
    for (auto label = labels.rbegin(); label != labels.rend(); ++label) {
        label->middle = std::min(label->middle, end - kHalf);
        end = label->middle - kHalf;
    }
    for (const Label &label : labels) {
        const double left = frame.plot.right + kGap / 2;
        drawMark(canvas, {left + kMarkRadius, label.middle}, label.series, figures.series[label.series].colour, false);
        canvas.text({.text = figures.series[label.series].name,
                     .at = {left + kMarkIndent, label.middle + 2.5},
                     .bold = true,
                     .part = ChartText::Part::Legend});
    }
}

void drawAreas(ChartCanvas &canvas, const Figures &figures, const ColumnFrame &frame)
{
    const std::size_t count = figures.categories.size();
    std::vector<double> sums(count, 0.0);
    for (std::size_t series = 0; series < figures.series.size(); ++series) {
        const FigureSeries &one = figures.series[series];
        std::vector<ChartPoint> lower, polygon;
        for (std::size_t i = 0; i < count; ++i) {
            lower.push_back({frame.centre(i), frame.y(sums[i])});
            sums[i] += figures.value(series, i);
            polygon.push_back({frame.centre(i), frame.y(sums[i])});
        }
        ChartPath edge{{polygon}, false, {{}, series + 1 == figures.series.size() ? one.colour : ChartColour::Page, kStackGap}};
        polygon.insert(polygon.end(), lower.rbegin(), lower.rend());
        canvas.add(ChartPath{{polygon}, true, {one.colour, {}, 0}});
        if (one.other)
            canvas.hatch(polygon);
        canvas.add(std::move(edge));
    }
    for (std::size_t i = 0; i < count; ++i)
        if (figures.isPartial(i))
            drawMark(canvas, {frame.centre(i), frame.y(sums[i])}, 0, figures.series.back().colour, true);
}

} // namespace

void drawMark(ChartCanvas &canvas, ChartPoint at, std::size_t series, ChartColour colour, bool hollow)
{
    const double r = kMarkRadius;
    ChartPaint paint{hollow ? ChartColour::Page : colour, {}, 0};
    if (hollow) {
        paint.stroke = colour;
        paint.strokeWidth = 0.75;
    }
    const auto polygon = [&](std::vector<ChartPoint> points) {
        for (ChartPoint &point : points)
            point = {at.x + point.x, at.y + point.y};
        canvas.add(ChartPath{{std::move(points)}, true, paint});
    };
    switch (series % 6) {
    case 0:
        canvas.add(ChartSlice{at, r, 0, 1, paint});
        return;
    case 1:
        polygon({{-0.9 * r, -0.9 * r}, {0.9 * r, -0.9 * r}, {0.9 * r, 0.9 * r}, {-0.9 * r, 0.9 * r}});
        return;
    case 2:
        polygon({{0, -1.2 * r}, {1.15 * r, 0.8 * r}, {-1.15 * r, 0.8 * r}});
        return;
    case 3:
        polygon({{0, -1.3 * r}, {1.3 * r, 0}, {0, 1.3 * r}, {-1.3 * r, 0}});
        return;
    case 4:
        canvas.add(ChartPath{{{{at.x - r, at.y - r}, {at.x + r, at.y + r}}, {{at.x - r, at.y + r}, {at.x + r, at.y - r}}},
                             false,
                             {{}, colour, hollow ? 0.75 : 1.25}});
        return;
    default:
        canvas.line({at.x, at.y - 1.2 * r}, {at.x, at.y + 1.2 * r}, kLineWidth, colour);
        return;
    }
}

bool linesAreLabelled(const Figures &figures, double height)
{
    return static_cast<double>(figures.series.size()) * kLabelLine + 3 * kLabelLine <= height;
}

void layoutLines(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area)
{
    const bool isArea = figures.kind == ChartKind::Area;
    const bool labelled = !isArea && figures.series.size() > 1 && linesAreLabelled(figures, area.height());
    ColumnRoom room{.right = 0, .top = kGap, .points = true};
    if (labelled) {
        std::vector<std::string> names;
        for (const FigureSeries &series : figures.series)
            names.push_back(series.name);
        room.right = std::min(canvas.widest(names, kLabelSize, true), area.width() * 0.25) + kMarkIndent + kGap;
    }
    const ColumnFrame frame = layoutColumnFrame(canvas, figures, values, spec, area, room);
    if (frame.step <= 0)
        return;
    if (isArea) {
        drawAreas(canvas, figures, frame);
        drawZeroLine(canvas, frame);
        return;
    }
    drawZeroLine(canvas, frame);
    for (std::size_t i = 0; i < figures.series.size(); ++i)
        canvas.add(ChartPath{partsOf(figures, i, frame), false, {{}, figures.series[i].colour, kLineWidth}});
    for (std::size_t i = 0; i < figures.series.size(); ++i)
        drawMarks(canvas, figures, i, frame);
    if (labelled)
        drawEndLabels(canvas, figures, frame, area);
}

} // namespace qm::charts
