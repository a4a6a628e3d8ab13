#include "reporting/writers/HtmlText.h"

#include "reporting/writers/TextScan.h"

#include <charconv>

namespace qm {

namespace {

using textscan::put;
using Stop = textscan::StopAt<0x20, '&', '<', '>', '"', '\'', '\x7F'>;

constexpr std::ptrdiff_t kPiece = 1 << 14;
/// The longest form is six bytes for one; the copied runs need some more.
constexpr std::size_t kPieceRoom = 6 * static_cast<std::size_t>(kPiece) + 64;

/// Writes the character at \p in in its safe form and moves behind it.
char *writeSpecial(const char *&in, const char *end, char *out)
{
    switch (*in) {
    case '&':
        ++in;
        return put(out, "&amp;");
    case '<':
        ++in;
        return put(out, "&lt;");
    case '>':
        ++in;
        return put(out, "&gt;");
    case '"':
        ++in;
        return put(out, "&quot;");
    case '\'':
        ++in;
        return put(out, "&#39;");
    case '\t':
    case '\n':
        *out++ = *in++;
        return out;
    case '\r':
        in += end - in > 1 && in[1] == '\n' ? 2 : 1;
        *out++ = '\n';
        return out;
    default:
        const textscan::Decoded next = textscan::decode(in, end);
        in += next.bytes;
        return textscan::isHiddenControl(next.codePoint) ? put(out, textscan::visibleControl(next.codePoint))
                                                         : textscan::encode(next.codePoint, out);
    }
}

/// Takes text from \p in up to \p pieceEnd, or a little beyond for the last character. \p end is where the text ends.
char *escapePiece(const char *&in, const char *pieceEnd, const char *end, char *out)
{
    while (in < pieceEnd) {
        textscan::copyRun<Stop>(in, pieceEnd, out);
        while (in < pieceEnd && Stop::byte(*in)) {
            out = writeSpecial(in, end, out);
        }
    }
    return out;
}

} // namespace

void writeEscaped(OutputFile &file, std::string_view text)
{
    const char *in = text.data();
    const char *const end = in + text.size();
    while (in != end) {
        const char *const pieceEnd = end - in > kPiece ? in + kPiece : end;
        file.advanceTo(escapePiece(in, pieceEnd, end, file.room(kPieceRoom)));
    }
}

std::string escaped(std::string_view text)
{
    std::string out(6 * text.size() + 64, '\0');
    const char *in = text.data();
    const char *const end = in + text.size();
    out.resize(static_cast<std::size_t>(escapePiece(in, end, end, out.data()) - out.data()));
    return out;
}

std::string styleString(std::string_view text)
{
    std::string out = "\"";
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at != end;) {
        const textscan::Decoded next = textscan::decode(at, end);
        at += next.bytes;
        const char32_t c = next.codePoint;
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == ' ') {
            out += static_cast<char>(static_cast<unsigned char>(c));
        } else if (textscan::isHiddenControl(c)) {
            out += styleString(textscan::visibleControl(c)).substr(1);
            out.pop_back();
        } else {
            char digits[8];
            out += '\\';
            out.append(digits, std::to_chars(digits, digits + sizeof digits, static_cast<std::uint32_t>(c), 16).ptr);
            out += ' ';
        }
    }
    return out + '"';
}

} // namespace qm
