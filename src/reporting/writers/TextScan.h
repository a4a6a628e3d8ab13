/// \file
/// Copies text at the speed of the memory bus, stopping at the bytes a format must look at; and decodes UTF-8 strictly.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

namespace qm::textscan {

inline constexpr char32_t kReplacement = 0xFFFD;
inline constexpr std::string_view kReplacementUtf8 = "\xEF\xBF\xBD";

/// One character of a UTF-8 text. An invalid sequence is one replacement character per maximal part, as browsers count them.
struct Decoded
{
    char32_t codePoint = kReplacement;
    unsigned bytes = 1;
    bool valid = false;
};

/// Decodes the character at \p at (which must lie before \p end). Overlong forms, surrogates and cut sequences are invalid.
[[nodiscard]] Decoded decode(const char *at, const char *end);

/// Writes \p codePoint as UTF-8 and gives the place behind it; at most 4 bytes.
[[nodiscard]] char *encode(char32_t codePoint, char *out);

/// Characters that change the direction of the text around them.
[[nodiscard]] constexpr bool isBidiControl(char32_t c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

/// Controls that a reader must see although they have no shape: C0 but tab and line breaks, DEL, C1, and those for direction.
[[nodiscard]] constexpr bool isHiddenControl(char32_t c)
{
    return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || (c >= 0x7F && c <= 0x9F) || isBidiControl(c);
}

/// The visible form of a hidden control: C0 and DEL as their control picture, the others as "[U+202E]".
[[nodiscard]] std::string visibleControl(char32_t control);

/// Appends \p text as valid UTF-8: replacement characters for what is none, the control picture for NUL, all else as it is.
void appendSanitized(std::string_view text, std::string &out);
[[nodiscard]] std::string sanitized(std::string_view text);

/// UTF-16 code units of valid UTF-8.
[[nodiscard]] std::size_t utf16Length(std::string_view valid);

using Block = signed char __attribute__((vector_size(16)));
using BlockWords = std::uint64_t __attribute__((vector_size(16)));

/// The bytes a run must stop at: every byte below \p FirstPlain, every byte beyond ASCII, and the \p Stops.
template <signed char FirstPlain, char... Stops>
struct StopAt
{
    [[nodiscard]] static bool block(const Block &bytes)
    {
        // As signed bytes all that is beyond ASCII is negative: one comparison finds it together with the controls.
        const auto hit = ((bytes < FirstPlain) | ... | (bytes == static_cast<signed char>(Stops)));
        BlockWords words;
        std::memcpy(&words, &hit, sizeof words);
        return (words[0] | words[1]) != 0;
    }
    [[nodiscard]] static bool byte(char c) { return static_cast<signed char>(c) < FirstPlain || ((c == Stops) || ...); }
};

/// Copies bytes from \p in to \p out up to the first byte that \p Stop names, or \p end. Both pointers move along.
/// \p out needs room for 16 bytes more than are copied.
template <class Stop>
inline void copyRun(const char *&in, const char *end, char *&out)
{
    const char *from = in;
    char *to = out;
    while (end - from >= 16) {
        Block bytes;
        std::memcpy(&bytes, from, sizeof bytes);
        std::memcpy(to, &bytes, sizeof bytes);
        if (Stop::block(bytes)) {
            break;
        }
        from += 16;
        to += 16;
    }
    while (from != end && !Stop::byte(*from)) {
        *to++ = *from++;
    }
    in = from;
    out = to;
}

/// Copies constant text.
inline char *put(char *out, std::string_view text)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

/// The pieces as one text.
[[nodiscard]] std::string joined(std::initializer_list<std::string_view> pieces);

/// Appends all of \p blob in lower-case hexadecimal digits.
void appendHex(std::string_view blob, std::string &out);

} // namespace qm::textscan
