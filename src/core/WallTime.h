/// \file
/// Dates and times as a clock on the wall shows them, their fixed texts, and the one parser that reads those texts back.
///
/// Texts are the same in every locale: English month names, ASCII digits, "AM" and "PM".
#pragma once

#include <QDate>
#include <QString>

#include <compare>
#include <cstdint>

namespace qm {

/// A calendar date and a second of the day, without a time zone: it names a moment only once a zone is known.
/// Times that a daylight-saving change skips are therefore as good as any other.
struct WallTime
{
    QDate date;
    int secondOfDay = 0; ///< 0 to 86399

    [[nodiscard]] int hour() const { return secondOfDay / 3600; }
    [[nodiscard]] int minute() const { return secondOfDay / 60 % 60; }
    [[nodiscard]] int second() const { return secondOfDay % 60; }
    /// Seconds on the wall from \p earlier to this one (every day has 86,400).
    [[nodiscard]] std::int64_t secondsSince(const WallTime &earlier) const
    {
        return (date.toJulianDay() - earlier.date.toJulianDay()) * 86400 + secondOfDay - earlier.secondOfDay;
    }
    friend bool operator==(const WallTime &, const WallTime &) = default;
    friend std::strong_ordering operator<=>(const WallTime &a, const WallTime &b)
    {
        if (const auto byDay = a.date.toJulianDay() <=> b.date.toJulianDay(); std::is_neq(byDay))
            return byDay;
        return a.secondOfDay <=> b.secondOfDay;
    }
};

[[nodiscard]] QString tableDateText(QDate date);   ///< "Nov 21,2026"
[[nodiscard]] QString dialogDateText(QDate date);  ///< "Nov 21, 2026"
[[nodiscard]] QString shortDateText(QDate date);   ///< "11/21/2026"
[[nodiscard]] QString time24Text(int secondOfDay); ///< "14:05:37"
[[nodiscard]] QString time12Text(int secondOfDay); ///< "02:05:37 PM"

/// Reads any of the three date texts. \throws RuntimeError 13 for anything else.
[[nodiscard]] QDate parseDate(QStringView text);
/// Reads "hh:mm:ss", "hh:mm" and "hh:mm:ss AM/PM". \throws RuntimeError 13 for anything else. \returns the second of the day.
[[nodiscard]] int parseTime(QStringView text);
/// Reads a date text, a blank, and a time text. \throws RuntimeError 13 for anything else.
[[nodiscard]] WallTime parseWallTime(QStringView text);

} // namespace qm
