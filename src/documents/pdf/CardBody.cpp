#include "documents/pdf/CardBody.h"

#include "documents/ReportWords.h"
#include "documents/pdf/ColumnMeasure.h"
#include "documents/pdf/ShownText.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr std::size_t kMostSlots = 4;
constexpr std::size_t kTriedRows = 100; ///< of the sample
constexpr Tenths kSlotGutter = 120, kLabelGap = 40;
constexpr Tenths kPadding = 16; ///< above and below the lines of a block
constexpr Tenths kValueLetters = 70, kLineHeight = 85;
constexpr Tenths kHeadingAbove = 60, kHeadingKeeps = 600; ///< kept free above a group's heading, and below it for rows
constexpr std::uint32_t kFewestLines = 3;                 ///< a block is not begun at the foot of a page for less

Tenths widthIn(const LineMetrics &metrics, Em width)
{
    return static_cast<Tenths>((static_cast<std::int64_t>(width) * metrics.size + 999) / 1000);
}

} // namespace

CardBody::CardBody(const PageGeometry &geometry, TextLayout &layout, ReportPages &pages, Outline &outline, const ReportShape &shape,
                   const SampleRows &sample)
    : m_geometry(geometry), m_layout(layout), m_pages(pages), m_outline(outline), m_notices(layout, geometry.left, geometry.right),
      m_value(kValueLetters, kLineHeight), m_label(columns::kSmallLetters), m_totals(summedOf(shape.totals))
{
    for (const ReportColumn &column : shape.columns)
        m_columns.push_back({column.caption, cellStyle(column), CellFormatter(column),
                             column.type == ColumnType::Integer || column.type == ColumnType::Real});
    for (const GroupLevel &level : shape.groups)
        m_levels.push_back(
            {level.column.caption, CellFormatter(level.column), level.heading, level.newPage, summedOf(level.subtotals), {}});
    chooseSlots(sample);
}

std::vector<CardBody::Summed> CardBody::summedOf(const std::vector<Subtotal> &subtotals)
{
    std::vector<Summed> summed;
    for (const Subtotal &subtotal : subtotals)
        summed.push_back({subtotal.caption.empty() ? subtotal.value.caption : subtotal.caption, CellFormatter(subtotal.value)});
    return summed;
}

void CardBody::setSlots(std::size_t slots, std::size_t forPairs)
{
    m_slots = slots;
    m_pairSlots = forPairs;
    m_slotWidth = (m_geometry.right - m_geometry.left + kSlotGutter) / static_cast<Tenths>(slots) - kSlotGutter;
}

void CardBody::chooseSlots(const SampleRows &sample)
{
    const std::size_t rows = std::min(sample.rows, kTriedRows);
    std::int64_t fewest = -1;
    std::pair<std::size_t, std::size_t> best{1, 1};
    for (std::size_t slots = 1; slots <= kMostSlots; ++slots) {
        for (std::size_t forPairs = slots; forPairs > 0; --forPairs) {
            setSlots(slots, forPairs);
            std::int64_t lines = 0;
            for (std::size_t row = 0; row < rows; ++row) {
                layOut(sample.row(row));
                lines += m_lines;
            }
            if (fewest < 0 || lines < fewest) {
                fewest = lines;
                best = {slots, forPairs};
            }
        }
    }
    setSlots(best.first, best.second);
}

Tenths CardBody::slotLeft(std::size_t slot) const
{
    return m_geometry.left + static_cast<Tenths>(slot) * (m_slotWidth + kSlotGutter);
}

Tenths CardBody::slotsWidth(std::size_t slots) const
{
    return slots == m_slots ? m_geometry.right - m_geometry.left : static_cast<Tenths>(slots) * (m_slotWidth + kSlotGutter) - kSlotGutter;
}

void CardBody::nextPage()
{
    m_hasRows = false;
    m_pages.newPage();
    m_pages.content().line(Stroke::Row, m_geometry.left, m_geometry.right, m_pages.cursor());
}

void CardBody::begin()
{
    if (m_begun)
        return;
    m_begun = true;
    m_layout.clear();
    if (m_pages.room() < static_cast<Tenths>(kFewestLines + 1) * m_value.height)
        m_pages.newPage();
    drawMark("Each block is a row. Fields without a value are not in it.", TextCanvas::Place::Start);
    m_pages.moveDown(kPadding);
    m_pages.content().line(Stroke::Row, m_geometry.left, m_geometry.right, m_pages.cursor());
}

