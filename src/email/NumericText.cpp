#include "email/NumericText.h"

#include "core/RuntimeError.h"

#include <QCoreApplication>

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace qm {

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/// Appends the integer part at \p at without its group separators. False when the groups are not of three digits.
bool takeIntegerPart(QStringView text, qsizetype &at, std::string &digits)
{
    qsizetype sinceSeparator = -1; // -1: no separator yet
    const std::size_t before = digits.size();
    for (; at < text.size(); ++at) {
        if (isDigit(text[at])) {
            digits.push_back(static_cast<char>(text[at].unicode()));
            if (sinceSeparator >= 0)
                ++sinceSeparator;
        } else if (text[at] == u',') {
            const bool firstGroupFits = sinceSeparator < 0 && digits.size() > before && digits.size() - before <= 3;
            if (!firstGroupFits && sinceSeparator != 3)
                return false;
            sinceSeparator = 0;
        } else {
            break;
        }
    }
    return sinceSeparator < 0 || sinceSeparator == 3;
}

void takeDigits(QStringView text, qsizetype &at, std::string &digits)
{
    for (; at < text.size() && isDigit(text[at]); ++at)
        digits.push_back(static_cast<char>(text[at].unicode()));
}

bool takeExponent(QStringView text, qsizetype &at, std::string &digits)
{
    if (at >= text.size() || (text[at] != u'e' && text[at] != u'E'))
        return true;
    ++at;
    digits.push_back('e');
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) {
        if (text[at] == u'-')
            digits.push_back('-');
        ++at;
    }
    const std::size_t before = digits.size();
    takeDigits(text, at, digits);
    return digits.size() > before;
}

} // namespace

std::optional<double> numericValue(QStringView text)
{
    text = text.trimmed();
    std::string digits;
    qsizetype at = 0;
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) {
        if (text[at] == u'-')
            digits.push_back('-');
        ++at;
    }
    const std::size_t signs = digits.size();
    if (!takeIntegerPart(text, at, digits))
        return std::nullopt;
    std::size_t mantissa = digits.size() - signs;
    if (at < text.size() && text[at] == u'.') {
        digits.push_back('.');
        ++at;
        const std::size_t before = digits.size();
        takeDigits(text, at, digits);
        mantissa += digits.size() - before;
    }
    if (mantissa == 0 || !takeExponent(text, at, digits) || at != text.size())
        return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::int32_t roundedInteger(QStringView text)
{
    const std::optional<double> value = numericValue(text);
    if (!value)
        raise(err::typeMismatch, QCoreApplication::translate("qm::frmEmailSettings", "'%1' is not a number").arg(text));
    const double rounded = std::nearbyint(*value);
    if (rounded < std::numeric_limits<std::int32_t>::min() || rounded > std::numeric_limits<std::int32_t>::max())
        raise(err::overflow, QCoreApplication::translate("qm::frmEmailSettings", "'%1' is outside -2147483648 to 2147483647").arg(text));
    return static_cast<std::int32_t>(rounded);
}

} // namespace qm
