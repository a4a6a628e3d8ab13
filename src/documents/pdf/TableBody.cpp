#include "documents/pdf/TableBody.h"

#include "documents/Palette.h"
#include "documents/ReportWords.h"
#include "documents/pdf/ColumnMeasure.h"
#include "documents/pdf/PdfSyntax.h"
#include "documents/pdf/ShownText.h"

#include <algorithm>
#include <array>

namespace qm::pdf {

namespace {

constexpr std::uint32_t kCaptionLines = 8; ///< most lines of a column caption; one that is no sentence takes three
constexpr std::uint32_t kFewestLines = 3;  ///< a row is not begun at the foot of a page for less
constexpr std::int64_t kFirstPageRows = 6; ///< the table begins on the first page where so many fit
constexpr std::size_t kStripedColumns = 6;
constexpr std::string_view kCaptionForm = "H";
const LineMetrics kCaptionMetrics(75, 95), kTotalMetrics(85, 110), kNothing(120, 160);
constexpr Tenths kCaptionPadding = 30, kPaddingX = 60;

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

bool isNumeric(const ReportColumn &column)
{
    return column.type == ColumnType::Integer || column.type == ColumnType::Real;
}

/// "0xc000006a": read digit by digit.
bool isCode(std::string_view text)
{
    constexpr std::size_t kLongest = 34;
    return text.size() > 2 && text.size() <= kLongest && text[0] == '0' && text[1] == 'x' &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string_view::npos;
}

bool sameValue(const Value &left, const Value &right)
{
    if (left.kind != right.kind)
        return false;
    switch (left.kind) {
    case Value::Kind::Null:
        return true;
    case Value::Kind::Integer:
        return left.integer == right.integer;
    case Value::Kind::Real:
        return left.real == right.real;
    case Value::Kind::Text:
    case Value::Kind::Blob:
        break;
    }
    return left.text() == right.text();
}

/// What stands out is bold besides.
Ink inkOf(Emphasis emphasis, bool null)
{
    switch (emphasis) {
    case Emphasis::Warning:
        return Ink::Notice;
    case Emphasis::Alarm:
        return Ink::Alarm;
    case Emphasis::Strong:
        return Ink::Text;
    case Emphasis::None:
        break;
    }
    return null ? Ink::Faint : Ink::Text;
}

} // namespace

TableBody::TableBody(const PageGeometry &geometry, TextLayout &layout, ReportPages &pages, Outline &outline, const ReportShape &shape,
                     const SampleRows &sample)
    : m_geometry(geometry), m_layout(layout), m_pages(pages), m_outline(outline), m_notices(layout, geometry.left, geometry.right),
      m_totals(shape.totals), m_small(layout), m_letters(geometry.body), m_outgrown(geometry)
{
    const auto columns = std::span(shape.columns).first(geometry.columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i)
        m_columns.push_back({geometry.columns[i], placeOf(columns[i].alignment), cellStyle(columns[i]), columns[i].wrap,
                             isNumeric(columns[i]), CellFormatter(columns[i])});
    for (const GroupLevel &group : shape.groups)
        m_levels.push_back({group, CellFormatter(group.column), group.heading, SummaryLines(group.subtotals)});
    m_blank.assign(m_columns.size(), false);
    m_sampleRows = sample.whole ? static_cast<std::int64_t>(sample.rows) : -1;
    addCaptions(columns);
    decideHeadings(sample);
    decideZebra(sample);
    m_pages.setWriteHandler([this](int page, PageContent &) { pageIsWritten(page); });
}

/// Groups of which most have one row need no heading: their value stands in its own column. Only the sample can tell.
void TableBody::decideHeadings(const SampleRows &sample)
{
    constexpr std::size_t kFewestGroups = 8;
    bool inner = false; // below a level without headings there are none either
    for (std::size_t level = 0; level < m_levels.size(); ++level) {
        if (!m_levels[level].group.shown) {
            m_levels[level].heading = m_levels[level].heading && !inner;
            continue;
        }
        std::size_t groups = 0, single = 0, size = 0;
        for (std::size_t row = 0; row < sample.rows; ++row) {
            bool begins = row == 0;
            for (std::size_t each = 0; each <= level && !begins; ++each) {
                const auto column = m_levels[each].group.shown;
                begins = column && !sameValue(sample.row(row)[*column], sample.row(row - 1)[*column]);
            }
            if (begins) {
                single += size == 1 ? 1 : 0;
                ++groups;
                size = 0;
            }
            ++size;
        }
        single += sample.whole && size == 1 ? 1 : 0;
        const bool tell = sample.whole ? groups > 2 : groups >= kFewestGroups;
        inner = inner || (tell && single * 2 > groups);
        m_levels[level].heading = m_levels[level].heading && !inner;
    }
}

/// Stripes help along wide rows of one line; all others are told apart by fine rules.
void TableBody::decideZebra(const SampleRows &sample)
{
    if (m_columns.size() < kStripedColumns || sample.rows == 0)
        return;
    m_zebra = true;
    for (std::size_t row = 0; row < sample.rows && m_zebra; ++row) {
        layOut(sample.row(row));
        m_zebra = m_lines == 1;
    }
    m_cells.clear();
}

/// The captions are the same on each page: one form XObject holds them.
void TableBody::addCaptions(std::span<const ReportColumn> columns)
{
    const LineMetrics metrics(std::min(m_geometry.body.size, kCaptionMetrics.size),
                              std::min(m_geometry.body.size, kCaptionMetrics.size) * kCaptionMetrics.height / kCaptionMetrics.size);
    m_layout.clear();
    std::uint32_t lines = 1;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        m_cells.push_back(m_layout.wrapAtMost(columns[i].caption, TextStyle::Bold, m_columns[i].box.limit, kCaptionLines));
        lines = std::max(lines, m_cells.back().lineCount);
    }
    m_captionHeight = static_cast<Tenths>(lines) * metrics.height + 2 * kCaptionPadding;
    const Tenths width = m_geometry.tableRight - m_geometry.left;
    PageContent content(m_layout);
    content.fill(Fill::Caption, 0, width, m_captionHeight, m_captionHeight);
    content.line(Stroke::Navy, 0, width, m_captionHeight - 4);
    content.line(Stroke::Navy, 0, width, 4);
    TextCanvas &canvas = content.text();
    canvas.setInk(Ink::Title);
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        // Captions stand at the foot of their field, next to the values.
        const auto skipped = static_cast<Tenths>(lines - m_cells[i].lineCount);
        for (std::uint32_t line = 0; line < m_cells[i].lineCount; ++line)
            canvas.drawLine(m_cells[i], line, m_columns[i].box.left - m_geometry.left, m_columns[i].box.right - m_geometry.left,
                            m_columns[i].place,
                            m_captionHeight - kCaptionPadding - (skipped + static_cast<Tenths>(line)) * metrics.height - metrics.baseline,
                            metrics.size);
    }
    std::string operators;
    content.write(operators);
    m_pages.addForm(kCaptionForm, operators, width, m_captionHeight);
    m_cells.clear();
}

