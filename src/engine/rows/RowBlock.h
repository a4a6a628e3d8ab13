/// \file
/// A handful of result rows on their way from the thread that fetches them to the thread that writes them.
#pragma once

#include "documents/Value.h"

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

namespace qm {

/// Rows with the bytes of their texts. Refilled again and again: it keeps a first piece of memory.
class RowBlock final
{
public:
    static constexpr std::size_t kRows = 512, kCells = 16384; ///< wide results have fewer rows in a block
    static constexpr std::size_t kBytes = std::size_t{1} << 18;

    explicit RowBlock(std::size_t columns)
        : m_columns(columns), m_cells(columns * std::clamp<std::size_t>(kCells / std::max<std::size_t>(columns, 1), 1, kRows))
    {
    }

    [[nodiscard]] std::size_t rows() const { return m_columns == 0 ? 0 : m_filled / m_columns; }
    [[nodiscard]] std::span<const Value> row(std::size_t index) const { return {m_cells.data() + index * m_columns, m_columns}; }
    [[nodiscard]] bool isFull() const { return m_filled == m_cells.size() || m_used >= kBytes; }

    /// Adds the next cell of a row. A full block takes none.
    void add(const Value &value) { m_cells[m_filled++] = value; }
    /// Room for \p bytes bytes; they are kept by take().
    [[nodiscard]] char *room(std::size_t bytes);
    /// Keeps the room up to \p end. \returns what it holds.
    std::string_view take(char *end);
    void clear();

private:
    std::size_t m_columns;
    std::vector<Value> m_cells;
    std::vector<std::unique_ptr<char[]>> m_pieces;
    char *m_free = nullptr;
    std::size_t m_filled = 0, m_left = 0, m_used = 0;
    bool m_firstIsLarge = false;
};

} // namespace qm
