#include "documents/pdf/TitleBlock.h"

#include "documents/NumberText.h"
#include "documents/ReportWords.h"
#include "documents/pdf/PageBands.h"
#include "documents/pdf/PdfSyntax.h"
#include "documents/pdf/ShownText.h"

#include <algorithm>
#include <numeric>

namespace qm::pdf {

namespace {

constexpr std::uint32_t kTitleLines = 2, kSubtitleLines = 3;
constexpr std::uint32_t kFactLines = 12; ///< most lines of one fact
constexpr std::size_t kAcross = 5, kAcrossPortrait = 3;
constexpr Tenths kGutter = 180, kNarrowestFact = 500, kWidestFact = 2600;
constexpr std::size_t kMostFigures = 4;
constexpr std::string_view kRowsForm = "T1", kFiguresForm = "T2";
constexpr std::string_view kRowsLabel = "Rows";
const LineMetrics kLabel(65, 80), kFigure(180, 210), kCaption(70, 90);

std::string oneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return text;
}

} // namespace

void TitleBlock::drawHeading(const std::string &text, TextStyle style, const LineMetrics &metrics, std::uint32_t mostLines, Ink ink,
                             ReportPages &pages)
{
    if (text.empty())
        return;
    m_layout.clear();
    const TextBlock block = m_layout.wrapAtMost(text, style, metrics.limitFor(m_geometry.right - m_geometry.left), mostLines);
    pages.text().setInk(ink);
    for (std::uint32_t i = 0; i < block.lineCount; ++i) {
        pages.text().drawLine(block, i, m_geometry.left, m_geometry.right, TextCanvas::Place::Start, pages.cursor() - metrics.baseline,
                              metrics.size);
        pages.moveDown(metrics.height);
    }
}

/// Period, rows, parameters, source, query, made. Package and group stand in the bands, where those are the house's.
std::vector<TitleBlock::Cell> TitleBlock::cellsOf(const ReportHead &head)
{
    using Kind = Fact::Kind;
    std::vector<Cell> cells;
    const auto append = [&](Kind kind, std::initializer_list<Kind> below) {
        const std::size_t first = cells.size();
        for (const Fact &fact : head.facts)
            if (fact.kind == kind)
                cells.push_back({oneLine(fact.label), {}, fact.value, false});
        for (const Kind each : below)
            for (const Fact &fact : head.facts)
                if (fact.kind == each && cells.size() > first)
                    cells.back().value += '\n' + fact.value;
                else if (fact.kind == each)
                    cells.push_back({oneLine(fact.label), {}, fact.value, false});
    };
    append(Kind::Period, {});
    for (Cell &cell : cells) {
        const std::size_t end = std::min(cell.value.find('\n'), cell.value.size());
        cell.strong = cell.value.substr(0, end);
        cell.value.erase(0, std::min(end + 1, cell.value.size()));
    }
    cells.push_back({std::string(kRowsLabel), {}, {}, true});
    append(Kind::Parameter, {});
    append(Kind::Source, {Kind::Times});
    append(Kind::Query, {});
    append(Kind::Selection, {});
    if (!hasHouseBands(head))
        append(Kind::Package, {Kind::Group});
    append(Kind::Made, {});
    return cells;
}

std::vector<Tenths> TitleBlock::widthsOf(const std::vector<Cell> &cells, std::size_t across)
{
    const Tenths whole = m_geometry.right - m_geometry.left - static_cast<Tenths>(across - 1) * kGutter;
    const LineMetrics &metrics = m_geometry.facts;
    std::vector<Tenths> widths(across, 0);
    const auto widest = [&](const std::string &text, TextStyle style, Tenths size) {
        Tenths width = 0;
        for (std::size_t at = 0; at <= text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            width = std::max(width, m_layout.measure(std::string_view(text).substr(at, end - at), style) * size / 1000 + 5);
            at = end + 1;
        }
        return width;
    };
    for (std::size_t i = 0; i < cells.size(); ++i) {
        m_layout.clear();
        Tenths &width = widths[i % across];
        width =
            std::max({width, widest(cells[i].label, TextStyle::Regular, kLabel.size),
                      widest(cells[i].strong, TextStyle::Bold, metrics.size), widest(cells[i].value, TextStyle::Regular, metrics.size)});
        if (cells[i].isRows)
            width = std::max(width, widest("Only the first 10,000,000", TextStyle::Bold, metrics.size));
        width = std::min(width, std::max(whole / static_cast<Tenths>(across), kWidestFact));
    }
    // Too wide together: the widest give way. Too narrow: all get the same on top.
    for (Tenths limit = kWidestFact; limit > kNarrowestFact && std::accumulate(widths.begin(), widths.end(), 0) > whole; limit -= 50)
        for (Tenths &width : widths)
            width = std::min(width, limit);
    const Tenths sum = std::accumulate(widths.begin(), widths.end(), 0);
    for (Tenths &width : widths)
        width = sum > whole ? whole / static_cast<Tenths>(across) : width + (whole - sum) / static_cast<Tenths>(across);
    return widths;
}

