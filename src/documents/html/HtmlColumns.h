/// \file
/// How the columns of a report share the width of a screen and of a page, judged by the first rows.
#pragma once

#include "documents/ReportWriter.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qm {

/// What a column needs, in widths of a digit (the unit "ch" of style sheets).
struct ColumnNeed
{
    std::size_t floor = 0;  ///< the widest thing in it that is never broken: a number, a date, a word of up to 24 letters
    std::size_t wish = 0;   ///< what nine of ten cells need to stand on one line; never below the floor
    std::size_t widest = 0; ///< what all cells need for that
    bool oneLine = false;   ///< its cells are never broken
};

/// Of the columns that are shown.
[[nodiscard]] std::vector<ColumnNeed> columnNeeds(const ReportShape &shape, const SampleRows &sample);

/// How a table with these needs stands on a page.
struct TableFit
{
    double pointSize = 7.5; ///< of the rows: 7.5, 7 or 6.5
    double paddingPt = 6;   ///< left and right of each cell
    bool cards = false;     ///< not even the smallest fits: each row is a block of captions and values
    bool natural = false;   ///< far narrower than the page: stands at the left as wide as it is
    bool zebra = false;     ///< rows of one line in many columns are told apart by bands
};

[[nodiscard]] TableFit fitOf(std::span<const ColumnNeed> needs, const PageSetup &page);

struct HtmlColumns
{
    std::string rules;  ///< the part of the style sheet that is about single columns
    bool cards = false; ///< on paper each row is a block
};

[[nodiscard]] HtmlColumns htmlColumns(const ReportShape &shape, const SampleRows &sample, const PageSetup &page);

} // namespace qm
