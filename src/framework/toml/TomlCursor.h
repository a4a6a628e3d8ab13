/// \file
/// A cursor over the plain subset of TOML that the program itself writes.
///
/// The long files and the many files (100,000 jobs, 100,000 queries of a group) are mostly of that subset, and building the tree of each
/// costs several times the reading. Whoever uses the cursor gives up at the first thing it does not take and lets parseToml() decide, so
/// that what is accepted and every message come from one place.
#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace qm {

class TomlCursor final
{
public:
    explicit TomlCursor(std::string_view text) : m_text(text) {}

    /// Whether \p text is UTF-8 without control characters other than tabs and line ends: what the cursor takes for granted.
    [[nodiscard]] static bool isPlain(std::string_view text);

    [[nodiscard]] bool atEnd() const { return m_at >= m_text.size(); }
    /// The next byte, 0 at the end.
    [[nodiscard]] char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    [[nodiscard]] bool take(char c);
    void skipBlanks();
    /// Blanks, line ends and comments.
    void skipLines();
    /// Blanks and a comment up to the next line. \returns false when something else stands there.
    [[nodiscard]] bool takeLineEnd();
    /// Letters, digits, "_" and "-"; and with \p dotted also ".". Empty when there are none.
    [[nodiscard]] std::string_view takeWord(bool dotted = false);
    /// A number, truth value or time: everything up to a blank, comma, bracket or comment.
    [[nodiscard]] std::string_view takeToken();
    /// A string on one line. \returns false for another kind of value and for escapes that TOML does not have.
    [[nodiscard]] bool takeString(QString &value);
    /// Passes over a string of any kind, a token, or a list of these.
    [[nodiscard]] bool skipValue();

private:
    [[nodiscard]] bool skipString();
    [[nodiscard]] bool skipLongString(std::string_view fence);
    [[nodiscard]] bool skipList();
    [[nodiscard]] bool unescape(std::string_view raw);

    std::string_view m_text;
    std::size_t m_at = 0;
    std::string m_scratch;
};

} // namespace qm
