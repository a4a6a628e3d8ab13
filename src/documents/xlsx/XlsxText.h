/// \file
/// Text as a workbook holds it (ISO/IEC 29500-1, SpreadsheetML).
#pragma once

#include "documents/xlsx/ZipStream.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm::xlsx {

/// UTF-16 code units that a cell holds.
inline constexpr std::size_t kMaxCellUnits = 32767;

/// Writes \p text as XML text. Characters that XML has not are written _xHHHH_, and a text that looks like that is kept from being taken
/// for it; CR LF becomes the line feed that breaks lines in a cell; NUL is its control picture.
void writeText(ZipStream &zip, std::string_view text);
/// The same as a string, quotes escaped too, for attributes and short parts.
[[nodiscard]] std::string escapedText(std::string_view text);

/// \p text, sanitized and cut to what a cell holds with a mark that says how long it was. Empty when it fits as it is.
[[nodiscard]] std::string cutText(std::string_view text);

/// Sheet names by the rules of spreadsheet programs: 1 to 31 UTF-16 units, none of []:*?/\, no apostrophe at either end, not "History", and
/// no two alike without regard to letter case.
class SheetNames final
{
public:
    /// A name as close to \p wanted as the rules and the names given before allow.
    [[nodiscard]] std::string take(std::string_view wanted);

private:
    std::vector<QString> m_taken;
};

/// "A" for 0, "AA" for 26.
[[nodiscard]] std::string columnLetters(std::size_t column);

} // namespace qm::xlsx
