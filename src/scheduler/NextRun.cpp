#include "scheduler/NextRun.h"

#include <array>

namespace qm {

namespace {
constexpr std::array<QStringView, 4> kFrequencyTexts{u"Single", u"Daily", u"Weekly", u"Monthly"};
} // namespace

QString frequencyText(int code)
{
    return code >= 0 && code < static_cast<int>(kFrequencyTexts.size()) ? kFrequencyTexts[static_cast<std::size_t>(code)].toString()
                                                                        : QString();
}

std::optional<int> frequencyCode(QStringView text)
{
    for (std::size_t code = 0; code < kFrequencyTexts.size(); ++code)
        if (kFrequencyTexts[code] == text)
            return static_cast<int>(code);
    return std::nullopt;
}

Advance advancePast(QDate today, QDate date, QStringView frequencyText)
{
    Advance result{date, 0, false};
    const std::optional<int> code = frequencyCode(frequencyText);
    if (!code)
        return result;
    while (today >= result.date) {
        switch (*code) {
        case frequency::single:
            result.retired = true;
            return result;
        case frequency::daily:
            result.date = result.date.addDays(1);
            break;
        case frequency::weekly:
            result.date = result.date.addDays(7);
            break;
        default:
            result.date = result.date.addMonths(1);
            break;
        }
        ++result.periods;
    }
    return result;
}

} // namespace qm
