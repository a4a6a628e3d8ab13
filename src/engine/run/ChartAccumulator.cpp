#include "engine/run/ChartAccumulator.h"

#include "documents/CellFormat.h"
#include "documents/IsoTime.h"
#include "documents/NumberText.h"
#include "engine/run/ExactSum.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <numeric>

namespace qm {

namespace {

constexpr std::size_t kSeriesTable = 200;
/// Without a number of the layout's, so many categories are shown: by value, and in an order of their own.
constexpr std::size_t kShownByValue = 50, kShownInOrder = 5000;
constexpr std::int64_t kMostDays = 3660;
constexpr std::size_t kFewBins = 20, kBins = 10;
constexpr std::size_t kDateCharacters = 10;
constexpr char kNoValue[] = "\xE2\x80\x93"; // an en dash
constexpr char kOther[] = "Other";
constexpr std::array kWeekdays{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
constexpr int kHours = 24;

std::optional<double> realOf(const Value &value)
{
    ExactSum number;
    return number.add(value) ? std::optional(number.real()) : std::nullopt;
}

std::string twoDigits(int number)
{
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

std::string dayText(std::int64_t daysSince1970)
{
    const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{daysSince1970}}};
    const int year = static_cast<int>(date.year());
    return twoDigits(year / 100) + twoDigits(year % 100) + '-' + twoDigits(static_cast<int>(static_cast<unsigned>(date.month()))) + '-' +
           twoDigits(static_cast<int>(static_cast<unsigned>(date.day())));
}

/// 1, 2 or 5 times a power of ten, not less than \p least.
double niceStep(double least)
{
    const double power = std::pow(10.0, std::floor(std::log10(least)));
    for (const double step : {1.0, 2.0, 5.0})
        if (step * power >= least * (1 - 1e-9))
            return step * power;
    return 10 * power;
}

} // namespace

void ChartAccumulator::Cell::add(double value)
{
    const double next = sum + value;
    lost += std::fabs(sum) >= std::fabs(value) ? (sum - next) + value : (value - next) + sum;
    sum = next;
    ++count;
    smallest = std::min(smallest, value);
    largest = std::max(largest, value);
}

void ChartAccumulator::Cell::add(const Cell &other)
{
    sum += other.sum;
    lost += other.lost;
    count += other.count;
    smallest = std::min(smallest, other.smallest);
    largest = std::max(largest, other.largest);
}

ChartAccumulator::ChartAccumulator(const ChartSpec &spec, const ChartSource &source, const std::string &from, const std::string &to,
                                   std::size_t categories)
    : m_spec(spec), m_source(source), m_from(from), m_to(to), m_most(std::max<std::size_t>(categories, 2))
{
    m_isHeatOfHours = spec.kind == ChartKind::Heat && !source.series;
    if (!m_isHeatOfHours)
        return;
    for (int hour = 0; hour < kHours; ++hour)
        m_categories.push_back({OwnedValue(Value::ofText(twoDigits(hour))), std::vector<Cell>(kWeekdays.size())});
    m_all = m_categories.size();
}

bool ChartAccumulator::isByDay() const
{
    return m_spec.category.format == "date" || (m_spec.category.type == ColumnType::Date && m_spec.category.format.empty());
}

std::size_t ChartAccumulator::categoryAt(const Value &value)
{
    m_key.clear();
    appendKey(value, m_key);
    if (!m_categories.empty() && m_key == m_lastKey)
        return m_last;
    auto found = m_categoryOf.find(m_key);
    if (found == m_categoryOf.end()) {
        if (m_categories.size() >= m_most) {
            if (m_spec.kind == ChartKind::Histogram)
                coarsen();
            else
                fold();
        }
        found = m_categoryOf.emplace(m_key, m_categories.size()).first;
        m_categories.push_back({OwnedValue(value), {}});
        ++m_all;
    }
    m_lastKey = m_key;
    m_last = found->second;
    return m_last;
}

std::size_t ChartAccumulator::seriesAt(const Value &value)
{
    m_key.clear();
    appendKey(value, m_key);
    const auto found = m_seriesOf.find(m_key);
    if (found != m_seriesOf.end())
        return found->second;
    if (m_series.size() == kSeriesTable) {
        m_hasMoreSeries = true;
        return kSeriesTable;
    }
    m_seriesOf.emplace(m_key, m_series.size());
    m_series.emplace_back(value);
    return m_series.size() - 1;
}

void ChartAccumulator::add(std::span<const Value> row)
{
    Value category = row[m_source.category];
    std::size_t at = 0, series = 0;
    if (m_isHeatOfHours) {
        const auto time = category.kind == Value::Kind::Text ? parseIsoTime(category.text()) : std::nullopt;
        if (!time || !time->hasDate || !time->hasTime) {
            ++m_leftOut;
            return;
        }
        at = static_cast<std::size_t>(time->hour);
        series = static_cast<std::size_t>(((time->daysSince1970() + 3) % 7 + 7) % 7); // 1970-01-01 was a Thursday
    } else if (m_spec.kind == ChartKind::Histogram) {
        const auto number = realOf(category);
        if (!number || !std::isfinite(*number)) {
            m_leftOut += category.isNull() ? 0 : 1;
            return;
        }
        category = Value::of(m_width > 0 ? std::floor(*number / m_width) * m_width : *number);
        at = categoryAt(category);
    } else {
        if (isByDay() && category.kind == Value::Kind::Text && category.size > kDateCharacters)
            category.size = kDateCharacters;
        at = categoryAt(category);
    }
    if (m_source.series)
        series = seriesAt(row[*m_source.series]);
    if (m_source.values.empty()) {
        addCell(at, series, Value::of(std::int64_t{1}), true);
        return;
    }
    for (std::size_t i = 0; i < m_source.values.size(); ++i)
        addCell(at, m_source.series || m_isHeatOfHours ? series : i, row[m_source.values[i]], m_source.function == Aggregate::Count);
}

void ChartAccumulator::addCell(std::size_t category, std::size_t series, const Value &value, bool isCount)
{
    std::vector<Cell> &cells = m_categories[category].cells;
    if (series >= cells.size())
        cells.resize(series + 1);
    if (value.isNull())
        return;
    const auto number = isCount ? std::optional(1.0) : realOf(value);
    if (number && std::isfinite(*number))
        cells[series].add(*number);
    else
        ++m_leftOut;
}

void ChartAccumulator::merge(Category &into, const Category &other)
{
    into.cells.resize(std::max(into.cells.size(), other.cells.size()));
    for (std::size_t i = 0; i < other.cells.size(); ++i)
        into.cells[i].add(other.cells[i]);
}

void ChartAccumulator::reindex()
{
    m_categoryOf.clear();
    m_lastKey.clear();
    std::string key;
    for (std::size_t i = 0; i < m_categories.size(); ++i) {
        key.clear();
        appendKey(m_categories[i].value.view(), key);
        m_categoryOf.emplace(key, i);
    }
}

/// Makes room: the smaller half of the categories becomes part of the rest.
void ChartAccumulator::fold()
{
    m_isFolded = true;
    const std::size_t kept = std::max<std::size_t>(m_categories.size() / 2, 1);
    std::vector<double> totals;
    for (const Category &category : m_categories)
        totals.push_back(total(category));
    std::vector<std::size_t> order(m_categories.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return totals[a] > totals[b]; });
    for (std::size_t i = kept; i < order.size(); ++i)
        merge(m_rest, m_categories[order[i]]);
    order.resize(kept);
    std::sort(order.begin(), order.end());
    std::vector<Category> left;
    for (const std::size_t index : order)
        left.push_back(std::move(m_categories[index]));
    m_categories = std::move(left);
    reindex();
}

