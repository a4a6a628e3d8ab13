/// \file
/// Turns a cell into the text that a reader sees, by the column's format. Shared by HTML, PDF and the viewer.
#pragma once

#include "documents/NumberText.h"
#include "documents/ReportColumn.h"

#include <string>

namespace qm {

/// A column's format, worked out once per report so that formatting a cell is cheap.
class CellFormatter final
{
public:
    /// What a format makes of a cell. XLSX turns it into a format of its own.
    enum class Style : std::uint8_t { Plain, Number, Percent, Bytes, Date, Time, DateTime, DateTimeMs, Boolean };

    explicit CellFormatter(const ReportColumn &column);

    /// Appends the shown text of \p value to \p out: nothing for NULL, "0x" + hexadecimal (cut, with the size) for blobs, "NaN", "Infinity"
    /// for those, text that does not suit the format unchanged. Output is valid UTF-8 without NUL (U+2400 stands for it); other controls
    /// stay, for the caller to show in its own way.
    void append(const Value &value, std::string &out) const;

    [[nodiscard]] Style style() const { return m_style; }
    [[nodiscard]] const numbers::Pattern &pattern() const { return m_pattern; }
    [[nodiscard]] const std::string &prefix() const { return m_prefix; }
    [[nodiscard]] const std::string &suffix() const { return m_suffix; }

private:
    void readPattern(const std::string &format);
    void appendNumber(const Value &value, std::string &out) const;
    [[nodiscard]] bool appendFormattedText(std::string_view text, std::string &out) const;

    Style m_style = Style::Plain;
    numbers::Pattern m_pattern;
    std::string m_prefix, m_suffix;
};

} // namespace qm
