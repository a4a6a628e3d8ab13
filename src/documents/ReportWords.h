/// \file
/// What every format says in the same words: how many rows there are, that there are none, that a limit cut some off; and the fields of
/// page bands.
#pragma once

#include "documents/ReportWriter.h"

#include <functional>

namespace qm {

inline constexpr char kNoRows[] = "No rows";

/// "1 row", "1,234 rows".
[[nodiscard]] std::string rowsText(std::int64_t rows);
/// "Only the first 1,000 rows", of a report that a row limit cut.
[[nodiscard]] std::string firstRowsText(const ReportTail &tail);
/// "the limit of 1,000 rows cut off the rest."
[[nodiscard]] std::string limitText(const ReportTail &tail);
/// Both in one sentence.
[[nodiscard]] std::string cutNotice(const ReportTail &tail);

/// What a text of a page band consists of.
enum class BandPart { Text, Page, Pages };
/// Gives \p take the parts of \p band in their order; the text is empty but for BandPart::Text.
void forEachBandPart(std::string_view band, const std::function<void(BandPart part, std::string_view text)> &take);

} // namespace qm
