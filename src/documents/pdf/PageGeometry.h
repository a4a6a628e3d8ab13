/// \file
/// Where things stand on the pages of a table report.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/pdf/TextCanvas.h"

#include <span>
#include <vector>

namespace qm::pdf {

/// The text box of one column.
struct ColumnBox
{
    Tenths left = 0, right = 0;
    Em limit = 0; ///< width of a line in the body's letters
};

/// Line heights for a letter size: the line, and where the baseline lies below its top. The height is 1.3 letters where none is given.
struct LineMetrics
{
    Tenths size = 0, height = 0, baseline = 0;
    explicit LineMetrics(Tenths letterSize = 0) : LineMetrics(letterSize, letterSize * 13 / 10) {}
    /// The letters of the shipped fonts reach 0.93 above and 0.24 below the baseline; they stand in the middle of the line.
    LineMetrics(Tenths letterSize, Tenths lineHeight)
        : size(letterSize), height(lineHeight), baseline((lineHeight * 100 + letterSize * 69) / 200)
    {
    }
    [[nodiscard]] Em limitFor(Tenths width) const { return width * 1000 / size; }
};

/// All measures of one report, from its page set-up and columns. The columns fill the width between the margins in the ratio of their
/// widths; the letters shrink, down to 5 points, where the columns ask for more than the page has.
struct PageGeometry
{
    PageGeometry(const ReportHead &head, std::span<const ReportColumn> columns);

    Tenths width = 0, height = 0;
    Tenths left = 0, right = 0; ///< between the margins
    Tenths top = 0, bottom = 0; ///< of the body, between the bands
    Tenths headerBaseline = 0, footerBaseline = 0;
    LineMetrics body, band, facts, title, subtitle;
    Tenths paddingY = 0; ///< above and below the lines of a row
    std::vector<ColumnBox> columns;
};

} // namespace qm::pdf
