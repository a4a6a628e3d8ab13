#include "documents/pdf/PageContent.h"

#include "documents/Palette.h"
#include "documents/pdf/PdfSyntax.h"

#include <algorithm>
#include <array>

namespace qm::pdf {

namespace {

constexpr std::array kFills{Fill::Zebra, Fill::Caption, Fill::Subtotal, Fill::Total, Fill::Notice, Fill::NoticeBar, Fill::FigureBar};
constexpr std::array kStrokes{Stroke::Row, Stroke::Hairline, Stroke::Group, Stroke::Navy, Stroke::Total};

palette::Colour colourOf(Fill kind)
{
    switch (kind) {
    case Fill::Zebra:
        return palette::kZebra;
    case Fill::Caption:
        return palette::kCaptionPage;
    case Fill::Subtotal:
        return palette::kSubtotalPage;
    case Fill::Total:
        return palette::kTotalPage;
    case Fill::Notice:
        return palette::kNoticePage;
    case Fill::NoticeBar:
        return palette::kNotice;
    case Fill::FigureBar:
        break;
    }
    return palette::kMid;
}

palette::Colour colourOf(Stroke kind)
{
    switch (kind) {
    case Stroke::Row:
        return palette::kRowRule;
    case Stroke::Hairline:
        return palette::kHairline;
    case Stroke::Group:
        return palette::kMid;
    case Stroke::Navy:
    case Stroke::Total:
        break;
    }
    return palette::kNavy;
}

/// In tenths of a point.
std::string_view widthOf(Stroke kind)
{
    switch (kind) {
    case Stroke::Row:
    case Stroke::Hairline:
        return "2.5 w ";
    case Stroke::Group:
        return "5 w ";
    case Stroke::Navy:
        return "7.5 w ";
    case Stroke::Total:
        break;
    }
    return "10 w ";
}

} // namespace

void PageContent::clear()
{
    m_text.clear();
    m_fills.clear();
    m_lines.clear();
    m_forms.clear();
    m_insertions.clear();
}

void PageContent::place(std::string_view name, Tenths x, Tenths y)
{
    m_forms += "q 1 0 0 1 ";
    appendOperand(m_forms, x);
    appendOperand(m_forms, y);
    m_forms.append("cm /").append(name).append(" Do Q\n");
}

void PageContent::placeInText(std::string_view name)
{
    m_insertions.push_back({m_text.mark(), std::string(name), 0, 0, true});
}

void PageContent::insertText(const TextCanvas::Mark &at, const std::string &text, Tenths x, Tenths y)
{
    // Groups end from the innermost outwards, headings stand the other way round.
    auto place = m_insertions.end();
    while (place != m_insertions.begin() && std::prev(place)->at.at > at.at)
        --place;
    m_insertions.insert(place, {at, text, x, y, false});
}

void PageContent::Moved::adjust(Mark &mark) const
{
    const auto shift = [](std::size_t &index, std::ptrdiff_t by) {
        index = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(index) + by);
    };
    shift(mark.text.at, text);
    mark.text.y += dy;
    shift(mark.fills, fills);
    shift(mark.lines, lines);
}

PageContent::Moved PageContent::moveTail(const Mark &from, PageContent &to, Tenths dy)
{
    const auto change = [](std::size_t now, std::size_t before) {
        return static_cast<std::ptrdiff_t>(now) - static_cast<std::ptrdiff_t>(before);
    };
    Moved moved{0, change(to.m_fills.size(), from.fills), change(to.m_lines.size(), from.lines), dy};
    moved.text = m_text.moveTail(from.text, to.m_text, dy);
    for (std::size_t i = from.fills; i < m_fills.size(); ++i) {
        to.m_fills.push_back(m_fills[i]);
        to.m_fills.back().top += dy;
    }
    for (std::size_t i = from.lines; i < m_lines.size(); ++i) {
        to.m_lines.push_back(m_lines[i]);
        to.m_lines.back().y += dy;
    }
    m_fills.resize(from.fills);
    m_lines.resize(from.lines);
    const auto first =
        std::find_if(m_insertions.begin(), m_insertions.end(), [&](const Insertion &each) { return each.at.at > from.text.at; });
    for (auto each = first; each != m_insertions.end(); ++each) {
        Mark mark{each->at, 0, 0};
        Moved{moved.text, 0, 0, dy}.adjust(mark);
        to.m_insertions.push_back({mark.text, std::move(each->text), each->x, each->y + dy, each->isForm});
    }
    m_insertions.erase(first, m_insertions.end());
    return moved;
}

void PageContent::writeFills(std::string &out) const
{
    for (const Fill kind : kFills) {
        bool any = false;
        for (const Area &area : m_fills) {
            if (area.kind != kind)
                continue;
            if (!any) {
                appendColour(out, colourOf(kind));
                out += "rg\n";
                any = true;
            }
            for (const Tenths number : {area.left, area.top - area.height, area.right - area.left, area.height})
                appendOperand(out, number);
            out += "re\n";
        }
        if (any)
            out += "f\n";
    }
}

void PageContent::writeLines(std::string &out) const
{
    for (const Stroke kind : kStrokes) {
        bool any = false;
        for (const Line &line : m_lines) {
            if (line.kind != kind)
                continue;
            if (!any) {
                out += widthOf(kind);
                appendColour(out, colourOf(kind));
                out += "RG\n";
                any = true;
            }
            appendOperand(out, line.left);
            appendOperand(out, line.y);
            out += "m ";
            appendOperand(out, line.right);
            appendOperand(out, line.y);
            out += "l\n";
        }
        if (any)
            out += "S\n";
    }
}

void PageContent::writeText(std::string &out) const
{
    const std::string_view text = m_text.content();
    appendColour(out, palette::kInk);
    out += "rg BT\n";
    std::size_t written = 0;
    for (const Insertion &each : m_insertions) {
        out.append(text, written, each.at.at - written);
        written = each.at.at;
        out += "ET\n";
        if (each.isForm) {
            out.append("/").append(each.text).append(" Do\nBT\n");
        } else {
            out += "q ";
            appendColour(out, palette::kInk);
            out += "rg BT ";
            appendOperand(out, each.x);
            appendOperand(out, each.y);
            out.append("Td\n").append(each.text).append("ET Q BT\n");
        }
        // A new text object begins at the origin.
        appendOperand(out, each.at.x);
        appendOperand(out, each.at.y);
        out += "Td\n";
    }
    out.append(text, written).append("ET\n");
}

void PageContent::write(std::string &out) const
{
    writeFills(out);
    out += m_forms;
    writeLines(out);
    writeText(out);
}

} // namespace qm::pdf
