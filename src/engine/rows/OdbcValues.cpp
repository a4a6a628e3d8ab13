#include "engine/rows/OdbcValues.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace qm::odbc_values {

namespace {

/// Every decimal of so many significant digits reads back from a double as itself.
constexpr std::ptrdiff_t kExactDigits = 15;

char *writeDigits(std::uint32_t number, int digits, char *out)
{
    for (int i = digits - 1; i >= 0; --i, number /= 10)
        out[i] = static_cast<char>('0' + number % 10);
    return out + digits;
}

char *writeDate(int year, std::uint32_t month, std::uint32_t day, char *out)
{
    if (year < 0) {
        *out++ = '-';
        year = -year;
    }
    out = writeDigits(static_cast<std::uint32_t>(year), year > 9999 ? 5 : 4, out);
    *out++ = '-';
    out = writeDigits(month, 2, out);
    *out++ = '-';
    return writeDigits(day, 2, out);
}

} // namespace

char *write(const SQL_DATE_STRUCT &date, char *out)
{
    return writeDate(date.year, date.month, date.day, out);
}

char *write(const SQL_TIMESTAMP_STRUCT &time, char *out)
{
    constexpr std::uint32_t kThousand = 1000, kMillion = 1'000'000;
    out = writeDate(time.year, time.month, time.day, out);
    *out++ = ' ';
    out = writeDigits(time.hour, 2, out);
    *out++ = ':';
    out = writeDigits(time.minute, 2, out);
    *out++ = ':';
    out = writeDigits(time.second, 2, out);
    const auto nanoseconds = static_cast<std::uint32_t>(time.fraction);
    if (nanoseconds == 0)
        return out;
    *out++ = '.';
    if (nanoseconds % kMillion == 0)
        return writeDigits(nanoseconds / kMillion, 3, out);
    if (nanoseconds % kThousand == 0)
        return writeDigits(nanoseconds / kThousand, 6, out);
    return writeDigits(nanoseconds, 9, out);
}

double widened(float number)
{
    std::array<char, 64> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), number);
    double wide = number;
    std::from_chars(text.data(), written.ptr, wide);
    return wide;
}

std::optional<Value> exactNumber(std::string_view digits)
{
    const char *first = digits.data(), *last = first + digits.size();
    if (digits.find('.') == std::string_view::npos) {
        std::int64_t integer = 0;
        const auto [end, failure] = std::from_chars(first, last, integer);
        return failure == std::errc() && end == last ? std::optional(Value::of(integer)) : std::nullopt;
    }
    const auto significant = std::find_if(first, last, [](char c) { return c >= '1' && c <= '9'; });
    if (std::count_if(significant, last, [](char c) { return c >= '0' && c <= '9'; }) > kExactDigits)
        return std::nullopt;
    double real = 0;
    const auto [end, failure] = std::from_chars(first, last, real);
    return failure == std::errc() && end == last ? std::optional(Value::of(real)) : std::nullopt;
}

std::string_view withoutTrailingZeros(std::string_view time)
{
    const auto point = time.find('.');
    if (point == std::string_view::npos || time.find_first_of("+-", point) != std::string_view::npos)
        return time;
    const auto last = time.find_last_not_of('0');
    return time.substr(0, last == point ? point : last + 1);
}

} // namespace qm::odbc_values
