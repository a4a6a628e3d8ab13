/// \file
/// What may be chosen for one run of a query.
#pragma once

#include <QDate>
#include <QMap>
#include <QString>

#include <optional>

namespace qm {

/// How the SQL of one run differs from what the query file says. Empty values mean: as the query file says.
struct QueryChoices
{
    QMap<QString, QString> parameters; ///< by name; overrides defaults
    QDate from, to;                    ///< local dates, both included; invalid: not given
    bool allTime = false;
    std::optional<QString> period;   ///< a period phrase
    std::optional<QString> database; ///< another SQLite file than the package's own
};

} // namespace qm
