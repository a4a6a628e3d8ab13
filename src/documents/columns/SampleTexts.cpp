#include "documents/columns/SampleTexts.h"

#include <algorithm>

namespace qm::columns {

void SampleTexts::endLine()
{
    m_pieces.push_back({0, 0, true});
}

void SampleTexts::endCell()
{
    Cell cell;
    Em line = 0;
    for (std::size_t i = m_cells.empty() ? 0 : m_cells.back().end; i < m_pieces.size(); ++i) {
        const Piece &piece = m_pieces[i];
        if (piece.endsLine) {
            line = 0;
            cell.ownLines = true;
            continue;
        }
        cell.natural = std::max(cell.natural, line + piece.ink);
        cell.widestPiece = std::max(cell.widestPiece, piece.ink);
        line += piece.ink + piece.blank;
    }
    cell.end = m_pieces.size();
    m_cells.push_back(cell);
}

std::uint32_t SampleTexts::lines(std::size_t cell, Em limit) const
{
    const Cell &asked = m_cells[cell];
    if (!asked.ownLines && asked.natural <= limit)
        return 1;
    limit = std::max(limit, Em{1});
    std::uint32_t count = 1;
    std::int64_t line = 0;
    for (std::size_t i = cell == 0 ? 0 : m_cells[cell - 1].end; i < asked.end; ++i) {
        const Piece &piece = m_pieces[i];
        if (piece.endsLine) {
            ++count;
            line = 0;
            continue;
        }
        if (line > 0 && line + piece.ink > limit) {
            ++count;
            line = 0;
        }
        if (piece.ink > limit) {
            count += static_cast<std::uint32_t>((piece.ink - 1) / limit);
            line = (piece.ink - 1) % limit + 1;
        } else {
            line += piece.ink;
        }
        line += piece.blank;
    }
    return count;
}

} // namespace qm::columns
