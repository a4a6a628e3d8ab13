#include "documents/html/HtmlFirst.h"

#include "documents/CellFormat.h"
#include "documents/NumberText.h"
#include "documents/TextScan.h"
#include "documents/html/ChartSvg.h"
#include "documents/html/HtmlCells.h"
#include "documents/html/HtmlText.h"

#include <algorithm>
#include <cmath>

namespace qm {

namespace {

using textscan::joined;

constexpr std::string_view kBar = "<div class=\"notice\" role=\"note\">\n", kBarEnd = "</div>\n";

std::string shownText(const CellFormatter &format, const Value &value)
{
    if (value.isNull())
        return std::string(kHtmlNull);
    std::string text;
    appendShown(format, value, text);
    return text;
}

/// Whole numbers as such, so that a count of 16 is not "16.0".
std::string shownNumber(const CellFormatter &format, double number)
{
    constexpr double kExact = 9007199254740992.0;
    const bool whole = std::nearbyint(number) == number && std::fabs(number) <= kExact;
    return shownText(format, whole ? Value::of(static_cast<std::int64_t>(number)) : Value::of(number));
}

/// What all series have of each category.
std::vector<double> sumsOf(const ChartData &data)
{
    std::vector<double> sums(data.categories.size(), 0.0);
    for (const ChartSeries &series : data.series)
        for (std::size_t i = 0; i < std::min(sums.size(), series.values.size()); ++i)
            sums[i] += std::isnan(series.values[i]) ? 0.0 : series.values[i];
    return sums;
}

std::string topOf(const TopList &top, const ChartData &data)
{
    const std::vector<double> sums = sumsOf(data);
    double all = 0;
    for (const double sum : sums)
        all += sum;
    const CellFormatter format(top.value);
    const std::size_t listed = sums.size() - (data.otherCategory && !sums.empty() ? 1 : 0);
    std::string list = "<section class=\"top\">\n<h2>" + escaped(top.caption) + "</h2>\n<ol>\n";
    for (std::size_t i = 0; i < std::min(listed, top.most); ++i) {
        list += joined({"<li><bdi>", escaped(data.categories[i]), "</bdi>: <strong>", escaped(shownNumber(format, sums[i])), "</strong>"});
        if (all > 0) {
            list += " (";
            numbers::appendFixed(sums[i] / all, {0, 0, false, 2}, list);
            list += " %)";
        }
        list += "</li>\n";
    }
    return list + "</ol>\n</section>\n";
}

} // namespace

std::string htmlNotices(std::span<const std::string> notices)
{
    if (notices.empty())
        return {};
    std::string bar(kBar);
    for (const std::string &notice : notices)
        bar += "<p>" + escaped(notice) + "</p>\n";
    return bar += kBarEnd;
}

std::string htmlNoticesWithin(std::span<const std::string> notices, std::size_t bytes)
{
    constexpr std::string_view kMore = "<p>More notices stand at the end of the report.</p>\n";
    std::string bar = htmlNotices(notices);
    if (bar.size() <= bytes)
        return bar;
    bar = kBar;
    for (const std::string &notice : notices) {
        const std::string line = "<p>" + escaped(notice) + "</p>\n";
        if (bar.size() + line.size() + kMore.size() + kBarEnd.size() <= bytes)
            bar += line;
    }
    return joined({bar, kMore, kBarEnd});
}

std::string htmlFigure(const KeyFigure &figure, const Value &value, std::size_t bytes)
{
    return escapedWithin(shownText(CellFormatter(figure.value), value), bytes);
}

std::string htmlLatePart(const ReportShape &shape, const ReportTail &tail)
{
    std::string charts;
    for (std::size_t i = 0; i < std::min(shape.charts.size(), tail.charts.size()); ++i) {
        charts += "<figure>\n";
        appendChartSvg(charts, shape.charts[i], tail.charts[i]);
        charts += "</figure>\n";
    }
    std::string part;
    if (!charts.empty())
        part += "<div class=\"charts\">\n" + charts + "</div>\n";
    if (shape.top && tail.top)
        part += topOf(*shape.top, *tail.top);
    return part.empty() ? part : "<div class=\"late\">\n" + part + "</div>\n";
}

} // namespace qm
