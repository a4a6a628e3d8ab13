#include "engine/rows/RowSample.h"

#include <algorithm>

namespace qm {

namespace {
constexpr std::size_t kBlockBytes = std::size_t{1} << 16;
}

RowSample::RowSample(RowSource &source) : m_columns(source.columns().size())
{
    std::vector<Value> row(m_columns);
    while (rows() < kRows && m_bytes < kBytes) {
        if (!source.next(row)) {
            m_whole = true;
            return;
        }
        for (const Value &value : row)
            m_cells.push_back(kept(value));
    }
}

Value RowSample::kept(const Value &value)
{
    if (value.size == 0 || (value.kind != Value::Kind::Text && value.kind != Value::Kind::Blob))
        return value;
    if (value.size > m_left) {
        m_left = std::max(kBlockBytes, value.size);
        m_blocks.push_back(std::make_unique_for_overwrite<char[]>(m_left));
        m_free = m_blocks.back().get();
    }
    Value copy = value;
    copy.data = m_free;
    value.text().copy(m_free, value.size);
    m_free += value.size;
    m_left -= value.size;
    m_bytes += value.size;
    return copy;
}

} // namespace qm
