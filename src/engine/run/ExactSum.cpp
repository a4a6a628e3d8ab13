#include "engine/run/ExactSum.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace qm {

namespace {

__extension__ using Wide = __int128;

constexpr int kLimbDigits = 9;
constexpr std::int64_t kLimb = 1'000'000'000;
/// So many values can be added to limbs before one of them overflows.
constexpr std::uint32_t kCarryAfter = std::uint32_t{1} << 31;
/// Texts that are longer are no numbers that anybody means.
constexpr std::size_t kMostDigits = 1000;
/// Every decimal of so many significant digits reads back from a double as itself.
constexpr std::size_t kExactDigits = 15;
/// Room for every double written without exponent.
constexpr std::size_t kFixedRoom = 400;

bool areDigits(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

std::optional<double> parseReal(std::string_view text)
{
    text = trimmed(text);
    if (text.starts_with('+'))
        text.remove_prefix(1);
    if (text.empty() || text.size() > kMostDigits || text.find_first_not_of("0123456789+-.eE") != std::string_view::npos)
        return std::nullopt;
    double real = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), real);
    return failure == std::errc() && end == text.data() + text.size() ? std::optional(real) : std::nullopt;
}

std::string wideText(Wide value)
{
    std::string text;
    const bool negative = value < 0;
    do {
        const int digit = static_cast<int>(value % 10);
        text += static_cast<char>('0' + (negative ? -digit : digit));
        value /= 10;
    } while (value != 0);
    if (negative)
        text += '-';
    std::reverse(text.begin(), text.end());
    return text;
}

/// A finite number as digits without exponent.
std::string_view fixedText(const Value &value, std::array<char, kFixedRoom> &room)
{
    switch (value.kind) {
    case Value::Kind::Integer:
        return {room.data(),
                static_cast<std::size_t>(std::to_chars(room.data(), room.data() + room.size(), value.integer).ptr - room.data())};
    case Value::Kind::Real:
        return {room.data(),
                static_cast<std::size_t>(std::to_chars(room.data(), room.data() + room.size(), value.real, std::chars_format::fixed).ptr -
                                         room.data())};
    default:
        return value.text();
    }
}

int compareDecimals(DecimalText left, DecimalText right)
{
    const auto shorten = [](DecimalText &number) {
        number.whole.remove_prefix(std::min(number.whole.find_first_not_of('0'), number.whole.size()));
        number.fraction = number.fraction.substr(0, number.fraction.find_last_not_of('0') + 1);
        number.negative = number.negative && !(number.whole.empty() && number.fraction.empty());
    };
    shorten(left);
    shorten(right);
    if (left.negative != right.negative)
        return left.negative ? -1 : 1;
    int order =
        left.whole.size() != right.whole.size() ? (left.whole.size() < right.whole.size() ? -1 : 1) : left.whole.compare(right.whole);
    if (order == 0)
        order = left.fraction.compare(right.fraction);
    order = order < 0 ? -1 : order > 0 ? 1 : 0;
    return left.negative ? -order : order;
}

} // namespace

std::optional<DecimalText> parseDecimal(std::string_view text)
{
    text = trimmed(text);
    DecimalText number;
    if (text.starts_with('-') || text.starts_with('+')) {
        number.negative = text.front() == '-';
        text.remove_prefix(1);
    }
    const auto point = text.find('.');
    number.whole = text.substr(0, point);
    if (point != std::string_view::npos)
        number.fraction = text.substr(point + 1);
    if (number.whole.size() + number.fraction.size() == 0 || text.size() > kMostDigits || !areDigits(number.whole) ||
        !areDigits(number.fraction))
        return std::nullopt;
    return number;
}

bool isNumber(const Value &value)
{
    switch (value.kind) {
    case Value::Kind::Integer:
    case Value::Kind::Real:
        return true;
    case Value::Kind::Text:
        return parseDecimal(value.text()) || parseReal(value.text());
    case Value::Kind::Null:
    case Value::Kind::Blob:
        return false;
    }
    return false;
}