/// Makes room: values that lie close together become one.
void ChartAccumulator::coarsen()
{
    const auto real = [](const Category &category) { return realOf(category.value.view()).value_or(0); };
    double low = real(m_categories.front()), high = low;
    for (const Category &category : m_categories) {
        low = std::min(low, real(category));
        high = std::max(high, real(category));
    }
    m_width = std::max(2 * m_width, niceStep((high - low) / (static_cast<double>(m_most) / 8)));
    std::vector<Category> before = std::move(m_categories);
    m_categories.clear();
    m_categoryOf.clear();
    m_lastKey.clear();
    const std::string pending = m_key;
    m_all = 0;
    for (const Category &category : before) {
        m_key.clear();
        const Value cell = Value::of(std::floor(real(category) / m_width) * m_width);
        appendKey(cell, m_key);
        const auto [found, isNew] = m_categoryOf.emplace(m_key, m_categories.size());
        if (isNew) {
            m_categories.push_back({OwnedValue(cell), {}});
            ++m_all;
        }
        merge(m_categories[found->second], category);
    }
    m_key = pending;
}

double ChartAccumulator::figure(const Cell &cell) const
{
    switch (m_source.function) {
    case Aggregate::Average:
        return cell.count == 0 ? std::numeric_limits<double>::quiet_NaN() : (cell.sum + cell.lost) / static_cast<double>(cell.count);
    case Aggregate::Minimum:
        return cell.count == 0 ? std::numeric_limits<double>::quiet_NaN() : cell.smallest;
    case Aggregate::Maximum:
        return cell.count == 0 ? std::numeric_limits<double>::quiet_NaN() : cell.largest;
    case Aggregate::Count:
    case Aggregate::Sum:
    case Aggregate::Distinct:
    case Aggregate::Share:
    case Aggregate::Running:
        break;
    }
    return cell.sum + cell.lost;
}

