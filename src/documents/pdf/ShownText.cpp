#include "documents/pdf/ShownText.h"

namespace qm::pdf {

void joinLines(std::string &text, std::size_t from)
{
    std::size_t to = from;
    for (std::size_t at = from; at < text.size(); ++at) {
        const char c = text[at];
        const bool pair = c == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
        if (!pair)
            text[to++] = c == '\n' || c == '\r' || c == '\t' ? ' ' : c;
    }
    text.resize(to);
}

} // namespace qm::pdf
