#include "framework/toml/TomlText.h"

#include "core/Utf8.h"

#include <QStringDecoder>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace qm::toml_text {
namespace {

constexpr char kHex[] = "0123456789ABCDEF";

void appendHex4(QByteArray &out, char16_t unit)
{
    for (int shift = 12; shift >= 0; shift -= 4)
        out.append(kHex[(unit >> shift) & 0xF]);
}

void appendUtf8(QByteArray &out, char32_t c)
{
    char bytes[4];
    out.append(bytes, utf8::encode(c, bytes) - bytes);
}

/// Characters that a quoted string writes with a backslash and a letter; 0 for the others.
constexpr char shortEscape(char16_t unit)
{
    switch (unit) {
    case u'"':
        return '"';
    case u'\\':
        return '\\';
    case u'\b':
        return 'b';
    case u'\t':
        return 't';
    case u'\n':
        return 'n';
    case u'\f':
        return 'f';
    case u'\r':
        return 'r';
    default:
        return 0;
    }
}

/// Code points that an editor shows as nothing or as something else: written as escapes so that they survive and are seen.
bool isInvisible(char32_t c)
{
    return c < 0x20 || c == 0xFFFE || c == 0xFFFF || utf8::isHidden(c) || utf8::isSeparator(c);
}

/// The character that begins at \p at; half of one by itself.
char32_t characterAt(QStringView text, qsizetype at)
{
    const bool isPair = text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
    return isPair ? QChar::surrogateToUcs4(text[at], text[at + 1]) : text[at].unicode();
}

bool isLoneUnit(QStringView text, qsizetype at)
{
    const char16_t unit = text[at].unicode();
    if (QChar::isHighSurrogate(unit))
        return at + 1 >= text.size() || !text[at + 1].isLowSurrogate();
    if (QChar::isLowSurrogate(unit))
        return at == 0 || !text[at - 1].isHighSurrogate();
    return unit == kLoneUnit;
}

/// Appends the unit at \p at (both of a pair) with escapes; \returns the next position.
qsizetype appendEscaped(QByteArray &out, QStringView text, qsizetype at)
{
    const char16_t unit = text[at].unicode();
    if (const char letter = shortEscape(unit); letter != 0) {
        out.append('\\');
        out.append(letter);
    } else if (isLoneUnit(text, at)) {
        out.append("\\uFDD0");
        appendHex4(out, unit);
    } else if (isInvisible(unit)) {
        out.append("\\u");
        appendHex4(out, unit);
    } else if (QChar::isHighSurrogate(unit)) {
        const char32_t c = characterAt(text, at);
        if (isInvisible(c)) {
            out.append("\\U");
            appendHex4(out, static_cast<char16_t>(c >> 16));
            appendHex4(out, static_cast<char16_t>(c & 0xFFFF));
        } else {
            appendUtf8(out, c);
        }
        return at + 2;
    } else if (unit < 0x80) {
        out.append(static_cast<char>(unit));
    } else {
        appendUtf8(out, unit);
    }
    return at + 1;
}

/// Characters that a quoted string writes as they are, in one byte.
constexpr std::array<bool, 256> plainUnits()
{
    std::array<bool, 256> plain{};
    for (std::size_t unit = 0x20; unit < 0x7F; ++unit)
        plain[unit] = unit != '"' && unit != '\\';
    return plain;
}

/// Appends the plain characters from \p at on; \returns the position of the first other one.
qsizetype appendPlain(QByteArray &out, QStringView text, qsizetype at)
{
    static constexpr std::array<bool, 256> plain = plainUnits();
    const qsizetype had = out.size();
    out.resize(had + text.size() - at);
    char *to = out.data() + had;
    // Blocks of a fixed size, for the compiler to take many units at a time.
    constexpr qsizetype block = 16;
    for (; at + block <= text.size(); at += block, to += block) {
        std::uint16_t special = 0;
        const QChar *const units = text.data() + at;
        for (qsizetype i = 0; i < block; ++i) {
            const std::uint16_t unit = units[i].unicode();
            special = static_cast<std::uint16_t>(special | (unit < 0x20) | (unit > 0x7E) | (unit == '"') | (unit == '\\'));
        }
        for (qsizetype i = 0; i < block; ++i)
            to[i] = static_cast<char>(units[i].unicode());
        if (special != 0)
            break;
    }
    for (; at < text.size(); ++at) {
        const char16_t unit = text[at].unicode();
        if (unit > 0xFF || !plain[unit])
            break;
        *to++ = static_cast<char>(unit);
    }
    out.resize(static_cast<qsizetype>(to - out.constData()));
    return at;
}

/// Whether \p text can stand between three apostrophes as it is.
bool fitsLiteral(const QString &text)
{
    if (text.contains(QLatin1String("'''")) || text.endsWith(u'\''))
        return false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit != u'\n' && unit != u'\t' && (isInvisible(characterAt(text, i)) || isLoneUnit(text, i)))
            return false;
    }
    return true;
}

void appendNumber(QByteArray &out, double value)
{
    if (!std::isfinite(value)) {
        out.append(std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf");
        return;
    }
    std::array<char, 40> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    const std::string_view digits(buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data()));
    out.append(digits.data(), static_cast<qsizetype>(digits.size()));
    if (digits.find_first_of(".e") == std::string_view::npos)
        out.append(".0");
}

void appendInlineTable(QByteArray &out, const TomlNode &table)
{
    out.append('{');
    bool first = true;
    for (const auto &[key, value] : table.members) {
        out.append(first ? " " : ", ");
        first = false;
        appendKey(out, key);
        out.append(" = ");
        appendValue(out, value, true);
    }
    out.append(first ? "}" : " }");
}