void TableBody::placeCaptions()
{
    m_pages.moveDown(m_captionHeight);
    m_pages.content().place(kCaptionForm, m_geometry.left, m_pages.cursor());
}

void TableBody::begin()
{
    m_begun = true;
    const std::int64_t rows = m_sampleRows < 0 ? kFirstPageRows : std::min(kFirstPageRows, m_sampleRows);
    Tenths wanted = m_captionHeight + static_cast<Tenths>(std::max(rows, std::int64_t{1})) * heightOf(1);
    for (std::size_t level = 0; level < m_levels.size(); ++level)
        wanted += m_levels[level].heading ? headingHeight(level, 1) : 0;
    if (m_pages.room() < wanted)
        m_pages.newPage();
    m_sheet.clear();
    m_sheet.page = m_pages.count();
    placeCaptions();
    m_sheet.bodyTop = m_pages.cursor();
}

// ---- Rows

void TableBody::addRow(std::span<const Value> cells)
{
    if (!m_begun)
        begin();
    // What a heading or the row above says is not said again.
    m_suppressed = false;
    for (std::size_t level = 0; level < m_open.size(); ++level) {
        const Level &own = m_levels[level];
        const auto shown = own.group.shown;
        if (!shown || *shown >= m_blank.size() || !own.group.suppressRepeats)
            continue;
        m_blank[*shown] = own.heading || m_open[level].rows > 0;
        m_suppressed = m_suppressed || (!own.heading && m_open[level].rows > 0);
    }
    layOut(cells);
    if (heightOf(m_lines) > m_pages.room()) {
        if (heightOf(m_lines) <= wholePage()) {
            turnPage(heightOf(m_lines), Entry::Kind::Row);
            if (m_suppressed && m_sheet.rows() == 0) { // the first row of a page says it all
                for (std::size_t level = 0; level < m_open.size(); ++level)
                    if (m_levels[level].group.shown && !m_levels[level].heading && *m_levels[level].group.shown < m_blank.size())
                        m_blank[*m_levels[level].group.shown] = false;
                m_suppressed = false;
                layOut(cells);
            }
        }
        // Headings repeated on the new page may leave less than a whole one.
        if (heightOf(m_lines) > m_pages.room()) {
            drawInParts();
            for (OpenGroup &group : m_open)
                ++group.rows;
            return;
        }
    }
    drawWhole();
    for (OpenGroup &group : m_open)
        ++group.rows;
}

