#include "documents/pdf/TitleBlock.h"

#include "documents/NumberText.h"
#include "documents/ReportWords.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr std::uint32_t kHeadingLines = 3; ///< most lines of title and subtitle
constexpr std::uint32_t kFactLines = 12;   ///< most lines of one fact
constexpr Tenths kWideEnoughForTwo = 4800; ///< page width from which facts stand in two columns
constexpr Tenths kColumnGap = 240, kLabelGap = 80;
constexpr std::string_view kCountLabel = "Rows";

} // namespace

void TitleBlock::drawHeading(const std::string &text, TextStyle style, const LineMetrics &metrics, Ink ink, ReportPages &pages)
{
    if (text.empty())
        return;
    m_layout.clear();
    const TextBlock block = m_layout.wrapAtMost(text, style, metrics.limitFor(m_geometry.right - m_geometry.left), kHeadingLines);
    pages.text().setInk(ink);
    for (std::uint32_t i = 0; i < block.lineCount; ++i) {
        pages.text().drawLine(block, i, m_geometry.left, m_geometry.right, TextCanvas::Place::Start, pages.cursor() - metrics.baseline,
                              metrics.size);
        pages.moveDown(metrics.height);
    }
}

Tenths TitleBlock::labelWidth(const ReportHead &head, Tenths most)
{
    m_layout.clear();
    Em widest = m_layout.measure(kCountLabel, TextStyle::Regular);
    for (const Fact &fact : head.facts)
        widest = std::max(widest, m_layout.measure(fact.label, TextStyle::Regular));
    return std::min(most, widest * m_geometry.facts.size / 1000 + 5);
}

/// \returns the height the fact takes.
Tenths TitleBlock::drawFact(const TextBlock &label, const TextBlock &value, Tenths left, Tenths right, ReportPages &pages)
{
    const LineMetrics &metrics = m_geometry.facts;
    const Tenths baseline = pages.cursor() - metrics.baseline;
    TextCanvas &canvas = pages.text();
    const Tenths labelRight = left + m_count.left - m_geometry.left - kLabelGap;
    canvas.setInk(Ink::Faint);
    canvas.drawLine(label, 0, left, labelRight, TextCanvas::Place::Start, baseline, metrics.size);
    canvas.setInk(Ink::Text);
    for (std::uint32_t i = 0; i < value.lineCount; ++i)
        canvas.drawLine(value, i, labelRight + kLabelGap, right, TextCanvas::Place::Start,
                        baseline - static_cast<Tenths>(i) * metrics.height, metrics.size);
    return static_cast<Tenths>(std::max(1U, value.lineCount)) * metrics.height;
}

void TitleBlock::drawFacts(const ReportHead &head, ReportPages &pages)
{
    const LineMetrics &metrics = m_geometry.facts;
    const Tenths whole = m_geometry.right - m_geometry.left;
    const std::size_t across = whole >= kWideEnoughForTwo ? 2 : 1;
    const auto count = static_cast<Tenths>(across);
    const Tenths width = (whole - (count - 1) * kColumnGap) / count;
    const Tenths label = labelWidth(head, width * 2 / 5);
    const Tenths valueLimit = width - label - kLabelGap;
    m_count = {m_geometry.left + label + kLabelGap, m_geometry.left + width, pages.cursor() - metrics.baseline};

    std::vector<Fact> facts;
    facts.emplace_back(); // the count's place
    facts.insert(facts.end(), head.facts.begin(), head.facts.end());
    for (Fact &fact : facts)
        std::replace_if(
            fact.label.begin(), fact.label.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    for (std::size_t i = 0; i < facts.size(); i += across) {
        m_layout.clear();
        std::vector<std::pair<TextBlock, TextBlock>> row;
        std::uint32_t lines = 1;
        for (std::size_t k = i; k < std::min(i + across, facts.size()); ++k) {
            row.emplace_back(m_layout.fit(facts[k].label, TextStyle::Regular, metrics.limitFor(label)),
                             m_layout.wrapAtMost(facts[k].value, TextStyle::Regular, metrics.limitFor(valueLimit), kFactLines));
            lines = std::max(lines, row.back().second.lineCount);
        }
        if (static_cast<Tenths>(lines) * metrics.height > pages.room() && i > 0)
            pages.newPage();
        Tenths height = 0;
        for (std::size_t k = 0; k < row.size(); ++k) {
            const Tenths left = m_geometry.left + static_cast<Tenths>(k) * (width + kColumnGap);
            height = std::max(height, drawFact(row[k].first, row[k].second, left, left + width, pages));
        }
        pages.moveDown(height + 8);
    }
}

void TitleBlock::draw(const ReportHead &head, ReportPages &pages)
{
    drawHeading(head.title, TextStyle::Bold, m_geometry.title, Ink::Title, pages);
    pages.moveDown(20);
    drawHeading(head.subtitle, TextStyle::Regular, m_geometry.subtitle, Ink::Faint, pages);
    pages.moveDown(35);
    pages.rule(m_geometry.left, m_geometry.right, pages.cursor());
    pages.moveDown(45);
    drawFacts(head, pages);
    pages.text().setInk(Ink::Text);
    pages.moveDown(60);
}

void TitleBlock::drawCount(const ReportTail &tail, int pageCount, TextCanvas &canvas)
{
    const LineMetrics &metrics = m_geometry.facts;
    std::string text;
    numbers::appendFixed(tail.rows, {0, 0, true, 0}, text);
    text += " on " + numbers::counted(pageCount, "page", "pages");
    if (tail.truncated)
        text += ". " + cutNotice(tail);
    m_layout.clear();
    const TextBlock label = m_layout.fit(kCountLabel, TextStyle::Regular, metrics.limitFor(m_count.left - m_geometry.left));
    const TextBlock block = m_layout.fit(text, TextStyle::Regular, metrics.limitFor(m_count.right - m_count.left));
    canvas.setInk(Ink::Faint);
    canvas.drawLine(label, 0, m_geometry.left, m_count.left, TextCanvas::Place::Start, m_count.baseline, metrics.size);
    canvas.setInk(Ink::Text);
    canvas.drawLine(block, 0, m_count.left, m_count.right, TextCanvas::Place::Start, m_count.baseline, metrics.size);
}

} // namespace qm::pdf
