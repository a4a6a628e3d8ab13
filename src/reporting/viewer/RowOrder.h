/// \file
/// In which order, and which of, a spool's rows are shown.
#pragma once

#include <QTemporaryFile>

#include <cstdint>
#include <memory>
#include <vector>

namespace qm {

/// Maps positions (from 0) to row numbers (from 1). Orders other than the original one lie in a mapped temporary file, so that memory does
/// not grow with the rows. Immutable once built; safe to read from several threads.
class RowOrder final
{
public:
    /// The rows 1 to \p rows as they came.
    static std::shared_ptr<const RowOrder> original(std::int64_t rows);

    [[nodiscard]] std::int64_t size() const { return m_size; }
    [[nodiscard]] bool isOriginal() const { return !m_file; }
    [[nodiscard]] std::int64_t idAt(std::int64_t position) const { return m_ids ? std::int64_t{m_ids[position]} : position + 1; }

private:
    friend class RowOrderBuilder;
    std::int64_t m_size = 0;
    std::unique_ptr<QTemporaryFile> m_file;
    const std::uint32_t *m_ids = nullptr;
};

/// Collects row numbers into an order.
class RowOrderBuilder final
{
public:
    RowOrderBuilder();
    /// \throws RuntimeError 61, 57.
    void add(std::int64_t id);
    [[nodiscard]] std::shared_ptr<const RowOrder> finish();

private:
    void flush();
    std::shared_ptr<RowOrder> m_order;
    std::vector<std::uint32_t> m_buffer;
};

/// The set of rows that a search found, one bit a row.
class RowHits final
{
public:
    explicit RowHits(std::int64_t rows) : m_bits(static_cast<std::size_t>(rows / 64 + 1)) {}
    void add(std::int64_t id)
    {
        m_bits[static_cast<std::size_t>(id / 64)] |= std::uint64_t{1} << (id % 64);
        ++m_count;
    }
    [[nodiscard]] bool contains(std::int64_t id) const { return (m_bits[static_cast<std::size_t>(id / 64)] >> (id % 64)) & 1; }
    [[nodiscard]] std::int64_t count() const { return m_count; }

private:
    std::vector<std::uint64_t> m_bits;
    std::int64_t m_count = 0;
};

/// The position of the next hit in \p order after \p position (before it when \p step is -1), going round at the end; -1 when there is
/// none.
[[nodiscard]] std::int64_t nextHit(const RowOrder &order, const RowHits &hits, std::int64_t position, int step);
/// How many hits there are in \p order up to and including \p position.
[[nodiscard]] std::int64_t hitsUpTo(const RowOrder &order, const RowHits &hits, std::int64_t position);

} // namespace qm
