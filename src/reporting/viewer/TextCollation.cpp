#include "reporting/viewer/TextCollation.h"

#include "core/RuntimeError.h"
#include "core/Utf8.h"

#include <QChar>

#include <sqlite3.h>

namespace qm {

namespace {

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

/// Reads the character at \p at, letter case folded, and moves behind it. A byte that starts no valid character stands for itself, above
/// all others.
char32_t foldedCharacter(std::string_view text, std::size_t &at)
{
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
        ++at;
        return lead >= 'A' && lead <= 'Z' ? lead + 32U : lead;
    }
    const utf8::Decoded next = utf8::decode(text.data() + at, text.data() + text.size());
    at += next.valid ? next.bytes : 1;
    return next.valid ? QChar::toCaseFolded(next.codePoint) : 0x110000U + lead;
}

std::size_t digitRun(std::string_view text, std::size_t from)
{
    std::size_t end = from;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    return end;
}

int sign(int number)
{
    return (number > 0) - (number < 0);
}

/// Compares the digit runs at \p i and \p j by value and moves both behind them.
int compareNumbers(std::string_view a, std::size_t &i, std::string_view b, std::size_t &j)
{
    const std::size_t endA = digitRun(a, i), endB = digitRun(b, j);
    while (i < endA && a[i] == '0')
        ++i;
    while (j < endB && b[j] == '0')
        ++j;
    int order = 0;
    if (endA - i != endB - j)
        order = endA - i < endB - j ? -1 : 1;
    else
        order = sign(a.substr(i, endA - i).compare(b.substr(j, endB - j)));
    i = endA;
    j = endB;
    return order;
}

} // namespace

int compareTexts(std::string_view a, std::string_view b)
{
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            if (const int order = compareNumbers(a, i, b, j); order != 0)
                return order;
            continue;
        }
        const char32_t inA = foldedCharacter(a, i), inB = foldedCharacter(b, j);
        if (inA != inB)
            return inA < inB ? -1 : 1;
    }
    if ((i < a.size()) != (j < b.size()))
        return i < a.size() ? 1 : -1;
    return sign(a.compare(b));
}

void installTextCollation(sqlite3 *database)
{
    const int code = sqlite3_create_collation_v2(
        database, "qmtext", SQLITE_UTF8, nullptr,
        [](void *, int sizeA, const void *a, int sizeB, const void *b) {
            return compareTexts({static_cast<const char *>(a), static_cast<std::size_t>(sizeA)},
                                {static_cast<const char *>(b), static_cast<std::size_t>(sizeB)});
        },
        nullptr);
    if (code != SQLITE_OK)
        raise(err::outOfMemory, QString::fromUtf8(sqlite3_errstr(code)), kFrameworkSource);
}

} // namespace qm
