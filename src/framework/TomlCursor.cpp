#include "framework/TomlCursor.h"

#include "framework/TomlText.h"

#include <charconv>

namespace qm {
namespace {

constexpr bool isWordByte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

constexpr bool isBadControl(unsigned char c)
{
    return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7F;
}

void appendCodePoint(std::string &out, unsigned value)
{
    const auto byte = [&out](unsigned b) { out.push_back(static_cast<char>(static_cast<unsigned char>(b))); };
    if (value < 0x80) {
        byte(value);
        return;
    }
    if (value < 0x800) {
        byte(0xC0 | (value >> 6));
    } else {
        if (value < 0x10000) {
            byte(0xE0 | (value >> 12));
        } else {
            byte(0xF0 | (value >> 18));
            byte(0x80 | ((value >> 12) & 0x3F));
        }
        byte(0x80 | ((value >> 6) & 0x3F));
    }
    byte(0x80 | (value & 0x3F));
}

} // namespace

bool TomlCursor::isPlain(std::string_view text)
{
    unsigned bad = 0;
    unsigned high = 0;
    unsigned returns = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        bad |= static_cast<unsigned>(isBadControl(byte));
        returns |= static_cast<unsigned>(byte == '\r');
        high |= byte;
    }
    if (bad != 0 || ((high & 0x80U) != 0 && toml_text::firstBadUtf8(text) >= 0))
        return false;
    if (returns != 0)
        for (std::size_t at = text.find('\r'); at != std::string_view::npos; at = text.find('\r', at + 1))
            if (at + 1 >= text.size() || text[at + 1] != '\n')
                return false;
    return true;
}

bool TomlCursor::take(char c)
{
    if (peek() != c || atEnd())
        return false;
    ++m_at;
    return true;
}

void TomlCursor::skipBlanks()
{
    while (m_at < m_text.size() && (m_text[m_at] == ' ' || m_text[m_at] == '\t'))
        ++m_at;
}

bool TomlCursor::takeLineEnd()
{
    skipBlanks();
    if (peek() == '#')
        m_at = std::min(m_text.find('\n', m_at), m_text.size());
    if (peek() == '\r')
        ++m_at;
    return atEnd() || take('\n');
}

void TomlCursor::skipLines()
{
    for (;;) {
        skipBlanks();
        const char c = peek();
        if (atEnd() || (c != '\n' && c != '\r' && c != '#'))
            return;
        if (!takeLineEnd())
            return;
    }
}

std::string_view TomlCursor::takeWord(bool dotted)
{
    const std::size_t start = m_at;
    while (m_at < m_text.size() && (isWordByte(m_text[m_at]) || (dotted && m_text[m_at] == '.')))
        ++m_at;
    return m_text.substr(start, m_at - start);
}

std::string_view TomlCursor::takeToken()
{
    const std::size_t start = m_at;
    while (m_at < m_text.size() && (isWordByte(m_text[m_at]) || m_text[m_at] == '+' || m_text[m_at] == '.' || m_text[m_at] == ':'))
        ++m_at;
    return m_text.substr(start, m_at - start);
}

bool TomlCursor::takeString(QString &value)
{
    const char quote = peek();
    if ((quote != '"' && quote != '\'') || m_text.substr(m_at, 3) == "\"\"\"" || m_text.substr(m_at, 3) == "'''")
        return false;
    const std::size_t start = m_at + 1;
    std::size_t at = start;
    bool escaped = false;
    while (at < m_text.size() && m_text[at] != quote && m_text[at] != '\n') {
        if (quote == '"' && m_text[at] == '\\') {
            escaped = true;
            ++at;
        }
        ++at;
    }
    if (at >= m_text.size() || m_text[at] != quote)
        return false;
    const std::string_view raw = m_text.substr(start, at - start);
    m_at = at + 1;
    if (!escaped) {
        value = toml_text::fromUtf8(raw);
        return true;
    }
    if (!unescape(raw))
        return false;
    value = toml_text::fromUtf8(m_scratch);
    return true;
}

bool TomlCursor::unescape(std::string_view raw)
{
    m_scratch.clear();
    for (std::size_t at = 0; at < raw.size(); ++at) {
        if (raw[at] != '\\') {
            m_scratch.push_back(raw[at]);
            continue;
        }
        constexpr std::string_view letters = "btnfr\"\\";
        constexpr std::string_view meanings = "\b\t\n\f\r\"\\";
        const char letter = ++at < raw.size() ? raw[at] : '\0';
        if (const std::size_t which = letters.find(letter); which != std::string_view::npos) {
            m_scratch.push_back(meanings[which]);
            continue;
        }
        const std::size_t digits = letter == 'u' ? 4 : letter == 'U' ? 8 : 0;
        if (digits == 0 || at + digits >= raw.size())
            return false;
        unsigned value = 0;
        const char *const first = raw.data() + at + 1;
        const auto parsed = std::from_chars(first, first + digits, value, 16);
        if (parsed.ec != std::errc() || parsed.ptr != first + digits || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
            return false;
        appendCodePoint(m_scratch, value);
        at += digits;
    }
    return true;
}

bool TomlCursor::skipString()
{
    const char quote = peek();
    const bool longForm = m_text.substr(m_at, 3) == std::string_view(quote == '"' ? "\"\"\"" : "'''");
    std::size_t at = m_at + (longForm ? 3 : 1);
    for (; at < m_text.size(); ++at) {
        const char c = m_text[at];
        if (c == '\\' && quote == '"') {
            ++at;
        } else if (c == quote && !longForm) {
            m_at = at + 1;
            return true;
        } else if (c == quote && m_text.substr(at, 3) == std::string_view(quote == '"' ? "\"\"\"" : "'''")) {
            at += 3;
            for (int more = 0; more < 2 && at < m_text.size() && m_text[at] == quote; ++more)
                ++at;
            m_at = at;
            return true;
        } else if (c == '\n' && !longForm) {
            return false;
        }
    }
    return false;
}

bool TomlCursor::skipList()
{
    if (!take('['))
        return false;
    for (skipLines(); !take(']'); skipLines()) {
        const char c = peek();
        if (c == '[' || c == '{' || !skipValue())
            return false;
        skipLines();
        if (!take(',') && peek() != ']')
            return false;
    }
    return true;
}

bool TomlCursor::skipValue()
{
    const char c = peek();
    if (c == '"' || c == '\'')
        return skipString();
    if (c == '[')
        return skipList();
    return !takeToken().empty();
}

} // namespace qm
