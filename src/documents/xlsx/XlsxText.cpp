#include "documents/xlsx/XlsxText.h"

#include "core/Utf8.h"
#include "documents/NumberText.h"
#include "documents/TextScan.h"

#include <algorithm>

namespace qm::xlsx {

namespace {

using textscan::put;
using Stop = textscan::StopAt<0x20, '&', '<', '>', '_', '"'>;

constexpr qsizetype kMaxNameUnits = 31;

char *putCode(char *out, char32_t c)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    out = put(out, "_x");
    for (int shift = 12; shift >= 0; shift -= 4)
        *out++ = kDigits[(c >> shift) & 0xF];
    *out++ = '_';
    return out;
}

/// Whether the text at \p in reads _xHHHH_.
bool isCode(const char *in, const char *end)
{
    const auto isHex = [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); };
    return end - in >= 7 && in[1] == 'x' && in[6] == '_' && std::all_of(in + 2, in + 6, isHex);
}

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
    case '_':
        out = isCode(in, end) ? putCode(out, '_') : put(out, "_");
        ++in;
        return out;
    case '\t':
    case '\n':
        *out++ = *in++;
        return out;
    case '\r':
        if (end - in > 1 && in[1] == '\n') {
            ++in;
            return out;
        }
        break;
    default:
        break;
    }
    const utf8::Decoded next = utf8::decode(in, end);
    const char32_t c = next.codePoint == 0 ? 0x2400 : next.codePoint;
    in += next.bytes;
    return c < 0x20 || c == 0xFFFE || c == 0xFFFF ? putCode(out, c) : utf8::encode(c, out);
}

using Escaper = textscan::Escaper<Stop, writeSpecial, 7, 1 << 13>;
static_assert(Escaper::kRoom <= ZipStream::kMaxRoom);

} // namespace

void writeText(ZipStream &zip, std::string_view text)
{
    Escaper::write(zip, text);
}

std::string escapedText(std::string_view text)
{
    return Escaper::whole(text);
}

std::string cutText(std::string_view text)
{
    if (text.size() <= kMaxCellUnits)
        return {};
    std::string whole = utf8::sanitized(text);
    const std::size_t units = utf8::utf16Length(whole);
    if (units <= kMaxCellUnits)
        return {};
    const std::string mark =
        "\xE2\x80\xA6 [cut: " + numbers::counted(static_cast<std::int64_t>(units), "character", "characters") + " in all]";
    std::size_t left = kMaxCellUnits - utf8::utf16Length(mark);
    std::size_t keep = 0;
    while (keep < whole.size()) {
        const utf8::Decoded next = utf8::decode(whole.data() + keep, whole.data() + whole.size());
        const std::size_t width = next.codePoint > 0xFFFF ? 2 : 1;
        if (width > left)
            break;
        left -= width;
        keep += next.bytes;
    }
    return whole.substr(0, keep) + mark;
}

std::string SheetNames::take(std::string_view wanted)
{
    QString clean;
    for (const QChar c : QString::fromUtf8(wanted.data(), static_cast<qsizetype>(wanted.size()))) {
        const bool refused = QStringLiteral("[]:*?/\\").contains(c) || c.unicode() < 0x20 || c.unicode() == 0xFFFE || c.unicode() == 0xFFFF;
        clean += refused ? QChar(u' ') : c;
    }
    const auto cutTo = [](QString name, qsizetype units) {
        name.truncate(units);
        if (!name.isEmpty() && name.back().isHighSurrogate())
            name.chop(1);
        const auto isOuter = [](QChar c) { return c == u'\'' || c.isSpace(); };
        while (!name.isEmpty() && isOuter(name.back()))
            name.chop(1);
        while (!name.isEmpty() && isOuter(name.front()))
            name.remove(0, 1);
        return name;
    };
    clean = clean.simplified();
    // Excel keeps this name for itself.
    if (clean.compare(QStringLiteral("History"), Qt::CaseInsensitive) == 0)
        clean += QStringLiteral(" report");
    QString name = cutTo(clean, kMaxNameUnits);
    const auto isUsable = [this](const QString &candidate) {
        const auto same = [&](const QString &other) { return other.compare(candidate, Qt::CaseInsensitive) == 0; };
        return !candidate.isEmpty() && std::none_of(m_taken.begin(), m_taken.end(), same);
    };
    if (name.isEmpty())
        clean = name = QStringLiteral("Report");
    for (int number = 2; !isUsable(name); ++number) {
        const QString mark = QStringLiteral(" (%1)").arg(number);
        name = cutTo(clean, kMaxNameUnits - mark.size()) + mark;
    }
    m_taken.push_back(name);
    return name.toStdString();
}

std::string columnLetters(std::size_t column)
{
    std::string letters;
    for (std::size_t rest = column + 1; rest > 0; rest = (rest - 1) / 26)
        letters.insert(letters.begin(), static_cast<char>('A' + (rest - 1) % 26));
    return letters;
}

} // namespace qm::xlsx