int compareNumbers(const Value &left, const Value &right)
{
    if (left.kind != Value::Kind::Text && right.kind != Value::Kind::Text)
        return compareValues(left, right);
    const auto plain = [](const Value &value) {
        // What is written with an exponent is a real.
        const auto real = value.kind == Value::Kind::Text && !parseDecimal(value.text()) ? parseReal(value.text()) : std::nullopt;
        return real ? Value::of(*real) : value;
    };
    const Value a = plain(left), b = plain(right);
    const auto isEndless = [](const Value &value) { return value.kind == Value::Kind::Real && !std::isfinite(value.real); };
    if (isEndless(a) || isEndless(b)) {
        const auto stand = [&](const Value &value) { return isEndless(value) ? value : Value::of(0.0); };
        return compareValues(stand(a), stand(b));
    }
    std::array<char, kFixedRoom> roomA{}, roomB{};
    return compareDecimals(parseDecimal(fixedText(a, roomA)).value_or(DecimalText{}),
                           parseDecimal(fixedText(b, roomB)).value_or(DecimalText{}));
}

bool ExactSum::add(const Value &value, bool decimal)
{
    switch (value.kind) {
    case Value::Kind::Null:
    case Value::Kind::Blob:
        return false;
    case Value::Kind::Integer:
        m_integers += value.integer;
        break;
    case Value::Kind::Real: {
        std::array<char, kFixedRoom> room{};
        if (decimal && std::isfinite(value.real))
            addDecimal(parseDecimal(fixedText(value, room)).value_or(DecimalText{}));
        else
            addReal(value.real);
        break;
    }
    case Value::Kind::Text:
        if (const auto number = parseDecimal(value.text()))
            addDecimal(*number);
        else if (const auto real = parseReal(value.text()))
            addReal(*real);
        else
            return false;
        break;
    }
    ++m_count;
    return true;
}

void ExactSum::addReal(double real)
{
    m_hasReals = true;
    if (!std::isfinite(real)) {
        m_infinite += real;
        return;
    }
    const double sum = m_reals + real;
    m_lost += std::fabs(m_reals) >= std::fabs(real) ? (m_reals - sum) + real : (real - sum) + m_reals;
    m_reals = sum;
}

std::int64_t &ExactSum::limb(int index)
{
    if (m_limbs.empty())
        m_lowest = index;
    if (index < m_lowest) {
        m_limbs.insert(m_limbs.begin(), static_cast<std::size_t>(m_lowest - index), 0);
        m_lowest = index;
    }
    const auto at = static_cast<std::size_t>(index - m_lowest);
    if (at >= m_limbs.size())
        m_limbs.resize(at + 1, 0);
    return m_limbs[at];
}

void ExactSum::addDecimal(const DecimalText &number)
{
    m_hasDecimals = true;
    m_scale = std::max(m_scale, number.fraction.size());
    const auto addLimb = [&](int index, std::string_view digits, std::int64_t unit) {
        std::int64_t value = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
        limb(index) += (number.negative ? -value : value) * unit;
    };
    std::string_view whole = number.whole;
    for (int index = 0; !whole.empty(); ++index) {
        const std::size_t digits = std::min<std::size_t>(whole.size(), kLimbDigits);
        addLimb(index, whole.substr(whole.size() - digits), 1);
        whole.remove_suffix(digits);
    }
    std::string_view fraction = number.fraction;
    for (int index = -1; !fraction.empty(); --index) {
        const std::size_t digits = std::min<std::size_t>(fraction.size(), kLimbDigits);
        std::int64_t unit = 1;
        for (std::size_t i = digits; i < kLimbDigits; ++i)
            unit *= 10;
        addLimb(index, fraction.substr(0, digits), unit);
        fraction.remove_prefix(digits);
    }
    if (++m_uncarried >= kCarryAfter)
        carry();
}

/// Makes all limbs but the highest less than 10^9 in size.
void ExactSum::carry()
{
    std::int64_t carried = 0;
    for (std::int64_t &digits : m_limbs) {
        digits += carried;
        carried = digits / kLimb;
        digits %= kLimb;
    }
    for (; carried != 0; carried /= kLimb)
        m_limbs.push_back(carried % kLimb);
    m_uncarried = 1;
}

