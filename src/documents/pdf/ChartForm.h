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
    /// \param name  of the resource, unlike that of any other form of the file
    ChartForm(std::string name, Tenths width, Tenths height) : m_name(std::move(name)), m_width(width), m_height(height) {}

    /// On the current page, with its upper left corner at \p left, \p top.
    void place(ReportPages &pages, Tenths left, Tenths top) const { pages.place(m_name, left, top - m_height); }

    /// Writes what was placed: once, after the last page is closed and before the resources are written.
    /// \returns the characters that no font could show.
    std::int64_t write(const ChartSpec &spec, const ChartData &data, TextLayout &layout, ReportPages &pages) const;

    [[nodiscard]] Tenths width() const { return m_width; }
    [[nodiscard]] Tenths height() const { return m_height; }

private:
    std::string m_name;
    Tenths m_width, m_height;
};

/// The operators that draw \p picture in tenths of a point, with the lower left corner at 0, 0.
/// \param missing  grows by the characters that no font could show
[[nodiscard]] std::string chartOperators(const ChartPicture &picture, TextLayout &layout, std::int64_t &missing);

/// Measures texts with the fonts of the file. Clears \p layout each time.
[[nodiscard]] ChartTextWidth chartTextWidth(TextLayout &layout);

} // namespace qm::pdf