void TableBody::layOut(std::span<const Value> cells)
{
    m_layout.clear();
    m_text.clear();
    m_ends.clear();
    m_cells.clear();
    m_inks.clear();
    m_styles.clear();
    const std::size_t count = std::min(cells.size(), m_columns.size());
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t begin = m_text.size();
        const Column &column = m_columns[i];
        const bool null = !m_blank[i] && appendShown(cells[i], column.formatter, m_text, column.numeric);
        const Emphasis emphasis = m_blank[i] ? Emphasis::None : column.formatter.emphasisOf(cells[i]);
        m_inks.push_back(inkOf(emphasis, null));
        m_styles.push_back(emphasis == Emphasis::None ? column.style : TextStyle::Bold);
        if (!column.wrap)
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
        if (m_styles[i] == TextStyle::Regular && isCode(text)) {
            const TextBlock code = m_layout.wrap(text, TextStyle::Mono, limit);
            if (code.lineCount == 1) {
                m_cells.push_back(code);
                continue;
            }
        }
        m_cells.push_back(column.wrap || column.box.whole ? m_layout.wrap(text, m_styles[i], limit)
                                                          : m_layout.fit(text, m_styles[i], limit));
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

/// What is behind and below a row of \p height.
void TableBody::closeRow(Tenths height)
{
    if (m_zebra) {
        if (m_striped)
            m_pages.content().fill(Fill::Zebra, m_geometry.left, m_geometry.tableRight, m_pages.cursor(), height);
        m_striped = !m_striped;
    } else {
        m_pages.content().line(Stroke::Row, m_geometry.left, m_geometry.tableRight, m_pages.cursor() - height);
    }
    m_pages.moveDown(height);
}

void TableBody::drawWhole()
{
    m_sheet.append(Entry::Kind::Row, m_pages.content().mark(), m_pages.cursor()).suppressed = m_suppressed;
    drawLines(0, m_lines, m_pages.cursor() - m_geometry.paddingY);
    closeRow(heightOf(m_lines));
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
            turnPage(heightOf(kFewestLines), Entry::Kind::Row);
            freshPage = true;
            continue;
        }
        count = std::max(1U, count); // a page too small for its captions still shows all, below its edge
        const std::uint32_t taken = count + marks + (last ? 0 : 1);
        m_sheet.append(Entry::Kind::Part, m_pages.content().mark(), m_pages.cursor());
        Tenths top = m_pages.cursor() - m_geometry.paddingY;
        if (at > 0) {
            drawMark(from, TextCanvas::Place::Start, top);
            top -= line;
        }
        drawLines(at, count, top);
        if (!last)
            drawMark(onward, TextCanvas::Place::Right, top - static_cast<Tenths>(count) * line);
        closeRow(heightOf(taken));
        at += count;
        if (at < m_lines) {
            turnPageAt(m_sheet.used);
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
        canvas.setInk(m_inks[i]);
        for (std::uint32_t line = first; line < end; ++line, baseline -= metrics.height)
            canvas.drawLine(cell, line, column.box.left, column.box.right, column.place, baseline, metrics.size);
    }
    canvas.setInk(Ink::Text);
    m_outgrown.draw(first, count, top, metrics, canvas);
}

/// A line of the program's own, told apart from data by its colour.
void TableBody::drawMark(const std::string &text, TextCanvas::Place place, Tenths top)
{
    const LineMetrics &metrics = m_letters;
    const Tenths left = m_geometry.left + kPaddingX;
    const Tenths right = m_geometry.right - kPaddingX;
    const TextBlock block = m_layout.fit(text, TextStyle::Regular, metrics.limitFor(right - left));
    m_pages.text().setInk(Ink::Faint);
    m_pages.text().drawLine(block, 0, left, right, place, top - metrics.baseline, metrics.size);
    m_pages.text().setInk(Ink::Text);
}

