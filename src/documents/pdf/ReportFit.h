/// \file
/// A report as the page can hold it: which columns are shown, how wide, in letters of which size.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/columns/ColumnFit.h"
#include "documents/pdf/TextLayout.h"

#include <span>
#include <vector>

namespace qm::pdf {

/// Head and shape with all that follows from fitting the columns to the page. What is left out is stated: columns without a value in a
/// notice, columns that hold the same in all rows as facts.
class ReportFit final
{
public:
    ReportFit(const ReportHead &head, const ReportShape &shape, const SampleRows &sample, TextLayout &layout);

    [[nodiscard]] const ReportHead &head() const { return m_head; }
    [[nodiscard]] const ReportShape &shape() const { return m_shape; } ///< of the columns that are shown
    [[nodiscard]] const columns::Fit &columns() const { return m_columns; }
    /// The first rows, of the columns that are shown. Valid as long as those that were given.
    [[nodiscard]] const SampleRows &sample() const { return m_sample; }

    /// Of a row's cells those that are shown. Valid until the next call.
    [[nodiscard]] std::span<const Value> shownOf(std::span<const Value> cells)
    {
        if (m_showsAll)
            return cells;
        for (std::size_t i = 0; i < m_cells.size(); ++i)
            m_cells[i] = cells[m_columns.shown[i]];
        return m_cells;
    }

private:
    void stateWhatIsLeftOut(const ReportShape &shape, const SampleRows &sample);
    void reduceShape(const ReportShape &shape);

    ReportHead m_head;
    ReportShape m_shape;
    columns::Fit m_columns;
    SampleRows m_sample;
    bool m_showsAll = true;
    std::vector<Value> m_cells, m_sampleCells;
};

} // namespace qm::pdf