double ChartAccumulator::total(const Category &category) const
{
    double sum = 0;
    for (const Cell &cell : category.cells)
        if (const double value = figure(cell); !std::isnan(value))
            sum += value;
    return sum;
}

/// Whether categories stand in an order of their own: times, and numbers where the picture has a scale from left to right.
bool ChartAccumulator::isOrdered() const
{
    switch (m_spec.category.type) {
    case ColumnType::Date:
    case ColumnType::DateTime:
    case ColumnType::Time:
        return true;
    case ColumnType::Text:
    case ColumnType::Integer:
    case ColumnType::Real:
    case ColumnType::Boolean:
    case ColumnType::Blob:
        break;
    }
    switch (m_spec.kind) {
    case ChartKind::Line:
    case ChartKind::Area:
    case ChartKind::Histogram:
    case ChartKind::Heat:
        return true;
    case ChartKind::Column:
    case ChartKind::StackedColumn:
        return std::all_of(m_categories.begin(), m_categories.end(),
                           [](const Category &category) { return category.value.view().isNull() || isNumber(category.value.view()); });
    case ChartKind::Bar:
    case ChartKind::StackedBar:
    case ChartKind::Pie:
        break;
    }
    return false;
}

std::string ChartAccumulator::shown(const ReportColumn &column, const Value &value) const
{
    std::string text;
    CellFormatter(column).append(value, text);
    for (const auto &[from, to] : column.words)
        if (from == text)
            return to;
    if (!text.empty())
        return text;
    return column.nullText.empty() ? std::string(kNoValue) : column.nullText;
}

/// Puts a histogram's values into bins of one width.
void ChartAccumulator::makeBins()
{
    if (m_categories.empty())
        return;
    const auto real = [](const Category &category) { return realOf(category.value.view()).value_or(0); };
    std::sort(m_categories.begin(), m_categories.end(), [&](const Category &a, const Category &b) { return real(a) < real(b); });
    const double low = real(m_categories.front()), high = real(m_categories.back());
    const bool areIntegers = std::all_of(m_categories.begin(), m_categories.end(),
                                         [&](const Category &category) { return real(category) == std::floor(real(category)); });
    if (low == high) {
        m_categories.front().value.set(Value::ofText(shown(m_spec.category, Value::of(low))));
        return;
    }
    double step = niceStep((high - low) / static_cast<double>(kBins));
    if (areIntegers)
        step = high - low < static_cast<double>(kFewBins) ? 1 : std::max(step, 1.0);
    const double first = std::floor(low / step);
    std::vector<Category> bins(static_cast<std::size_t>(std::floor(high / step) - first) + 1);
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const double from = (first + static_cast<double>(i)) * step;
        std::string text = shown(m_spec.category, Value::of(from));
        if (!areIntegers || step > 1)
            text += kNoValue + shown(m_spec.category, Value::of(areIntegers ? from + step - 1 : from + step));
        bins[i].value.set(Value::ofText(text));
    }
    for (const Category &category : m_categories)
        merge(bins[static_cast<std::size_t>(std::floor(real(category) / step) - first)], category);
    m_categories = std::move(bins);
    m_all = m_categories.size();
}

