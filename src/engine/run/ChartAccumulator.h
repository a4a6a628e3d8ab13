/// \file
/// A chart's figures, gathered row by row.
#pragma once

#include "documents/ChartSpec.h"
#include "engine/rows/ShapeSources.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qm {

/// Adds values up by category and series. Exact as long as there are no more categories than the table holds; beyond that the smallest are
/// folded into the rest, and a notice says so.
class ChartAccumulator final
{
public:
    static constexpr std::size_t kCategories = 100'000;
    static constexpr std::size_t kMostSeries = 5; ///< shown; the rest is one more

    /// \p from, \p to: the report's period in UTC, or empty. \p categories: how many the table holds.
    ChartAccumulator(const ChartSpec &spec, const ChartSource &source, const std::string &from, const std::string &to,
                     std::size_t categories = kCategories);

    void add(std::span<const Value> row);
    /// The chart's figures; what a reader must know of them is added to \p notices. Call it once.
    [[nodiscard]] ChartData finish(std::vector<std::string> &notices);

private:
    struct Cell
    {
        double sum = 0, lost = 0;
        std::int64_t count = 0;
        double smallest = std::numeric_limits<double>::infinity(), largest = -std::numeric_limits<double>::infinity();

        void add(double value);
        void add(const Cell &other);
    };
    struct Category
    {
        OwnedValue value;
        std::vector<Cell> cells; ///< by series
    };

    [[nodiscard]] std::size_t categoryAt(const Value &value);
    [[nodiscard]] std::size_t seriesAt(const Value &value);
    void addCell(std::size_t category, std::size_t series, const Value &value, bool isCount);
    [[nodiscard]] bool isNew(std::size_t category, std::size_t series, const Value &value);
    static void merge(Category &into, const Category &other);
    void fold();
    void coarsen();
    void reindex();
    [[nodiscard]] double figure(const Cell &cell) const;
    [[nodiscard]] double total(const Category &category) const;
    [[nodiscard]] bool isOrdered() const;
    [[nodiscard]] bool isByDay() const;
    void makeBins();
    void fillDays();
    void chooseCategories(ChartData &data);
    void chooseSeries(ChartData &data) const;
    void markPartialDays(ChartData &data) const;
    [[nodiscard]] std::string shown(const ReportColumn &column, const Value &value) const;

    ChartSpec m_spec;
    ChartSource m_source;
    std::string m_from, m_to;
    std::size_t m_most;
    std::vector<Category> m_categories;
    std::unordered_map<std::string, std::size_t> m_categoryOf, m_seriesOf;
    std::vector<OwnedValue> m_series;
    Category m_rest;
    std::size_t m_all = 0;                       ///< categories, those folded away included
    std::unordered_set<std::string> m_different; ///< where different values are counted: with their category and series
    std::size_t m_differentBytes = 0;
    bool m_isHeatOfHours = false, m_isFolded = false, m_hasMoreSeries = false, m_isDifferentFull = false;
    std::int64_t m_leftOut = 0;
    double m_width = 0; ///< of a histogram's cells while rows are read; 0: each value by itself
    std::string m_key, m_lastKey;
    std::size_t m_last = 0;
};

} // namespace qm
