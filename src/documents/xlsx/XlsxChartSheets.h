/// \file
/// The sheets of charts: one on which they are drawn, one with the figures that they draw.
#pragma once

#include "documents/xlsx/XlsxCells.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qm::xlsx {

/// The charts of a report on their way into a workbook.
class ChartSheets final
{
public:
    /// \p figuresSheet: the name of the sheet with the figures. \p data: one for each of \p specs; what is missing has no figures.
    ChartSheets(std::span<const ChartSpec> specs, std::span<const ChartData> data, std::string figuresSheet);

    /// Each writes a whole sheet into the open member.
    void writeFigures(ZipStream &zip, CellWriter &cells, Styles &styles, const ReportHead &head) const;
    /// Charts below each other, heat maps as cells between them.
    void writeCharts(ZipStream &zip, CellWriter &cells, Styles &styles, const ReportHead &head);
    /// The drawing that hangs at the sheet of charts, the chart parts, and the relations of all of them. \p chartsSheet: the number of that
    /// sheet's part. Nothing when there are only heat maps.
    void writeDrawing(ZipStream &zip, std::size_t chartsSheet) const;

private:
    struct Chart
    {
        const ChartSpec *spec;
        const ChartData *data;
        std::int64_t headingRow; ///< on the sheet of figures
        std::int64_t anchorRow;  ///< on the sheet of charts, from 0
    };
    [[nodiscard]] bool anyDrawn() const;

    std::vector<Chart> m_charts;
    std::string m_figuresSheet;
    ChartData m_none;
};

} // namespace qm::xlsx
