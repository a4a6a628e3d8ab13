/// \file
/// What a report is made of beyond its head: columns, groups, totals, charts. All of it is known before the first row.
#pragma once

#include "documents/ChartSpec.h"
#include "documents/ReportColumn.h"
#include "framework/ReportLayout.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qm {

/// One thing that is added up over a group or over the whole report.
struct Subtotal
{
    Aggregate function = Aggregate::Count;
    /// The report's column under which the value stands; nothing: it stands beside its caption (a count of rows, a column that is not
    /// shown).
    std::optional<std::size_t> column;
    std::string caption;
    ReportColumn value; ///< how the value is shown: its type, format and alignment
};

struct GroupLevel
{
    ReportColumn column;              ///< how the group's value is shown; its caption stands before it
    std::optional<std::size_t> shown; ///< the report's column that holds the same value in each row; nothing: none does
    bool newPage = false;
    bool heading = true;         ///< false: no heading; the value stands in its own column
    bool keepTogether = false;   ///< where a page holds the whole group
    bool suppressRepeats = true; ///< the column \c shown says nothing in rows below the heading or the first of them
    std::vector<Subtotal> subtotals;
};

/// A figure on the first page, above the rows.
struct KeyFigure
{
    std::string caption;
    ReportColumn value;
};

/// The largest values of a column, beside the chart of the first page.
struct TopList
{
    std::string caption;
    ReportColumn category, value;
    std::size_t most = 8;
};

struct ReportShape
{
    std::vector<ReportColumn> columns = {}; ///< in the order in which they are shown
    /// How many columns at the end of \c columns are kept but not shown. Only a viewer is given such: it groups anew from them.
    std::size_t hidden = 0;
    std::vector<GroupLevel> groups = {}; ///< the outermost first
    std::vector<Subtotal> totals = {};
    std::vector<ChartSpec> charts = {};
    std::vector<KeyFigure> keyFigures = {};
    std::optional<TopList> top = std::nullopt;
};

} // namespace qm
