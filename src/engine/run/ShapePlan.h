/// \file
/// Groups, totals, figures and charts of a layout, worked out for one result.
#pragma once

#include "engine/outputs/ReportOutput.h"
#include "engine/rows/RowSource.h"
#include "engine/rows/ShapeSources.h"
#include "engine/run/PreparedQuery.h"
#include "framework/ReportLayout.h"

#include <cstddef>
#include <functional>
#include <span>

namespace qm {

/// What planShape() asks of the columns' plan.
struct ResultColumns
{
    std::span<const ResultColumn> columns;
    std::function<std::size_t(const QString &field)> indexOf; ///< the field is there
    std::function<ReportColumn(std::size_t index)> resolved;  ///< as the layout has it, shown or not
};

/// Completes \p shape, whose columns are there, and \p sources, whose shown are: with as much as \p use asks for. Captions that the layout
/// does not give are made from function and column.
void planShape(const ReportLayout &layout, const ResultColumns &result, const RunFacts &facts, ShapeUse use, ReportShape &shape,
               ShapeSources &sources);

/// Takes the headings from levels where they would only repeat what each row says: most groups of the first rows, \p sample, have one row,
/// and a column shows their value. \p whole: there are no further rows.
void settleHeadings(ReportShape &shape, const ShapeSources &sources, std::size_t rows, bool whole,
                    const std::function<std::span<const Value>(std::size_t)> &row);

} // namespace qm
