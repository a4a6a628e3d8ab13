#include "documents/pdf/TableBody.h"

#include "documents/ReportWords.h"
#include "documents/pdf/ColumnMeasure.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr std::uint32_t kCaptionLines = 8; ///< most lines of a column caption; one that is no sentence takes three
constexpr std::uint32_t kFewestLines = 3;  ///< a row is not begun at the foot of a page for less
constexpr std::string_view kCaptionForm = "H";

TextCanvas::Place placeOf(CellAlignment alignment)
{
    switch (alignment) {
    case CellAlignment::Right:
        return TextCanvas::Place::Right;
    case CellAlignment::Centre:
        return TextCanvas::Place::Centre;
    case CellAlignment::Left:
        break;
    }
    return TextCanvas::Place::Start;
}

/// A cell that is not wrapped is one line: its line breaks and tabs become blanks. \p from: where it begins.
void joinLines(std::string &text, std::size_t from)
{
    std::size_t to = from;
    for (std::size_t at = from; at < text.size(); ++at) {
        const char c = text[at];
        const bool pair = c == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
        if (!pair)
            text[to++] = c == '\n' || c == '\r' || c == '\t' ? ' ' : c;
    }
    text.resize(to);
}

} // namespace

TableBody::TableBody(const PageGeometry &geometry, TextLayout &layout, ReportPages &pages, std::span<const ReportColumn> columns,
                     std::string_view bandForm)
    : m_geometry(geometry), m_layout(layout), m_pages(pages), m_bandForm(bandForm), m_letters(geometry.body), m_outgrown(geometry)
{
    for (std::size_t i = 0; i < columns.size(); ++i)
        m_columns.push_back(
            {geometry.columns[i], placeOf(columns[i].alignment), cellStyle(columns[i]), columns[i].wrap, CellFormatter(columns[i])});
    addCaptions(columns);
}

/// The captions are the same on each page: one form XObject holds them.
void TableBody::addCaptions(std::span<const ReportColumn> columns)
{
    const LineMetrics &metrics = m_geometry.body;
    m_layout.clear();
    std::uint32_t lines = 1;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        m_cells.push_back(m_layout.wrapAtMost(columns[i].caption, TextStyle::Bold, m_columns[i].box.limit, kCaptionLines));
        lines = std::max(lines, m_cells.back().lineCount);
    }
    const Tenths padding = m_geometry.paddingY + 12;
    m_captionHeight = static_cast<Tenths>(lines) * metrics.height + 2 * padding;
    TextCanvas canvas(m_layout);
    canvas.setInk(Ink::Title);
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        // Captions stand at the foot of their field, next to the values.
        const auto skipped = static_cast<Tenths>(lines - m_cells[i].lineCount);
        for (std::uint32_t line = 0; line < m_cells[i].lineCount; ++line)
            canvas.drawLine(
                m_cells[i], line, m_columns[i].box.left - m_geometry.left, m_columns[i].box.right - m_geometry.left, m_columns[i].place,
                m_captionHeight - padding - (skipped + static_cast<Tenths>(line)) * metrics.height - metrics.baseline, metrics.size);
    }
    const Tenths width = m_geometry.tableRight - m_geometry.left;
    const std::string size = std::to_string(width) + " " + std::to_string(m_captionHeight);
    const std::string edge = " 0 m " + std::to_string(width) + " 0 l S\n";
    m_pages.addForm(kCaptionForm, ".855 .89 .93 rg 0 0 " + size + " re f\n12 w .3 .42 .56 RG 0" + edge + "BT\n" + canvas.content() + "ET\n",
                    width, m_captionHeight);
    m_cells.clear();
}

void TableBody::openPage()
{
    m_pages.newPage();
    if (!m_bandForm.empty())
        m_pages.place(m_bandForm, 0, 0);
}

void TableBody::placeCaptions()
{
    m_pages.moveDown(m_captionHeight);
    m_pages.place(kCaptionForm, m_geometry.left, m_pages.cursor());
}

void TableBody::nextPage()
{
    openPage();
    placeCaptions();
}

void TableBody::begin()
{
    if (m_pages.room() < m_captionHeight + heightOf(kFewestLines))
        openPage();
    placeCaptions();
}

void TableBody::addRow(std::span<const Value> cells)
{
    layOut(cells);
    const Tenths height = heightOf(m_lines);
    const Tenths wholePage = m_geometry.top - m_geometry.bottom - m_captionHeight;
    if (height > wholePage) {
        drawInParts();
    } else {
        if (height > m_pages.room())
            nextPage();
        drawWhole();
    }
    ++m_rows;
}

void TableBody::layOut(std::span<const Value> cells)
{
    m_layout.clear();
    m_text.clear();
    m_ends.clear();
    m_cells.clear();
    const std::size_t count = std::min(cells.size(), m_columns.size());
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t begin = m_text.size();
        m_columns[i].formatter.append(cells[i], m_text);
        if (!m_columns[i].wrap)
            joinLines(m_text, begin);
        m_ends.push_back(m_text.size());
    }
    if (!breakIntoLines(m_geometry.body) && !breakIntoLines(m_geometry.small))
        moveBelow();
}

