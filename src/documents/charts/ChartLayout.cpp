#include "documents/charts/ChartCanvas.h"

#include <algorithm>
#include <utility>

namespace qm {

namespace charts {

namespace {

std::string titleOf(const ChartSpec &spec)
{
    if (!spec.title.empty())
        return oneLine(spec.title);
    const std::string by = oneLine(spec.category.caption);
    const std::string unit = oneLine(spec.value.caption);
    return by.empty() ? unit : unit.empty() ? by : unit + " by " + withinSentence(by);
}

/// Which series have a place in the legend, in the order of the stack.
bool needsLegend(const Figures &figures, double height)
{
    switch (figures.kind) {
    case ChartKind::Line:
        return figures.series.size() > 1 && !linesAreLabelled(figures, height);
    case ChartKind::Heat:
    case ChartKind::Pie:
        return false;
    case ChartKind::Bar:
    case ChartKind::Column:
    case ChartKind::StackedBar:
    case ChartKind::StackedColumn:
    case ChartKind::Area:
    case ChartKind::Histogram:
        break;
    }
    return figures.series.size() > 1;
}

class Legend final
{
public:
    Legend(const ChartCanvas &canvas, const Figures &figures, double width) : m_figures(figures)
    {
        constexpr std::size_t kMostInRow = 3; // where names are long
        double x = 0;
        const double most = width / static_cast<double>(kMostInRow) - kSpace;
        for (const FigureSeries &series : figures.series) {
            const std::string name = ellipsized(series.name, most - kIndent, kLabelSize, false, canvas.textWidth());
            const double needed = kIndent + canvas.widthOf(name);
            if (x > 0 && x + needed > width) {
                x = 0;
                ++m_rows;
            }
            m_entries.push_back({name, x, m_rows});
            x += needed + kSpace;
        }
    }

    [[nodiscard]] double height() const { return kAbove + (m_rows + 1) * kLegendLine; }

    void draw(ChartCanvas &canvas, double top) const
    {
        for (std::size_t i = 0; i < m_entries.size(); ++i) {
            const FigureSeries &series = m_figures.series[i];
            const double bottom = top + kAbove + (m_entries[i].row + 1) * kLegendLine;
            const double swatch = bottom - kDescent - kSwatch + 0.4;
            if (m_figures.kind == ChartKind::Line)
                drawMark(canvas, {m_entries[i].x + kSwatch / 2, swatch + kSwatch / 2}, i, series.colour, false);
            else
                canvas.bar({m_entries[i].x, swatch, m_entries[i].x + kSwatch, swatch + kSwatch}, series.colour,
                           series.other ? ChartCanvas::Fill::Hatched : ChartCanvas::Fill::Solid);
            canvas.text({.text = m_entries[i].name, .at = {m_entries[i].x + kIndent, bottom - kDescent}, .part = ChartText::Part::Legend});
        }
    }

private:
    static constexpr double kSwatch = 6, kIndent = 9, kSpace = 12, kLegendLine = 10, kAbove = 4;
    struct Entry
    {
        std::string name;
        double x = 0;
        int row = 0;
    };
    const Figures &m_figures;
    std::vector<Entry> m_entries;
    int m_rows = 0;
};

void layoutBody(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area)
{
    switch (figures.kind) {
    case ChartKind::Bar:
    case ChartKind::StackedBar:
        layoutBars(canvas, figures, values, spec, area);
        return;
    case ChartKind::Column:
    case ChartKind::StackedColumn:
    case ChartKind::Histogram:
        layoutColumns(canvas, figures, values, spec, area);
        return;
    case ChartKind::Line:
    case ChartKind::Area:
        layoutLines(canvas, figures, values, spec, area);
        return;
    case ChartKind::Pie:
        layoutPie(canvas, figures, values, area);
        return;
    case ChartKind::Heat:
        layoutHeat(canvas, figures, values, area);
        return;
    }
}

} // namespace

} // namespace charts

ChartPicture layoutChart(const ChartSpec &spec, const ChartData &data, ChartSize size, const ChartTextWidth &textWidth)
{
    using namespace charts;
    constexpr double kTitleLine = 12, kTitleBaseline = 9, kBelowHead = 5;
    constexpr double kLeastWidth = 60, kLeastHeight = 40;
    ChartCanvas canvas(size, textWidth);
    Figures figures = figuresOf(spec, data);
    const std::string title = titleOf(spec);
    if (size.width >= kLeastWidth && size.height >= kLeastHeight) {
        double top = title.empty() ? 0 : kTitleLine;
        canvas.text({.text = title,
                     .at = {0, kTitleBaseline},
                     .size = kTitleSize,
                     .bold = true,
                     .colour = ChartColour::Title,
                     .part = ChartText::Part::Title});
        const double subtitleBaseline = top + kLabelLine - kDescent;
        top += kLabelLine + kBelowHead;
        Area area{0, top, size.width, size.height};
        if (figures.empty()) {
            canvas.text({.text = "No values",
                         .at = {area.middle(), (area.top + area.bottom) / 2 + kDescent},
                         .anchor = ChartText::Anchor::Middle,
                         .colour = ChartColour::Soft,
                         .part = ChartText::Part::Axis});
        } else {
            const Legend legend(canvas, figures, size.width);
            const bool drawLegend = needsLegend(figures, area.height()) && legend.height() < area.height() / 2;
            if (drawLegend)
                area.bottom -= legend.height();
            layoutBody(canvas, figures, ValueText(spec.value), spec, area);
            if (drawLegend)
                legend.draw(canvas, area.bottom);
        }
        // Known only now: what found room.
        canvas.text({.text = subtitleOf(spec, figures),
                     .at = {0, subtitleBaseline},
                     .colour = ChartColour::Soft,
                     .part = ChartText::Part::Subtitle});
    }
    ChartPicture picture = canvas.take();
    picture.title = title;
    picture.alternative = alternativeText(spec, data);
    return picture;
}

std::string alternativeText(const ChartSpec &spec, const ChartData &data)
{
    using namespace charts;
    constexpr std::size_t kMost = 5;
    const Figures figures = figuresOf(spec, data);
    const ValueText values(spec.value);
    std::string text = titleOf(spec);
    if (text.empty())
        text = "Chart";
    if (figures.empty())
        return text + ": no values.";
    const auto name = [&](std::size_t series, std::size_t category) {
        const std::string &of = figures.series[series].name;
        return of.empty() ? figures.categories[category] : figures.categories[category] + ", " + of;
    };
    // The parts of a stack count together, the others each by itself. What is the rest is none of the largest.
    std::vector<std::pair<double, std::string>> all;
    for (std::size_t category = 0; category < figures.categories.size(); ++category) {
        if (figures.isOther(category))
            continue;
        if (figures.stacked())
            all.emplace_back(figures.total(category), figures.categories[category]);
        else
            for (std::size_t i = 0; i < figures.series.size(); ++i)
                if (!figures.series[i].other && figures.series[i].values[category] == figures.series[i].values[category])
                    all.emplace_back(figures.series[i].values[category], name(i, category));
    }
    std::stable_sort(all.begin(), all.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
    if (all.size() > kMost)
        text += ". The largest";
    const char *separator = ": ";
    for (std::size_t i = 0; i < std::min(kMost, all.size()); ++i) {
        text += separator + all[i].second + ' ' + values(all[i].first);
        separator = "; ";
    }
    if (figures.otherCategory)
        text += "; the rest together " + values(figures.total(figures.categories.size() - 1));
    return text + '.';
}

} // namespace qm
