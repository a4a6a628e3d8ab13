#include "core/Utf8.h"

#include <algorithm>
#include <cstdint>

namespace qm::utf8 {

namespace {

constexpr std::string_view kReplacementText = "\xEF\xBF\xBD";

/// Lowest and highest second byte that may follow \p lead, by the table of well-formed sequences of the Unicode standard.
struct SecondByte
{
    unsigned char low, high;
};

SecondByte secondByteAfter(unsigned char lead)
{
    switch (lead) {
    case 0xE0:
        return {0xA0, 0xBF};
    case 0xED:
        return {0x80, 0x9F};
    case 0xF0:
        return {0x90, 0xBF};
    case 0xF4:
        return {0x80, 0x8F};
    default:
        return {0x80, 0xBF};
    }
}

} // namespace

Decoded decodeBeyondAscii(const char *at, const char *end)
{
    const auto lead = static_cast<unsigned char>(*at);
    if (lead < 0xC2 || lead > 0xF4)
        return {};
    const unsigned length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t codePoint = lead & (0x7FU >> length);
    SecondByte range = secondByteAfter(lead);
    for (unsigned i = 1; i < length; ++i) {
        if (end - at <= static_cast<std::ptrdiff_t>(i))
            return {kReplacement, i, false};
        const auto next = static_cast<unsigned char>(at[i]);
        if (next < range.low || next > range.high)
            return {kReplacement, i, false};
        codePoint = (codePoint << 6) | (next & 0x3FU);
        range = {0x80, 0xBF};
    }
    return {codePoint, length, true};
}

std::string visible(char32_t hidden)
{
    char picture[4];
    if (hidden < 0x20)
        return {picture, encode(0x2400 + hidden, picture)};
    if (hidden == 0x7F)
        return {picture, encode(0x2421, picture)};
    constexpr char kHex[] = "0123456789ABCDEF";
    std::string name = "[U+";
    for (int shift = hidden > 0xFFFF ? 16 : 12; shift >= 0; shift -= 4)
        name += kHex[(hidden >> shift) & 0xF];
    return name + ']';
}

void appendSanitized(std::string_view text, std::string &out)
{
    const char *at = text.data();
    const char *const end = at + text.size();
    while (at != end) {
        const char *const run = at;
        while (at != end && static_cast<signed char>(*at) > 0)
            ++at;
        out.append(run, at);
        if (at == end)
            break;
        const Decoded next = decode(at, end);
        if (!next.valid)
            out += kReplacementText;
        else if (next.codePoint == 0)
            out += visible(0);
        else
            out.append(at, next.bytes);
        at += next.bytes;
    }
}

std::string sanitized(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    appendSanitized(text, out);
    return out;
}

std::size_t utf16Length(std::string_view valid)
{
    // Each character has one byte that does not continue another; those of four bytes take two units.
    return static_cast<std::size_t>(
        std::count_if(valid.begin(), valid.end(), [](char c) { return static_cast<signed char>(c) >= -64; }) +
        std::count_if(valid.begin(), valid.end(), [](char c) { return static_cast<unsigned char>(c) >= 0xF0; }));
}

} // namespace qm::utf8
