/// \file
/// UTF-8, decoded strictly, and which characters a reader must be shown because they act without being seen.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qm::utf8 {

inline constexpr char32_t kReplacement = 0xFFFD;

/// One character of a UTF-8 text. An invalid sequence is one replacement character per maximal part, as browsers count them.
struct Decoded
{
    char32_t codePoint = kReplacement;
    unsigned bytes = 1;
    bool valid = false;
};

[[nodiscard]] Decoded decodeBeyondAscii(const char *at, const char *end);

/// Decodes the character at \p at (which must lie before \p end). Overlong forms, surrogates and cut sequences are invalid.
[[nodiscard]] inline Decoded decode(const char *at, const char *end)
{
    const auto lead = static_cast<unsigned char>(*at);
    return lead < 0x80 ? Decoded{lead, 1, true} : decodeBeyondAscii(at, end);
}

/// Takes one character off the front of \p text, which must not be empty.
inline char32_t take(std::string_view &text)
{
    const Decoded next = decode(text.data(), text.data() + text.size());
    text.remove_prefix(next.bytes);
    return next.codePoint;
}

/// Writes \p codePoint as UTF-8 and gives the place behind it; at most 4 bytes.
inline char *encode(char32_t codePoint, char *out)
{
    const auto byte = [&out](char32_t value) { *out++ = static_cast<char>(static_cast<unsigned char>(value)); };
    if (codePoint < 0x80) {
        byte(codePoint);
        return out;
    }
    if (codePoint < 0x800) {
        byte(0xC0 | (codePoint >> 6));
    } else {
        if (codePoint < 0x10000) {
            byte(0xE0 | (codePoint >> 12));
        } else {
            byte(0xF0 | (codePoint >> 18));
            byte(0x80 | ((codePoint >> 12) & 0x3F));
        }
        byte(0x80 | ((codePoint >> 6) & 0x3F));
    }
    byte(0x80 | (codePoint & 0x3F));
    return out;
}

/// Characters that act on the text without being seen: C0 but tab and line breaks, DEL, C1, those for direction, invisible separators and
/// operators, tags. Joiners and variation selectors, which scripts and emoji are written with, are not among them.
/// By the Unicode Character Database, version 15.
[[nodiscard]] constexpr bool isHidden(char32_t c)
{
    if (c < 0x7F)
        return c < 0x20 && c != '\t' && c != '\n' && c != '\r';
    if (c < 0x200B)
        return c <= 0x9F || c == 0xAD || c == 0x61C || c == 0x180E;
    if (c <= 0x206F)
        return c == 0x200B || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || c >= 0x2060;
    return c == 0xFEFF || (c >= 0xFFF9 && c <= 0xFFFB) || (c >= 0xE0000 && c <= 0xE007F);
}

/// The line and paragraph separators, which break a line as a line feed does.
[[nodiscard]] constexpr bool isSeparator(char32_t c)
{
    return c == 0x2028 || c == 0x2029;
}

/// The visible form of a hidden character: C0 and DEL as their control picture, the others as "[U+202E]".
[[nodiscard]] std::string visible(char32_t hidden);

/// Appends \p text as valid UTF-8: replacement characters for what is none, the control picture for NUL, all else as it is.
void appendSanitized(std::string_view text, std::string &out);
[[nodiscard]] std::string sanitized(std::string_view text);

/// UTF-16 code units of valid UTF-8.
[[nodiscard]] std::size_t utf16Length(std::string_view valid);

} // namespace qm::utf8
