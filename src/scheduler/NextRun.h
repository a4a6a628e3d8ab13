/// \file
/// The next-run rule: how far a due job moves.
#pragma once

#include <QDate>

#include <array>
#include <optional>

namespace qm {

/// How often a job runs. The values are the codes of the job's record; the record keeps any other code as the number it is, and its job
/// never moves.
enum class Frequency { Single, Daily, Weekly, Monthly };

/// All of them, as they are listed.
inline constexpr std::array kFrequencies{Frequency::Single, Frequency::Daily, Frequency::Weekly, Frequency::Monthly};

/// "Single", "Daily", "Weekly", "Monthly".
[[nodiscard]] QString frequencyText(Frequency frequency);
/// The same for a code of the record; empty for a code that is no frequency.
[[nodiscard]] QString frequencyText(int code);
/// The frequency of a text, compared exactly; nullopt for any other text.
[[nodiscard]] std::optional<Frequency> frequencyOf(QStringView text);
/// Its code in the record.
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