bool standsInOwnTable(const TomlNode &value)
{
    return value.kind == TomlNode::Kind::Table || value.isTableArray();
}

void appendTable(QByteArray &out, const TomlNode &table, const QByteArray &path);

void appendHeader(QByteArray &out, const QByteArray &path, bool listed)
{
    if (!out.isEmpty())
        out.append('\n');
    out.append(listed ? "[[" : "[");
    out.append(path);
    out.append(listed ? "]]\n" : "]\n");
}

void appendTable(QByteArray &out, const TomlNode &table, const QByteArray &path)
{
    for (const auto &[key, value] : table.members) {
        if (standsInOwnTable(value))
            continue;
        appendKey(out, key);
        out.append(" = ");
        appendValue(out, value);
        out.append('\n');
    }
    for (const auto &[key, value] : table.members) {
        if (!standsInOwnTable(value))
            continue;
        QByteArray inner = path;
        if (!inner.isEmpty())
            inner.append('.');
        appendKey(inner, key);
        if (value.kind == TomlNode::Kind::Table) {
            appendHeader(out, inner, false);
            appendTable(out, value, inner);
            continue;
        }
        for (const TomlNode &item : value.items) {
            appendHeader(out, inner, true);
            appendTable(out, item, inner);
        }
    }
}

} // namespace

void appendQuoted(QByteArray &out, QStringView text)
{
    out.append('"');
    for (qsizetype at = appendPlain(out, text, 0); at < text.size(); at = appendPlain(out, text, at))
        at = appendEscaped(out, text, at);
    out.append('"');
}

void appendReadable(QByteArray &out, const QString &text)
{
    if (!text.contains(u'\n')) {
        appendQuoted(out, text);
        return;
    }
    if (fitsLiteral(text)) {
        out.append("'''\n");
        out.append(text.toUtf8());
        out.append("'''");
        return;
    }
    out.append("\"\"\"\n");
    for (qsizetype at = 0; at < text.size();) {
        if (text[at] == u'\n') {
            out.append('\n');
            ++at;
        } else {
            at = appendEscaped(out, text, at);
        }
    }
    out.append("\"\"\"");
}

void appendKey(QByteArray &out, QStringView key)
{
    bool bare = !key.isEmpty();
    for (const QChar c : key)
        bare = bare && ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_' || c == u'-');
    if (bare)
        out.append(key.toLatin1());
    else
        appendQuoted(out, key);
}

void appendValue(QByteArray &out, const TomlNode &value, bool inlineOnly)
{
    switch (value.kind) {
    case TomlNode::Kind::String:
        if (inlineOnly)
            appendQuoted(out, value.text);
        else
            appendReadable(out, value.text);
        return;
    case TomlNode::Kind::Integer:
        out.append(QByteArray::number(value.integer));
        return;
    case TomlNode::Kind::Float:
        appendNumber(out, value.number);
        return;
    case TomlNode::Kind::Boolean:
        out.append(value.boolean ? "true" : "false");
        return;
    case TomlNode::Kind::Time:
        out.append(value.text.toUtf8());
        return;
    case TomlNode::Kind::Array:
        out.append('[');
        for (std::size_t i = 0; i < value.items.size(); ++i) {
            if (i > 0)
                out.append(", ");
            appendValue(out, value.items[i], true);
        }
        out.append(']');
        return;
    case TomlNode::Kind::Table:
        break;
    }
    appendInlineTable(out, value);
}

QByteArray document(const TomlNode &root)
{
    QByteArray out;
    appendTable(out, root, {});
    return out;
}

QString fromUtf8(std::string_view utf8)
{
    constexpr std::string_view mark("\xEF\xBB\xBF");
    const QByteArrayView view(utf8.data(), static_cast<qsizetype>(utf8.size()));
    QString text;
    if (utf8.substr(0, mark.size()) == mark) // QString::fromUtf8 would take it for the mark of a whole file
        text = QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom)(view);
    else
        text = QString::fromUtf8(view);
    qsizetype at = text.indexOf(QChar(kLoneUnit));
    while (at >= 0) {
        bool isNumber = false;
        const ushort unit = QStringView(text).mid(at + 1, 4).toUShort(&isNumber, 16);
        if (isNumber && at + 5 <= text.size())
            text.replace(at, 5, QChar(unit));
        at = text.indexOf(QChar(kLoneUnit), at + 1);
    }
    return text;
}

qsizetype firstBadUtf8(std::string_view bytes)
{
    const auto *const data = reinterpret_cast<const unsigned char *>(bytes.data());
    const std::size_t size = bytes.size();
    std::size_t i = 0;
    while (i < size) {
        std::uint64_t block = 0;
        if (i + sizeof block <= size) {
            std::memcpy(&block, data + i, sizeof block);
            if ((block & 0x8080808080808080ULL) == 0) {
                i += sizeof block;
                continue;
            }
        }
        const unsigned char lead = data[i];
        if (lead < 0x80) {
            ++i;
            continue;
        }
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (lead < 0xC2 || lead > 0xF4 || i + length > size)
            return static_cast<qsizetype>(i);
        // The second byte's range rules out surrogates, over-long forms and values above U+10FFFF.
        const unsigned char second = data[i + 1];
        const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (second < low || second > high)
            return static_cast<qsizetype>(i);
        for (std::size_t k = 2; k < length; ++k)
            if ((data[i + k] & 0xC0) != 0x80)
                return static_cast<qsizetype>(i);
        i += length;
    }
    return -1;
}

} // namespace qm::toml_text
