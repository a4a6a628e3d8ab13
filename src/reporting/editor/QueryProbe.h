/// \file
/// Tries a query that is being edited on its data source: is it right, and what are its first rows.
#pragma once

#include "engine/run/PreparedQuery.h"
#include "engine/sql/SqlLexer.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace qm {

class CancelFlag;

/// A query as it is to be tried. Can go to another thread; the clock outlives it.
struct ProbeRequest
{
    std::shared_ptr<const Query> query;
    QueryHome home;
    QueryChoices choices;
    const Clock &clock;
};

struct ProbeRows
{
    QStringList columns;
    std::vector<std::vector<std::optional<QString>>> rows; ///< shown texts; nullopt: NULL
    bool more = false;                                     ///< there are more rows than were read
    bool hasPeriod = false;                                ///< only rows of a period were asked for
    double seconds = 0;
};

/// Prepares the SQL without running it; parameters need no values. \throws RuntimeError with the database's words.
void checkSql(const ProbeRequest &request, std::shared_ptr<CancelFlag> cancel);
/// The first \p limit rows that the report would have. \throws RuntimeError as a run does; cancelledByOperator.
[[nodiscard]] ProbeRows readFirstRows(const ProbeRequest &request, std::size_t limit, std::shared_ptr<CancelFlag> cancel);

/// Line and column that an error's text names ("line 3, column 7"); both 0 when it names none.
[[nodiscard]] SqlPosition placeInError(const QString &words);

} // namespace qm
