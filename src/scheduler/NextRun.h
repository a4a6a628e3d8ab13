/// \file
/// The next-run rule: how far a due job moves.
#pragma once

#include <QDate>

#include <optional>

namespace qm {

/// Codes of a job's frequency; other codes are kept and never move.
namespace frequency {
inline constexpr int single = 0, daily = 1, weekly = 2, monthly = 3;
} // namespace frequency

/// "Single", "Daily", "Weekly", "Monthly"; empty for another code.
[[nodiscard]] QString frequencyText(int code);
/// The code of a frequency text, compared exactly; nullopt for any other text.
[[nodiscard]] std::optional<int> frequencyCode(QStringView text);

/// Where the advance of one due job ends.
struct Advance
{
    QDate date;           ///< the date after the advance; today or earlier only when the frequency never moves or the job retired
    int periods = 0;      ///< periods the date moved by
    bool retired = false; ///< a one-time job that is due: it leaves the schedule
};

/// Moves \p date by whole periods until it lies after \p today. Calendar dates only; the time of day plays no part.
/// A month that lacks the day shortens it for good: January 31, February 28, March 28.
[[nodiscard]] Advance advancePast(QDate today, QDate date, QStringView frequencyText);

} // namespace qm
