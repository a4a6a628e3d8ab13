/// \file
/// Dates and times as the databases write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qm {

/// A calendar date, a time of day, or both, without a zone.
struct IsoTime
{
    int year = 0, month = 0, day = 0;
    int hour = 0, minute = 0, second = 0, millisecond = 0;
    bool hasDate = false, hasTime = false;

    /// Days since 1970-01-01 in the Gregorian calendar; meaningful with a date.
    [[nodiscard]] std::int64_t daysSince1970() const;
    [[nodiscard]] int millisecondOfDay() const { return ((hour * 60 + minute) * 60 + second) * 1000 + millisecond; }
};

/// Reads "YYYY-MM-DD", "HH:MM[:SS[.fff]]" and both joined by a blank or a T, with an optional Z behind. Digits beyond the millisecond are
/// cut off. Anything else, an offset from UTC included, is no such text.
[[nodiscard]] std::optional<IsoTime> parseIsoTime(std::string_view text);

} // namespace qm
