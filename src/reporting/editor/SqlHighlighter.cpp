#include "reporting/editor/SqlHighlighter.h"

#include <QPalette>
#include <QTextDocument>

#include <algorithm>

namespace qm {

const QStringList &sqlKeywords()
{
    static const QStringList words = [] {
        QStringList list =
            QStringLiteral("ALL AND ANY AS ASC AVG BETWEEN BY CASE CAST COALESCE COLLATE COUNT CROSS CURRENT CURRENT_DATE CURRENT_TIME "
                           "CURRENT_TIMESTAMP DATE DATETIME DESC DISTINCT ELSE END ESCAPE EXCEPT EXISTS FETCH FILTER FIRST FOLLOWING FOR "
                           "FROM FULL GLOB GROUP GROUP_CONCAT HAVING IFNULL IN INNER INSTR INTERSECT INTERVAL IS ISNULL JOIN LAG LAST "
                           "LEAD LEFT LENGTH LIKE LIMIT LOWER MAX MIN NATURAL NEXT NOT NOTNULL NULL NULLIF NULLS OFFSET ON ONLY OR ORDER "
                           "OUTER OVER PARTITION PRECEDING RANGE RANK RECURSIVE REGEXP REPLACE RIGHT ROUND ROW ROWS ROW_NUMBER SELECT "
                           "STRFTIME SUBSTR SUM THEN TOP TRIM UNBOUNDED UNION UPPER USING VALUES WHEN WHERE WINDOW WITH")
                .split(u' ');
        std::sort(list.begin(), list.end());
        return list;
    }();
    return words;
}

SqlHighlighter::SqlHighlighter(QTextDocument *document, const QPalette &palette) : QSyntaxHighlighter(document)
{
    chooseColours(palette);
}

void SqlHighlighter::chooseColours(const QPalette &palette)
{
    const bool dark = palette.color(QPalette::Base).lightness() < 128;
    const auto set = [](QTextCharFormat &format, const char *colour) { format.setForeground(QColor(QLatin1String(colour))); };
    set(m_keyword, dark ? "#7cb7ff" : "#1f4fa8");
    set(m_string, dark ? "#a5d6a0" : "#2b7a2b");
    set(m_comment, dark ? "#9aa0a6" : "#6a737d");
    set(m_number, dark ? "#f2b56b" : "#9a5200");
    set(m_parameter, dark ? "#e39ad6" : "#8a2a83");
    set(m_name, dark ? "#8fd3d6" : "#0f6f74");
    m_keyword.setFontWeight(QFont::DemiBold);
    m_parameter.setFontWeight(QFont::DemiBold);
    m_comment.setFontItalic(true);
}

void SqlHighlighter::setDialect(SqlDialect dialect)
{
    if (dialect == m_dialect)
        return;
    m_dialect = dialect;
    m_revision = -1;
    rehighlight();
}

void SqlHighlighter::setPalette(const QPalette &palette)
{
    chooseColours(palette);
    rehighlight();
}

const std::vector<SqlToken> &SqlHighlighter::tokens()
{
    if (m_revision != document()->revision() || m_text.size() + 1 != document()->characterCount()) {
        m_revision = document()->revision();
        m_text = document()->toPlainText();
        m_tokens = lexSql(m_text, m_dialect);
    }
    return m_tokens;
}

const QTextCharFormat *SqlHighlighter::formatOf(const SqlToken &token, QStringView text) const
{
    switch (token.kind) {
    case SqlToken::Kind::Comment:
        return &m_comment;
    case SqlToken::Kind::String:
        return &m_string;
    case SqlToken::Kind::QuotedName:
        return &m_name;
    case SqlToken::Kind::Number:
        return &m_number;
    case SqlToken::Kind::Parameter:
    case SqlToken::Kind::PositionalMark:
        return &m_parameter;
    case SqlToken::Kind::Word: {
        const QString word = text.mid(token.offset, token.length).toString().toUpper();
        return std::binary_search(sqlKeywords().begin(), sqlKeywords().end(), word) ? &m_keyword : nullptr;
    }
    case SqlToken::Kind::Blank:
    case SqlToken::Kind::Operator:
        break;
    }
    return nullptr;
}

void SqlHighlighter::highlightBlock(const QString &text)
{
    const qsizetype first = currentBlock().position(), end = first + text.size();
    int state = 0;
    // While the whole text is being set, its revision does not tell.
    if (QStringView(m_text).mid(first, text.size()) != text)
        m_revision = -1;
    const auto &all = tokens();
    auto token = std::lower_bound(all.begin(), all.end(), first,
                                  [](const SqlToken &candidate, qsizetype at) { return candidate.offset + candidate.length <= at; });
    for (; token != all.end() && token->offset <= end; ++token) {
        const qsizetype from = std::max(token->offset, first), to = std::min(token->offset + token->length, end);
        const QTextCharFormat *format = formatOf(*token, m_text);
        if (format && to > from)
            setFormat(static_cast<int>(from - first), static_cast<int>(to - from), *format);
        // A token that goes on below makes the next line depend on this one.
        if (token->offset + token->length > end + 1)
            state = static_cast<int>(token->kind) + 1;
    }
    setCurrentBlockState(state);
}

} // namespace qm
