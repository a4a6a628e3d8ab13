/// \file
/// Colours SQL in the query editor.
#pragma once

#include "engine/sql/SqlLexer.h"

#include <QSyntaxHighlighter>
#include <QTextCharFormat>

namespace qm {

/// Colours by the tokens of the dialect's lexer, in colours that suit the palette, light or dark.
class SqlHighlighter final : public QSyntaxHighlighter
{
    Q_OBJECT
public:
    SqlHighlighter(QTextDocument *document, const QPalette &palette);

    void setDialect(SqlDialect dialect);
    void setPalette(const QPalette &palette);
    /// The tokens of the whole text, as last coloured.
    [[nodiscard]] const std::vector<SqlToken> &tokens();

protected:
    void highlightBlock(const QString &text) override;

private:
    void chooseColours(const QPalette &palette);
    [[nodiscard]] const QTextCharFormat *formatOf(const SqlToken &token, QStringView text) const;

    SqlDialect m_dialect = SqlDialect::Sqlite;
    int m_revision = -1;
    QString m_text;
    std::vector<SqlToken> m_tokens;
    QTextCharFormat m_keyword, m_string, m_comment, m_number, m_parameter, m_name;
};

/// The words that are coloured as keywords and offered for completion, upper case, sorted.
[[nodiscard]] const QStringList &sqlKeywords();

} // namespace qm
