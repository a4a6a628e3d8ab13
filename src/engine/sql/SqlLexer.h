/// \file
/// Splits SQL into tokens by the rules of each engine's dialect: finds parameters where they are parameters, and colours the editor.
#pragma once

#include "odbc/Engines.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace qm {

struct SqlToken
{
    enum class Kind { Blank, Comment, String, QuotedName, Number, Word, Parameter, PositionalMark, Operator };
    Kind kind = Kind::Operator;
    qsizetype offset = 0; ///< in UTF-16 units
    qsizetype length = 0;
    bool closed = true; ///< false: a string, name or comment that the text ends in
};

/// One place in the SQL that takes a parameter's value.
struct SqlParameterMark
{
    QString name;     ///< without its mark
    qsizetype offset; ///< of the mark, in UTF-16 units
    qsizetype length; ///< mark included
};

/// The tokens of \p sql, without gaps: their lengths add up to its length. Never fails: what no rule knows is an operator.
[[nodiscard]] std::vector<SqlToken> lexSql(QStringView sql, SqlDialect dialect);
/// The parameters in the order they stand, repeated as often as they stand.
[[nodiscard]] std::vector<SqlParameterMark> findParameters(QStringView sql, SqlDialect dialect);
/// Their names, each once (letter case ignored), in the order of their first mark.
[[nodiscard]] QStringList parameterNames(QStringView sql, SqlDialect dialect);
/// Whether \p sql is only blanks, comments and semicolons from \p offset on. \returns the offset of the first other token, or -1.
[[nodiscard]] qsizetype firstStatementOffset(QStringView sql, qsizetype offset, SqlDialect dialect);

/// Line and column (both from 1, columns in characters) of a place in \p sql; line ends are LF, CR LF or CR.
struct SqlPosition
{
    int line = 1, column = 1;
};
[[nodiscard]] SqlPosition sqlPosition(QStringView sql, qsizetype offset);

} // namespace qm
