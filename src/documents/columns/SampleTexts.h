/// \file
/// The texts of one column in the first rows, as far as breaking them into lines needs to know them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qm::columns {

/// Thousandths of the letter size.
using Em = std::int32_t;

/// Widths only, no letters: counting the lines of a text in a column costs one addition per word.
class SampleTexts final
{
public:
    /// What no line end divides, and the blanks behind it, which may hang over the edge.
    void addPiece(Em ink, Em blank) { m_pieces.push_back({ink, blank, false}); }
    /// A line end that the text has itself.
    void endLine();
    /// The text of a row is complete; one without pieces takes one line.
    void endCell();

    [[nodiscard]] std::size_t cells() const { return m_cells.size(); }
    /// Width of the widest line where the text is broken at its own line ends only.
    [[nodiscard]] Em natural(std::size_t cell) const { return m_cells[cell].natural; }
    /// Width of the widest piece.
    [[nodiscard]] Em widestPiece(std::size_t cell) const { return m_cells[cell].widestPiece; }
    /// Lines of the text in a column of the width \p limit, at least 1. A piece wider than that is broken as often as need be.
    [[nodiscard]] std::uint32_t lines(std::size_t cell, Em limit) const;

private:
    struct Piece
    {
        Em ink = 0, blank = 0;
        bool endsLine = false;
    };
    struct Cell
    {
        std::size_t end = 0; ///< of its pieces
        Em natural = 0, widestPiece = 0;
        bool ownLines = false; ///< has line ends of its own
    };
    std::vector<Piece> m_pieces;
    std::vector<Cell> m_cells;
};

} // namespace qm::columns
