/// \file
/// What page layout must know of single characters. Ranges follow the Unicode Character Database, version 15.
#pragma once

#include "core/Utf8.h"

#include <cstdint>

namespace qm::pdf {

/// True when \p character can be set by itself, from left to right, as one glyph: no joining, reordering or combining.
[[nodiscard]] bool isSimple(char32_t character);

/// True for the pictures of the C0 controls, U+2400 to U+2421.
[[nodiscard]] inline bool isControlPicture(char32_t character)
{
    return character >= 0x2400 && character <= 0x2421;
}

/// True for line and paragraph separators, carriage return and line feed.
[[nodiscard]] inline bool isLineBreak(char32_t character)
{
    return character == U'\n' || character == U'\r' || utf8::isSeparator(character);
}

/// True for joiners and variation selectors, which belong to the character before them.
[[nodiscard]] inline bool isJoinerOrSelector(char32_t character)
{
    return character == 0x200C || character == 0x200D || (character >= 0xFE00 && character <= 0xFE0F) ||
           (character >= 0xE0100 && character <= 0xE01EF);
}

/// Where a line may end beside a character.
enum BreakRule : std::uint8_t {
    kNoRule = 0,
    kSpace = 1,       ///< a line may end after it, and it may hang over the edge
    kBreakAround = 2, ///< ideographs: a line may end before and after it
    kNeverBefore = 4, ///< closing punctuation
    kNeverAfter = 8,  ///< opening punctuation
};
[[nodiscard]] std::uint8_t breakRules(char32_t character);

/// Whether a line may end before a character with \p rules that stands behind one with \p last.
[[nodiscard]] inline bool mayBreakBefore(std::uint8_t rules, std::uint8_t last)
{
    return ((rules | last) & kBreakAround) != 0 && (rules & kNeverBefore) == 0 && (last & kNeverAfter) == 0;
}

} // namespace qm::pdf
