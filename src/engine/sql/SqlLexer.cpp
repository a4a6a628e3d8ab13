#include "engine/sql/SqlLexer.h"

#include "framework/SqlName.h"

namespace qm {

namespace {

using Kind = SqlToken::Kind;

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/// Reads one token after another from the text.
class Scanner final
{
public:
    Scanner(QStringView sql, SqlDialect dialect) : m_sql(sql), m_dialect(dialect) {}

    [[nodiscard]] bool atEnd() const { return m_at >= m_sql.size(); }

    SqlToken next()
    {
        SqlToken token{.kind = Kind::Operator, .offset = m_at};
        m_closed = true;
        token.kind = scan();
        token.length = m_at - token.offset;
        token.closed = m_closed;
        return token;
    }

private:
    [[nodiscard]] QChar peek(qsizetype ahead = 0) const { return m_at + ahead < m_sql.size() ? m_sql[m_at + ahead] : QChar(); }
    [[nodiscard]] bool is(SqlDialect dialect) const { return m_dialect == dialect; }
    [[nodiscard]] bool startsWith(QStringView text) const { return m_sql.mid(m_at).startsWith(text); }

    Kind scan()
    {
        const QChar c = peek();
        if (c.isSpace()) {
            while (!atEnd() && peek().isSpace())
                ++m_at;
            return Kind::Blank;
        }
        if (startsWith(u"--"))
            return lineComment();
        if (startsWith(u"/*"))
            return blockComment();
        if (c == u'\'')
            return quoted(u'\'', Kind::String);
        if (c == u'"')
            return quoted(u'"', Kind::QuotedName);
        if (c == u'`' && is(SqlDialect::Sqlite))
            return quoted(u'`', Kind::QuotedName);
        if (c == u'[' && (is(SqlDialect::Sqlite) || is(SqlDialect::MsSql)))
            return bracketed();
        if (c == u'$' && is(SqlDialect::PostgreSql) && dollarQuoted())
            return Kind::String;
        if (isDigit(c) || (c == u'.' && isDigit(peek(1))))
            return number();
        if (isSqlNameStart(c))
            return word();
        return mark();
    }

    Kind lineComment()
    {
        while (!atEnd() && peek() != u'\n' && peek() != u'\r')
            ++m_at;
        return Kind::Comment;
    }

    Kind blockComment()
    {
        const bool nests = is(SqlDialect::MsSql) || is(SqlDialect::PostgreSql);
        int depth = 0;
        while (!atEnd()) {
            if (startsWith(u"/*") && (nests || depth == 0)) {
                ++depth;
                m_at += 2;
            } else if (startsWith(u"*/")) {
                m_at += 2;
                if (--depth == 0)
                    return Kind::Comment;
            } else {
                ++m_at;
            }
        }
        m_closed = false;
        return Kind::Comment;
    }

    /// From the opening quote: a doubled quote stands for itself. \p escapes: so does a quote after a backslash.
    Kind quoted(QChar quote, Kind kind, bool escapes = false)
    {
        for (++m_at; !atEnd(); ++m_at) {
            if (escapes && peek() == u'\\') {
                ++m_at;
            } else if (peek() == quote) {
                ++m_at;
                if (peek() != quote)
                    return kind;
            }
        }
        m_at = m_sql.size();
        m_closed = false;
        return kind;
    }

    Kind bracketed()
    {
        const bool doubles = is(SqlDialect::MsSql);
        for (++m_at; !atEnd(); ++m_at) {
            if (peek() != u']')
                continue;
            ++m_at;
            if (!doubles || peek() != u']')
                return Kind::QuotedName;
        }
        m_at = m_sql.size();
        m_closed = false;
        return Kind::QuotedName;
    }

    /// Moves over $tag$ ... $tag$ when one begins here.
    bool dollarQuoted()
    {
        qsizetype end = m_at + 1;
        if (end < m_sql.size() && isDigit(m_sql[end]))
            return false;
        while (end < m_sql.size() && isSqlNamePart(m_sql[end]))
            ++end;
        if (end >= m_sql.size() || m_sql[end] != u'$')
            return false;
        const QStringView tag = m_sql.mid(m_at, end + 1 - m_at);
        const qsizetype close = m_sql.indexOf(tag, end + 1);
        m_closed = close >= 0;
        m_at = m_closed ? close + tag.size() : m_sql.size();
        return true;
    }

    Kind number()
    {
        while (!atEnd() && (isSqlNamePart(peek()) || peek() == u'.')) {
            const bool exponent = peek().toLower() == u'e' && (peek(1) == u'+' || peek(1) == u'-');
            m_at += exponent ? 2 : 1;
        }
        return Kind::Number;
    }

