/// \file
/// How wide the columns of a table are, and whether a table is the right form for them at all.
#pragma once

#include "documents/columns/SampleTexts.h"

#include <span>
#include <vector>

namespace qm::columns {

/// Tenths of a point (1/720 inch).
using Tenths = std::int32_t;

inline constexpr Tenths kGutter = 120;      ///< between two columns' texts
inline constexpr Tenths kWideGutter = 160;  ///< between a column that stands at its right edge and one that stands at its left
inline constexpr Tenths kEdge = 60;         ///< between the table's edge and the texts
inline constexpr Tenths kWidestWish = 2551; ///< 90 mm
inline constexpr Tenths kUsualLetters = 75; ///< tried first
inline constexpr Tenths kSmallLetters = 65; ///< no report has smaller ones

enum class Kind : std::uint8_t {
    Whole, ///< numbers, dates, times, booleans, codes: never broken into lines
    Text,
};

/// What the first rows show of one column.
struct Column
{
    Kind kind = Kind::Text;
    bool right = false;     ///< its values stand at the right edge
    Em floor = 0;           ///< a narrower one would break what must not be broken
    Em wish = 0;            ///< what most of its values need on one line
    Tenths given = 0;       ///< the width that the layout gives, half of the gutters on both sides included; 0: none
    bool valueless = false; ///< no row has a value, and nothing is lost without the column
    bool constant = false;  ///< all rows have the same value, and nothing is lost when it is said once
    SampleTexts texts = {}; ///< of a text column; may be empty
};

struct Page
{
    Tenths width = 0;  ///< between the margins
    Tenths larger = 0; ///< of the page that may be taken in its place; 0: none
};

struct Box
{
    Tenths left = 0, right = 0; ///< of the texts, from the table's left edge
    Kind kind = Kind::Text;
};

struct Fit
{
    bool cards = false;  ///< no table: a block a row. There are no boxes then
    bool larger = false; ///< the larger page is taken
    Tenths letters = kUsualLetters;
    Tenths width = 0;                       ///< of the table
    std::vector<std::size_t> shown = {};    ///< the columns that remain, in their order; never none
    std::vector<std::size_t> leftOut = {};  ///< those left out for want of a value
    std::vector<std::size_t> saidOnce = {}; ///< those left out because all rows agree
    std::vector<Box> boxes = {};            ///< one per column in \c shown
};

/// Below 70 % of the page the columns get their wishes; above it text columns take what is left; where the wishes do not fit, text columns
/// share what is left above all floors so that the sample takes the fewest lines. Where the floors do not fit, it tries smaller letters,
/// then leaves out columns (only where the sample is \p whole, as nobody knows else), then takes the larger page, then cards.
[[nodiscard]] Fit fitColumns(std::span<const Column> columns, const Page &page, bool whole);

} // namespace qm::columns
