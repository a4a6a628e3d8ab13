/// \file
/// Groups, sums and charts: the only place that knows what they are.
#pragma once

#include "documents/ReportWriter.h"
#include "engine/rows/ShapeSources.h"
#include "engine/run/ChartAccumulator.h"
#include "engine/run/DistinctCounter.h"
#include "engine/run/ExactSum.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qm {

/// Hands a report's rows on to its writer with its groups around them, and adds up what groups, totals, figures and charts show. A group
/// ends where the value of its column, or of one above it, becomes another; NULL is a value like others. Rows must come in the groups'
/// order. Values that are NULL count in no function of a column; what is no number is left out of sums and averages, and of the smallest
/// and largest of numeric columns, and a notice says so.
class RowShaper final
{
public:
    /// What \p shape and \p sources say of the same report; both and \p writer must outlive it.
    RowShaper(const ReportShape &shape, const ShapeSources &sources, ReportWriter &writer);

    /// Whether each row must be given to preview() before the first is given to row(): a share of the whole report is asked for.
    [[nodiscard]] bool needsPreview() const { return m_previewed; }
    void preview(std::span<const Value> row);

    /// \p row: of the source's rows, with all their columns.
    void row(std::span<const Value> row);
    /// Ends the groups that are open and completes \p tail, whose rows and truncated are known. Its spans are valid as long as this object.
    void finish(ReportTail &tail);

private:
    /// What is added up of one column of the rows.
    struct Measure
    {
        std::size_t column = 0;
        bool sums = false, extremes = false;
    };
    /// That over the rows of one group.
    struct Tally
    {
        std::int64_t values = 0, leftOut = 0;
        ExactSum sum;
        OwnedValue smallest, largest;
        bool hasExtremes = false;
    };
    /// The report, or the group that is open on a level.
    struct Level
    {
        OwnedValue key;
        std::int64_t rows = 0, runningRows = 0;
        std::vector<Tally> tallies;            ///< one per measure
        std::vector<std::size_t> counted;      ///< columns whose different values are counted here
        std::vector<DistinctCounter> distinct; ///< one for each of those
        std::vector<ExactSum> running;         ///< one per measure, over the groups that have ended
    };

    void askFor(const SumSource &sum, Level &level);
    void beginGroups(std::size_t from, std::span<const Value> row);
    void endGroups(std::size_t from, bool cut);
    void add(Tally &tally, const Measure &measure, const Value &value) const;
    void addInto(Level &outer, const Level &inner) const;
    void addExtreme(Tally &tally, const Measure &measure, const Value &value) const;
    [[nodiscard]] bool isNumeric(const Measure &measure) const;
    [[nodiscard]] std::size_t measureOf(std::size_t column) const;
    [[nodiscard]] OwnedValue valueOf(const SumSource &sum, Level &level, bool isReport) const;
    [[nodiscard]] OwnedValue shareOf(const SumSource &sum, const Level &level, bool isReport) const;
    [[nodiscard]] std::span<const Value> valuesOf(const std::vector<SumSource> &sums, Level &level, bool isReport,
                                                  std::vector<OwnedValue> &owned, std::vector<Value> &views) const;
    [[nodiscard]] std::vector<std::string> notices() const;

    const ReportShape &m_shape;
    const ShapeSources &m_sources;
    ReportWriter &m_writer;
    bool m_previewed = false, m_inOrder = true;
    std::vector<Measure> m_measures;
    std::vector<Level> m_levels; ///< the report, then the groups from the outermost
    std::vector<ExactSum> m_previewSums;
    std::int64_t m_previewRows = 0;
    std::vector<ChartAccumulator> m_charts;
    std::optional<ChartAccumulator> m_top;
    std::vector<Value> m_cells, m_groupViews;
    std::vector<OwnedValue> m_groupValues;
    std::vector<OwnedValue> m_totals, m_keyFigures; ///< what the tail's values point into
    std::vector<Value> m_totalViews, m_keyFigureViews;
    std::vector<ChartData> m_chartData;
    ChartData m_topData;
};

} // namespace qm
