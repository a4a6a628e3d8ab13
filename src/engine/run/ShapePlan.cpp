#include "engine/run/ShapePlan.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qm {

namespace {

constexpr char kCountFormat[] = "#,##0";

struct ChartWord
{
    const char *word;
    ChartKind kind;
};
constexpr std::array kChartKinds{ChartWord{"bar", ChartKind::Bar},
                                 ChartWord{"column", ChartKind::Column},
                                 ChartWord{"stacked-bar", ChartKind::StackedBar},
                                 ChartWord{"stacked-column", ChartKind::StackedColumn},
                                 ChartWord{"line", ChartKind::Line},
                                 ChartWord{"area", ChartKind::Area},
                                 ChartWord{"pie", ChartKind::Pie},
                                 ChartWord{"heat", ChartKind::Heat},
                                 ChartWord{"histogram", ChartKind::Histogram}};

KeyOrder keyOrder(GroupOrder order)
{
    switch (order) {
    case GroupOrder::Automatic:
        return KeyOrder::Automatic;
    case GroupOrder::Ascending:
        return KeyOrder::Ascending;
    case GroupOrder::Descending:
        return KeyOrder::Descending;
    case GroupOrder::Rows:
        return KeyOrder::Rows;
    }
    return KeyOrder::Automatic;
}

bool isDeclaredAs(const std::string &declared, std::initializer_list<const char *> words)
{
    return std::any_of(words.begin(), words.end(), [&](const char *word) { return declared.find(word) != std::string::npos; });
}

bool isNumberType(ColumnType type)
{
    return type == ColumnType::Integer || type == ColumnType::Real || type == ColumnType::Boolean;
}

std::string madeCaption(Aggregate function, const std::string &column)
{
    switch (function) {
    case Aggregate::Count:
        return column.empty() ? "Rows" : "Count of " + column;
    case Aggregate::Sum:
        return "Sum of " + column;
    case Aggregate::Average:
        return "Average of " + column;
    case Aggregate::Minimum:
        return "Minimum of " + column;
    case Aggregate::Maximum:
        return "Maximum of " + column;
    case Aggregate::Distinct:
        return "Different values of " + column;
    case Aggregate::Share:
        return "Share of " + (column.empty() ? std::string("rows") : column);
    case Aggregate::Running:
        return "Running total of " + (column.empty() ? std::string("rows") : column);
    }
    return column;
}

/// A pattern with one more digit behind the point where it has none.
std::string averageFormat(const ReportColumn &column)
{
    const std::string &format = column.format;
    if (format == "boolean")
        return "percent"; // how many of a hundred are true
    if (format.empty())
        return column.type == ColumnType::Integer ? "#,##0.0" : "#,##0.0##";
    const auto lastDigit = format.find_last_of("0#");
    if (lastDigit == std::string::npos || format.find('.') != std::string::npos || format.find_first_of("\"\\;%") != std::string::npos)
        return format;
    return format.substr(0, lastDigit + 1) + ".0" + format.substr(lastDigit + 1);
}

void makeNumber(ReportColumn &column, ColumnType type, std::string format)
{
    column.type = type;
    column.format = std::move(format);
    column.words.clear();
    column.rules.clear();
    if (column.alignment == CellAlignment::Left)
        column.alignment = CellAlignment::Right;
}

/// How the value of \p function over \p column is shown.
ReportColumn valueColumn(Aggregate function, ReportColumn column)
{
    column.rules.clear();
    const bool isBoolean = column.type == ColumnType::Boolean || column.format == "boolean";
    switch (function) {
    case Aggregate::Count:
    case Aggregate::Distinct:
        makeNumber(column, ColumnType::Integer, kCountFormat);
        break;
    case Aggregate::Share:
        makeNumber(column, ColumnType::Real, "percent");
        break;
    case Aggregate::Average:
        makeNumber(column, ColumnType::Real, averageFormat(column));
        break;
    case Aggregate::Sum:
    case Aggregate::Running:
        if (isBoolean || (column.type == ColumnType::Integer && column.format.empty()))
            makeNumber(column, ColumnType::Integer, kCountFormat);
        else
            makeNumber(column, isNumberType(column.type) ? column.type : ColumnType::Real, column.format);
        break;
    case Aggregate::Minimum:
    case Aggregate::Maximum:
        break;
    }
    return column;
}

ReportColumn rowsColumn()
{
    ReportColumn column;
    column.alignment = CellAlignment::Right;
    column.type = ColumnType::Integer;
    column.format = kCountFormat;
    return column;
}

class Planner final
{
public:
    Planner(const ReportLayout &layout, const ResultColumns &result, ReportShape &shape, ShapeSources &sources)
        : m_layout(layout), m_result(result), m_shape(shape), m_sources(sources)
    {
    }