/// Days that no row is of stand between the others with nothing.
void ChartAccumulator::fillDays()
{
    std::vector<std::int64_t> days;
    for (const Category &category : m_categories) {
        const Value value = category.value.view();
        const auto time = value.kind == Value::Kind::Text ? parseIsoTime(value.text()) : std::nullopt;
        if (!time || !time->hasDate || time->hasTime)
            return;
        days.push_back(time->daysSince1970());
    }
    if (days.size() < 2)
        return;
    const auto [first, last] = std::minmax_element(days.begin(), days.end());
    const std::int64_t low = *first, high = *last;
    if (high - low >= kMostDays)
        return;
    std::vector<Category> filled(static_cast<std::size_t>(high - low) + 1);
    for (std::size_t i = 0; i < filled.size(); ++i)
        filled[i].value.set(Value::ofText(dayText(low + static_cast<std::int64_t>(i))));
    for (std::size_t i = 0; i < days.size(); ++i)
        filled[static_cast<std::size_t>(days[i] - low)].cells = std::move(m_categories[i].cells);
    m_categories = std::move(filled);
}

/// Leaves those categories that are shown, in the order in which they are, and the rest.
void ChartAccumulator::chooseCategories(ChartData &data)
{
    const bool ordered = isOrdered();
    const std::size_t most = m_spec.kind == ChartKind::Histogram || m_isHeatOfHours ? m_categories.size()
                             : m_spec.top > 0                                       ? m_spec.top
                                                                                    : (ordered ? kShownInOrder : kShownByValue);
    std::vector<std::size_t> order(m_categories.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::vector<double> totals;
    for (const Category &category : m_categories)
        totals.push_back(total(category));
    const auto isLarger = [&](std::size_t a, std::size_t b) { return totals[a] > totals[b]; };
    if (!ordered || order.size() > most)
        std::stable_sort(order.begin(), order.end(), isLarger);
    for (std::size_t i = most; i < order.size(); ++i)
        merge(m_rest, m_categories[order[i]]);
    const bool isLimited = order.size() > most || m_isFolded;
    order.resize(std::min(order.size(), most));
    if (ordered && m_spec.kind != ChartKind::Histogram && !m_isHeatOfHours) {
        const bool areNumbers = std::all_of(m_categories.begin(), m_categories.end(), [](const Category &category) {
            return category.value.view().isNull() || isNumber(category.value.view());
        });
        const bool areTimes = m_spec.category.type == ColumnType::Date || m_spec.category.type == ColumnType::DateTime ||
                              m_spec.category.type == ColumnType::Time;
        // Other texts of a line stand as the rows gave them.
        std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            const Value left = m_categories[a].value.view(), right = m_categories[b].value.view();
            if (areNumbers && !left.isNull() && !right.isNull())
                return compareNumbers(left, right) < 0;
            return areTimes || areNumbers ? compareValues(left, right) < 0 : a < b;
        });
    }
    std::vector<Category> chosen;
    for (const std::size_t index : order)
        chosen.push_back(std::move(m_categories[index]));
    m_categories = std::move(chosen);
    for (const Category &category : m_categories)
        data.categories.push_back(m_spec.kind == ChartKind::Histogram || m_isHeatOfHours ? std::string(category.value.view().text())
                                                                                         : shown(m_spec.category, category.value.view()));
    data.otherCategory = isLimited && (m_spec.other || m_spec.top == 0);
    if (data.otherCategory) {
        data.categories.emplace_back(kOther);
        m_categories.push_back(std::move(m_rest));
    }
}

