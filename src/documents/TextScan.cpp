#include "documents/TextScan.h"

namespace qm::textscan {

namespace {

constexpr char kHexLower[] = "0123456789abcdef";

} // namespace

std::string joined(std::initializer_list<std::string_view> pieces)
{
    std::string text;
    for (const std::string_view piece : pieces)
        text += piece;
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
