/// \file
/// What a report column is like where no layout says it: type, format, width and caption, from the result itself.
#pragma once

#include "documents/ReportWriter.h"
#include "engine/rows/RowSample.h"

#include <QString>

namespace qm {

/// "first_attempt" becomes "First attempt", "clientIp" "Client IP"; a name that is an expression ("COUNT(*)") stays as it is.
[[nodiscard]] QString captionOf(const QString &field);

/// Type of column \p index: as declared where the sample's values agree, else as the values are.
[[nodiscard]] ColumnType guessType(const ResultColumn &column, const RowSample &sample, std::size_t index);
/// A format that shows the sample's values of a column of \p type unshortened ("datetime-ms" when there are fractions of seconds); may be
/// empty.
[[nodiscard]] std::string guessFormat(ColumnType type, const RowSample &sample, std::size_t index);
[[nodiscard]] CellAlignment defaultAlignment(ColumnType type);
/// Width in mm that the caption and most of the sample's values need at reading size; long texts are given lines of about 60 characters.
[[nodiscard]] double guessWidth(const ReportColumn &column, const RowSample &sample, std::size_t index);

} // namespace qm
