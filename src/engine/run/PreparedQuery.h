/// \file
/// A query made ready to run: what a run, the editor's preview and the prompts start from.
#pragma once

#include "core/Clock.h"
#include "documents/ReportWriter.h"
#include "engine/rows/RowSources.h"
#include "engine/run/QueryChoices.h"
#include "engine/run/QueryHome.h"
#include "engine/sql/Period.h"
#include "engine/sql/SqlParameters.h"
#include "framework/HouseStyle.h"
#include "framework/Query.h"

#include <QMap>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace qm {

/// What a run knows about itself before the first row. Nothing in it holds a password.
struct RunFacts
{
    QString description, queryFile, package, group, source;
    QString period;             ///< in words; empty without a period
    QString periodPhrase;       ///< short, for names: "last week", "2026-11-01 to 2026-11-20"
    QString dateFrom, dateTo;   ///< ends of the period in UTC; empty without one
    QString madeLocal, madeUtc; ///< "YYYY-MM-DD HH:MM:SS"
    QString format;
    HouseStyle house;
    std::vector<Fact> parameters; ///< by their labels; those of the period are not among them
};

/// A query with its place and its data source: what is known before any value is given.
struct LocatedQuery
{
    std::shared_ptr<const Query> query;
    QueryHome home;
    SourceDescription source;
    QString sql;              ///< the one of the query's variants that runs on the source
    QStringList names;        ///< of the parameters that the SQL uses, each once
    bool takesPeriod = false; ///< see takesPeriod()
};

/// Whether a period gives values to an SQL that uses the parameters \p names: it has :date_from or :date_to, and the query declares no
/// parameter of that name.
[[nodiscard]] bool takesPeriod(const Query &query, const QStringList &names);

/// Finds out where \p query runs. Reads the file of a saved data source; connects to nothing. \p database: in place of the source that the
/// query names. \throws RuntimeError reportFailed when there is no database to read, and as describeSource.
[[nodiscard]] LocatedQuery locateQuery(std::shared_ptr<const Query> query, const QueryHome &home, const std::optional<QString> &database);

/// Whether the query must be asked for values or a period before it can run.
[[nodiscard]] bool asksForValues(const LocatedQuery &query);

/// A query with all its values.
struct PreparedQuery : LocatedQuery
{
    std::optional<PeriodRange> period; ///< only where the SQL takes one
    std::vector<BoundParameter> parameters;
    RunFacts facts; ///< all but the format, which the output knows
};

/// Chooses period and parameters: what \p choices give, then what the query says. "Now" is asked of \p clock once.
/// \throws RuntimeError reportFailed: a period for a query that takes none, no such phrase, and as bindParameters; and as locateQuery.
[[nodiscard]] PreparedQuery prepareQuery(std::shared_ptr<const Query> query, const QueryHome &home, const QueryChoices &choices,
                                         const Clock &clock);

} // namespace qm
