/// \file
/// The parts of a workbook besides its sheets (ISO/IEC 29500-1 and -2), and what sheets have in common.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/xlsx/ZipStream.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qm::xlsx {

inline constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
inline constexpr std::string_view kRelations = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
/// How each sheet begins.
inline constexpr std::string_view kSheetStart = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<worksheet "
                                                "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
                                                "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">";

/// One sheet as the workbook lists it.
struct Sheet
{
    std::string name;
    std::string filter; ///< absolute range of heading and rows, "$A$4:$G$104"; empty for a sheet without rows of data
    std::string titles; ///< absolute range of the rows that repeat on each page, "$1:$4"
};

/// The parts that must be known to any reader first: content types and the root relations. \p charts: how many chart parts there will be.
void writeFirstParts(ZipStream &zip, std::size_t charts);
/// The parts that follow the sheets. \p summary is the text of the one shared string, \p styles the part with the looks.
void writeLastParts(ZipStream &zip, const ReportHead &head, const std::string &styles, std::span<const Sheet> sheets,
                    const std::string &summary);

/// Margins, paper and the bands of printed pages; a sheet is one page wide.
[[nodiscard]] std::string pageElements(const ReportHead &head, bool landscape);
/// New pages behind these rows; empty for none.
[[nodiscard]] std::string rowBreaks(std::span<const std::int64_t> rows);

} // namespace qm::xlsx
