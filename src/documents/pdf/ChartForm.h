/// \file
/// A chart on a page, whose figures are known only after the last row.
#pragma once

#include "documents/charts/ChartPicture.h"
#include "documents/pdf/ReportPages.h"

#include <string>
#include <utility>

namespace qm::pdf {

/// Keeps a place for a chart and draws it there later: as a form XObject, which a page may show before it is in the file.
class ChartForm final
{
public:
    /// On the current page, at this point of its text. \param name  of the resource, unlike that of any other form of the file.
    ChartForm(std::string name, ReportPages &pages, Tenths left, Tenths top, Tenths width, Tenths height);

    /// Points of the place.
    [[nodiscard]] ChartSize size() const { return {m_width / 10.0, m_height / 10.0}; }

    /// Writes what was placed: once, after the last page is closed and before the resources are written.
    /// \returns the characters that no font could show.
    std::int64_t write(const ChartPicture &picture, const PageGeometry &geometry, TextLayout &layout, ReportPages &pages) const;

private:
    std::string m_name;
    Tenths m_left, m_bottom, m_width, m_height;
};

/// The operators that draw \p picture in tenths of a point, with the lower left corner at 0, 0.
/// \param missing  grows by the characters that no font could show
[[nodiscard]] std::string chartOperators(const ChartPicture &picture, TextLayout &layout, std::int64_t &missing);

/// Measures texts with the fonts of the file. Clears \p layout each time.
[[nodiscard]] ChartTextWidth chartTextWidth(TextLayout &layout);

} // namespace qm::pdf