void ChartAccumulator::chooseSeries(ChartData &data) const
{
    std::size_t series = m_source.series ? m_series.size() + (m_hasMoreSeries ? 1 : 0) : std::max<std::size_t>(m_source.values.size(), 1);
    if (m_isHeatOfHours)
        series = kWeekdays.size();
    const auto cellOf = [](const Category &category, std::size_t index) {
        return index < category.cells.size() ? category.cells[index] : Cell{};
    };
    std::vector<double> totals(series, 0);
    for (const Category &category : m_categories)
        for (std::size_t i = 0; i < series; ++i)
            if (const double value = figure(cellOf(category, i)); !std::isnan(value))
                totals[i] += value;
    std::vector<std::size_t> order(series);
    std::iota(order.begin(), order.end(), std::size_t{0});
    const std::size_t most = m_spec.kind == ChartKind::Heat ? series : kMostSeries;
    std::size_t named = series;
    if (series > most || (m_source.series && !m_isHeatOfHours)) {
        // The rest of more series than the table holds stands last.
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            const bool isRestA = m_source.series && a >= m_series.size(), isRestB = m_source.series && b >= m_series.size();
            if (isRestA || isRestB)
                return isRestB && !isRestA;
            return m_spec.kind == ChartKind::Heat ? compareValues(m_series[a].view(), m_series[b].view()) < 0 : totals[a] > totals[b];
        });
        named = std::min(series, most);
    }
    const auto nameOf = [&](std::size_t index) {
        if (m_isHeatOfHours)
            return std::string(kWeekdays[index]);
        if (m_source.series)
            return index < m_series.size() ? shown(m_source.seriesColumn, m_series[index].view()) : std::string(kOther);
        return series > 1 && index < m_source.names.size() ? m_source.names[index] : std::string();
    };
    for (std::size_t i = 0; i < named; ++i) {
        ChartSeries &made = data.series.emplace_back();
        made.name = nameOf(order[i]);
        for (const Category &category : m_categories)
            made.values.push_back(figure(cellOf(category, order[i])));
    }
    if (named == series)
        return;
    data.otherSeries = true;
    ChartSeries &rest = data.series.emplace_back();
    rest.name = kOther;
    for (const Category &category : m_categories) {
        Cell cell;
        for (std::size_t i = named; i < series; ++i)
            cell.add(cellOf(category, order[i]));
        rest.values.push_back(figure(cell));
    }
}

void ChartAccumulator::markPartialDays(ChartData &data) const
{
    const std::size_t days = m_categories.size() - (data.otherCategory ? 1 : 0);
    if (!isByDay() || days == 0)
        return;
    constexpr std::string_view kMidnight = "00:00:00";
    const auto cuts = [&](const std::string &end, const Category &day) {
        return end.size() > kDateCharacters && end.substr(0, kDateCharacters) == day.value.view().text() &&
               std::string_view(end).substr(kDateCharacters + 1, kMidnight.size()) != kMidnight;
    };
    data.firstPartial = cuts(m_from, m_categories.front());
    data.lastPartial = cuts(m_to, m_categories[days - 1]);
}

ChartData ChartAccumulator::finish(std::vector<std::string> &notices)
{
    ChartData data;
    if (m_spec.kind == ChartKind::Histogram)
        makeBins();
    if (isByDay() && !m_isFolded && (m_spec.kind == ChartKind::Line || m_spec.kind == ChartKind::Area))
        fillDays();
    data.allCategories = m_all;
    chooseCategories(data);
    chooseSeries(data);
    markPartialDays(data);
    const std::string name = m_spec.title.empty() ? std::string("A chart") : "The chart \"" + m_spec.title + '"';
    if (m_isFolded)
        notices.push_back(name + " has more than " + numbers::counted(static_cast<std::int64_t>(m_most), "category", "categories") +
                          ": the smallest were put together as they came, so that small figures may be too low.");
    if (m_leftOut > 0)
        notices.push_back(name + " leaves out " + numbers::counted(m_leftOut, "value", "values") + " that cannot be drawn.");
    return data;
}

} // namespace qm
