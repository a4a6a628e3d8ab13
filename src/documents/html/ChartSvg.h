/// \file
/// Charts in a report page: drawings within the page's own markup.
#pragma once

#include "documents/charts/ChartPicture.h"

#include <string>

namespace qm {

/// Points of a chart that stands in a page. The page shows them 1.8 times as large as pixels, or as wide as there is room.
inline constexpr ChartSize kHtmlChartSize{400, 190};

/// Appends one chart as an svg element. It needs no script, no style attribute and no file, so the strictest policy lets it through;
/// its colours follow chartStyleSheet(), and are those of a white page where that is not applied.
void appendChartSvg(std::string &out, const ChartSpec &spec, const ChartData &data, ChartSize size = kHtmlChartSize);

/// The rules that every chart of a page needs, for screens light and dark, for phones and for paper.
[[nodiscard]] std::string chartStyleSheet();

} // namespace qm