void CardBody::beginGroup(std::size_t level, const Value &key)
{
    if (level >= m_levels.size())
        return;
    begin();
    Level &own = m_levels[level];
    own.key.clear();
    own.formatter.append(key, own.key);
    std::replace_if(
        own.key.begin(), own.key.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    if (own.key.empty())
        own.key = key.isNull() ? "(no value)" : "(empty)";
    if (own.newPage && m_hasRows)
        nextPage();
    if (!own.heading)
        return;
    const LineMetrics metrics(level == 0 ? 90 : level == 1 ? 85 : 75);
    m_layout.clear();
    const TextBlock label = m_layout.fit(own.label, TextStyle::Regular, m_label.limitFor((m_geometry.right - m_geometry.left) / 3));
    const Tenths left = m_geometry.left + (own.label.empty() ? 0 : widthIn(m_label, m_layout.line(label, 0).width) + kLabelGap);
    const TextBlock name = m_layout.wrap(own.key, TextStyle::Bold, metrics.limitFor(m_geometry.right - left));
    const Tenths height = static_cast<Tenths>(name.lineCount) * metrics.height + kHeadingAbove + kPadding;
    if (m_pages.room() < height + kHeadingKeeps)
        nextPage();
    if (level < 2)
        m_outline.addGroup(level, own.key, m_pages.count(), m_pages.cursor());
    const Tenths top = m_pages.cursor() - kHeadingAbove - metrics.baseline;
    TextCanvas &canvas = m_pages.text();
    canvas.setInk(Ink::Faint);
    canvas.drawLine(label, 0, m_geometry.left, m_geometry.right, TextCanvas::Place::Start, top, m_label.size);
    canvas.setInk(Ink::Title);
    for (std::uint32_t i = 0; i < name.lineCount; ++i)
        canvas.drawLine(name, i, left, m_geometry.right, TextCanvas::Place::Start, top - static_cast<Tenths>(i) * metrics.height,
                        metrics.size);
    canvas.setInk(Ink::Text);
    m_pages.moveDown(height);
    m_pages.content().line(Stroke::Row, m_geometry.left, m_geometry.right, m_pages.cursor());
}

void CardBody::addRow(std::span<const Value> cells)
{
    begin();
    layOut(cells);
    const Tenths height = static_cast<Tenths>(m_lines) * m_value.height + 2 * kPadding;
    const bool fitsPage = height <= m_geometry.top - m_geometry.bottom;
    if (fitsPage && height > m_pages.room())
        nextPage();
    if (fitsPage)
        drawWhole();
    else
        drawInParts();
    m_hasRows = true;
}

void CardBody::endGroup(const GroupEnd &group)
{
    if (group.level >= m_levels.size() || group.rows < 2)
        return;
    const Level &level = m_levels[group.level];
    if (!level.subtotals.empty())
        drawSums(level.key, rowsText(group.rows) + (group.cut ? " (cut off by the row limit)" : ""), level.subtotals, group.subtotals);
}

/// What is added up, as a block in bold letters.
void CardBody::drawSums(const std::string &of, const std::string &rows, const std::vector<Summed> &sums, std::span<const Value> values)
{
    m_layout.clear();
    m_pairs.clear();
    std::vector<std::string> texts(std::min(sums.size(), values.size()));
    addPair(of, rows, TextStyle::Bold);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        appendShown(values[i], sums[i].formatter, texts[i]);
        addPair(sums[i].label, texts[i], TextStyle::Bold);
    }
    arrange(m_slots);
    if (static_cast<Tenths>(m_lines) * m_value.height + 2 * kPadding > m_pages.room())
        nextPage();
    drawWhole();
}

