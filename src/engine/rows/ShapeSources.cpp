#include "engine/rows/ShapeSources.h"

namespace qm {

std::vector<RowKey> ShapeSources::keys() const
{
    std::vector<RowKey> keys;
    for (const GroupSource &group : groups)
        keys.push_back(group.key);
    return keys;
}

ShapeSources ofShownRows(const ShapeSources &sources)
{
    std::vector<std::size_t> place(sources.columns.size(), 0);
    ShapeSources moved = sources;
    for (std::size_t i = sources.shown.size(); i-- > 0;) {
        place[sources.shown[i]] = i;
        moved.shown[i] = i;
    }
    moved.columns.clear();
    for (const std::size_t column : sources.shown)
        moved.columns.push_back(sources.columns[column]);
    const auto move = [&](SumSource &sum) {
        if (sum.column)
            sum.column = place[*sum.column];
    };
    const auto moveChart = [&](ChartSource &chart) {
        chart.category = place[chart.category];
        if (chart.series)
            chart.series = place[*chart.series];
        for (std::size_t &value : chart.values)
            value = place[value];
    };
    for (GroupSource &group : moved.groups) {
        group.key.column = place[group.key.column];
        for (SumSource &sum : group.subtotals)
            move(sum);
    }
    for (SumSource &sum : moved.totals)
        move(sum);
    for (SumSource &sum : moved.keyFigures)
        move(sum);
    for (ChartSource &chart : moved.charts)
        moveChart(chart);
    if (moved.top)
        moveChart(*moved.top);
    return moved;
}

} // namespace qm
