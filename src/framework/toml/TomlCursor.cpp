#include "framework/toml/TomlCursor.h"

#include "framework/toml/TomlText.h"

#include <charconv>

namespace qm {
namespace {

constexpr bool isWordByte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

/// What kinds of bytes a text holds.
struct Bytes
{
    unsigned char bad = 0;
    unsigned char high = 0;
    unsigned char returns = 0;

    void see(unsigned char byte)
    {
        const auto control = static_cast<unsigned char>(byte < 0x20);
        const auto layout = static_cast<unsigned char>((byte == '\t') | (byte == '\n') | (byte == '\r'));
        bad = static_cast<unsigned char>(bad | (control & (layout ^ 1)) | (byte == 0x7F));
        returns = static_cast<unsigned char>(returns | (byte == '\r'));
        high = static_cast<unsigned char>(high | byte);
    }
};

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
    Bytes found;
    // Blocks of a fixed size, for the compiler to take many bytes at a time.
    constexpr std::size_t block = 64;
    std::size_t at = 0;
    for (; at + block <= text.size(); at += block)
        for (std::size_t i = 0; i < block; ++i)
            found.see(static_cast<unsigned char>(text[at + i]));
    for (; at < text.size(); ++at)
        found.see(static_cast<unsigned char>(text[at]));
    if (found.bad != 0 || ((found.high & 0x80U) != 0 && toml_text::firstBadUtf8(text) >= 0))
        return false;
    if (found.returns != 0)
        for (at = text.find('\r'); at != std::string_view::npos; at = text.find('\r', at + 1))
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
    const std::string_view fence = quote == '"' ? "\"\"\"" : "'''";
    if (m_text.substr(m_at, 3) == fence)
        return skipLongString(fence);
    std::size_t at = m_at + 1;
    for (; at < m_text.size() && m_text[at] != quote && m_text[at] != '\n'; ++at)
        if (m_text[at] == '\\' && quote == '"')
            ++at;
    if (at >= m_text.size() || m_text[at] != quote)
        return false;
    m_at = at + 1;
    return true;
}

bool TomlCursor::skipLongString(std::string_view fence)
{
    std::size_t at = m_at + fence.size();
    if (fence[0] == '\'')
        at = m_text.find(fence, at);
    else
        while (at < m_text.size() && m_text.substr(at, fence.size()) != fence)
            at += m_text[at] == '\\' ? 2 : 1;
    if (at >= m_text.size())
        return false;
    at += fence.size();
    for (int more = 0; more < 2 && at < m_text.size() && m_text[at] == fence[0]; ++more) // quotes that belong to the text
        ++at;
    m_at = at;
    return true;
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