void CardBody::layOut(std::span<const Value> cells)
{
    m_layout.clear();
    m_text.clear();
    m_ends.clear();
    const std::size_t count = std::min(cells.size(), m_columns.size());
    for (std::size_t i = 0; i < count; ++i) {
        const Column &column = m_columns[i];
        if (cells[i].isNull() && count > 1 && !column.formatter.hasTexts() && !column.formatter.hasRules())
            continue;
        appendShown(cells[i], column.formatter, m_text, column.numeric);
        m_ends.push_back({i, m_text.size(), column.formatter.emphasisOf(cells[i]) != Emphasis::None});
    }
    m_pairs.clear();
    std::size_t begin = 0;
    for (const auto &[index, end, standsOut] : m_ends) {
        addPair(m_columns[index].label, std::string_view(m_text).substr(begin, end - begin),
                standsOut ? TextStyle::Bold : m_columns[index].style);
        begin = end;
    }
    arrange(m_pairSlots);
    if (m_pairSlots == m_slots)
        return;
    // A text much longer than those of the sample goes below after all.
    const std::uint32_t beside = m_lines;
    arrange(m_slots);
    if (beside <= 2 * m_lines)
        arrange(m_pairSlots);
}

/// The texts must stay where they are until the row is drawn.
void CardBody::addPair(std::string_view label, std::string_view value, TextStyle style)
{
    Pair pair{m_layout.wrap(label, TextStyle::Regular, kEndless), m_layout.wrap(value, style, kEndless)};
    pair.labelWidth = pair.label.lineCount > 1 ? kBroken : widthIn(m_label, m_layout.line(pair.label, 0).width);
    pair.width = pair.label.lineCount > 1 || pair.value.lineCount > 1
                     ? kBroken
                     : pair.labelWidth + kLabelGap + widthIn(m_value, m_layout.line(pair.value, 0).width);
    m_pairs.push_back(pair);
}

/// Pairs that fit on a line of the first \p slots fill the lines in their order; the others stand in the slots behind those, or below.
void CardBody::arrange(std::size_t slots)
{
    m_pieces.clear();
    m_lines = 0;
    std::size_t taken = slots; // of the current line
    for (const Pair &pair : m_pairs) {
        std::size_t needed = 1;
        while (needed <= slots && slotsWidth(needed) < pair.width)
            ++needed;
        if (needed > slots)
            continue;
        if (taken + needed > slots) {
            ++m_lines;
            taken = 0;
        }
        const Tenths left = slotLeft(taken);
        const Tenths value = left + pair.labelWidth + kLabelGap;
        m_pieces.push_back({m_lines - 1, 0, pair.label, left, value, true});
        m_pieces.push_back({m_lines - 1, 0, pair.value, value, left + slotsWidth(needed), false});
        taken += needed;
    }
    const bool beside = slots < m_slots;
    std::uint32_t line = beside ? 0 : m_lines;
    for (const Pair &pair : m_pairs)
        if (slotsWidth(slots) < pair.width)
            arrangeLong(pair, beside ? slotLeft(slots) : m_geometry.left, line);
    m_lines = std::max({m_lines, line, 1U});
}

/// A value with lines of its own from \p left to the right margin, its label before its first line.
void CardBody::arrangeLong(const Pair &pair, Tenths left, std::uint32_t &line)
{
    const Tenths right = m_geometry.right;
    const bool besideLabel = pair.labelWidth <= (right - left) / 3;
    const TextBlock label = besideLabel ? pair.label : m_layout.wrap(pair.label.text, pair.label.style, m_label.limitFor(right - left));
    for (std::uint32_t i = 0; i < label.lineCount; ++i)
        m_pieces.push_back({line + i, i, label, left, right, true});
    if (!besideLabel)
        line += label.lineCount;
    const Tenths valueLeft = besideLabel ? left + pair.labelWidth + kLabelGap : left;
    const TextBlock value = m_layout.wrap(pair.value.text, pair.value.style, m_value.limitFor(right - valueLeft));
    for (std::uint32_t i = 0; i < value.lineCount; ++i)
        m_pieces.push_back({line + i, i, value, valueLeft, right, false});
    line += value.lineCount;
}

void CardBody::closeBlock()
{
    m_pages.moveDown(kPadding);
    m_pages.content().line(Stroke::Row, m_geometry.left, m_geometry.right, m_pages.cursor());
}

void CardBody::drawWhole()
{
    m_pages.moveDown(kPadding);
    drawLines(0, m_lines);
    closeBlock();
}