void ExactSum::add(const ExactSum &other)
{
    m_integers += other.m_integers;
    m_count += other.m_count;
    m_scale = std::max(m_scale, other.m_scale);
    m_hasDecimals = m_hasDecimals || other.m_hasDecimals;
    if (!other.m_limbs.empty()) {
        if (m_uncarried >= kCarryAfter - other.m_uncarried)
            carry();
        for (std::size_t i = 0; i < other.m_limbs.size(); ++i)
            limb(other.m_lowest + static_cast<int>(i)) += other.m_limbs[i];
        m_uncarried += other.m_uncarried;
        if (m_uncarried >= kCarryAfter)
            carry();
    }
    if (other.m_hasReals) {
        addReal(other.m_reals);
        addReal(other.m_lost);
        m_infinite += other.m_infinite;
    }
}

/// The sum of integers and decimals with as many digits behind the point as the decimals have.
std::string ExactSum::exactText() const
{
    ExactSum whole;
    whole.m_limbs = m_limbs;
    whole.m_lowest = m_lowest;
    whole.m_scale = m_scale;
    const std::string integers = wideText(m_integers);
    whole.addDecimal(*parseDecimal(integers));
    static_cast<void>(whole.limb(0));
    const int fractionLimbs = static_cast<int>((m_scale + kLimbDigits - 1) / kLimbDigits);
    static_cast<void>(whole.limb(-fractionLimbs));
    whole.carry();
    // Lower limbs together are less than one of the highest that is not zero: that has the sum's sign.
    const auto highest = std::find_if(whole.m_limbs.rbegin(), whole.m_limbs.rend(), [](std::int64_t limb) { return limb != 0; });
    const bool negative = highest != whole.m_limbs.rend() && *highest < 0;
    if (negative)
        for (std::int64_t &limb : whole.m_limbs)
            limb = -limb;
    for (std::size_t i = 0; i + 1 < whole.m_limbs.size(); ++i)
        if (whole.m_limbs[i] < 0) {
            whole.m_limbs[i] += kLimb;
            --whole.m_limbs[i + 1];
        }
    std::string digits;
    for (auto limb = whole.m_limbs.rbegin(); limb != whole.m_limbs.rend(); ++limb) {
        const std::string part = std::to_string(*limb);
        if (part.size() < kLimbDigits)
            digits.append(kLimbDigits - part.size(), '0');
        digits += part;
    }
    const std::size_t behind = static_cast<std::size_t>(-whole.m_lowest) * kLimbDigits;
    std::string text = digits.substr(0, digits.size() - behind);
    text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
    if (m_scale > 0)
        text += '.' + digits.substr(digits.size() - behind, m_scale);
    return (negative ? "-" : "") + text;
}

double ExactSum::real() const
{
    double sum = m_reals + m_lost;
    if (m_hasDecimals) {
        const std::string text = exactText();
        double exact = 0;
        std::from_chars(text.data(), text.data() + text.size(), exact);
        sum += exact;
    } else {
        sum += static_cast<double>(m_integers);
    }
    return std::isfinite(m_infinite) && m_infinite == 0 ? sum : m_infinite;
}

OwnedValue ExactSum::sum() const
{
    if (m_count == 0)
        return {};
    if (m_hasReals)
        return OwnedValue(Value::of(real()));
    const std::string text = m_hasDecimals ? exactText() : wideText(m_integers);
    if (m_scale == 0) {
        std::int64_t integer = 0;
        const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), integer);
        return OwnedValue(failure == std::errc() ? Value::of(integer) : Value::ofText(text));
    }
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto significant = std::find_if(text.begin(), text.end(), [](char c) { return c >= '1' && c <= '9'; });
    return OwnedValue(static_cast<std::size_t>(std::count_if(significant, text.end(), isDigit)) <= kExactDigits ? Value::of(real())
                                                                                                                : Value::ofText(text));
}

Value ExactSum::average() const
{
    return m_count == 0 ? Value::ofNull() : Value::of(real() / static_cast<double>(m_count));
}

} // namespace qm
