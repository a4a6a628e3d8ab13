/// \file
/// What the groups, sums and charts of a report's shape are made of: columns of the rows, shown or not.
#pragma once

#include "documents/ReportShape.h"
#include "engine/rows/OrderedRows.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace qm {

struct RowColumn
{
    std::string caption;
    bool numeric = false; ///< of numbers: texts in it are compared as numbers where they are such
    bool decimal = false; ///< reals in it are exact decimals
};

struct SumSource
{
    Aggregate function = Aggregate::Count;
    std::optional<std::size_t> column; ///< of the rows; nothing: rows
};

struct GroupSource
{
    RowKey key;
    std::vector<SumSource> subtotals;
};

struct ChartSource
{
    std::size_t category = 0;
    std::optional<std::size_t> series; ///< its values become series
    ReportColumn seriesColumn;         ///< how they are written
    std::vector<std::size_t> values;   ///< none: rows are counted
    std::vector<std::string> names;    ///< of the values' series
    Aggregate function = Aggregate::Sum;
};

/// Goes with one ReportShape: groups, totals, keyFigures and charts stand in the same order in both.
struct ShapeSources
{
    std::vector<RowColumn> columns = {}; ///< of the rows
    std::vector<std::size_t> shown = {}; ///< for each column of the shape, the column of the rows
    std::vector<GroupSource> groups = {};
    std::vector<SumSource> totals = {}, keyFigures = {};
    std::vector<ChartSource> charts = {};
    std::optional<ChartSource> top = std::nullopt;
    std::string from = {}, to = {}; ///< the report's period in UTC, "YYYY-MM-DD HH:MM:SS"; empty without one
    /// A row limit cut the rows off before they were put into the order of their groups: each group may lack some.
    bool cutBeforeOrdering = false;

    [[nodiscard]] bool isPlain() const { return groups.empty() && totals.empty() && keyFigures.empty() && charts.empty() && !top; }
    [[nodiscard]] std::vector<RowKey> keys() const;
};

/// The same for rows that hold just the shape's columns, in their order.
[[nodiscard]] ShapeSources ofShownRows(const ShapeSources &sources);

} // namespace qm
