#include "documents/charts/ChartFigures.h"

#include "documents/IsoTime.h"
#include "documents/NumberText.h"
#include "documents/charts/ChartText.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace qm::charts {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kMostSlices = 5;

double cleaned(double value)
{
    constexpr double kMost = 1e300, kLeast = 1e-300; // sums and shares of what lies between stay finite and are not lost
    if (!std::isfinite(value))
        return kNone;
    return std::fabs(value) < kLeast ? 0 : std::clamp(value, -kMost, kMost);
}

double orZero(double value)
{
    return std::isnan(value) ? 0 : value;
}

bool isTimeType(ColumnType type)
{
    return type == ColumnType::Date || type == ColumnType::DateTime || type == ColumnType::Time;
}

bool isColumnLike(ChartKind kind)
{
    switch (kind) {
    case ChartKind::Column:
    case ChartKind::StackedColumn:
    case ChartKind::Line:
    case ChartKind::Area:
    case ChartKind::Heat:
    case ChartKind::Histogram:
        return true;
    case ChartKind::Bar:
    case ChartKind::StackedBar:
    case ChartKind::Pie:
        break;
    }
    return false;
}

/// Where a weekday, an hour or a day of the month stands among its like; nothing for any other text.
std::optional<int> rankOf(const std::string &label)
{
    static constexpr std::array<std::string_view, 7> kDays{"monday", "tuesday", "wednesday", "thursday", "friday", "saturday", "sunday"};
    std::string lower = label;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    for (std::size_t i = 0; i < kDays.size(); ++i)
        if (lower == kDays[i] || lower == kDays[i].substr(0, 3))
            return static_cast<int>(i);
    const auto number = [](std::string_view digits) -> std::optional<int> {
        if (digits.empty() || digits.size() > 2 || digits.find_first_not_of("0123456789") != std::string_view::npos)
            return std::nullopt;
        return std::accumulate(digits.begin(), digits.end(), 0, [](int sum, char c) { return sum * 10 + (c - '0'); });
    };
    const std::size_t colon = label.find(':');
    const std::optional<int> first = number(std::string_view(label).substr(0, colon));
    const std::optional<int> minutes = colon == std::string::npos ? 0 : number(std::string_view(label).substr(colon + 1));
    if (!first || !minutes || *first > 31)
        return std::nullopt;
    return *first * 60 + *minutes;
}

/// The places of \p labels in the order of weekdays, hours or days of the month; empty where any of them is something else.
std::vector<std::size_t> orderOf(const std::vector<std::string> &labels)
{
    std::vector<int> ranks;
    for (const std::string &label : labels) {
        const std::optional<int> rank = rankOf(label);
        if (!rank)
            return {};
        ranks.push_back(*rank);
    }
    std::vector<std::size_t> order(labels.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return ranks[a] < ranks[b]; });
    return order;
}

template <typename T>
void arrange(std::vector<T> &items, const std::vector<std::size_t> &order)
{
    std::vector<T> arranged;
    arranged.reserve(items.size());
    for (const std::size_t from : order)
        arranged.push_back(std::move(items[from]));
    items = std::move(arranged);
}

void arrangeCategories(Figures &figures, const std::vector<std::size_t> &order)
{
    arrange(figures.categories, order);
    for (FigureSeries &series : figures.series)
        arrange(series.values, order);
}

void sortByValue(Figures &figures)
{
    std::vector<double> totals(figures.categories.size());
    for (std::size_t i = 0; i < totals.size(); ++i)
        totals[i] = figures.total(i);
    std::vector<std::size_t> order(totals.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end() - (figures.otherCategory ? 1 : 0),
                     [&](std::size_t a, std::size_t b) { return totals[a] > totals[b]; });
    arrangeCategories(figures, order);
}

/// The series with colours of their own are the largest; the others become one.
void mergeSeries(Figures &figures, bool add)
{
    std::vector<FigureSeries> &all = figures.series;
    const auto own = static_cast<std::ptrdiff_t>(all.size()) - (all.back().other ? 1 : 0);
    if (own > kChartSeries) {
        std::vector<double> sizes(all.size());
        for (std::size_t i = 0; i < all.size(); ++i)
            for (const double value : all[i].values)
                sizes[i] += std::fabs(orZero(value));
        std::vector<std::size_t> bySize(static_cast<std::size_t>(own));
        std::iota(bySize.begin(), bySize.end(), std::size_t{0});
        std::stable_sort(bySize.begin(), bySize.end(), [&](std::size_t a, std::size_t b) { return sizes[a] > sizes[b]; });
        std::vector<std::size_t> kept(bySize.begin(), bySize.begin() + kChartSeries);
        std::sort(kept.begin(), kept.end());
        if (all.back().other)
            kept.push_back(all.size() - 1);
        FigureSeries rest = all.back().other ? all.back() : FigureSeries{"Other", std::vector<double>(figures.categories.size(), kNone)};
        rest.other = true;
        for (auto at = bySize.begin() + kChartSeries; at != bySize.end(); ++at)
            for (std::size_t i = 0; i < rest.values.size(); ++i)
                if (const double value = all[*at].values[i]; !std::isnan(value))
                    rest.values[i] = cleaned(orZero(rest.values[i]) + value);
        arrange(all, kept);
        if (add && all.back().other)
            all.back() = std::move(rest);
        else if (add)
            all.push_back(std::move(rest));
        figures.seriesMerged = true;
    }
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i].colour = all[i].other ? ChartColour::Other : static_cast<ChartColour>(i);
}

