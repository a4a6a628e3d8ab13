/// \file
/// Periods of a report: the phrases, and the half-open range of time they name.
#pragma once

#include "core/Clock.h"

#include <QString>

namespace qm {

/// A half-open range in UTC, as texts "YYYY-MM-DD HH:MM:SS" that the database compares with. "all time" spans 0001-01-01 to 9999-12-31.
struct PeriodRange
{
    QString fromUtc; ///< inclusive
    QString toUtc;   ///< exclusive
    QString words;   ///< for the reader: the phrase, both ends in local time, and the zone
    bool allTime = false;
};

/// Reads "today", "yesterday", "last [N] hour/day/week/month(s)", "this|previous day/week/month/quarter/year", "all time" (any letter
/// case). "last week" is the seven days before today's midnight; "previous week" the last whole Monday-to-Sunday week. Local midnights are
/// converted one by one, so that a day with a clock change has its 23 or 25 hours. \throws RuntimeError reportFailed that lists the
/// phrases.
[[nodiscard]] PeriodRange resolvePeriod(const QString &phrase, const Clock &clock);
/// Local dates, both included. An invalid date on one side leaves that side open.
[[nodiscard]] PeriodRange periodBetween(QDate from, QDate to, const Clock &clock);

/// \p instant as "YYYY-MM-DD HH:MM:SS" in UTC: the form of ranges and of the run ledger.
[[nodiscard]] QString utcText(std::chrono::system_clock::time_point instant);

} // namespace qm
