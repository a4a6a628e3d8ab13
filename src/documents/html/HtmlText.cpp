#include "documents/html/HtmlText.h"

#include "core/Utf8.h"
#include "documents/TextScan.h"

#include <charconv>

namespace qm {

namespace {

using textscan::put;
using Stop = textscan::StopAt<0x20, '&', '<', '>', '"', '\'', '\x7F'>;

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
        const utf8::Decoded next = utf8::decode(in, end);
        in += next.bytes;
        if (utf8::isHidden(next.codePoint))
            return put(out, utf8::visible(next.codePoint));
        return utf8::encode(utf8::isSeparator(next.codePoint) ? U'\n' : next.codePoint, out);
    }
}

using Escaper = textscan::Escaper<Stop, writeSpecial, 6>;

} // namespace

void writeEscaped(OutputFile &file, std::string_view text)
{
    Escaper::write(file, text);
}

std::string escaped(std::string_view text)
{
    return Escaper::whole(text);
}

std::string escapedWithin(std::string_view text, std::size_t bytes)
{
    constexpr std::string_view kEllipsis = "\xE2\x80\xA6";
    std::string out;
    if (text.size() <= bytes && (out = escaped(text)).size() <= bytes)
        return out;
    out.clear();
    std::size_t whole = 0; // of out, so that the ellipsis still fits
    while (!text.empty()) {
        const char *at = text.data();
        const std::size_t taken = utf8::decode(at, at + text.size()).bytes;
        out += escaped(text.substr(0, taken));
        if (out.size() > bytes)
            return out.erase(whole) + std::string(kEllipsis);
        if (out.size() + kEllipsis.size() <= bytes)
            whole = out.size();
        text.remove_prefix(taken);
    }
    return out;
}

std::string styleString(std::string_view text)
{
    std::string out = "\"";
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at != end;) {
        const utf8::Decoded next = utf8::decode(at, end);
        at += next.bytes;
        const char32_t c = next.codePoint;
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == ' ') {
            out += static_cast<char>(static_cast<unsigned char>(c));
        } else if (utf8::isHidden(c)) {
            out += styleString(utf8::visible(c)).substr(1);
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