std::string dayText(std::int64_t days)
{
    const std::chrono::year_month_day day{std::chrono::sys_days{std::chrono::days{days}}};
    const auto digits = [](int value, std::size_t count) {
        const std::string text = std::to_string(value);
        return std::string(count - std::min(count, text.size()), '0') + text;
    };
    return digits(static_cast<int>(day.year()), 4) + '-' + digits(static_cast<int>(static_cast<unsigned>(day.month())), 2) + '-' +
           digits(static_cast<int>(static_cast<unsigned>(day.day())), 2);
}

/// Days in a row: those of which there are no rows have their place too.
void fillDays(Figures &figures)
{
    constexpr std::int64_t kMostDays = 3700;
    std::vector<std::int64_t> days;
    for (const std::string &category : figures.categories) {
        const std::optional<IsoTime> time = parseIsoTime(category);
        if (!time || !time->hasDate || time->hasTime || (!days.empty() && time->daysSince1970() <= days.back()))
            return;
        days.push_back(time->daysSince1970());
    }
    if (days.empty() || days.back() - days.front() >= kMostDays)
        return;
    const auto count = static_cast<std::size_t>(days.back() - days.front() + 1);
    std::vector<std::string> categories(count);
    for (std::size_t i = 0; i < count; ++i)
        categories[i] = dayText(days.front() + static_cast<std::int64_t>(i));
    for (FigureSeries &series : figures.series) {
        std::vector<double> values(count, 0.0);
        for (std::size_t i = 0; i < days.size(); ++i)
            values[static_cast<std::size_t>(days[i] - days.front())] = orZero(series.values[i]);
        series.values = std::move(values);
    }
    figures.categories = std::move(categories);
    figures.all = count;
}

/// What is drawn where the kind asked for cannot show these figures.
ChartKind suitableKind(const Figures &figures)
{
    const bool single = figures.series.size() == 1;
    const bool negative = figures.hasNegative();
    switch (figures.kind) {
    case ChartKind::Pie:
        if (!single)
            return ChartKind::StackedBar;
        return figures.categories.size() > kMostSlices || negative || !(figures.range().largest > 0) ? ChartKind::Bar : ChartKind::Pie;
    case ChartKind::Area:
        if (figures.categories.size() < 2)
            return ChartKind::StackedColumn;
        return negative ? ChartKind::Line : ChartKind::Area;
    case ChartKind::Line:
        return figures.categories.size() < 2 ? ChartKind::Column : ChartKind::Line;
    case ChartKind::Histogram:
        return single ? ChartKind::Histogram : ChartKind::Column;
    case ChartKind::Bar:
    case ChartKind::Column:
    case ChartKind::StackedBar:
    case ChartKind::StackedColumn:
    case ChartKind::Heat:
        break;
    }
    return figures.kind;
}

void arrangeHeat(Figures &figures)
{
    std::vector<std::string> names;
    for (const FigureSeries &series : figures.series)
        names.push_back(series.name);
    if (const std::vector<std::size_t> order = orderOf(names); !order.empty())
        arrange(figures.series, order);
}

std::string counted(std::size_t count)
{
    std::string text;
    numbers::appendFixed(static_cast<std::int64_t>(count), {0, 0, true, 0}, text);
    return text;
}

void nameOther(Figures &figures)
{
    const std::size_t own = figures.categories.size() - 1;
    figures.categories.back() = figures.all > own ? "Other (" + counted(figures.all - own) + ')' : "Other";
}

} // namespace

bool Figures::empty() const
{
    return std::all_of(series.begin(), series.end(), [](const FigureSeries &one) {
        return std::all_of(one.values.begin(), one.values.end(), [](double value) { return std::isnan(value); });
    });
}

bool Figures::hasNegative() const
{
    return std::any_of(series.begin(), series.end(), [](const FigureSeries &one) {
        return std::any_of(one.values.begin(), one.values.end(), [](double value) { return value < 0; });
    });
}

double Figures::value(std::size_t at, std::size_t category) const
{
    return orZero(series[at].values[category]);
}

double Figures::total(std::size_t category) const
{
    double sum = 0;
    for (std::size_t i = 0; i < series.size(); ++i)
        sum += value(i, category);
    return sum;
}