/// \returns the height the fact takes.
Tenths TitleBlock::drawCell(const Cell &cell, const Spot &spot, bool measureOnly, TextCanvas &canvas)
{
    const LineMetrics &metrics = m_geometry.facts;
    m_layout.clear();
    Tenths top = spot.top;
    const auto draw = [&](const std::string &text, TextStyle style, const LineMetrics &line, Ink ink, std::uint32_t mostLines) {
        if (text.empty())
            return;
        const TextBlock block = m_layout.wrapAtMost(text, style, line.limitFor(spot.right - spot.left), mostLines);
        if (!measureOnly) {
            canvas.setInk(ink);
            for (std::uint32_t i = 0; i < block.lineCount; ++i)
                canvas.drawLine(block, i, spot.left, spot.right, TextCanvas::Place::Start,
                                top - static_cast<Tenths>(i) * line.height - line.baseline, line.size);
        }
        top -= static_cast<Tenths>(block.lineCount) * line.height;
    };
    draw(cell.label, TextStyle::Regular, kLabel, Ink::Faint, 1);
    if (cell.isRows)
        return spot.top - top + 2 * metrics.height; // filled in at the end
    draw(cell.strong, TextStyle::Bold, metrics, Ink::Text, kFactLines);
    draw(cell.value, TextStyle::Regular, metrics, Ink::Text, kFactLines);
    return spot.top - top;
}

void TitleBlock::drawFacts(const ReportHead &head, ReportPages &pages)
{
    const std::vector<Cell> cells = cellsOf(head);
    const std::size_t most = m_geometry.width > m_geometry.height ? kAcross : kAcrossPortrait;
    const std::size_t across = std::min(most, cells.size());
    const std::vector<Tenths> widths = widthsOf(cells, across);
    for (std::size_t i = 0; i < cells.size(); i += across) {
        const std::size_t end = std::min(i + across, cells.size());
        std::vector<Spot> spots;
        Tenths height = 0;
        Tenths left = m_geometry.left;
        for (std::size_t k = i; k < end; ++k) {
            spots.push_back({left, left + widths[k - i], pages.cursor()});
            height = std::max(height, drawCell(cells[k], spots.back(), true, pages.text()));
            left += widths[k - i] + kGutter;
        }
        if (height > pages.room() && i > 0) {
            pages.newPage();
            for (Spot &spot : spots)
                spot.top = pages.cursor();
        }
        for (std::size_t k = i; k < end; ++k) {
            static_cast<void>(drawCell(cells[k], spots[k - i], false, pages.text()));
            if (cells[k].isRows) {
                m_rows = spots[k - i];
                pages.content().placeInText(kRowsForm);
            }
        }
        pages.moveDown(height + 45);
    }
    pages.content().line(Stroke::Hairline, m_geometry.left, m_geometry.right, pages.cursor());
    pages.moveDown(80);
}

void TitleBlock::placeFigures(const ReportShape &shape, ReportPages &pages)
{
    const std::size_t count = std::min(kMostFigures, shape.keyFigures.size());
    if (count == 0)
        return;
    const Tenths step = (m_geometry.right - m_geometry.left) / static_cast<Tenths>(kMostFigures);
    const Tenths height = kFigure.height + kCaption.height;
    for (std::size_t i = 0; i < count; ++i) {
        const Tenths left = m_geometry.left + static_cast<Tenths>(i) * step;
        pages.content().fill(Fill::FigureBar, left, left + 8, pages.cursor(), height);
        m_figures.push_back({oneLine(shape.keyFigures[i].caption),
                             CellFormatter(shape.keyFigures[i].value),
                             {left + 98, left + step - 60, pages.cursor()}});
    }
    pages.moveDown(height + 110);
}

