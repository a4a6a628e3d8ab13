#include "documents/IsoTime.h"

#include <chrono>

namespace qm {

namespace {

/// Takes \p digits digits off the front; -1 when they are not all there.
int takeNumber(std::string_view &text, std::size_t digits)
{
    if (text.size() < digits)
        return -1;
    int value = 0;
    for (std::size_t i = 0; i < digits; ++i) {
        const char c = text[i];
        if (c < '0' || c > '9')
            return -1;
        value = value * 10 + (c - '0');
    }
    text.remove_prefix(digits);
    return value;
}

bool take(std::string_view &text, char c)
{
    if (text.empty() || text.front() != c)
        return false;
    text.remove_prefix(1);
    return true;
}

bool takeDate(std::string_view &text, IsoTime &time)
{
    time.year = takeNumber(text, 4);
    if (time.year < 0 || !take(text, '-'))
        return false;
    time.month = takeNumber(text, 2);
    if (time.month < 0 || !take(text, '-'))
        return false;
    time.day = takeNumber(text, 2);
    time.hasDate = true;
    return time.day > 0 && std::chrono::year_month_day(std::chrono::year(time.year), std::chrono::month(static_cast<unsigned>(time.month)),
                                                       std::chrono::day(static_cast<unsigned>(time.day)))
                               .ok();
}

bool takeFraction(std::string_view &text, IsoTime &time)
{
    int digits = 0;
    for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1), ++digits)
        if (digits < 3)
            time.millisecond = time.millisecond * 10 + (text.front() - '0');
    for (int i = digits; i < 3; ++i)
        time.millisecond *= 10;
    return digits > 0;
}

bool takeTime(std::string_view &text, IsoTime &time)
{
    time.hour = takeNumber(text, 2);
    if (time.hour < 0 || time.hour > 23 || !take(text, ':'))
        return false;
    time.minute = takeNumber(text, 2);
    if (time.minute < 0 || time.minute > 59)
        return false;
    time.hasTime = true;
    if (!take(text, ':'))
        return true;
    time.second = takeNumber(text, 2);
    if (time.second < 0 || time.second > 59)
        return false;
    return !take(text, '.') || takeFraction(text, time);
}

} // namespace

std::int64_t IsoTime::daysSince1970() const
{
    const std::chrono::year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    return std::chrono::sys_days(date).time_since_epoch().count();
}

std::optional<IsoTime> parseIsoTime(std::string_view text)
{
    IsoTime time;
    const bool startsWithDate = text.size() >= 5 && text[4] == '-';
    if (startsWithDate) {
        if (!takeDate(text, time))
            return std::nullopt;
        if (text.empty())
            return time;
        if (!take(text, ' ') && !take(text, 'T'))
            return std::nullopt;
    }
    if (!takeTime(text, time))
        return std::nullopt;
    take(text, 'Z');
    return text.empty() ? std::optional(time) : std::nullopt;
}

} // namespace qm
