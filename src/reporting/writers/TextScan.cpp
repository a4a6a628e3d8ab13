#include "reporting/writers/TextScan.h"

#include <algorithm>

namespace qm::textscan {

namespace {

constexpr char kHexLower[] = "0123456789abcdef";
constexpr char kHexUpper[] = "0123456789ABCDEF";

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

Decoded decode(const char *at, const char *end)
{
    const auto lead = static_cast<unsigned char>(*at);
    if (lead < 0x80) {
        return {lead, 1, true};
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return {};
    }
    const unsigned length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t codePoint = lead & (0x7FU >> length);
    SecondByte range = secondByteAfter(lead);
    for (unsigned i = 1; i < length; ++i) {
        if (end - at <= static_cast<std::ptrdiff_t>(i)) {
            return {kReplacement, i, false};
        }
        const auto next = static_cast<unsigned char>(at[i]);
        if (next < range.low || next > range.high) {
            return {kReplacement, i, false};
        }
        codePoint = (codePoint << 6) | (next & 0x3FU);
        range = {0x80, 0xBF};
    }
    return {codePoint, length, true};
}

char *encode(char32_t codePoint, char *out)
{
    const auto byte = [&out](char32_t value) { *out++ = static_cast<char>(static_cast<unsigned char>(value)); };
    if (codePoint < 0x80) {
        byte(codePoint);
    } else if (codePoint < 0x800) {
        byte(0xC0 | (codePoint >> 6));
        byte(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        byte(0xE0 | (codePoint >> 12));
        byte(0x80 | ((codePoint >> 6) & 0x3F));
        byte(0x80 | (codePoint & 0x3F));
    } else {
        byte(0xF0 | (codePoint >> 18));
        byte(0x80 | ((codePoint >> 12) & 0x3F));
        byte(0x80 | ((codePoint >> 6) & 0x3F));
        byte(0x80 | (codePoint & 0x3F));
    }
    return out;
}

std::string visibleControl(char32_t control)
{
    char picture[4];
    if (control < 0x20) {
        return {picture, encode(0x2400 + control, picture)};
    }
    if (control == 0x7F) {
        return {picture, encode(0x2421, picture)};
    }
    std::string name = "[U+";
    for (int shift = 12; shift >= 0; shift -= 4) {
        name += kHexUpper[(control >> shift) & 0xF];
    }
    return name + ']';
}

void appendSanitized(std::string_view text, std::string &out)
{
    const char *at = text.data();
    const char *const end = at + text.size();
    while (at != end) {
        const char *const run = at;
        while (at != end && static_cast<signed char>(*at) > 0) {
            ++at;
        }
        out.append(run, at);
        if (at == end) {
            break;
        }
        const Decoded next = decode(at, end);
        if (!next.valid) {
            out += kReplacementUtf8;
        } else if (next.codePoint == 0) {
            out += visibleControl(0);
        } else {
            out.append(at, next.bytes);
        }
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

std::string joined(std::initializer_list<std::string_view> pieces)
{
    std::string text;
    for (const std::string_view piece : pieces) {
        text += piece;
    }
    return text;
}

void appendHex(std::string_view blob, std::string &out)
{
    const std::size_t start = out.size();
    out.resize(start + 2 * blob.size());
    char *to = out.data() + start;
    for (const char c : blob) {
        const auto byte = static_cast<unsigned char>(c);
        *to++ = kHexLower[byte >> 4];
        *to++ = kHexLower[byte & 0xF];
    }
}

} // namespace qm::textscan
