#include "reporting/viewer/RowOrder.h"

#include "core/RuntimeError.h"
#include "engine/rows/Spool.h"

namespace qm {

namespace {
constexpr std::size_t kBufferedIds = std::size_t{1} << 16;
}

std::shared_ptr<const RowOrder> RowOrder::original(std::int64_t rows)
{
    auto order = std::make_shared<RowOrder>();
    order->m_size = rows;
    return order;
}

RowOrderBuilder::RowOrderBuilder() : m_order(std::make_shared<RowOrder>())
{
    m_order->m_file = std::make_unique<QTemporaryFile>(spoolFolder() + QStringLiteral("/order-XXXXXX"));
    if (!m_order->m_file->open())
        raise(err::pathFileAccess, m_order->m_file->errorString(), kFrameworkSource);
    m_buffer.reserve(kBufferedIds);
}

void RowOrderBuilder::flush()
{
    const auto bytes = static_cast<qint64>(m_buffer.size() * sizeof(std::uint32_t));
    if (m_order->m_file->write(reinterpret_cast<const char *>(m_buffer.data()), bytes) != bytes)
        raise(err::diskFull, m_order->m_file->errorString(), kFrameworkSource);
    m_order->m_size += static_cast<std::int64_t>(m_buffer.size());
    m_buffer.clear();
}

void RowOrderBuilder::add(std::int64_t id)
{
    m_buffer.push_back(static_cast<std::uint32_t>(id));
    if (m_buffer.size() == kBufferedIds)
        flush();
}

std::shared_ptr<const RowOrder> RowOrderBuilder::finish()
{
    flush();
    if (!m_order->m_file->flush())
        raise(err::diskFull, m_order->m_file->errorString(), kFrameworkSource);
    if (m_order->m_size > 0) {
        const uchar *mapped = m_order->m_file->map(0, m_order->m_size * static_cast<qint64>(sizeof(std::uint32_t)));
        if (!mapped)
            raise(err::outOfMemory, m_order->m_file->errorString(), kFrameworkSource);
        m_order->m_ids = reinterpret_cast<const std::uint32_t *>(mapped);
    }
    return std::move(m_order);
}

std::int64_t nextHit(const RowOrder &order, const RowHits &hits, std::int64_t position, int step)
{
    const std::int64_t size = order.size();
    if (size == 0 || hits.count() == 0)
        return -1;
    std::int64_t at = position;
    for (std::int64_t tried = 0; tried < size; ++tried) {
        at += step;
        if (at >= size)
            at = 0;
        else if (at < 0)
            at = size - 1;
        if (hits.contains(order.idAt(at)))
            return at;
    }
    return -1;
}

std::int64_t hitsUpTo(const RowOrder &order, const RowHits &hits, std::int64_t position)
{
    std::int64_t count = 0;
    for (std::int64_t at = 0; at <= position && at < order.size(); ++at)
        count += hits.contains(order.idAt(at)) ? 1 : 0;
    return count;
}

} // namespace qm