    void describeColumns()
    {
        for (std::size_t i = 0; i < m_result.columns.size(); ++i) {
            const ReportColumn column = m_result.resolved(i);
            const std::string &declared = m_result.columns[i].declaredType;
            RowColumn &described = m_sources.columns.emplace_back();
            described.caption = column.caption;
            described.decimal = isDeclaredAs(declared, {"DEC", "NUMERIC"});
            described.numeric = described.decimal || isNumberType(column.type) || isDeclaredAs(declared, {"INT", "REAL", "FLOA", "DOUB"});
        }
    }

    void planGroups(bool withSums)
    {
        for (const LayoutGroup &group : m_layout.groups) {
            const std::size_t index = m_result.indexOf(group.field);
            GroupLevel &level = m_shape.groups.emplace_back();
            level.column = m_result.resolved(index);
            level.shown = shownAt(index);
            level.newPage = group.newPage;
            level.heading = group.heading || !level.shown;
            level.keepTogether = group.keepTogether;
            level.suppressRepeats = group.suppressRepeats;
            GroupSource &source = m_sources.groups.emplace_back();
            source.key = {index, keyOrder(group.order)};
            if (withSums)
                for (const LayoutAggregate &subtotal : group.subtotals)
                    planSum(subtotal, level.subtotals, source.subtotals);
        }
    }

    void planTotals()
    {
        for (const LayoutAggregate &total : m_layout.totals)
            planSum(total, m_shape.totals, m_sources.totals);
        for (const LayoutFigure &figure : m_layout.figures) {
            std::vector<Subtotal> made;
            planSum({figure.field, figure.function, figure.caption}, made, m_sources.keyFigures);
            if (!figure.format.isEmpty())
                made.front().value.format = figure.format.toStdString();
            m_shape.keyFigures.push_back({made.front().caption, made.front().value});
        }
    }

    void planCharts()
    {
        for (const LayoutChart &chart : m_layout.charts)
            if (const auto kind = kindOf(chart.kind); kind && !chart.category.isEmpty())
                planChart(chart, *kind);
        if (!m_layout.top.field.isEmpty())
            planTop();
    }

