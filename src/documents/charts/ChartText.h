/// \file
/// Texts and numbers of charts.
#pragma once

#include "documents/CellFormat.h"
#include "documents/charts/ChartPicture.h"

#include <string>
#include <string_view>
#include <vector>

namespace qm::charts {

/// \p text as one line: invalid bytes replaced, hidden characters shown, line breaks and tabs as blanks; a very long one is cut.
[[nodiscard]] std::string oneLine(std::string_view text);

/// \p text, or as much of its beginning as fits in \p room with an ellipsis behind; empty where not even that fits.
[[nodiscard]] std::string ellipsized(std::string_view text, double room, double size, bool bold, const ChartTextWidth &textWidth);

/// \p text in at most two lines of \p room, broken at a blank or behind a sign where it can be.
[[nodiscard]] std::vector<std::string> twoLines(std::string_view text, double room, double size, const ChartTextWidth &textWidth);

/// "Failed logons" as it stands within a sentence; "IP address" stays.
[[nodiscard]] std::string withinSentence(std::string_view caption);

/// Writes the values of a chart.
class ValueText final
{
public:
    explicit ValueText(const ReportColumn &column);

    /// Empty for a value that is none.
    [[nodiscard]] std::string operator()(double value) const;
    /// As short as may be: "1.2k".
    [[nodiscard]] static std::string brief(double value);
    /// One text per tick, all different.
    [[nodiscard]] std::vector<std::string> ticks(const std::vector<double> &values) const;
    /// What the steps of an axis are multiples of, for values up to \p largest: 1, or 1,024 and so on for sizes in bytes.
    [[nodiscard]] double unit(double largest) const;

private:
    CellFormatter m_format;
};

/// "23 %"; below one half "< 1 %".
[[nodiscard]] std::string shareText(double part, double whole);

} // namespace qm::charts