Figures::Range Figures::range() const
{
    Range range;
    for (std::size_t category = 0; category < categories.size(); ++category) {
        double above = 0, below = 0;
        for (std::size_t i = 0; i < series.size(); ++i) {
            const double one = value(i, category);
            above = stacked() ? above + std::max(one, 0.0) : std::max(above, one);
            below = stacked() ? below + std::min(one, 0.0) : std::min(below, one);
        }
        range.largest = std::max(range.largest, above);
        range.smallest = std::min(range.smallest, below);
    }
    return range;
}

Figures figuresOf(const ChartSpec &spec, const ChartData &data)
{
    Figures figures;
    figures.kind = spec.kind;
    for (const std::string &category : data.categories)
        figures.categories.push_back(oneLine(category));
    const std::size_t count = figures.categories.size();
    figures.whole = true;
    for (const ChartSeries &one : data.series) {
        FigureSeries series{oneLine(one.name), std::vector<double>(count, kNone)};
        std::transform(one.values.begin(), one.values.begin() + static_cast<std::ptrdiff_t>(std::min(count, one.values.size())),
                       series.values.begin(), cleaned);
        figures.whole = figures.whole && std::all_of(series.values.begin(), series.values.end(),
                                                     [](double value) { return std::isnan(value) || value == std::floor(value); });
        figures.series.push_back(std::move(series));
    }
    if (figures.series.empty())
        figures.series.push_back({"", std::vector<double>(count, kNone)});
    figures.series.back().other = data.otherSeries && figures.series.size() > 1;
    figures.otherCategory = data.otherCategory && count > 1;
    figures.all = std::max(data.allCategories, count - (figures.otherCategory ? 1 : 0));
    figures.inTime = isTimeType(spec.category.type) && !figures.otherCategory;
    if (figures.kind == ChartKind::Heat) {
        arrangeHeat(figures);
    } else {
        mergeSeries(figures, spec.other || figures.stacked());
        if (figures.inTime)
            fillDays(figures);
    }
    figures.firstPartial = figures.inTime && data.firstPartial;
    figures.lastPartial = figures.inTime && data.lastPartial;
    figures.kind = suitableKind(figures);
    figures.additive = spec.other || figures.stacked();

    const bool columnLike = isColumnLike(figures.kind) && !figures.otherCategory;
    figures.inOrder = figures.inTime || figures.kind == ChartKind::Histogram || figures.kind == ChartKind::Line ||
                      figures.kind == ChartKind::Area || figures.kind == ChartKind::Heat;
    const std::vector<std::size_t> order =
        columnLike && !figures.inTime && figures.kind != ChartKind::Histogram ? orderOf(figures.categories) : std::vector<std::size_t>();
    if (!order.empty()) {
        figures.inOrder = true;
        arrangeCategories(figures, order);
    }
    if (!figures.inOrder)
        sortByValue(figures);
    if (figures.otherCategory)
        nameOther(figures);
    return figures;
}

void keepFirst(Figures &figures, std::size_t most)
{
    most = std::max<std::size_t>(most, 1);
    if (figures.categories.size() <= most)
        return;
    if (!figures.otherCategory)
        figures.otherCategory = figures.additive && !figures.inOrder && most > 1 && figures.all == figures.categories.size();
    if (!figures.otherCategory || most == 1) {
        figures.otherCategory = false;
        figures.categories.resize(most);
        for (FigureSeries &series : figures.series)
            series.values.resize(most);
        return;
    }
    const auto first = static_cast<std::ptrdiff_t>(most) - 1;
    for (FigureSeries &series : figures.series) {
        double rest = 0;
        for (auto value = series.values.begin() + first; value != series.values.end(); ++value)
            rest += orZero(*value);
        series.values.resize(most);
        series.values.back() = cleaned(rest);
    }
    figures.categories.resize(most);
    nameOther(figures);
}

std::string subtitleOf(const ChartSpec &spec, const Figures &figures)
{
    const std::string unit = oneLine(spec.valueTitle.empty() ? spec.value.caption : spec.valueTitle);
    const std::string by = oneLine(spec.categoryTitle.empty() ? spec.category.caption : spec.categoryTitle);
    std::string text = unit;
    if (!by.empty())
        text += (text.empty() ? "By " : " by ") + withinSentence(by);
    const auto add = [&text](const char *separator, const std::string &more) { text += text.empty() ? more : separator + more; };
    const std::size_t own = figures.categories.size() - (figures.otherCategory ? 1 : 0);
    if (own < figures.all && own > 0)
        add(": ", counted(own) + (figures.inOrder ? " of " : " largest of ") + counted(figures.all) +
                      (figures.otherCategory ? "; the rest together as Other" : "; the others are not shown"));
    if (figures.seriesMerged && !figures.series.back().other)
        add("; ", "only the " + counted(kChartSeries) + " largest series");
    if (figures.firstPartial || figures.lastPartial)
        add("; ", "hollow: a day that lies in the period only in part");
    return text;
}

} // namespace qm::charts
