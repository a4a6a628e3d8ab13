/// \file
/// Copies text at the speed of the memory bus, stopping at the bytes a format must look at.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

namespace qm::textscan {

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
        if (Stop::block(bytes))
            break;
        from += 16;
        to += 16;
    }
    while (from != end && !Stop::byte(*from))
        *to++ = *from++;
    in = from;
    out = to;
}

/// Writes text in a format's own spelling: runs of plain bytes as they are, and what \p Stop stops at by \p Special, which writes the
/// character at its first argument, moves that behind it, and gives the place behind what it wrote. One byte becomes \p Growth at most.
template <class Stop, char *(*Special)(const char *&in, const char *end, char *out), std::size_t Growth, std::size_t Piece = 1 << 14>
struct Escaper
{
    /// Room that a sink gives for a piece; the copied runs need some more than they fill.
    static constexpr std::size_t kRoom = Growth * Piece + 64;

    /// \p sink has room() and advanceTo(), as OutputFile.
    template <class Sink>
    static void write(Sink &sink, std::string_view text)
    {
        const char *in = text.data();
        const char *const end = in + text.size();
        while (in != end) {
            const char *const pieceEnd = static_cast<std::size_t>(end - in) > Piece ? in + Piece : end;
            sink.advanceTo(writePiece(in, pieceEnd, end, sink.room(kRoom)));
        }
    }

    [[nodiscard]] static std::string whole(std::string_view text)
    {
        std::string out(Growth * text.size() + 64, '\0');
        const char *in = text.data();
        const char *const end = in + text.size();
        out.resize(static_cast<std::size_t>(writePiece(in, end, end, out.data()) - out.data()));
        return out;
    }

private:
    /// Takes text from \p in up to \p pieceEnd, or a little beyond for the last character. \p end is where the text ends.
    static char *writePiece(const char *&in, const char *pieceEnd, const char *end, char *out)
    {
        while (in < pieceEnd) {
            copyRun<Stop>(in, pieceEnd, out);
            while (in < pieceEnd && Stop::byte(*in))
                out = Special(in, end, out);
        }
        return out;
    }
};

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
