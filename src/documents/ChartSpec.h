/// \file
/// A chart: what is asked for before the first row, and its figures, which are known after the last.
#pragma once

#include "documents/ReportColumn.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qm {

enum class ChartKind : std::uint8_t { Bar, Column, StackedBar, StackedColumn, Line, Area, Pie, Heat, Histogram };

struct ChartSpec
{
    ChartKind kind = ChartKind::Bar;
    std::string title;
    std::string categoryTitle, valueTitle; ///< of the axes; empty: none
    ReportColumn category;                 ///< how categories are written; dates and times stand in their order, others by value
    ReportColumn value;                    ///< how values are written
    std::size_t top = 0;                   ///< only the largest so many categories; 0: all that are kept
    bool other = false;                    ///< the rest is summed as "Other"
};

struct ChartSeries
{
    std::string name;           ///< empty for the only one
    std::vector<double> values; ///< one per category; NaN: none
};

/// Bounded: what is beyond the largest categories and series stands in the last of each, where that is asked for.
struct ChartData
{
    std::vector<std::string> categories; ///< as shown
    std::vector<ChartSeries> series;
    bool otherCategory = false, otherSeries = false; ///< the last of them is the rest
    std::size_t allCategories = 0;                   ///< how many there are in the rows
    bool firstPartial = false, lastPartial = false;  ///< the period cuts into the first or last day
};

} // namespace qm
