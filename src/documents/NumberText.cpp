#include "documents/NumberText.h"

#include "documents/TextScan.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace qm::numbers {

namespace {

/// Decimal digits without sign: digits[0..point) before the decimal point, the rest behind it.
struct Decimal
{
    std::string digits;
    int point = 0;
};

Decimal shortestDecimal(double magnitude)
{
    char text[kMaxText];
    const auto end = std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific).ptr;
    const char *const exponentMark = std::find(text, end, 'e');
    int exponent = 0;
    const char *digitsOfExponent = exponentMark + 1;
    digitsOfExponent += *digitsOfExponent == '+' ? 1 : 0;
    std::from_chars(digitsOfExponent, end, exponent);
    Decimal decimal;
    std::copy_if(static_cast<const char *>(text), exponentMark, std::back_inserter(decimal.digits), [](char c) { return c != '.'; });
    decimal.point = exponent + 1;
    if (decimal.point <= 0) {
        decimal.digits.insert(0, static_cast<std::size_t>(1 - decimal.point), '0');
        decimal.point = 1;
    }
    if (decimal.digits.size() < static_cast<std::size_t>(decimal.point))
        decimal.digits.resize(static_cast<std::size_t>(decimal.point), '0');
    return decimal;
}

void roundTo(Decimal &decimal, int decimals)
{
    const auto keep = static_cast<std::size_t>(decimal.point) + static_cast<std::size_t>(decimals);
    if (decimal.digits.size() <= keep)
        return;
    const bool up = decimal.digits[keep] >= '5';
    decimal.digits.resize(keep);
    if (!up)
        return;
    auto digit = decimal.digits.rbegin();
    while (digit != decimal.digits.rend() && *digit == '9')
        *digit++ = '0';
    if (digit != decimal.digits.rend()) {
        ++*digit;
    } else {
        decimal.digits.insert(decimal.digits.begin(), '1');
        ++decimal.point;
    }
}

void appendDecimal(Decimal decimal, bool negative, const Pattern &pattern, std::string &out)
{
    decimal.point += pattern.shift;
    decimal.digits.resize(std::max(decimal.digits.size(), static_cast<std::size_t>(decimal.point)), '0');
    roundTo(decimal, pattern.maxDecimals);
    const auto leading = std::min(decimal.digits.find_first_not_of('0'), static_cast<std::size_t>(decimal.point - 1));
    decimal.digits.erase(0, leading);
    decimal.point -= static_cast<int>(leading);
    const auto whole = static_cast<std::size_t>(decimal.point);
    while (decimal.digits.size() > whole + static_cast<std::size_t>(pattern.minDecimals) && decimal.digits.back() == '0')
        decimal.digits.pop_back();
    decimal.digits.resize(std::max(decimal.digits.size(), whole + static_cast<std::size_t>(pattern.minDecimals)), '0');
    if (negative && decimal.digits.find_first_not_of('0') != std::string::npos)
        out += '-';
    for (std::size_t i = 0; i < whole; ++i) {
        if (pattern.grouping && i > 0 && (whole - i) % 3 == 0)
            out += ',';
        out += decimal.digits[i];
    }
    if (decimal.digits.size() > whole) {
        out += '.';
        out.append(decimal.digits, whole);
    }
}

} // namespace

char *writeInteger(std::int64_t value, char *out)
{
    return std::to_chars(out, out + kMaxText, value).ptr;
}

char *writeShortest(double value, char *out)
{
    if (std::isnan(value))
        return textscan::put(out, "NaN");
    if (std::isinf(value))
        return textscan::put(out, value < 0 ? "-Infinity" : "Infinity");
    return std::to_chars(out, out + kMaxText, value).ptr;
}

void appendFixed(double value, const Pattern &pattern, std::string &out)
{
    appendDecimal(shortestDecimal(std::fabs(value)), std::signbit(value), pattern, out);
}

void appendFixed(std::int64_t value, const Pattern &pattern, std::string &out)
{
    char text[kMaxText];
    const char *const end = writeInteger(value, text);
    const bool negative = value < 0;
    Decimal decimal{std::string(static_cast<const char *>(text) + (negative ? 1 : 0), end), 0};
    decimal.point = static_cast<int>(decimal.digits.size());
    appendDecimal(std::move(decimal), negative, pattern, out);
}

std::string counted(std::int64_t count, const char *one, const char *many)
{
    std::string text;
    appendFixed(count, {0, 0, true, 0}, text);
    return text + ' ' + (count == 1 ? one : many);
}

} // namespace qm::numbers
