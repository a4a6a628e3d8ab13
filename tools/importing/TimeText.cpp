#include "importing/TimeText.h"

#include <array>
#include <chrono>

namespace qm {

namespace {

constexpr std::int64_t kDayMs = 86'400'000;
constexpr EventTime kFirst = -62'135'596'800'000; ///< 0001-01-01
constexpr EventTime kLast = 253'402'300'799'999;  ///< the end of 9999-12-31

/// Walks over a text; every take* leaves the place unchanged when it fails.
class Scanner
{
public:
    explicit Scanner(std::string_view text) : m_rest(text) {}

    [[nodiscard]] bool atEnd() const { return m_rest.empty(); }
    bool take(char c)
    {
        if (m_rest.empty() || m_rest.front() != c)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }
    /// Exactly \p digits digits.
    bool takeNumber(int digits, int &value)
    {
        if (m_rest.size() < static_cast<std::size_t>(digits))
            return false;
        int number = 0;
        for (const char c : m_rest.substr(0, static_cast<std::size_t>(digits))) {
            if (c < '0' || c > '9')
                return false;
            number = number * 10 + (c - '0');
        }
        value = number;
        m_rest.remove_prefix(static_cast<std::size_t>(digits));
        return true;
    }
    /// At least one digit; the first three count.
    bool takeMilliseconds(int &value)
    {
        int number = 0;
        std::size_t digits = 0;
        for (; digits < m_rest.size() && m_rest[digits] >= '0' && m_rest[digits] <= '9'; ++digits)
            if (digits < 3)
                number = number * 10 + (m_rest[digits] - '0');
        if (digits == 0)
            return false;
        for (std::size_t i = digits; i < 3; ++i)
            number *= 10;
        value = number;
        m_rest.remove_prefix(digits);
        return true;
    }

private:
    std::string_view m_rest;
};

bool takeDate(Scanner &scanner, std::int64_t &days)
{
    int year = 0, month = 0, day = 0;
    if (!scanner.takeNumber(4, year) || !scanner.take('-') || !scanner.takeNumber(2, month) || !scanner.take('-') ||
        !scanner.takeNumber(2, day))
        return false;
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month))
        return false;
    days = daysFromCivil(year, month, day);
    return true;
}

bool takeTimeOfDay(Scanner &scanner, std::int64_t &ms)
{
    int hour = 0, minute = 0, second = 0, fraction = 0;
    if (!scanner.takeNumber(2, hour) || !scanner.take(':') || !scanner.takeNumber(2, minute))
        return false;
    if (scanner.take(':')) {
        if (!scanner.takeNumber(2, second))
            return false;
        if ((scanner.take('.') || scanner.take(',')) && !scanner.takeMilliseconds(fraction))
            return false;
    }
    if (hour > 23 || minute > 59 || second > 60) // 60: a leap second, which counts as the next minute's first
        return false;
    ms = ((hour * 60LL + minute) * 60 + second) * 1000 + fraction;
    return true;
}

bool takeZone(Scanner &scanner, std::int64_t &offsetMs)
{
    offsetMs = 0;
    if (scanner.atEnd() || scanner.take('Z') || scanner.take('z'))
        return true;
    const bool behind = scanner.take('-');
    if (!behind && !scanner.take('+'))
        return false;
    int hours = 0, minutes = 0;
    if (!scanner.takeNumber(2, hours))
        return false;
    if (!scanner.atEnd()) {
        scanner.take(':');
        if (!scanner.takeNumber(2, minutes))
            return false;
    }
    if (hours > 23 || minutes > 59)
        return false;
    offsetMs = (hours * 60LL + minutes) * 60'000 * (behind ? -1 : 1);
    return true;
}

void appendNumber(std::string &out, int value, int digits)
{
    std::array<char, 4> text{};
    for (int i = digits - 1; i >= 0; --i, value /= 10)
        text[static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
    out.append(text.data(), static_cast<std::size_t>(digits));
}

} // namespace

std::int64_t daysFromCivil(int year, int month, int day)
{
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    return std::chrono::sys_days(date).time_since_epoch().count();
}

int daysInMonth(int year, int month)
{
    const auto last = std::chrono::year(year) / std::chrono::month(static_cast<unsigned>(month)) / std::chrono::last;
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

std::optional<EventTime> parseEventTime(std::string_view text)
{
    Scanner scanner(text);
    std::int64_t days = 0, ms = 0, offset = 0;
    if (!takeDate(scanner, days))
        return std::nullopt;
    if (!scanner.atEnd()) {
        bool separated = scanner.take('T') || scanner.take('t');
        while (!separated && scanner.take(' ')) {
        }
        if (!takeTimeOfDay(scanner, ms))
            return std::nullopt;
        while (scanner.take(' ')) {
        }
        if (!takeZone(scanner, offset) || !scanner.atEnd())
            return std::nullopt;
    }
    const EventTime time = days * kDayMs + ms - offset;
    if (time < kFirst || time > kLast)
        return std::nullopt;
    return time;
}

void appendEventTime(std::string &out, EventTime time)
{
    const auto instant = std::chrono::sys_time<std::chrono::milliseconds>(std::chrono::milliseconds(time));
    const auto day = std::chrono::floor<std::chrono::days>(instant);
    const std::chrono::year_month_day date(day);
    const int ms = static_cast<int>((instant - day).count());
    appendNumber(out, static_cast<int>(date.year()), 4);
    out += '-';
    appendNumber(out, static_cast<int>(static_cast<unsigned>(date.month())), 2);
    out += '-';
    appendNumber(out, static_cast<int>(static_cast<unsigned>(date.day())), 2);
    out += ' ';
    appendNumber(out, ms / 3'600'000, 2);
    out += ':';
    appendNumber(out, ms / 60'000 % 60, 2);
    out += ':';
    appendNumber(out, ms / 1000 % 60, 2);
    out += '.';
    appendNumber(out, ms % 1000, 3);
}

std::string eventTimeText(EventTime time)
{
    std::string out;
    appendEventTime(out, time);
    return out;
}

} // namespace qm
