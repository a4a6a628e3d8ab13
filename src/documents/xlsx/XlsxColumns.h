/// \file
/// The columns of a workbook's rows: their looks, their widths, and what stood in them that a formula must know of.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/xlsx/XlsxStyles.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qm::xlsx {

/// Height of one line in points, and the most lines that a row is made high for: beyond it a reader opens the cell.
inline constexpr double kLineHeight = 13.5;
inline constexpr std::size_t kMaxLines = 15;

/// How values become cells.
struct SheetColumn
{
    SheetColumn(const ReportColumn &column, std::string styleAttribute);

    CellFormatter format;
    CellFormatter::Style temporal;
    std::string style;       ///< the attribute: ' s="7"'
    double width = 0;        ///< in characters
    std::size_t wrapsAt = 0; ///< characters in a line; 0 for a column of single lines
    std::string nullText;    ///< stands for NULL; empty: the cell stays empty
    /// Where words stand for some values: the format without them, to tell those values from others, which stay numbers.
    std::optional<CellFormatter> withoutWords;
    // The last rows of the sheet with such a cell in this column, 0 for none. They tell whether SUBTOTAL over a range gives what was added
    // up.
    std::int64_t lastText = 0;  ///< no number: what sums leave out
    std::int64_t lastBlank = 0; ///< a text that counts or not as the program likes
    std::int64_t lastLabel = 0; ///< a heading or label, which counting takes for a value
    std::int64_t lastFixed = 0; ///< a total that is no SUBTOTAL: it would be added up once more
};

/// The serial number of \p text (ISO date, time or both) in a column shown as \p style, if it has one.
[[nodiscard]] std::optional<double> serialOf(std::string_view text, CellFormatter::Style style);

/// The columns that are shown, with the looks of their cells.
[[nodiscard]] std::vector<SheetColumn> makeColumns(const ReportShape &shape, const SampleRows &sample, Styles &styles);

/// Lines that \p text takes in a column of \p characters, about; a byte counts as a character, which suits the wide ones.
[[nodiscard]] std::size_t lineCount(std::string_view text, std::size_t characters);
/// Characters that \p text takes side by side: wide ones count twice.
[[nodiscard]] std::size_t textWidth(std::string_view text);
/// Lines of a column heading in a column of \p characters; words stay whole.
[[nodiscard]] std::size_t headingLines(std::string_view caption, double characters);

/// The element <cols> for these widths in characters.
[[nodiscard]] std::string columnWidths(std::span<const double> widths);

} // namespace qm::xlsx