    /// Columns that groups and sums are made of and the report does not show follow those it shows.
    void keepHidden()
    {
        std::vector<std::size_t> needed;
        const auto need = [&](std::size_t index) {
            if (!shownAt(index) && std::find(needed.begin(), needed.end(), index) == needed.end())
                needed.push_back(index);
        };
        const auto needSums = [&](const std::vector<SumSource> &sums) {
            for (const SumSource &sum : sums)
                if (sum.column)
                    need(*sum.column);
        };
        const auto needChart = [&](const ChartSource &chart) {
            need(chart.category);
            if (chart.series)
                need(*chart.series);
            std::for_each(chart.values.begin(), chart.values.end(), need);
        };
        for (const GroupSource &group : m_sources.groups) {
            need(group.key.column);
            needSums(group.subtotals);
        }
        needSums(m_sources.totals);
        needSums(m_sources.keyFigures);
        std::for_each(m_sources.charts.begin(), m_sources.charts.end(), needChart);
        if (m_sources.top)
            needChart(*m_sources.top);
        for (const std::size_t index : needed) {
            m_shape.columns.push_back(m_result.resolved(index));
            m_sources.shown.push_back(index);
        }
        m_shape.hidden = needed.size();
    }

private:
    [[nodiscard]] std::optional<std::size_t> shownAt(std::size_t index) const
    {
        const auto found = std::find(m_sources.shown.begin(), m_sources.shown.end(), index);
        return found == m_sources.shown.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - m_sources.shown.begin()));
    }

    [[nodiscard]] static std::optional<ChartKind> kindOf(const QString &word)
    {
        for (const ChartWord &known : kChartKinds)
            if (word == QLatin1String(known.word))
                return known.kind;
        return std::nullopt;
    }

    void planSum(const LayoutAggregate &asked, std::vector<Subtotal> &shape, std::vector<SumSource> &sources) const
    {
        Subtotal &made = shape.emplace_back();
        SumSource &source = sources.emplace_back();
        made.function = source.function = asked.function;
        made.value = rowsColumn();
        std::string name;
        if (!asked.field.isEmpty()) {
            const std::size_t index = m_result.indexOf(asked.field);
            source.column = index;
            made.column = shownAt(index);
            const ReportColumn column = m_result.resolved(index);
            name = column.caption;
            made.value = valueColumn(asked.function, column);
        } else if (asked.function == Aggregate::Share) {
            made.value = valueColumn(Aggregate::Share, made.value);
        }
        made.caption = asked.caption.isEmpty() ? madeCaption(asked.function, name) : asked.caption.toStdString();
        made.value.caption = made.caption;
    }

    void planChart(const LayoutChart &chart, ChartKind kind)
    {
        ChartSpec &spec = m_shape.charts.emplace_back();
        ChartSource &source = m_sources.charts.emplace_back();
        spec.kind = kind;
        spec.title = chart.title.toStdString();
        spec.categoryTitle = chart.categoryTitle.toStdString();
        spec.valueTitle = chart.valueTitle.toStdString();
        spec.top = static_cast<std::size_t>(std::max(chart.top, 0));
        spec.other = chart.other;
        source.category = m_result.indexOf(chart.category);
        spec.category = m_result.resolved(source.category);
        if (!chart.series.isEmpty()) {
            source.series = m_result.indexOf(chart.series);
            source.seriesColumn = m_result.resolved(*source.series);
        }
        spec.value = rowsColumn();
        spec.value.caption = madeCaption(Aggregate::Count, {});
        for (const QString &value : chart.values) {
            const std::size_t index = m_result.indexOf(value);
            const ReportColumn column = m_result.resolved(index);
            if (source.values.empty())
                spec.value = valueColumn(Aggregate::Sum, column);
            source.values.push_back(index);
            source.names.push_back(column.caption);
        }
    }

    void planTop()
    {
        const LayoutTop &top = m_layout.top;
        ChartSource &source = m_sources.top.emplace();
        TopList &list = m_shape.top.emplace();
        source.category = m_result.indexOf(top.field);
        source.function = top.function;
        list.category = m_result.resolved(source.category);
        list.most = static_cast<std::size_t>(std::max(top.most, 1));
        list.value = rowsColumn();
        std::string name;
        if (!top.value.isEmpty()) {
            source.values = {m_result.indexOf(top.value)};
            list.value = m_result.resolved(source.values.front());
            name = list.value.caption;
            list.value = valueColumn(top.function, list.value);
        }
        list.value.caption = madeCaption(top.function, name);
        list.caption = top.caption.isEmpty() ? list.category.caption + ": " + list.value.caption : top.caption.toStdString();
    }

    const ReportLayout &m_layout;
    const ResultColumns &m_result;
    ReportShape &m_shape;
    ShapeSources &m_sources;
};

} // namespace

void planShape(const ReportLayout &layout, const ResultColumns &result, const RunFacts &facts, ShapeUse use, ReportShape &shape,
               ShapeSources &sources)
{
    Planner planner(layout, result, shape, sources);
    planner.describeColumns();
    sources.from = facts.dateFrom.toStdString();
    sources.to = facts.dateTo.toStdString();
    switch (use) {
    case ShapeUse::RowsOnly:
        return;
    case ShapeUse::OrderOnly:
        planner.planGroups(false);
        return;
    case ShapeUse::Shown:
    case ShapeUse::Kept:
        planner.planGroups(true);
        planner.planTotals();
        planner.planCharts();
        break;
    }
    if (use == ShapeUse::Kept)
        planner.keepHidden();
}

void settleHeadings(ReportShape &shape, const ShapeSources &sources, std::size_t rows, bool whole,
                    const std::function<std::span<const Value>(std::size_t)> &row)
{
    for (std::size_t level = 0; level < shape.groups.size(); ++level) {
        GroupLevel &group = shape.groups[level];
        if (!group.shown || !group.heading || group.newPage)
            continue;
        std::size_t groups = 0, single = 0, length = 0;
        const auto end = [&] {
            groups += length > 0 ? 1 : 0;
            single += length == 1 ? 1 : 0;
            length = 0;
        };
        for (std::size_t i = 0; i < rows; ++i) {
            for (std::size_t key = 0; i > 0 && key <= level; ++key) {
                const std::size_t column = sources.groups[key].key.column;
                if (!isSameValue(row(i)[column], row(i - 1)[column])) {
                    end();
                    break;
                }
            }
            ++length;
        }
        if (whole) // else the last group may go on
            end();
        group.heading = single * 2 <= groups;
    }
}

} // namespace qm
