/// \file
/// Layout, result and run put together: what the writer is given before the first row.
#pragma once

#include "documents/ReportWriter.h"
#include "engine/outputs/ReportOutput.h"
#include "engine/rows/RowSample.h"
#include "engine/rows/ShapeSources.h"
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
    ShapeSources sources;      ///< what the shape is made of: columns of the result
    bool inResultOrder = true; ///< whether the result's columns are shown as they are: all of them, in their order
};

/// Works the report's head and shape out, with as much of the shape as \p use asks for. \p layout null: automatic. \p layoutName tells
/// whose fields a message is about. \throws RuntimeError reportFailed: a field that the result does not have (listing those it has), an
/// unknown {field}, no visible column.
[[nodiscard]] ReportPlan planReport(const ReportLayout *layout, const QString &layoutName, std::span<const ResultColumn> result,
                                    const RowSample &sample, const RunFacts &facts, ShapeUse use = ShapeUse::Shown);

} // namespace qm
