/// \file
/// Layout, result and run put together: what the writer is given before the first row.
#pragma once

#include "documents/ReportWriter.h"
#include "engine/rows/RowSample.h"
#include "engine/run/PreparedQuery.h"
#include "framework/ReportLayout.h"

#include <QString>

#include <span>
#include <vector>

namespace qm {

struct ReportPlan
{
    ReportHead head;
    ReportShape shape;
    std::vector<std::size_t> resultIndex; ///< for each column of the shape, the column of the result
    bool inResultOrder = true;            ///< whether that is 0, 1, 2, ... and all of them
};

/// Works the report's columns and head out. \p layout null: automatic. \p layoutName tells whose fields a message is about.
/// \throws RuntimeError reportFailed: a field that the result does not have (listing those it has), an unknown {field}, no visible column.
[[nodiscard]] ReportPlan planReport(const ReportLayout *layout, const QString &layoutName, std::span<const ResultColumn> result,
                                    const RowSample &sample, const RunFacts &facts);

} // namespace qm
