/// \file
/// Header and footer of each page.
#pragma once

#include "documents/pdf/ReportPages.h"

#include <string>

namespace qm::pdf {

/// "{page}" and "{pages}" in a band text become the page's number and the number of pages.
/// Texts without "{page}" are the same on each page and drawn by one form XObject, written at the end; the others are drawn page by page at
/// the end.
class PageBands final
{
public:
    PageBands(const ReportHead &head, const PageGeometry &geometry, TextLayout &layout);

    /// Name of the form XObject that each page places at 0, 0; empty when the bands hold no text.
    [[nodiscard]] std::string_view formName() const { return m_empty ? "" : "B"; }

    /// Writes that form. Call once the number of pages is known, before any textOf().
    void finish(ReportPages &pages, int pageCount);

    /// Draws the texts of page \p page that no other page has.
    void draw(int page, TextCanvas &canvas);

private:
    struct Text
    {
        std::string pattern;
        TextCanvas::Place place = TextCanvas::Place::Start;
        Tenths baseline = 0;
        bool perPage = false;
        Tenths left = 0, right = 0;
    };
    void add(const PageBand &band, Tenths baseline);
    void shareWidth(std::size_t first, int pageCount);
    void drawText(const Text &text, int page, TextCanvas &canvas);
    [[nodiscard]] std::string filledIn(const std::string &pattern, int page) const;

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    std::vector<Text> m_texts; ///< left, centre, right of the header, then of the footer
    bool m_empty = true;
    int m_pageCount = 0;
};

} // namespace qm::pdf
