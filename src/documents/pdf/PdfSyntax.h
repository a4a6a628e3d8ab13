/// \file
/// Small helpers that spell PDF tokens into a byte string.
#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace qm::pdf {

/// Appends the decimal digits of \p number.
inline void appendNumber(std::string &out, std::int64_t number)
{
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    out.append(digits, end);
}

/// Appends \p number followed by a blank.
inline void appendOperand(std::string &out, std::int64_t number)
{
    appendNumber(out, number);
    out.push_back(' ');
}

/// Appends the three operands of a colour, \p rgb being 0xRRGGBB, each followed by a blank.
void appendColour(std::string &out, std::uint32_t rgb);

/// Appends "N 0 R".
inline void appendReference(std::string &out, int object)
{
    appendNumber(out, object);
    out += " 0 R";
}

/// Appends the low \p digits hexadecimal digits of \p number.
inline void appendHex(std::string &out, std::uint32_t number, int digits)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        out.push_back(kDigits[(number >> shift) & 0xF]);
}

/// Appends \p codePoint as UTF-16BE in hexadecimal, as ToUnicode maps and text strings want it.
inline void appendUtf16Hex(std::string &out, char32_t codePoint)
{
    if (codePoint < 0x10000) {
        appendHex(out, codePoint, 4);
        return;
    }
    appendHex(out, 0xD800 + ((codePoint - 0x10000) >> 10), 4);
    appendHex(out, 0xDC00 + ((codePoint - 0x10000) & 0x3FF), 4);
}

/// Appends a text string object: UTF-16BE with a byte-order mark, in hexadecimal. \p text, in UTF-8, may be empty.
void appendTextString(std::string &out, std::string_view text);

} // namespace qm::pdf
