/// \file
/// Header and footer of each page.
#pragma once

#include "documents/pdf/ReportPages.h"

#include <string>

namespace qm::pdf {

/// Header and footer of a report whose layout gives none: on the first page where it belongs, on the others what it is.
struct HouseBands
{
    PageBand firstHeader, header, footer;
};
[[nodiscard]] HouseBands houseBands(const ReportHead &head);
[[nodiscard]] bool hasHouseBands(const ReportHead &head);

/// "{page}" and "{pages}" in a band text become the page's number and the number of pages.
/// Texts without "{page}" are drawn by form XObjects, written at the end: one for the first page, one for the others. The rest is drawn
/// page by page at the end.
class PageBands final
{
public:
    PageBands(const ReportHead &head, const PageGeometry &geometry, TextLayout &layout);

    /// Names of the form XObjects that the first page and the others place at 0, 0.
    static constexpr std::string_view kFirstForm = "B1", kForm = "B";

    /// Writes those forms. Call once the number of pages is known, before any draw().
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
        TextStyle style = TextStyle::Regular;
        bool literal = false; ///< without fields
    };
    /// A header and a footer.
    using Texts = std::vector<Text>;
    static void add(const PageBand &band, Tenths baseline, Texts &texts);
    void shareWidth(Texts &texts, std::size_t first, int pageCount);
    void finish(Texts &texts, std::string_view form, ReportPages &pages);
    void drawText(const Text &text, int page, TextCanvas &canvas);
    [[nodiscard]] std::string filledIn(const Text &text, int page) const;

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    Texts m_first, m_others; ///< left, centre, right of the header, then of the footer
    int m_pageCount = 0;
};

} // namespace qm::pdf
