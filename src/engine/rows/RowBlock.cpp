#include "engine/rows/RowBlock.h"

#include <algorithm>

namespace qm {

namespace {
constexpr std::size_t kPiece = std::size_t{1} << 16;
}

char *RowBlock::room(std::size_t bytes)
{
    if (bytes > m_left) {
        m_left = std::max(kPiece, bytes);
        m_firstIsLarge = m_firstIsLarge || (m_pieces.empty() && m_left > kPiece);
        m_pieces.push_back(std::make_unique_for_overwrite<char[]>(m_left));
        m_free = m_pieces.back().get();
    }
    return m_free;
}

std::string_view RowBlock::take(char *end)
{
    const std::string_view kept(m_free, static_cast<std::size_t>(end - m_free));
    m_free = end;
    m_left -= kept.size();
    m_used += kept.size();
    return kept;
}

void RowBlock::clear()
{
    m_filled = m_used = 0;
    // A first piece of the usual size serves again; larger ones were made for one long value.
    if (m_pieces.empty() || m_firstIsLarge) {
        m_pieces.clear();
        m_free = nullptr;
        m_left = 0;
        m_firstIsLarge = false;
        return;
    }
    m_pieces.resize(1);
    m_free = m_pieces.front().get();
    m_left = kPiece;
}

} // namespace qm
