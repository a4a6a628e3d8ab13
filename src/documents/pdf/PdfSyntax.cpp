#include "documents/pdf/PdfSyntax.h"

#include "core/Utf8.h"

namespace qm::pdf {

void appendTextString(std::string &out, std::string_view text)
{
    out += "<FEFF";
    while (!text.empty())
        appendUtf16Hex(out, utf8::take(text));
    out += '>';
}

} // namespace qm::pdf
