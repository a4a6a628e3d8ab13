#include "reporting/writers/pdf/PdfSyntax.h"

namespace qm::pdf {

char32_t takeCodePoint(std::string_view &text)
{
    const auto byte = [&](std::size_t index) -> std::uint32_t {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    const auto follows = [&](std::size_t index) { return (byte(index) & 0xC0) == 0x80; };
    const std::uint32_t lead = byte(0);
    std::uint32_t value = 0xFFFD;
    std::size_t length = 1;
    if (lead < 0x80) {
        value = lead;
    } else if (lead >= 0xC2 && lead < 0xE0 && follows(1)) {
        value = (lead & 0x1F) << 6 | (byte(1) & 0x3F);
        length = 2;
    } else if (lead >= 0xE0 && lead < 0xF0 && follows(1) && follows(2)) {
        const std::uint32_t three = (lead & 0xF) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
        if (three >= 0x800 && (three < 0xD800 || three > 0xDFFF)) {
            value = three;
            length = 3;
        }
    } else if (lead >= 0xF0 && lead < 0xF5 && follows(1) && follows(2) && follows(3)) {
        const std::uint32_t four = (lead & 7) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
        if (four >= 0x10000 && four <= 0x10FFFF) {
            value = four;
            length = 4;
        }
    }
    text.remove_prefix(length);
    return value;
}

void appendTextString(std::string &out, std::string_view utf8)
{
    out += "<FEFF";
    while (!utf8.empty())
        appendUtf16Hex(out, takeCodePoint(utf8));
    out += '>';
}

void appendUtf8(std::string &out, char32_t codePoint)
{
    const auto push = [&](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        push(codePoint);
    } else if (codePoint < 0x800) {
        push(0xC0 | codePoint >> 6);
        push(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        push(0xE0 | codePoint >> 12);
        push(0x80 | (codePoint >> 6 & 0x3F));
        push(0x80 | (codePoint & 0x3F));
    } else {
        push(0xF0 | codePoint >> 18);
        push(0x80 | (codePoint >> 12 & 0x3F));
        push(0x80 | (codePoint >> 6 & 0x3F));
        push(0x80 | (codePoint & 0x3F));
    }
}

} // namespace qm::pdf
