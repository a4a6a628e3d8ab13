#include "odbc/Wide.h"

#include "core/Utf8.h"

#include <cstdint>
#include <cstring>

namespace qm::odbc {

namespace {

bool isHigh(char32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}
bool isLow(char32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

} // namespace

WideText::WideText(const QString &text) : m_units(static_cast<std::size_t>(text.size()) + 1)
{
    for (qsizetype i = 0; i < text.size(); ++i)
        m_units[static_cast<std::size_t>(i)] = static_cast<SQLWCHAR>(text[i].unicode());
}

QString fromWide(const SQLWCHAR *text, qsizetype units)
{
    QString copy(units, Qt::Uninitialized);
    for (qsizetype i = 0; i < units; ++i)
        copy[i] = QChar(static_cast<char16_t>(text[i]));
    return copy;
}

char *writeUtf8(const SQLWCHAR *text, std::size_t units, char *out)
{
    std::size_t i = 0;
    // Logs are mostly ASCII: four units at a time while they are.
    constexpr std::uint64_t kNotAscii = 0xFF80FF80FF80FF80U;
    for (std::uint64_t four = 0; i + 4 <= units; i += 4) {
        std::memcpy(&four, text + i, sizeof four);
        if (four & kNotAscii)
            break;
        for (std::size_t k = 0; k < 4; ++k)
            *out++ = static_cast<char>(text[i + k]);
    }
    for (; i < units; ++i) {
        char32_t c = static_cast<char16_t>(text[i]);
        if (c < 0x80) {
            *out++ = static_cast<char>(c);
            continue;
        }
        if (isHigh(c) && i + 1 < units && isLow(static_cast<char16_t>(text[i + 1])))
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char16_t>(text[++i]) - 0xDC00U);
        else if (isHigh(c) || isLow(c))
            c = utf8::kReplacement;
        out = utf8::encode(c, out);
    }
    return out;
}

} // namespace qm::odbc
