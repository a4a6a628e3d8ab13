/// \file
/// The parts of a workbook besides its sheets (ISO/IEC 29500-1 and -2).
#pragma once

#include "documents/CellFormat.h"
#include "documents/ReportWriter.h"
#include "documents/xlsx/ZipStream.h"

#include <span>
#include <string>
#include <vector>

namespace qm::xlsx {

/// Numbers of the cell styles that every workbook has; the columns' own follow. A heading has one for each CellAlignment, in its order.
namespace style {
inline constexpr int general = 0, title = 1, subtitle = 2, summary = 3, firstHeading = 4, factName = 7, factValue = 8, firstColumn = 9;
} // namespace style

/// One sheet as the workbook lists it.
struct Sheet
{
    std::string name;
    std::string filter; ///< absolute range of heading and rows, "$A$4:$G$104"; empty for a sheet without rows of data
    std::string titles; ///< absolute range of the rows that repeat on each page, "$1:$4"
};

/// What a date, time or date-time column's style is; Plain for others. A column without a format goes by its type.
[[nodiscard]] CellFormatter::Style temporalStyle(const CellFormatter &format, ColumnType type);

/// The parts that must be known to any reader first: content types and the root relations.
void writeFirstParts(ZipStream &zip);
/// The parts that follow the sheets. \p summary is the text of the one shared string.
void writeLastParts(ZipStream &zip, const std::string &title, std::span<const ReportColumn> columns, std::span<const Sheet> sheets,
                    const std::string &summary);

/// The page bands as "headerFooter" holds them; empty when there are none.
[[nodiscard]] std::string headerFooter(const ReportHead &head);

} // namespace qm::xlsx