void CardBody::drawInParts()
{
    bool freshPage = false;
    for (std::uint32_t at = 0; at < m_lines;) {
        const auto fits = static_cast<std::uint32_t>(std::max(0, (m_pages.room() - 2 * kPadding) / m_value.height));
        const std::uint32_t marks = at > 0 ? 1 : 0;
        const std::uint32_t rest = m_lines - at;
        const bool last = rest + marks <= fits;
        std::uint32_t count = last ? rest : fits - std::min(fits, marks + 1);
        if (count < std::min(kFewestLines, rest) && !freshPage) {
            nextPage();
            freshPage = true;
            continue;
        }
        count = std::max(1U, count);
        m_pages.moveDown(kPadding);
        if (at > 0)
            drawMark("(continued from the previous page)", TextCanvas::Place::Start);
        drawLines(at, count);
        at += count;
        if (at < m_lines) {
            drawMark("(continued on the next page)", TextCanvas::Place::Right);
            nextPage();
            freshPage = true;
        }
    }
    closeBlock();
}

/// Draws \p count lines of the block and moves below them.
void CardBody::drawLines(std::uint32_t first, std::uint32_t count)
{
    TextCanvas &canvas = m_pages.text();
    const Tenths top = m_pages.cursor();
    // Labels first would change the colour once a block instead of twice a pair, but text is read and copied in the order drawn.
    for (const Piece &piece : m_pieces) {
        if (piece.line < first || piece.line >= first + count)
            continue;
        canvas.setInk(piece.isLabel ? Ink::Faint : Ink::Text);
        canvas.drawLine(piece.block, piece.textLine, piece.left, piece.right, TextCanvas::Place::Start,
                        top - static_cast<Tenths>(piece.line - first) * m_value.height - m_value.baseline,
                        piece.isLabel ? m_label.size : m_value.size);
    }
    canvas.setInk(Ink::Text);
    m_pages.moveDown(static_cast<Tenths>(count) * m_value.height);
}

/// A line of the program's own, told apart from data by its colour.
void CardBody::drawMark(const std::string &text, TextCanvas::Place place)
{
    const TextBlock block = m_layout.fit(text, TextStyle::Regular, m_value.limitFor(m_geometry.right - m_geometry.left));
    m_pages.text().setInk(Ink::Faint);
    m_pages.text().drawLine(block, 0, m_geometry.left, m_geometry.right, place, m_pages.cursor() - m_value.baseline, m_value.size);
    m_pages.text().setInk(Ink::Text);
    m_pages.moveDown(m_value.height);
}

void CardBody::drawNothing(const std::string &asked)
{
    m_layout.clear();
    const std::string nothing = kNoRows;
    const LineMetrics head(120, 160);
    const Tenths width = m_geometry.right - m_geometry.left;
    const TextBlock title = m_layout.fit(nothing, TextStyle::Bold, head.limitFor(width));
    const TextBlock below = m_layout.wrap(asked, TextStyle::Regular, m_value.limitFor(width));
    if (m_pages.room() < head.height + static_cast<Tenths>(below.lineCount) * m_value.height)
        m_pages.newPage();
    TextCanvas &canvas = m_pages.text();
    canvas.setInk(Ink::Title);
    canvas.drawLine(title, 0, m_geometry.left, m_pages.cursor() - head.baseline, head.size);
    canvas.setInk(Ink::Text);
    m_pages.moveDown(head.height);
    for (std::uint32_t i = 0; i < below.lineCount; ++i, m_pages.moveDown(m_value.height))
        canvas.drawLine(below, i, m_geometry.left, m_geometry.right, TextCanvas::Place::Start, m_pages.cursor() - m_value.baseline,
                        m_value.size);
}

void CardBody::end(const ReportTail &tail, const std::string &nothing, std::span<const std::string> notices)
{
    if (tail.rows == 0 && !m_begun)
        drawNothing(nothing);
    else if (!m_totals.empty())
        drawSums(tail.truncated ? "Totals of the rows shown" : "Totals", rowsText(tail.rows), m_totals, tail.totals);
    if (!notices.empty())
        m_pages.moveDown(80);
    for (const std::string &notice : notices) {
        m_layout.clear();
        const Tenths height = m_notices.height(notice);
        if (height > m_pages.room())
            m_pages.newPage();
        m_layout.clear();
        m_notices.draw(notice, m_pages.cursor(), m_pages.content());
        m_pages.moveDown(height);
    }
}

} // namespace qm::pdf
