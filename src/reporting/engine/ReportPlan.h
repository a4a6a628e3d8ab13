/// \file
/// Layout, result and run put together: what the writer is given before the first row.
#pragma once

#include "framework/ReportLayout.h"
#include "reporting/engine/RowSample.h"
#include "reporting/engine/SqlParameters.h"
#include "reporting/writers/ReportWriter.h"

#include <QMap>

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
    std::vector<BoundParameter> parameters;
};

/// The values of the {fields} that texts of layouts, file names and subjects may name.
[[nodiscard]] QMap<QString, QString> fieldValues(const RunFacts &facts);

struct ReportPlan
{
    ReportHead head;
    std::vector<ReportColumn> columns;    ///< of the report, in its order
    std::vector<std::size_t> resultIndex; ///< for each of them, the column of the result
    bool inResultOrder = true;            ///< whether that is 0, 1, 2, ... and all of them
};

/// Works the report's columns and head out. \p layout null: automatic. \p layoutName tells whose fields a message is about.
/// \throws RuntimeError reportFailed: a field that the result does not have (listing those it has), an unknown {field}, no visible column.
[[nodiscard]] ReportPlan planReport(const ReportLayout *layout, const QString &layoutName, std::span<const ResultColumn> result,
                                    const RowSample &sample, const RunFacts &facts);

} // namespace qm
