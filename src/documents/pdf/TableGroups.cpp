// The groups of a table: their headings with the rows beside them, and their ends.
#include "documents/ReportWords.h"
#include "documents/pdf/ShownText.h"
#include "documents/pdf/TableBody.h"

#include <algorithm>
#include <array>

namespace qm::pdf {

namespace {

constexpr std::uint32_t kHeadingLines = 3;
constexpr std::string_view kCut = " (cut off by the row limit)";
const LineMetrics kCountMetrics(70, 120);

/// How headings of the first, second and third level look; those below look like the third.
struct HeadingLook
{
    LineMetrics metrics;
    Ink ink;
    Tenths above;
};
const std::array<HeadingLook, 3> kHeadings{
    {{LineMetrics(90, 120), Ink::Title, 70}, {LineMetrics(85, 110), Ink::Text, 50}, {LineMetrics(75, 98), Ink::Text, 30}}};
constexpr Tenths kHeadingBelow = 25, kHeadingGap = 55;

const HeadingLook &lookOf(std::size_t level)
{
    return kHeadings[std::min(level, kHeadings.size() - 1)];
}

} // namespace

Tenths TableBody::headingHeight(std::size_t level, std::uint32_t lines) const
{
    const HeadingLook &look = lookOf(level);
    return look.above + static_cast<Tenths>(lines) * look.metrics.height + kHeadingBelow;
}

void TableBody::drawHeading(std::size_t level, const std::string &name, bool continued)
{
    const HeadingLook &look = lookOf(level);
    const LineMetrics small(70, look.metrics.height);
    const std::string &caption = m_levels[level].group.column.caption;
    // The row being set keeps its lines: nothing is cleared here.
    const Tenths room = m_geometry.right - m_geometry.left;
    TextBlock before{};
    Tenths indent = 0;
    if (!caption.empty()) {
        before = m_layout.fit(caption, TextStyle::Regular, small.limitFor(room / 4));
        indent = m_layout.line(before, 0).width * small.size / 1000 + kHeadingGap;
    }
    const Tenths kept = continued ? 500 : 1500; // for what stands behind the value
    const TextBlock block =
        m_layout.wrapAtMost(name, TextStyle::Bold, look.metrics.limitFor(std::max(room - indent - kept, room / 3)), kHeadingLines);
    const Tenths height = headingHeight(level, block.lineCount);

    Entry &entry = m_sheet.append(continued ? Entry::Kind::Continued : Entry::Kind::Heading, m_pages.content().mark(), m_pages.cursor());
    entry.level = static_cast<std::uint8_t>(level);
    entry.name = name;
    const Tenths left = m_geometry.left + indent;
    const Tenths baseline = m_pages.cursor() - look.above - look.metrics.baseline;
    TextCanvas &canvas = m_pages.text();
    if (indent > 0) {
        canvas.setInk(Ink::Faint);
        canvas.drawLine(before, 0, m_geometry.left, baseline, small.size);
    }
    canvas.setInk(look.ink);
    for (std::uint32_t i = 0; i < block.lineCount; ++i)
        canvas.drawLine(block, i, left, baseline - static_cast<Tenths>(i) * look.metrics.height, look.metrics.size);
    const std::uint32_t last = block.lineCount - 1;
    entry.countX = left + m_layout.line(block, last).width * look.metrics.size / 1000 + kHeadingGap;
    entry.countY = baseline - static_cast<Tenths>(last) * look.metrics.height;
    if (continued) {
        static const std::string kContinued = "(continued)";
        canvas.setInk(Ink::Faint);
        canvas.drawLine(m_layout.fit(kContinued, TextStyle::Regular, small.limitFor(room)), 0, entry.countX, entry.countY, small.size);
    }
    canvas.setInk(Ink::Text);
    m_pages.moveDown(height);
    if (level < 2)
        m_pages.content().line(level == 0 ? Stroke::Group : Stroke::Hairline, m_geometry.left, m_geometry.right, m_pages.cursor());
    entry.after = m_pages.content().mark();
    m_striped = false;
}

void TableBody::drawRowCount(std::int64_t rows, bool cut, Tenths x, Tenths y, TextCanvas &canvas)
{
    std::string text = rowsText(rows);
    if (cut)
        text += kCut;
    m_layout.clear();
    const TextBlock block = m_layout.fit(text, TextStyle::Regular, kCountMetrics.limitFor(m_geometry.right - m_geometry.left));
    canvas.setInk(Ink::Faint);
    canvas.drawLine(block, 0, x, y, kCountMetrics.size);
}

/// The number of rows of a group that has ended, beside its heading: on the page where that can still be drawn on, else with drawLate().
void TableBody::countRows(std::size_t level, std::int64_t rows, bool cut)
{
    const auto countOn = [&](Sheet &sheet, PageContent *content) {
        if (!content)
            return false;
        for (std::size_t i = sheet.used; i > 0; --i) {
            Entry &entry = sheet.entries[i - 1];
            if (entry.kind != Entry::Kind::Heading || entry.level != level || entry.counted)
                continue;
            entry.counted = true;
            if (entry.drawn) {
                m_small.clear();
                drawRowCount(rows, cut, 0, 0, m_small);
                content->insertText(entry.after.text, m_small.content(), entry.countX, entry.countY);
            }
            return true;
        }
        return false;
    };
    if (countOn(m_sheet, &m_pages.content()) || (m_waiting.page + 1 == m_sheet.page && countOn(m_waiting, m_pages.waiting())))
        return;
    const OpenGroup &group = m_open[level];
    if (group.page > 0)
        m_late.push_back({group.page, group.x, group.y, rows, cut});
}

void TableBody::drawLate(int page, TextCanvas &canvas)
{
    if (m_lateDrawn == 0)
        std::stable_sort(m_late.begin(), m_late.end(),
                         [](const LateCount &left, const LateCount &right) { return left.page < right.page; });
    for (; m_lateDrawn < m_late.size() && m_late[m_lateDrawn].page <= page; ++m_lateDrawn) {
        const LateCount &late = m_late[m_lateDrawn];
        drawRowCount(late.rows, late.cut, late.x, late.y, canvas);
    }
}

void TableBody::beginGroup(std::size_t level, const Value &key)
{
    if (level >= m_levels.size())
        return;
    const bool first = !m_begun;
    if (first)
        begin();
    const Level &own = m_levels[level];
    m_open.resize(level);
    if (own.group.newPage && !first && m_sheet.rows() > 0) {
        // The headings of the groups around it go along.
        std::size_t cut = m_sheet.used;
        while (cut > 0 && m_sheet.entries[cut - 1].kind == Entry::Kind::Heading && m_sheet.entries[cut - 1].level < level)
            --cut;
        turnPageAt(cut);
        m_sheet.wanted = true;
    }
    OpenGroup group;
    if (own.formatter.style() != CellFormatter::Style::Plain || !key.isNull() || !own.group.column.nullText.empty())
        own.formatter.append(key, group.name);
    joinLines(group.name, 0);
    if (group.name.empty())
        group.name = key.isNull() ? "(no value)" : "(empty)";
    m_layout.clear();
    m_striped = false;
    if (own.heading) {
        if (m_pages.room() < headingHeight(level, 1) + heightOf(1))
            turnPage(headingHeight(level, 1) + heightOf(1), Entry::Kind::Heading);
        m_layout.clear();
        drawHeading(level, group.name, false);
    } else {
        Entry &entry = m_sheet.append(Entry::Kind::Heading, m_pages.content().mark(), m_pages.cursor());
        entry.level = static_cast<std::uint8_t>(level);
        entry.drawn = false;
        entry.name = group.name;
    }
    m_open.push_back(std::move(group));
}

void TableBody::endGroup(const GroupEnd &group)
{
    const std::size_t level = group.level;
    if (level >= m_open.size())
        return;
    Level &own = m_levels[level];
    m_open.resize(level + 1);
    if (!own.subtotals.isEmpty() && group.rows > 1)
        drawSummary(group.subtotals, m_open[level].name + (group.cut ? std::string(kCut) : std::string()), Entry::Kind::Subtotal, level);
    countRows(level, group.rows, group.cut);
    keepTogether(level);
    m_open.resize(level);
    m_striped = false;
}

} // namespace qm::pdf