/// \returns false where a value is too wide that must not be broken.
bool TableBody::breakIntoLines(const LineMetrics &metrics)
{
    const bool usual = metrics.size == m_geometry.body.size;
    m_letters = metrics;
    m_cells.clear();
    m_outgrown.clear();
    m_lines = 1;
    bool fits = true;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < m_ends.size(); ++i) {
        const Column &column = m_columns[i];
        const auto text = std::string_view(m_text).substr(begin, m_ends[i] - begin);
        begin = m_ends[i];
        const Em limit = usual ? column.box.limit : metrics.limitFor(column.box.right - column.box.left);
        m_cells.push_back(column.wrap || column.box.whole ? m_layout.wrap(text, column.style, limit)
                                                          : m_layout.fit(text, column.style, limit));
        m_lines = std::max(m_lines, m_cells.back().lineCount);
        fits = fits && (!column.box.whole || m_cells.back().lineCount <= 1);
    }
    return fits;
}

/// Values that are too wide even in the smallest letters get lines of their own.
void TableBody::moveBelow()
{
    const auto isOutgrown = [&](std::size_t i) { return m_columns[i].box.whole && m_cells[i].lineCount > 1; };
    m_lines = 1;
    for (std::size_t i = 0; i < m_cells.size(); ++i)
        if (!isOutgrown(i))
            m_lines = std::max(m_lines, m_cells[i].lineCount);
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        if (!isOutgrown(i))
            continue;
        m_lines += m_outgrown.add(m_cells[i], m_columns[i].box, m_columns[i].place, m_lines, m_letters, m_layout);
        m_cells[i].lineCount = 0;
    }
}

void TableBody::shadeRow(Tenths height)
{
    if (m_rows % 2 != 0)
        m_pages.shade(m_geometry.left, m_geometry.tableRight, m_pages.cursor(), height);
}

void TableBody::drawWhole()
{
    const Tenths height = heightOf(m_lines);
    shadeRow(height);
    drawLines(0, m_lines, m_pages.cursor() - m_geometry.paddingY);
    m_pages.moveDown(height);
}

void TableBody::drawInParts()
{
    const Tenths line = m_letters.height;
    const std::string from = "(continued from the previous page)";
    const std::string onward = "(continued on the next page)";
    bool freshPage = false;
    for (std::uint32_t at = 0; at < m_lines;) {
        const auto fits = static_cast<std::uint32_t>(std::max(0, (m_pages.room() - 2 * m_geometry.paddingY) / line));
        const std::uint32_t marks = at > 0 ? 1 : 0;
        const std::uint32_t rest = m_lines - at;
        const bool last = rest + marks <= fits;
        std::uint32_t count = last ? rest : fits - std::min(fits, marks + 1);
        if (count < std::min(kFewestLines, rest) && !freshPage) {
            nextPage();
            freshPage = true;
            continue;
        }
        count = std::max(1U, count); // a page too small for its captions still shows all, below its edge
        const std::uint32_t taken = count + marks + (last ? 0 : 1);
        shadeRow(heightOf(taken));
        Tenths top = m_pages.cursor() - m_geometry.paddingY;
        if (at > 0) {
            drawNotice(from, TextCanvas::Place::Start, top, m_letters);
            top -= line;
        }
        drawLines(at, count, top);
        if (!last)
            drawNotice(onward, TextCanvas::Place::Right, top - static_cast<Tenths>(count) * line, m_letters);
        m_pages.moveDown(heightOf(taken));
        at += count;
        if (at < m_lines) {
            nextPage();
            freshPage = true;
        }
    }
}

void TableBody::drawLines(std::uint32_t first, std::uint32_t count, Tenths top)
{
    const LineMetrics &metrics = m_letters;
    TextCanvas &canvas = m_pages.text();
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        const TextBlock &cell = m_cells[i];
        const Column &column = m_columns[i];
        const std::uint32_t end = std::min(cell.lineCount, first + count);
        Tenths baseline = top - metrics.baseline;
        for (std::uint32_t line = first; line < end; ++line, baseline -= metrics.height)
            canvas.drawLine(cell, line, column.box.left, column.box.right, column.place, baseline, metrics.size);
    }
    m_outgrown.draw(first, count, top, m_letters, canvas);
}

/// A line of the program's own, told apart from data by its colour.
void TableBody::drawNotice(const std::string &text, TextCanvas::Place place, Tenths top, const LineMetrics &metrics)
{
    constexpr Tenths kInset = 30;
    const Tenths left = m_geometry.left + kInset;
    const Tenths right = m_geometry.right - kInset;
    TextLayout &layout = m_layout;
    const TextBlock block = layout.fit(text, TextStyle::Regular, metrics.limitFor(right - left));
    m_pages.text().setInk(Ink::Faint);
    m_pages.text().drawLine(block, 0, left, right, place, top - metrics.baseline, metrics.size);
    m_pages.text().setInk(Ink::Text);
}

void TableBody::end(const ReportTail &tail)
{
    const LineMetrics &metrics = m_geometry.facts;
    m_layout.clear();
    m_cells.clear();
    const Tenths height = metrics.height + 80;
    const auto drawBelow = [&](const std::string &text, TextCanvas::Place place) {
        if (m_pages.room() < height)
            nextPage();
        drawNotice(text, place, m_pages.cursor() - 40, metrics);
        m_pages.moveDown(height);
    };
    if (tail.rows == 0)
        drawBelow(std::string(kNoRows) + ". The query found nothing for this report.", TextCanvas::Place::Centre);
    m_pages.rule(m_geometry.left, m_geometry.right, m_pages.cursor());
    if (tail.truncated)
        drawBelow(cutNotice(tail), TextCanvas::Place::Start);
}

} // namespace qm::pdf
