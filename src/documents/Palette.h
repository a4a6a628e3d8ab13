/// \file
/// The colours of a report, the same in each format.
#pragma once

#include <cstdint>

namespace qm::palette {

/// 0xRRGGBB, in sRGB.
using Colour = std::uint32_t;

// On white. In brackets: contrast to it.
inline constexpr Colour kPage = 0xFFFFFF;
inline constexpr Colour kInk = 0x1C2430;      ///< text (15.6)
inline constexpr Colour kNavy = 0x12335C;     ///< titles, headings, grand totals (12.7)
inline constexpr Colour kSoft = 0x4A5563;     ///< what stands beside: labels, bands, NULL (7.6)
inline constexpr Colour kMid = 0x76828F;      ///< rules of groups and subtotals (3.9)
inline constexpr Colour kHairline = 0xC4CCD5; ///< rules of facts and inner groups
inline constexpr Colour kAlarm = 0xB7381D;    ///< a cell that a rule marks, always with another sign
inline constexpr Colour kNotice = 0x7A1B14;   ///< a notice, on kNoticePage (9.4)

// Behind text.
inline constexpr Colour kNoticePage = 0xFDF0E7;
inline constexpr Colour kCaptionPage = 0xE3E9F0; ///< column captions
inline constexpr Colour kZebra = 0xECF0F5;       ///< every other row
inline constexpr Colour kRowRule = 0xD5DBE2;     ///< below each row
inline constexpr Colour kSubtotalPage = 0xEDF1F5;
inline constexpr Colour kTotalPage = 0xD5DEE8;

} // namespace qm::palette
