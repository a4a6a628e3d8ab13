#include "engine/rows/OdbcSql.h"

#include "core/Failure.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace qm {

namespace {

using Kind = SqlToken::Kind;

/// Words that begin a statement which gives rows and is not expected to change any. Procedures are among them: they may write, which
/// the read-only transaction or the rollback at the end undoes as far as the server can.
constexpr std::array kReadingWords{u"SELECT", u"WITH", u"VALUES", u"TABLE", u"SHOW", u"EXPLAIN", u"DESCRIBE", u"EXEC", u"EXECUTE", u"CALL"};

/// Reserved words of SQL Server's dialect that begin a writing statement, which there needs no semicolon before it.
constexpr std::array kWritingWords{u"INSERT",   u"UPDATE", u"DELETE", u"MERGE", u"TRUNCATE", u"DROP",    u"ALTER",  u"CREATE",
                                   u"GRANT",    u"REVOKE", u"DENY",   u"INTO",  u"EXEC",     u"EXECUTE", u"BACKUP", u"RESTORE",
                                   u"SHUTDOWN", u"KILL",   u"USE",    u"BEGIN", u"COMMIT",   u"ROLLBACK"};

template <std::size_t N>
bool isOneOf(QStringView word, const std::array<const char16_t *, N> &words)
{
    return std::any_of(words.begin(), words.end(),
                       [&](const char16_t *known) { return word.compare(QStringView(known), Qt::CaseInsensitive) == 0; });
}

[[noreturn]] void refuseAt(const QString &sql, qsizetype offset, const QString &why)
{
    const SqlPosition position = sqlPosition(sql, offset);
    failReport(QStringLiteral("The SQL is refused in line %1, column %2: %3.").arg(position.line).arg(position.column).arg(why));
}

/// "INNER MERGE JOIN", "OPTION (MERGE UNION)" and "OPTION (USE HINT (...))" are hints, not statements.
bool isHint(QStringView word, QStringView next)
{
    const auto are = [&](QStringView first, QStringView second) {
        return word.compare(first, Qt::CaseInsensitive) == 0 && next.compare(second, Qt::CaseInsensitive) == 0;
    };
    return are(u"MERGE", u"JOIN") || are(u"MERGE", u"UNION") || are(u"USE", u"HINT") || are(u"USE", u"PLAN");
}

void refuseWriting(const QString &sql, const std::vector<SqlToken> &tokens, SqlDialect dialect)
{
    const auto textOf = [&](const SqlToken &token) { return QStringView(sql).mid(token.offset, token.length); };
    const auto first = std::find_if(tokens.begin(), tokens.end(), [&](const SqlToken &token) {
        const bool opens = token.kind == Kind::Operator && (textOf(token) == u"(" || textOf(token) == u"{");
        return !opens;
    });
    if (first == tokens.end())
        return;
    if (first->kind != Kind::Word || !isOneOf(textOf(*first), kReadingWords))
        refuseAt(sql, first->offset, QStringLiteral("a report may only read, and \"%1\" begins no query").arg(textOf(*first)));
    if (dialect != SqlDialect::MsSql)
        return;
    for (auto token = first + 1; token != tokens.end(); ++token) {
        const QStringView next = token + 1 == tokens.end() ? QStringView() : textOf(*(token + 1));
        if (token->kind == Kind::Word && isOneOf(textOf(*token), kWritingWords) && !isHint(textOf(*token), next))
            refuseAt(sql, token->offset, QStringLiteral("a report may only read, and \"%1\" writes").arg(textOf(*token)));
    }
}

} // namespace

void requireOneReadingStatement(const QString &sql, SqlDialect dialect)
{
    if (const qsizetype nul = sql.indexOf(QChar(u'\0')); nul >= 0)
        refuseAt(sql, nul, QStringLiteral("it holds a NUL character"));
    std::vector<SqlToken> tokens;
    bool ended = false;
    for (const SqlToken &token : lexSql(sql, dialect)) {
        if (token.kind == Kind::Blank || token.kind == Kind::Comment)
            continue;
        const bool separates = token.kind == Kind::Operator && sql[token.offset] == u';';
        if (!separates && ended)
            refuseAt(sql, token.offset, QStringLiteral("a report runs one statement, and here a second one begins"));
        if (separates)
            ended = !tokens.empty();
        else
            tokens.push_back(token);
    }
    if (tokens.empty())
        failReport(QStringLiteral("The query has no SQL statement. Open it in the query editor and write one."));
    refuseWriting(sql, tokens, dialect);
}

OdbcSql withPositionalMarks(const QString &sql, SqlDialect dialect, const std::vector<BoundParameter> &parameters)
{
    OdbcSql result;
    for (const SqlToken &token : lexSql(sql, dialect)) {
        const QStringView text = QStringView(sql).mid(token.offset, token.length);
        if (token.kind == Kind::PositionalMark)
            refuseAt(sql, token.offset, QStringLiteral("a parameter has no name. Write parameters as :name"));
        if (token.kind != Kind::Parameter) {
            result.text += text;
            continue;
        }
        const QStringView name = text.sliced(1);
        const auto found = std::find_if(parameters.begin(), parameters.end(), [&](const BoundParameter &parameter) {
            return name.compare(parameter.name, Qt::CaseInsensitive) == 0;
        });
        if (found == parameters.end())
            failReport(QStringLiteral("The SQL's parameter \"%1\" has no value.").arg(name));
        result.values.push_back(*found);
        result.text += u'?';
    }
    // A semicolon at the end is not part of the statement for every server.
    while (!result.text.isEmpty() && (result.text.back().isSpace() || result.text.back() == u';'))
        result.text.chop(1);
    return result;
}

} // namespace qm