    Kind word()
    {
        if (is(SqlDialect::PostgreSql) && peek().toLower() == u'e' && peek(1) == u'\'') {
            ++m_at;
            return quoted(u'\'', Kind::String, true);
        }
        if (is(SqlDialect::Oracle) && oracleQuoted())
            return Kind::String;
        while (!atEnd() && (isSqlNamePart(peek()) || peek() == u'$' || peek() == u'#'))
            ++m_at;
        return Kind::Word;
    }

    /// Moves over q'[ ... ]' or nq'x ... x' when one begins here.
    bool oracleQuoted()
    {
        qsizetype q = peek().toLower() == u'n' ? 1 : 0;
        if (peek(q).toLower() != u'q' || peek(q + 1) != u'\'' || peek(q + 2).isNull() || peek(q + 2).isSpace())
            return false;
        QChar close = peek(q + 2);
        constexpr QStringView kOpen = u"[{(<", kClose = u"]})>";
        if (const auto pair = kOpen.indexOf(close); pair >= 0)
            close = kClose[pair];
        const qsizetype end = m_sql.indexOf(QString(close) + u'\'', m_at + q + 3);
        m_closed = end >= 0;
        m_at = m_closed ? end + 2 : m_sql.size();
        return true;
    }

    /// What begins with no letter, digit or quote: parameter marks and operators.
    Kind mark()
    {
        const QChar c = peek();
        ++m_at;
        if (c == u'?') {
            while (isDigit(peek()))
                ++m_at;
            return Kind::PositionalMark;
        }
        if (c == u':' && peek() == u':') {
            ++m_at;
            return Kind::Operator;
        }
        if (c == u'@' && peek() == u'@') {
            ++m_at;
            while (isSqlNamePart(peek()))
                ++m_at;
            return Kind::Word;
        }
        const bool marks =
            c == u':' || (c == u'@' && (is(SqlDialect::Sqlite) || is(SqlDialect::MsSql))) || (c == u'$' && is(SqlDialect::Sqlite));
        if (!marks || !isSqlNameStart(peek()))
            return Kind::Operator;
        while (!atEnd() && isSqlNamePart(peek()))
            ++m_at;
        return Kind::Parameter;
    }

    QStringView m_sql;
    SqlDialect m_dialect;
    qsizetype m_at = 0;
    bool m_closed = true;
};

} // namespace

std::vector<SqlToken> lexSql(QStringView sql, SqlDialect dialect)
{
    std::vector<SqlToken> tokens;
    Scanner scanner(sql, dialect);
    while (!scanner.atEnd())
        tokens.push_back(scanner.next());
    return tokens;
}

std::vector<SqlParameterMark> findParameters(QStringView sql, SqlDialect dialect)
{
    std::vector<SqlParameterMark> marks;
    Scanner scanner(sql, dialect);
    while (!scanner.atEnd())
        if (const SqlToken token = scanner.next(); token.kind == Kind::Parameter)
            marks.push_back({sql.mid(token.offset + 1, token.length - 1).toString(), token.offset, token.length});
    return marks;
}

QStringList parameterNames(QStringView sql, SqlDialect dialect)
{
    QStringList names;
    for (const SqlParameterMark &mark : findParameters(sql, dialect))
        if (!names.contains(mark.name, Qt::CaseInsensitive))
            names.append(mark.name);
    return names;
}

qsizetype firstStatementOffset(QStringView sql, qsizetype offset, SqlDialect dialect)
{
    Scanner scanner(sql.mid(offset), dialect);
    while (!scanner.atEnd()) {
        const SqlToken token = scanner.next();
        const bool separates = token.kind == Kind::Operator && sql[offset + token.offset] == u';';
        if (token.kind != Kind::Blank && token.kind != Kind::Comment && !separates)
            return offset + token.offset;
    }
    return -1;
}

SqlPosition sqlPosition(QStringView sql, qsizetype offset)
{
    SqlPosition position;
    const qsizetype end = qBound(qsizetype{0}, offset, sql.size());
    for (qsizetype i = 0; i < end; ++i) {
        const QChar c = sql[i];
        if (c == u'\n' || (c == u'\r' && (i + 1 >= sql.size() || sql[i + 1] != u'\n'))) {
            ++position.line;
            position.column = 1;
        } else if (!c.isLowSurrogate() && c != u'\r') {
            ++position.column;
        }
    }
    return position;
}

} // namespace qm
