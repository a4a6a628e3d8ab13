#include "documents/pdf/PageBands.h"

#include "documents/ReportWords.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr Tenths kGap = 120; ///< between two texts of a band

bool hasPage(const std::string &pattern)
{
    bool found = false;
    forEachBandPart(pattern, [&found](BandPart part, std::string_view) { found = found || part == BandPart::Page; });
    return found;
}

/// A band is one line.
std::string oneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return text;
}

} // namespace

PageBands::PageBands(const ReportHead &head, const PageGeometry &geometry, TextLayout &layout) : m_geometry(geometry), m_layout(layout)
{
    add(head.header, geometry.headerBaseline);
    add(head.footer, geometry.footerBaseline);
}

void PageBands::add(const PageBand &band, Tenths baseline)
{
    using Place = TextCanvas::Place;
    for (const auto &[pattern, place] : {std::pair{&band.left, Place::Start}, {&band.centre, Place::Centre}, {&band.right, Place::Right}}) {
        m_texts.push_back({oneLine(*pattern), place, baseline, hasPage(*pattern), 0, 0});
        m_empty &= pattern->empty();
    }
}

std::string PageBands::filledIn(const std::string &pattern, int page) const
{
    std::string text;
    forEachBandPart(pattern, [&](BandPart part, std::string_view piece) {
        text += part == BandPart::Page ? std::to_string(page) : part == BandPart::Pages ? std::to_string(m_pageCount) : std::string(piece);
    });
    return text;
}

/// Gives the three texts of a band, from \p first on, room beside each other; what is too long will be cut.
void PageBands::shareWidth(std::size_t first, int pageCount)
{
    Text &left = m_texts[first];
    Text &centre = m_texts[first + 1];
    Text &right = m_texts[first + 2];
    const auto widthOf = [&](const Text &text) {
        m_layout.clear();
        return m_layout.measure(filledIn(text.pattern, pageCount), TextStyle::Regular) * m_geometry.band.size / 1000 + 2;
    };
    const Tenths whole = m_geometry.right - m_geometry.left;
    const Tenths centreWidth = centre.pattern.empty() ? 0 : std::min(widthOf(centre), whole * 2 / 5);
    const Tenths side = (whole - centreWidth) / 2 - kGap;
    Tenths rightWidth = right.pattern.empty() ? 0 : widthOf(right);
    Tenths leftWidth = side;
    if (centre.pattern.empty()) {
        rightWidth = std::min(rightWidth, whole / 2);
        leftWidth = whole - rightWidth - (rightWidth > 0 ? kGap : 0);
    } else {
        rightWidth = std::min(rightWidth, side);
    }
    left.left = m_geometry.left;
    left.right = left.left + leftWidth;
    centre.left = m_geometry.left + (whole - centreWidth) / 2;
    centre.right = centre.left + centreWidth;
    right.right = m_geometry.right;
    right.left = right.right - rightWidth;
}

void PageBands::drawText(const Text &text, int page, TextCanvas &canvas)
{
    const std::string filled = filledIn(text.pattern, page);
    m_layout.clear();
    const TextBlock block = m_layout.fit(filled, TextStyle::Regular, m_geometry.band.limitFor(text.right - text.left));
    canvas.setInk(Ink::Faint);
    canvas.drawLine(block, 0, text.left, text.right, text.place, text.baseline, m_geometry.band.size);
}

void PageBands::finish(ReportPages &pages, int pageCount)
{
    m_pageCount = pageCount;
    if (m_empty)
        return;
    shareWidth(0, pageCount);
    shareWidth(3, pageCount);
    TextCanvas canvas(m_layout);
    for (const Text &text : m_texts)
        if (!text.perPage && !text.pattern.empty())
            drawText(text, 0, canvas);
    pages.addForm(formName(), "BT\n" + canvas.content() + "ET\n", m_geometry.width, m_geometry.height);
}

void PageBands::draw(int page, TextCanvas &canvas)
{
    for (const Text &text : m_texts)
        if (text.perPage)
            drawText(text, page, canvas);
}

} // namespace qm::pdf
