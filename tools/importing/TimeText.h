/// \file
/// Times of events: from the spellings that logs use to the one text the database keeps.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qm {

/// Milliseconds since 1970-01-01 00:00 UTC.
using EventTime = std::int64_t;

/// Reads "YYYY-MM-DD", optionally followed by "T" or blanks and "HH:MM[:SS[.fraction]]", optionally followed by "Z" or an offset ("+02:00",
/// "+0200", "+02"). Without a zone the time is UTC. Digits beyond milliseconds are cut off. \returns nullopt for anything else.
[[nodiscard]] std::optional<EventTime> parseEventTime(std::string_view text);

/// "YYYY-MM-DD HH:MM:SS.mmm" in UTC: sorts and compares as text. Years 0001 to 9999.
void appendEventTime(std::string &out, EventTime time);
[[nodiscard]] std::string eventTimeText(EventTime time);

/// Days since 1970-01-01 of a date of the Gregorian calendar.
[[nodiscard]] std::int64_t daysFromCivil(int year, int month, int day);
[[nodiscard]] int daysInMonth(int year, int month);

} // namespace qm
