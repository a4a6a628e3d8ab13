#include "scheduler/NextRun.h"

#include <algorithm>

namespace qm {

namespace {

/// The date one period after \p date; nullopt when there is no further run.
std::optional<QDate> periodAfter(QDate date, Frequency frequency)
{
    switch (frequency) {
    case Frequency::Single:
        return std::nullopt;
    case Frequency::Daily:
        return date.addDays(1);
    case Frequency::Weekly:
        return date.addDays(7);
    case Frequency::Monthly:
        return date.addMonths(1);
    }
    Q_UNREACHABLE();
}

} // namespace

QString frequencyText(Frequency frequency)
{
    switch (frequency) {
    case Frequency::Single:
        return QStringLiteral("Single");
    case Frequency::Daily:
        return QStringLiteral("Daily");
    case Frequency::Weekly:
        return QStringLiteral("Weekly");
    case Frequency::Monthly:
        return QStringLiteral("Monthly");
    }
    Q_UNREACHABLE();
}

QString frequencyText(int code)
{
    const auto *const found =
        std::find_if(kFrequencies.begin(), kFrequencies.end(), [code](Frequency each) { return static_cast<int>(each) == code; });
    return found != kFrequencies.end() ? frequencyText(*found) : QString();
}

std::optional<Frequency> frequencyOf(QStringView text)
{
    for (const Frequency each : kFrequencies)
        if (frequencyText(each) == text)
            return each;
    return std::nullopt;
}

std::optional<int> frequencyCode(QStringView text)
{
    const std::optional<Frequency> frequency = frequencyOf(text);
    return frequency ? std::optional(static_cast<int>(*frequency)) : std::nullopt;
}

Advance advancePast(QDate today, QDate date, QStringView frequencyText)
{
    Advance result{date, 0, false};
    const std::optional<Frequency> frequency = frequencyOf(frequencyText);
    while (frequency && today >= result.date) {
        const std::optional<QDate> next = periodAfter(result.date, *frequency);
        if (!next) {
            result.retired = true;
            break;
        }
        result.date = *next;
        ++result.periods;
    }
    return result;
}

} // namespace qm