void TitleBlock::draw(const ReportHead &head, const ReportShape &shape, const SampleRows &sample, ReportPages &pages)
{
    drawHeading(head.title, TextStyle::Display, m_geometry.title, kTitleLines, Ink::Title, pages);
    drawHeading(head.subtitle, TextStyle::Regular, m_geometry.subtitle, kSubtitleLines, Ink::Faint, pages);
    pages.moveDown(70);
    pages.content().line(Stroke::Navy, m_geometry.left, m_geometry.right, pages.cursor());
    pages.moveDown(60);
    drawFacts(head, pages);
    for (const std::string &notice : head.notices) {
        m_layout.clear();
        m_notices.draw(notice, pages.cursor(), pages.content());
        pages.moveDown(m_notices.height(notice));
    }
    const bool kept = !sample.whole && pages.count() == 1 && pages.room() > 3 * m_notices.lineHeight();
    m_noticeTop = kept ? pages.cursor() : 0;
    if (kept)
        pages.moveDown(m_notices.lineHeight());
    placeFigures(shape, pages);
    if (kept || !m_figures.empty())
        pages.content().placeInText(kFiguresForm);
    pages.text().setInk(Ink::Text);
}

std::string TitleBlock::lateNotice(std::span<const std::string> notices, int page)
{
    std::string all;
    for (const std::string &notice : notices)
        all += (all.empty() ? "" : "  ") + notice;
    m_layout.clear();
    if (m_notices.fitsOneLine(all))
        return all;
    return "See the " + numbers::counted(static_cast<std::int64_t>(notices.size()), "notice", "notices") +
           " at the end of this report, on page " + std::to_string(page) + ".";
}

void TitleBlock::writeForm(std::string_view name, PageContent &content, ReportPages &pages)
{
    std::string operators;
    content.write(operators);
    pages.addForm(name, operators, m_geometry.width, m_geometry.height);
    m_missing += content.text().missingGlyphs();
}

void TitleBlock::finish(const ReportTail &tail, std::span<const std::string> notices, int noticePage, ReportPages &pages)
{
    Cell rows;
    numbers::appendFixed(tail.rows, {0, 0, true, 0}, rows.strong);
    if (tail.truncated)
        rows.strong.insert(0, "Only the first ");
    else
        rows.strong += tail.rows == 0 ? "" : ", all shown";
    rows.value = "on " + numbers::counted(pages.count(), "page", "pages");
    if (!notices.empty() && m_noticeTop == 0)
        rows.value += ", notice on page " + std::to_string(noticePage);
    PageContent content(m_layout);
    static_cast<void>(drawCell(rows, {m_rows.left, m_rows.right, m_rows.top - kLabel.height}, false, content.text()));
    writeForm(kRowsForm, content, pages);
    if (m_noticeTop == 0 && m_figures.empty())
        return;
    PageContent figures(m_layout);
    if (!notices.empty() && m_noticeTop != 0)
        m_notices.draw(lateNotice(notices, noticePage), m_noticeTop, figures);
    for (std::size_t i = 0; i < m_figures.size(); ++i) {
        const Figure &figure = m_figures[i];
        std::string text;
        appendShown(i < tail.keyFigures.size() ? tail.keyFigures[i] : Value::ofNull(), figure.formatter, text);
        const auto draw = [&](const std::string &line, TextStyle style, const LineMetrics &metrics, Ink ink, Tenths top) {
            // A figure that is too long for its place is set smaller, not cut.
            LineMetrics smaller = metrics;
            m_layout.clear();
            const Em width = m_layout.measure(line, style);
            while (smaller.size > 65 && width > smaller.limitFor(figure.spot.right - figure.spot.left))
                smaller.size -= 5;
            const TextBlock block = m_layout.fit(line, style, smaller.limitFor(figure.spot.right - figure.spot.left));
            figures.text().setInk(ink);
            figures.text().drawLine(block, 0, figure.spot.left, figure.spot.right, TextCanvas::Place::Start, top - metrics.baseline,
                                    smaller.size);
        };
        draw(text, TextStyle::Display, kFigure, Ink::Title, figure.spot.top);
        draw(figure.caption, TextStyle::Regular, kCaption, Ink::Faint, figure.spot.top - kFigure.height);
    }
    writeForm(kFiguresForm, figures, pages);
}

} // namespace qm::pdf
