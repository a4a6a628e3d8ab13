/// \file
/// Turns a cell into the text that a reader sees, by the column's format. Shared by HTML, PDF and the viewer.
#pragma once

#include "reporting/writers/ReportWriter.h"

#include <string>

namespace qm {

/// A column's format, worked out once per report so that formatting a cell is cheap.
class CellFormatter final
{
public:
    explicit CellFormatter(const ReportColumn &column);

    /// Appends the shown text of \p value to \p out: nothing for NULL, "0x" + hexadecimal (cut, with the size) for blobs, "NaN", "Infinity"
    /// for those, text that does not suit the format unchanged. Output is valid UTF-8.
    void append(const Value &value, std::string &out) const;

private:
    enum class Style : std::uint8_t { Plain, Number, Percent, Bytes, Date, Time, DateTime, DateTimeMs, Boolean };
    Style m_style = Style::Plain;
    int m_minDecimals = 0, m_maxDecimals = 0;
    bool m_grouping = false;
    std::string m_prefix, m_suffix;
};

} // namespace qm
