/// \file
/// The first rows of a result, kept while the report's columns are worked out.
#pragma once

#include "engine/rows/RowSource.h"

#include <memory>

namespace qm {

/// Copies of a result's first rows. They are written first when the report begins.
class RowSample final
{
public:
    static constexpr std::size_t kRows = 200;
    static constexpr std::size_t kBytes = std::size_t{4} << 20;

    /// Takes rows from \p source until there are kRows, their texts exceed kBytes, or the result ends.
    explicit RowSample(RowSource &source);

    [[nodiscard]] std::size_t rows() const { return m_columns == 0 ? 0 : m_cells.size() / m_columns; }
    [[nodiscard]] std::span<const Value> row(std::size_t index) const { return {m_cells.data() + index * m_columns, m_columns}; }
    /// Whether the result ended within the sample.
    [[nodiscard]] bool isWhole() const { return m_whole; }

private:
    [[nodiscard]] Value kept(const Value &value);

    std::size_t m_columns;
    std::vector<Value> m_cells;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char *m_free = nullptr;
    std::size_t m_left = 0, m_bytes = 0;
    bool m_whole = false;
};

} // namespace qm
