/// \file
/// A native chart of a workbook over its own range of cells (ISO/IEC 29500-1, DrawingML charts).
#pragma once

#include "documents/ChartSpec.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qm::xlsx {

/// Whether \p kind is drawn as a chart. A heat map is a grid of coloured cells.
[[nodiscard]] inline bool isDrawn(ChartKind kind)
{
    return kind != ChartKind::Heat;
}

/// How the figures are drawn: a pie of more slices than can be told apart becomes bars.
[[nodiscard]] ChartKind drawnKind(const ChartSpec &spec, const ChartData &data);

/// The chart part without its declaration. The figures stand on the sheet \p sheet: series names in row \p headingRow from column B on,
/// categories in column A below it.
[[nodiscard]] std::string chartPart(const ChartSpec &spec, const ChartData &data, std::string_view sheet, std::int64_t headingRow);

/// Which of the categories are shown, and which are not whole; empty: all, and all are.
[[nodiscard]] std::string chartNote(const ChartData &data);
/// For readers who do not see the chart: its title and the five largest values.
[[nodiscard]] std::string chartDescription(const ChartSpec &spec, const ChartData &data);
/// The name of series \p index: its own, or what the values are.
[[nodiscard]] std::string seriesName(const ChartSpec &spec, const ChartData &data, std::size_t index);

} // namespace qm::xlsx
