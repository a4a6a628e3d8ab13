#include "engine/run/RowShaper.h"

#include "documents/NumberText.h"

#include <algorithm>

namespace qm {

namespace {

/// All counters of different values together have so much memory.
constexpr std::size_t kDistinctMemory = std::size_t{16} << 20, kLeastDistinctMemory = std::size_t{1} << 20;

bool addsUp(Aggregate function)
{
    switch (function) {
    case Aggregate::Sum:
    case Aggregate::Average:
    case Aggregate::Share:
    case Aggregate::Running:
        return true;
    case Aggregate::Count:
    case Aggregate::Minimum:
    case Aggregate::Maximum:
    case Aggregate::Distinct:
        return false;
    }
    return false;
}

} // namespace

RowShaper::RowShaper(const ReportShape &shape, const ShapeSources &sources, ReportWriter &writer)
    : m_shape(shape), m_sources(sources), m_writer(writer), m_levels(sources.groups.size() + 1), m_cells(sources.shown.size())
{
    m_inOrder = sources.shown.size() == sources.columns.size();
    for (std::size_t i = 0; i < sources.shown.size(); ++i)
        m_inOrder = m_inOrder && sources.shown[i] == i;
    for (const SumSource &sum : sources.totals)
        askFor(sum, m_levels.front());
    for (const SumSource &sum : sources.keyFigures)
        askFor(sum, m_levels.front());
    std::size_t counters = m_levels.front().counted.size();
    for (std::size_t i = 0; i < sources.groups.size(); ++i) {
        for (const SumSource &sum : sources.groups[i].subtotals) {
            askFor(sum, m_levels[i + 1]);
            m_previewed = m_previewed || sum.function == Aggregate::Share;
        }
        counters += m_levels[i + 1].counted.size();
    }
    const std::size_t memory = std::max(kLeastDistinctMemory, kDistinctMemory / std::max<std::size_t>(counters, 1));
    for (Level &level : m_levels) {
        level.tallies.resize(m_measures.size());
        level.running.resize(m_measures.size());
        for (std::size_t i = 0; i < level.counted.size(); ++i)
            level.distinct.emplace_back(memory);
    }
    m_previewSums.resize(m_measures.size());
    for (std::size_t i = 0; i < sources.charts.size(); ++i)
        m_charts.emplace_back(shape.charts[i], sources.charts[i], sources.from, sources.to);
    if (sources.top && shape.top) {
        ChartSpec largest;
        largest.category = shape.top->category;
        largest.value = shape.top->value;
        largest.top = shape.top->most;
        largest.other = true;
        m_top.emplace(largest, *sources.top, std::string(), std::string());
    }
}

void RowShaper::askFor(const SumSource &sum, Level &level)
{
    if (!sum.column)
        return;
    const auto found =
        std::find_if(m_measures.begin(), m_measures.end(), [&](const Measure &known) { return known.column == *sum.column; });
    Measure &measure = found == m_measures.end() ? m_measures.emplace_back(Measure{*sum.column, false, false}) : *found;
    measure.sums = measure.sums || addsUp(sum.function);
    measure.extremes = measure.extremes || sum.function == Aggregate::Minimum || sum.function == Aggregate::Maximum;
    if (sum.function == Aggregate::Distinct && std::find(level.counted.begin(), level.counted.end(), *sum.column) == level.counted.end())
        level.counted.push_back(*sum.column);
}

std::size_t RowShaper::measureOf(std::size_t column) const
{
    const auto found = std::find_if(m_measures.begin(), m_measures.end(), [&](const Measure &known) { return known.column == column; });
    return static_cast<std::size_t>(found - m_measures.begin());
}

bool RowShaper::isNumeric(const Measure &measure) const
{
    return m_sources.columns[measure.column].numeric;
}

void RowShaper::preview(std::span<const Value> row)
{
    ++m_previewRows;
    for (std::size_t i = 0; i < m_measures.size(); ++i)
        if (m_measures[i].sums)
            m_previewSums[i].add(row[m_measures[i].column], m_sources.columns[m_measures[i].column].decimal);
}

void RowShaper::add(Tally &tally, const Measure &measure, const Value &value) const
{
    if (value.isNull())
        return;
    ++tally.values;
    bool isLeftOut = measure.sums && !tally.sum.add(value, m_sources.columns[measure.column].decimal);
    if (measure.extremes) {
        if (isNumeric(measure) && !isNumber(value))
            isLeftOut = true;
        else
            addExtreme(tally, measure, value);
    }
    tally.leftOut += isLeftOut ? 1 : 0;
}

void RowShaper::addExtreme(Tally &tally, const Measure &measure, const Value &value) const
{
    const auto order = [&](const OwnedValue &known) {
        return isNumeric(measure) ? compareNumbers(value, known.view()) : compareValues(value, known.view());
    };
    if (!tally.hasExtremes || order(tally.smallest) < 0)
        tally.smallest.set(value);
    if (!tally.hasExtremes || order(tally.largest) > 0)
        tally.largest.set(value);
    tally.hasExtremes = true;
}

void RowShaper::addInto(Level &outer, const Level &inner) const
{
    outer.rows += inner.rows;
    for (std::size_t i = 0; i < m_measures.size(); ++i) {
        Tally &sum = outer.tallies[i];
        const Tally &part = inner.tallies[i];
        sum.values += part.values;
        sum.leftOut += part.leftOut;
        sum.sum.add(part.sum);
        if (part.hasExtremes) {
            addExtreme(sum, m_measures[i], part.smallest.view());
            addExtreme(sum, m_measures[i], part.largest.view());
        }
    }
}

void RowShaper::beginGroups(std::size_t from, std::span<const Value> row)
{
    for (std::size_t i = from; i < m_sources.groups.size(); ++i) {
        Level &level = m_levels[i + 1];
        level.key.set(row[m_sources.groups[i].key.column]);
        level.rows = 0;
        level.tallies.assign(m_measures.size(), Tally{});
        for (DistinctCounter &counter : level.distinct)
            counter.clear();
        m_writer.beginGroup(i, level.key.view());
    }
}

void RowShaper::endGroups(std::size_t from, bool cut)
{
    for (std::size_t i = m_sources.groups.size(); i-- > from;) {
        Level &level = m_levels[i + 1];
        level.runningRows += level.rows;
        for (std::size_t measure = 0; measure < m_measures.size(); ++measure)
            level.running[measure].add(level.tallies[measure].sum);
        addInto(m_levels[i], level);
        GroupEnd group;
        group.level = i;
        group.key = level.key.view();
        group.rows = level.rows;
        group.subtotals = valuesOf(m_sources.groups[i].subtotals, level, false, m_groupValues, m_groupViews);
        group.cut = cut || m_sources.cutBeforeOrdering;
        m_writer.endGroup(group);
    }
}

void RowShaper::row(std::span<const Value> row)
{
    const std::size_t groups = m_sources.groups.size();
    if (groups > 0) {
        std::size_t same = 0;
        if (m_levels.back().rows > 0) {
            while (same < groups && isSameValue(row[m_sources.groups[same].key.column], m_levels[same + 1].key.view()))
                ++same;
            if (same < groups)
                endGroups(same, false);
        }
        if (same < groups)
            beginGroups(same, row);
    }
    Level &innermost = m_levels.back();
    ++innermost.rows;
    for (std::size_t i = 0; i < m_measures.size(); ++i)
        add(innermost.tallies[i], m_measures[i], row[m_measures[i].column]);
    for (Level &level : m_levels)
        for (std::size_t i = 0; i < level.counted.size(); ++i)
            level.distinct[i].add(row[level.counted[i]]);
    for (ChartAccumulator &chart : m_charts)
        chart.add(row);
    if (m_top)
        m_top->add(row);
    if (m_inOrder) {
        m_writer.row(row);
        return;
    }
    for (std::size_t i = 0; i < m_cells.size(); ++i)
        m_cells[i] = row[m_sources.shown[i]];
    m_writer.row(m_cells);
}

OwnedValue RowShaper::shareOf(const SumSource &sum, const Level &level, bool isReport) const
{
    double part = 0, whole = 0;
    if (sum.column) {
        const std::size_t measure = measureOf(*sum.column);
        if (level.tallies[measure].sum.count() == 0)
            return {};
        part = level.tallies[measure].sum.real();
        whole = isReport ? part : m_previewSums[measure].real();
    } else {
        part = static_cast<double>(level.rows);
        whole = isReport ? part : static_cast<double>(m_previewRows);
    }
    return whole == 0 ? OwnedValue() : OwnedValue(Value::of(part / whole));
}

OwnedValue RowShaper::valueOf(const SumSource &sum, Level &level, bool isReport) const
{
    if (sum.function == Aggregate::Share)
        return shareOf(sum, level, isReport);
    if (!sum.column)
        return OwnedValue(Value::of(sum.function == Aggregate::Running && !isReport ? level.runningRows : level.rows));
    const std::size_t measure = measureOf(*sum.column);
    const Tally &tally = level.tallies[measure];
    switch (sum.function) {
    case Aggregate::Count:
        return OwnedValue(Value::of(tally.values));
    case Aggregate::Sum:
        return tally.sum.sum();
    case Aggregate::Average:
        return OwnedValue(tally.sum.average());
    case Aggregate::Minimum:
        return tally.smallest;
    case Aggregate::Maximum:
        return tally.largest;
    case Aggregate::Distinct: {
        const auto counted = std::find(level.counted.begin(), level.counted.end(), *sum.column);
        return OwnedValue(Value::of(level.distinct[static_cast<std::size_t>(counted - level.counted.begin())].count()));
    }
    case Aggregate::Running:
        return isReport ? tally.sum.sum() : level.running[measure].sum();
    case Aggregate::Share:
        break;
    }
    return {};
}

std::span<const Value> RowShaper::valuesOf(const std::vector<SumSource> &sums, Level &level, bool isReport, std::vector<OwnedValue> &owned,
                                           std::vector<Value> &views) const
{
    owned.clear();
    views.clear();
    for (const SumSource &sum : sums)
        owned.push_back(valueOf(sum, level, isReport));
    for (const OwnedValue &value : owned)
        views.push_back(value.view());
    return views;
}

std::vector<std::string> RowShaper::notices() const
{
    std::vector<std::string> notices;
    for (std::size_t i = 0; i < m_measures.size(); ++i)
        if (const std::int64_t leftOut = m_levels.front().tallies[i].leftOut; leftOut > 0)
            notices.push_back(numbers::counted(leftOut, "value", "values") + " of \"" + m_sources.columns[m_measures[i].column].caption +
                              (leftOut == 1 ? "\" is no number and is left out of what is added up."
                                            : "\" are no numbers and are left out of what is added up."));
    return notices;
}

void RowShaper::finish(ReportTail &tail)
{
    if (m_levels.size() > 1 && m_levels.back().rows > 0)
        endGroups(0, tail.truncated);
    Level &report = m_levels.front();
    tail.totals = valuesOf(m_sources.totals, report, true, m_totals, m_totalViews);
    tail.keyFigures = valuesOf(m_sources.keyFigures, report, true, m_keyFigures, m_keyFigureViews);
    tail.notices = notices();
    for (ChartAccumulator &chart : m_charts)
        m_chartData.push_back(chart.finish(tail.notices));
    tail.charts = m_chartData;
    if (m_top) {
        m_topData = m_top->finish(tail.notices);
        tail.top = &m_topData;
    }
}

} // namespace qm
