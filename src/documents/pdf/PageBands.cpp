#include "documents/pdf/PageBands.h"

#include "documents/ReportWords.h"

#include <algorithm>
#include <initializer_list>

namespace qm::pdf {

namespace {

constexpr Tenths kGap = 120; ///< between two texts of a band

bool hasPage(const std::string &pattern)
{
    bool found = false;
    forEachBandPart(pattern, [&found](BandPart part, std::string_view) { found = found || part == BandPart::Page; });
    return found;
}

bool isEmpty(const PageBand &band)
{
    return band.left.empty() && band.centre.empty() && band.right.empty();
}

/// A band is one line.
std::string oneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return text;
}

} // namespace

HouseBands houseBands(const ReportHead &head)
{
    using Kind = Fact::Kind;
    const auto stated = [&](std::initializer_list<Kind> kinds) {
        std::string text;
        for (const Fact &fact : head.facts)
            if (std::find(kinds.begin(), kinds.end(), fact.kind) != kinds.end())
                text += (text.empty() ? "" : " / ") + fact.value;
        return text;
    };
    const std::string made = stated({Kind::Made});
    return {{stated({Kind::Package, Kind::Group}), "", head.house.classification},
            {head.title, "", stated({Kind::Period})},
            {stated({Kind::Package, Kind::Group, Kind::Query}), made.empty() ? "" : "Made " + made, "Page {page} of {pages}"}};
}

bool hasHouseBands(const ReportHead &head)
{
    return head.houseBands || (isEmpty(head.header) && isEmpty(head.footer));
}

PageBands::PageBands(const ReportHead &head, const PageGeometry &geometry, TextLayout &layout) : m_geometry(geometry), m_layout(layout)
{
    const bool house = hasHouseBands(head);
    const HouseBands bands = house ? houseBands(head) : HouseBands{head.header, head.header, head.footer};
    for (Texts *texts : {&m_first, &m_others}) {
        add(texts == &m_first ? bands.firstHeader : bands.header, geometry.headerBaseline, *texts);
        add(bands.footer, geometry.footerBaseline, *texts);
        texts->front().style = TextStyle::Bold;
        // Of the house's texts only the last has fields; a title that looks like one is a title.
        for (std::size_t i = 0; house && i + 1 < texts->size(); ++i) {
            (*texts)[i].perPage = false;
            (*texts)[i].literal = true;
        }
    }
}

void PageBands::add(const PageBand &band, Tenths baseline, Texts &texts)
{
    using Place = TextCanvas::Place;
    for (const auto &[pattern, place] : {std::pair{&band.left, Place::Start}, {&band.centre, Place::Centre}, {&band.right, Place::Right}})
        texts.push_back({.pattern = oneLine(*pattern), .place = place, .baseline = baseline, .perPage = hasPage(*pattern)});
}

std::string PageBands::filledIn(const Text &band, int page) const
{
    if (band.literal)
        return band.pattern;
    std::string text;
    forEachBandPart(band.pattern, [&](BandPart part, std::string_view piece) {
        text += part == BandPart::Page ? std::to_string(page) : part == BandPart::Pages ? std::to_string(m_pageCount) : std::string(piece);
    });
    return text;
}

/// Gives the three texts of a band, from \p first on, room beside each other; what is too long will be cut.
void PageBands::shareWidth(Texts &texts, std::size_t first, int pageCount)
{
    Text &left = texts[first];
    Text &centre = texts[first + 1];
    Text &right = texts[first + 2];
    const auto widthOf = [&](const Text &text) {
        m_layout.clear();
        return m_layout.measure(filledIn(text, pageCount), text.style) * m_geometry.band.size / 1000 + 2;
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
    const std::string filled = filledIn(text, page);
    m_layout.clear();
    const TextBlock block = m_layout.fit(filled, text.style, m_geometry.band.limitFor(text.right - text.left));
    canvas.setInk(Ink::Faint);
    canvas.drawLine(block, 0, text.left, text.right, text.place, text.baseline, m_geometry.band.size);
}

void PageBands::finish(Texts &texts, std::string_view form, ReportPages &pages)
{
    shareWidth(texts, 0, m_pageCount);
    shareWidth(texts, 3, m_pageCount);
    TextCanvas canvas(m_layout);
    for (const Text &text : texts)
        if (!text.perPage && !text.pattern.empty())
            drawText(text, 0, canvas);
    pages.addForm(form, "BT\n" + canvas.content() + "ET\n", m_geometry.width, m_geometry.height);
}

void PageBands::finish(ReportPages &pages, int pageCount)
{
    m_pageCount = pageCount;
    finish(m_first, kFirstForm, pages);
    if (pageCount > 1)
        finish(m_others, kForm, pages);
}

void PageBands::draw(int page, TextCanvas &canvas)
{
    for (const Text &text : page == 1 ? m_first : m_others)
        if (text.perPage)
            drawText(text, page, canvas);
}

} // namespace qm::pdf
