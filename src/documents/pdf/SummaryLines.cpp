#include "documents/pdf/SummaryLines.h"

#include "documents/pdf/ShownText.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr Tenths kGap = 120;            ///< between the label and the first value
constexpr Tenths kNarrowestLabel = 900; ///< else the label has a line of its own
constexpr std::uint32_t kLabelLines = 3;

std::string_view wordOf(Aggregate function)
{
    switch (function) {
    case Aggregate::Count:
        return "Count";
    case Aggregate::Sum:
        return "Total";
    case Aggregate::Average:
        return "Average";
    case Aggregate::Minimum:
        return "Minimum";
    case Aggregate::Maximum:
        return "Maximum";
    case Aggregate::Distinct:
        return "Different values";
    case Aggregate::Share:
        return "Share of the total";
    case Aggregate::Running:
        return "Running total";
    }
    return {};
}

} // namespace

SummaryLines::SummaryLines(std::vector<Subtotal> subtotals) : m_subtotals(std::move(subtotals))
{
    for (std::size_t i = 0; i < m_subtotals.size(); ++i) {
        const Subtotal &each = m_subtotals[i];
        m_formatters.emplace_back(each.value);
        if (!each.column) {
            m_beside.push_back(i);
            continue;
        }
        const auto suits = [&](const Line &line) {
            return line.function == each.function && std::none_of(line.values.begin(), line.values.end(), [&](std::size_t other) {
                       return m_subtotals[other].column == each.column;
                   });
        };
        auto line = std::find_if(m_lines.begin(), m_lines.end(), suits);
        if (line == m_lines.end())
            line = m_lines.insert(m_lines.end(), Line{each.function, {}});
        line->values.push_back(i);
    }
    if (m_lines.empty() && !m_beside.empty())
        m_lines.push_back({});
    m_texts.resize(m_subtotals.size() + m_lines.size());
}

std::string SummaryLines::labelOf(const Line &line, const std::string &of) const
{
    std::string label;
    if (!line.values.empty()) {
        const std::string &caption = m_subtotals[line.values.front()].caption;
        const bool same =
            std::all_of(line.values.begin(), line.values.end(), [&](std::size_t i) { return m_subtotals[i].caption == caption; });
        label = same && !caption.empty() ? caption : wordOf(line.function);
    }
    if (!of.empty())
        label += (label.empty() ? "" : ": ") + of;
    return label;
}

std::uint32_t SummaryLines::layOut(std::span<const Value> values, const std::string &of, std::span<const ColumnBox> columns,
                                   std::span<const CellAlignment> alignments, const Look &look, TextLayout &layout)
{
    using Place = TextCanvas::Place;
    m_pieces.clear();
    // All texts first: the pieces refer to them.
    for (std::size_t i = 0; i < m_subtotals.size(); ++i) {
        m_texts[i].clear();
        appendShown(i < values.size() ? values[i] : Value::ofNull(), m_formatters[i], m_texts[i], true);
    }
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        std::string &label = m_texts[m_subtotals.size() + i];
        label = labelOf(m_lines[i], of);
        for (std::size_t k = 0; i == 0 && k < m_beside.size(); ++k) {
            const Subtotal &each = m_subtotals[m_beside[k]];
            label += label.empty() ? "" : "   ";
            label += (each.caption.empty() ? std::string(wordOf(each.function)) : each.caption) + " " + m_texts[m_beside[k]];
        }
    }
    const Tenths innerLeft = look.left + look.paddingX, innerRight = look.right - look.paddingX;
    std::uint32_t used = 0;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        const std::size_t firstPiece = m_pieces.size();
        Tenths valuesLeft = innerRight + kGap;
        for (const std::size_t index : m_lines[i].values) {
            const std::size_t column = std::min(*m_subtotals[index].column, columns.size() - 1);
            const ColumnBox &box = columns[column];
            // The line is nearly empty: a value wider than its column takes room beside it.
            Piece piece{{}, box.left, box.right, Place::Start, used};
            if (alignments[column] == CellAlignment::Right) {
                piece.place = Place::Right;
                piece.left = innerLeft;
            } else if (alignments[column] == CellAlignment::Centre) {
                piece.place = Place::Centre;
            } else {
                piece.right = innerRight;
            }
            piece.block = layout.fit(m_texts[index], TextStyle::Bold, look.metrics.limitFor(piece.right - piece.left));
            const Tenths width = layout.line(piece.block, 0).width * look.metrics.size / 1000;
            valuesLeft = std::min(valuesLeft, piece.place == Place::Right ? piece.right - width : piece.left);
            m_pieces.push_back(piece);
        }
        const std::string &label = m_texts[m_subtotals.size() + i];
        const Tenths room = valuesLeft - kGap - innerLeft;
        TextBlock block = layout.wrapAtMost(label, TextStyle::Bold, look.metrics.limitFor(innerRight - innerLeft), kLabelLines);
        const bool ownLine = layout.line(block, 0).width * look.metrics.size / 1000 > room && room < kNarrowestLabel;
        if (!ownLine)
            block = layout.wrapAtMost(label, TextStyle::Bold, look.metrics.limitFor(std::max(room, Tenths{1})), kLabelLines);
        // Values stand beside the last line of their label.
        const std::uint32_t valueLine = used + (ownLine ? block.lineCount : block.lineCount - 1);
        for (std::size_t k = firstPiece; k < m_pieces.size(); ++k)
            m_pieces[k].line = valueLine;
        m_pieces.insert(m_pieces.begin() + static_cast<std::ptrdiff_t>(firstPiece), {block, innerLeft, innerRight, Place::Start, used});
        used = valueLine + 1;
    }
    return used;
}

void SummaryLines::draw(Tenths top, const Look &look, TextCanvas &canvas) const
{
    canvas.setInk(look.ink);
    for (const Piece &piece : m_pieces)
        for (std::uint32_t i = 0; i < piece.block.lineCount; ++i)
            canvas.drawLine(piece.block, i, piece.left, piece.right, piece.place,
                            top - look.paddingY - static_cast<Tenths>(piece.line + i) * look.metrics.height - look.metrics.baseline,
                            look.metrics.size);
    canvas.setInk(Ink::Text);
}

} // namespace qm::pdf
