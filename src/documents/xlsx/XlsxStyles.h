/// \file
/// How cells of a workbook look (ISO/IEC 29500-1, 18.8), each look once.
#pragma once

#include "documents/CellFormat.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace qm::xlsx {

enum class Font : std::uint8_t { Body, Title, Subtitle, Heading, Strong, Group1, Group2, Total, Notice, Alarm, Figure, OnDark };
/// The first two stand in every workbook: the format wants them.
enum class Fill : std::uint8_t { None, Grey, Heading, Subtotal, Total, Notice, Heat1, Heat2, Heat3, Heat4, Heat5 };
inline constexpr int kHeatSteps = 5;
enum class Border : std::uint8_t { None, Row, Heading, Group1, Group2, Subtotal, Total, Notice };

struct Look
{
    Font font = Font::Body;
    Fill fill = Fill::None;
    Border border = Border::None;
    CellAlignment alignment = CellAlignment::Left;
    bool centred = false;    ///< between the upper and the lower edge; else at the upper one
    bool wrap = false;       ///< long text continues on further lines of the cell
    bool fit = false;        ///< what is too wide is written smaller, so that a number never becomes ####
    std::string format = {}; ///< number format code; empty: general
};

/// Gives each look its number, in the order in which they are first asked for; 0 is a cell without any.
class Styles final
{
public:
    Styles();
    /// The attribute of a cell with this look: ' s="7"'.
    [[nodiscard]] std::string attribute(const Look &look);
    /// The part xl/styles.xml without its declaration.
    [[nodiscard]] std::string part() const;

private:
    std::vector<std::string> m_formats, m_looks;
    std::unordered_map<std::string, std::size_t> m_formatNumbers, m_lookNumbers;
};

/// What a date, time or date-time column's style is; Plain for others. A column without a format goes by its type.
[[nodiscard]] CellFormatter::Style temporalStyle(const CellFormatter &format, ColumnType type);
/// The number format code that shows values as \p column does; empty: general.
[[nodiscard]] std::string numberFormat(const ReportColumn &column);

} // namespace qm::xlsx
