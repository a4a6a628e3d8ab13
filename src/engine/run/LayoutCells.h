/// \file
/// What a layout says of cells, as the columns of a report have it, and what it says that nobody understands.
#pragma once

#include "documents/ReportColumn.h"
#include "framework/ReportLayout.h"

#include <QString>
#include <QStringList>

namespace qm {

/// Words, rules and the text for NULL.
void applyCells(const LayoutColumn &asked, ReportColumn &column);

/// Sentences for a reader of the report, or for its author: keys and formats that are not known, each with the nearest that is.
[[nodiscard]] QStringList layoutWarnings(const ReportLayout &layout);

} // namespace qm
