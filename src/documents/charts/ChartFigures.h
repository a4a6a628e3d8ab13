/// \file
/// The figures of a chart as they are drawn: cleaned, in order, cut down to what a picture holds.
#pragma once

#include "documents/ChartSpec.h"
#include "documents/charts/ChartColours.h"

#include <string>
#include <vector>

namespace qm::charts {

struct FigureSeries
{
    std::string name;
    std::vector<double> values; ///< one per category, within 1e300 of zero; NaN: none
    ChartColour colour = ChartColour::Series1;
    bool other = false; ///< the rest; hatched
};

struct Figures
{
    ChartKind kind = ChartKind::Bar;
    std::vector<std::string> categories; ///< one line each
    std::vector<FigureSeries> series;    ///< at least one
    bool otherCategory = false;          ///< the last is the rest
    std::size_t all = 0;                 ///< categories in the rows
    bool inTime = false;                 ///< the categories are dates or times
    bool inOrder = false;                ///< they stand in an order of their own, not by value
    bool firstPartial = false, lastPartial = false;
    bool seriesMerged = false; ///< some of them are together in Other
    bool whole = false;        ///< all values are whole numbers
    bool additive = false;     ///< categories may be put together in "Other"

    [[nodiscard]] bool empty() const; ///< there is no value at all
    [[nodiscard]] bool stacked() const
    {
        return kind == ChartKind::StackedBar || kind == ChartKind::StackedColumn || kind == ChartKind::Area;
    }
    [[nodiscard]] bool hasNegative() const;
    [[nodiscard]] double value(std::size_t series, std::size_t category) const; ///< 0 for none
    [[nodiscard]] double total(std::size_t category) const;
    [[nodiscard]] bool isOther(std::size_t category) const { return otherCategory && category + 1 == categories.size(); }
    [[nodiscard]] bool isPartial(std::size_t category) const
    {
        return (firstPartial && category == 0) || (lastPartial && category + 1 == categories.size());
    }
    struct Range
    {
        double smallest = 0, largest = 0;
    };
    [[nodiscard]] Range range() const; ///< of what is drawn, stacks added up
};

[[nodiscard]] Figures figuresOf(const ChartSpec &spec, const ChartData &data);

/// Keeps the first \p most categories. The rest is together in the last of them where it may be, and left out otherwise.
void keepFirst(Figures &figures, std::size_t most);

/// "Attempts by account: 10 largest of 20; the rest together as Other".
[[nodiscard]] std::string subtitleOf(const ChartSpec &spec, const Figures &figures);

} // namespace qm::charts
