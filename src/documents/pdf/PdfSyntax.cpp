#include "documents/pdf/PdfSyntax.h"

#include "core/Utf8.h"

namespace qm::pdf {

void appendColour(std::string &out, std::uint32_t rgb)
{
    for (const int shift : {16, 8, 0}) {
        const std::uint32_t thousandths = ((rgb >> shift & 0xFF) * 1000 + 127) / 255;
        if (thousandths >= 1000) {
            out += "1 ";
            continue;
        }
        const char digits[] = {'.', static_cast<char>('0' + thousandths / 100), static_cast<char>('0' + thousandths / 10 % 10),
                               static_cast<char>('0' + thousandths % 10), ' '};
        out.append(digits, sizeof digits);
    }
}

void appendTextString(std::string &out, std::string_view text)
{
    out += "<FEFF";
    while (!text.empty())
        appendUtf16Hex(out, utf8::take(text));
    out += '>';
}

} // namespace qm::pdf