// ---- Totals and the end

void TableBody::drawSummary(std::span<const Value> values, const std::string &of, Entry::Kind kind, std::size_t level)
{
    const bool total = kind == Entry::Kind::Total;
    SummaryLines &lines = total ? m_totals : m_levels[level].subtotals;
    const SummaryLines::Look look{
        total ? kTotalMetrics : m_geometry.body, total ? Ink::Title : Ink::Text, m_geometry.left, m_geometry.right, kPaddingX,
        total ? Tenths{30} : m_geometry.paddingY};
    std::vector<CellAlignment> alignments;
    for (const Column &column : m_columns)
        alignments.push_back(column.place == TextCanvas::Place::Right    ? CellAlignment::Right
                             : column.place == TextCanvas::Place::Centre ? CellAlignment::Centre
                                                                         : CellAlignment::Left);
    m_layout.clear();
    const std::uint32_t count = lines.layOut(values, of, m_geometry.columns, alignments, look, m_layout);
    constexpr Tenths kDoubleRule = 25;
    const Tenths height = static_cast<Tenths>(count) * look.metrics.height + 2 * look.paddingY;
    if (height + (total ? kDoubleRule : 0) > m_pages.room())
        turnPage(height, kind);
    PageContent &content = m_pages.content();
    m_sheet.append(kind, content.mark(), m_pages.cursor()).level = static_cast<std::uint8_t>(level);
    const Tenths top = m_pages.cursor();
    content.fill(total ? Fill::Total : Fill::Subtotal, m_geometry.left, m_geometry.right, top, height);
    content.line(total ? Stroke::Total : Stroke::Group, m_geometry.left, m_geometry.right, top);
    if (total)
        for (const Tenths y : {4, 4 + 7 + 10})
            content.line(Stroke::Navy, m_geometry.left, m_geometry.right, top - height - y);
    lines.draw(top, look, m_pages.text());
    m_pages.moveDown(height + (total ? kDoubleRule : 0));
    m_striped = false;
}

void TableBody::drawNothing(const std::string &asked)
{
    m_layout.clear();
    const std::string nothing = kNoRows;
    const Tenths width = m_geometry.right - m_geometry.left;
    const TextBlock head = m_layout.fit(nothing, TextStyle::Bold, kNothing.limitFor(width));
    const LineMetrics &metrics = m_geometry.facts;
    const TextBlock below = m_layout.wrap(asked, TextStyle::Regular, metrics.limitFor(width * 3 / 4));
    const Tenths height = kNothing.height + static_cast<Tenths>(below.lineCount) * metrics.height + 120;
    if (m_pages.room() < height)
        m_pages.newPage();
    TextCanvas &canvas = m_pages.text();
    m_pages.moveDown(40);
    canvas.setInk(Ink::Title);
    canvas.drawLine(head, 0, m_geometry.left, m_pages.cursor() - kNothing.baseline, kNothing.size);
    canvas.setInk(Ink::Text);
    m_pages.moveDown(kNothing.height + 20);
    for (std::uint32_t i = 0; i < below.lineCount; ++i, m_pages.moveDown(metrics.height))
        canvas.drawLine(below, i, m_geometry.left, m_geometry.right, TextCanvas::Place::Start, m_pages.cursor() - metrics.baseline,
                        metrics.size);
    m_pages.moveDown(60);
}

void TableBody::end(const ReportTail &tail, const std::string &nothing, std::span<const std::string> notices)
{
    if (tail.rows == 0 && !m_begun)
        drawNothing(nothing);
    else if (!m_totals.isEmpty())
        drawSummary(tail.totals, tail.truncated ? "of the rows shown" : "", Entry::Kind::Total, 0);
    if (!notices.empty())
        m_pages.moveDown(80);
    for (const std::string &notice : notices) {
        m_layout.clear();
        const Tenths height = m_notices.height(notice);
        if (height > m_pages.room()) {
            if (m_begun)
                turnPage(height, Entry::Kind::Notice);
            else
                m_pages.newPage();
        }
        if (m_begun)
            m_sheet.append(Entry::Kind::Notice, m_pages.content().mark(), m_pages.cursor());
        m_layout.clear();
        m_notices.draw(notice, m_pages.cursor(), m_pages.content());
        m_pages.moveDown(height);
    }
    if (m_begun)
        fillLastPage();
}

} // namespace qm::pdf
