#include "engine/rows/OrderedRows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <numeric>
#include <string_view>

namespace qm {

namespace {

constexpr std::int64_t kRowsPerLook = 1024;
constexpr std::size_t kSmallestBuffer = std::size_t{1} << 14, kLargestBuffer = std::size_t{1} << 20;
/// What a row and a group cost beside their bytes while they are sorted.
constexpr std::size_t kPerRow = 2 * (sizeof(std::size_t) + sizeof(std::uint32_t)), kPerGroup = 96;
/// Before the rows of each group in a sorted run: how many there are.
constexpr std::size_t kGroupHead = sizeof(std::uint64_t);

std::uint64_t mixed(std::uint64_t path, std::string_view key)
{
    std::uint64_t hash = std::hash<std::string_view>()(key) ^ (path * 0x9E3779B97F4A7C15U);
    hash ^= hash >> 32;
    hash *= 0xD6E8FEB86659FD93U;
    return hash ^ (hash >> 32);
}

std::vector<std::size_t> columnsOf(std::span<const RowKey> keys)
{
    std::vector<std::size_t> columns;
    for (const RowKey &key : keys)
        columns.push_back(key.column);
    return columns;
}

QString purpose()
{
    return QStringLiteral("the rows in the order of their groups");
}

} // namespace

/// A part of the file, read from its beginning to its end.
class OrderedRows::Run final
{
public:
    Run(ScratchFile &file, Extent extent, std::size_t buffer, std::size_t place)
        : number(place), m_file(file), m_extent(extent), m_buffer(buffer)
    {
    }

    std::size_t number;     ///< runs whose rows came earlier have smaller ones
    std::uint64_t left = 0; ///< rows of the group at which the run stands
    Head head;

    [[nodiscard]] bool isAtEnd() const { return m_at == m_have && m_extent.from == m_extent.to; }
    /// \p bytes of what follows, which is there until the next call.
    [[nodiscard]] const char *peek(std::size_t bytes)
    {
        if (m_have - m_at < bytes)
            refill(bytes);
        return m_buffer.data() + m_at;
    }
    const char *take(std::size_t bytes)
    {
        const char *at = peek(bytes);
        m_at += bytes;
        return at;
    }
    [[nodiscard]] const char *peekRow() { return peek(RowPacker::length(peek(RowPacker::kLength))); }
    [[nodiscard]] const char *takeRow() { return take(RowPacker::length(peek(RowPacker::kLength))); }

private:
    void refill(std::size_t bytes)
    {
        std::memmove(m_buffer.data(), m_buffer.data() + m_at, m_have - m_at);
        m_have -= m_at;
        m_at = 0;
        m_buffer.resize(std::max(m_buffer.size(), bytes));
        const auto more = static_cast<std::size_t>(
            std::min<std::int64_t>(static_cast<std::int64_t>(m_buffer.size() - m_have), m_extent.to - m_extent.from));
        m_file.read(m_extent.from, {m_buffer.data() + m_have, more});
        m_extent.from += static_cast<std::int64_t>(more);
        m_have += more;
    }

    ScratchFile &m_file;
    Extent m_extent;
    std::vector<char> m_buffer;
    std::size_t m_at = 0, m_have = 0;
};

OrderedRows::OrderedRows(RowSource &source, std::vector<RowKey> keys, const RunLimits &limits, const Seen &seen,
                         const OrderingLimits &bounds)
    : m_source(source), m_limits(limits), m_bounds(bounds), m_packer(source.columns().size(), columnsOf(keys)),
      m_keyColumns(columnsOf(keys)), m_levels(keys.size()), m_before(keys.size())
{
    for (std::size_t i = 0; i < keys.size(); ++i) {
        m_levels[i].order = keys[i].order;
        m_ranked = m_ranked || keys[i].order == KeyOrder::Rows;
    }
    // Memory is used as rows come; this only keeps the chunk from being moved while it grows.
    m_chunk.reserve(m_bounds.memory + kLargestBuffer);
    std::vector<Value> row(source.columns().size());
    std::int64_t rows = 0;
    while (source.next(row)) {
        if (seen)
            seen(row);
        take(row);
        if (++rows % kRowsPerLook == 0)
            m_limits.check();
    }
    for (Level &level : m_levels)
        level.left.clear();
    if (!m_sorting) {
        if (m_file)
            m_arrived = std::make_unique<Run>(*m_file, Extent{0, m_file->size()}, kLargestBuffer, 0);
        return;
    }
    if (m_extents.empty()) {
        sortChunk();
    } else {
        flush();
        mergeRuns();
    }
}

OrderedRows::~OrderedRows() = default;

/// Looks at the keys of \p row beside those of the row before. \returns whether the rows so far come in the order asked for.
bool OrderedRows::comesInOrder(std::span<const Value> row)
{
    std::uint64_t path = 0;
    for (std::size_t i = 0; i < m_levels.size(); ++i) {
        Level &level = m_levels[i];
        const Value &key = row[m_keyColumns[i]];
        m_scratch.clear();
        appendKey(key, m_scratch);
        if (m_any && m_scratch == level.key) {
            path = level.path;
            continue;
        }
        bool inOrder = true;
        const std::uint64_t ended = level.path;
        for (std::size_t deeper = i; deeper < m_levels.size(); ++deeper) {
            Level &changed = m_levels[deeper];
            m_scratch.clear();
            appendKey(row[m_keyColumns[deeper]], m_scratch);
            changed.key = m_scratch;
            path = changed.path = mixed(path, m_scratch);
            if (deeper > i) {
                m_kept -= changed.left.size();
                if (!changed.left.empty())
                    changed.left = {};
            }
        }
        if (m_any && !m_sorting) {
            const int order = compareValues(key, m_before[i].view());
            switch (level.order) {
            case KeyOrder::Ascending:
                inOrder = order > 0;
                break;
            case KeyOrder::Descending:
                inOrder = order < 0;
                break;
            case KeyOrder::Automatic:
            case KeyOrder::Rows:
                m_kept += level.left.insert(ended).second ? 1 : 0;
                inOrder = !level.left.contains(level.path) && m_kept <= m_bounds.groups;
                break;
            }
        }
        if (!m_sorting)
            for (std::size_t deeper = i; deeper < m_levels.size(); ++deeper)
                m_before[deeper].set(row[m_keyColumns[deeper]]);
        keepRanks(i);
        m_any = true;
        return inOrder;
    }
    return true;
}

/// Remembers when the groups at which the row stands came first, on levels that are to stand so.
void OrderedRows::keepRanks(std::size_t from)
{
    for (std::size_t i = from; i < m_levels.size(); ++i) {
        Level &level = m_levels[i];
        if (level.order == KeyOrder::Rows && level.rank.size() < m_bounds.groups)
            level.rank.emplace(level.path, static_cast<std::uint32_t>(level.rank.size()));
    }
}

void OrderedRows::take(std::span<const Value> row)
{
    if ((!m_sorting || m_ranked) && !comesInOrder(row) && !m_sorting)
        beginSorting();
    const std::size_t offset = m_chunk.size();
    m_packer.pack(row, m_chunk);
    if (m_sorting)
        index(offset);
    if (m_chunk.size() + m_rows.size() * kPerRow + m_groupBytes >= m_bounds.memory)
        flush();
}

/// The rows so far came in order, and this has ended: what is on disk already is read again and sorted.
void OrderedRows::beginSorting()
{
    m_sorting = true;
    for (Level &level : m_levels)
        level.left.clear();
    if (!m_file) {
        for (std::size_t at = 0; at < m_chunk.size(); at += RowPacker::length(m_chunk.data() + at))
            index(at);
        return;
    }
    m_file->append(m_chunk);
    m_chunk.clear();
    const std::unique_ptr<ScratchFile> arrived = std::move(m_file);
    Run rows(*arrived, {0, arrived->size()}, kLargestBuffer, 0);
    std::int64_t read = 0;
    while (!rows.isAtEnd()) {
        const char *packed = rows.takeRow();
        const std::size_t offset = m_chunk.size();
        m_chunk.insert(m_chunk.end(), packed, packed + RowPacker::length(packed));
        index(offset);
        if (m_chunk.size() + m_rows.size() * kPerRow + m_groupBytes >= m_bounds.memory)
            flush();
        if (++read % kRowsPerLook == 0)
            m_limits.check();
    }
}

/// Finds the group of the chunk's row at \p offset.
void OrderedRows::index(std::size_t offset)
{
    std::array<Value, 8> few;
    std::vector<Value> many;
    std::span<Value> keys(few.data(), std::min(few.size(), m_levels.size()));
    if (m_levels.size() > few.size()) {
        many.resize(m_levels.size());
        keys = many;
    }
    m_packer.unpackKeys(m_chunk.data() + offset, keys);
    m_scratch.clear();
    for (const Value &key : keys)
        appendKey(key, m_scratch);
    const auto [group, isNew] = m_groups.try_emplace(m_scratch, static_cast<std::uint32_t>(m_firstOf.size()));
    if (isNew) {
        m_firstOf.push_back(offset);
        m_groupBytes += kPerGroup + m_scratch.size();
    }
    m_rows.push_back(offset);
    m_groupOf.push_back(group->second);
}

void OrderedRows::fillHead(const char *packed, Head &head) const
{
    head.keys.resize(m_levels.size());
    m_packer.unpackKeys(packed, head.keys);
    head.ranks.assign(m_levels.size(), 0);
    std::uint64_t path = 0;
    std::string bytes;
    for (std::size_t i = 0; i < m_levels.size(); ++i) {
        bytes.clear();
        appendKey(head.keys[i], bytes);
        path = mixed(path, bytes);
        if (m_levels[i].order != KeyOrder::Rows)
            continue;
        const auto found = m_levels[i].rank.find(path);
        head.ranks[i] = found == m_levels[i].rank.end() ? std::numeric_limits<std::uint32_t>::max() : found->second;
    }
}

int OrderedRows::compare(const Head &left, const Head &right) const
{
    for (std::size_t i = 0; i < m_levels.size(); ++i) {
        if (left.ranks[i] != right.ranks[i])
            return left.ranks[i] < right.ranks[i] ? -1 : 1;
        if (const int order = compareValues(left.keys[i], right.keys[i]); order != 0)
            return m_levels[i].order == KeyOrder::Descending ? -order : order;
    }
    return 0;
}

/// Puts the chunk's rows into order: groups by their keys, the rows of each as they came.
void OrderedRows::sortChunk()
{
    const std::size_t groups = m_firstOf.size();
    std::vector<Head> heads(groups);
    for (std::size_t i = 0; i < groups; ++i)
        fillHead(m_chunk.data() + m_firstOf[i], heads[i]);
    std::vector<std::uint32_t> order(groups);
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return compare(heads[a], heads[b]) < 0; });
    std::vector<std::size_t> placeOf(groups), next(groups + 1, 0), sorted(m_rows.size());
    for (std::size_t i = 0; i < groups; ++i)
        placeOf[order[i]] = i;
    for (const std::uint32_t group : m_groupOf)
        ++next[placeOf[group] + 1];
    std::partial_sum(next.begin(), next.end(), next.begin());
    std::vector<std::uint32_t> groupOf(m_rows.size());
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        const std::size_t to = next[placeOf[m_groupOf[i]]]++;
        sorted[to] = m_rows[i];
        groupOf[to] = m_groupOf[i];
    }
    m_rows = std::move(sorted);
    m_groupOf = std::move(groupOf);
}

/// Frees the memory for further rows.
void OrderedRows::flush()
{
    if (m_chunk.empty())
        return;
    if (!m_file)
        m_file = std::make_unique<ScratchFile>(purpose());
    if (m_sorting)
        writeSortedRun();
    else
        m_file->append(m_chunk);
    m_chunk.clear();
    m_rows.clear();
    m_groupOf.clear();
    m_groups.clear();
    m_firstOf.clear();
    m_groupBytes = 0;
}

void OrderedRows::writeSortedRun()
{
    sortChunk();
    const std::int64_t from = m_file->size();
    std::vector<char> out;
    const auto write = [&] {
        m_file->append(out);
        out.clear();
        m_limits.check();
    };
    for (std::size_t i = 0; i < m_rows.size();) {
        std::size_t end = i + 1;
        while (end < m_rows.size() && m_groupOf[end] == m_groupOf[i])
            ++end;
        const std::uint64_t rows = end - i;
        const auto *head = reinterpret_cast<const char *>(&rows);
        out.insert(out.end(), head, head + kGroupHead);
        for (; i < end; ++i) {
            const char *packed = m_chunk.data() + m_rows[i];
            out.insert(out.end(), packed, packed + RowPacker::length(packed));
            if (out.size() >= kLargestBuffer)
                write();
        }
    }
    write();
    m_extents.push_back({from, m_file->size()});
}

void OrderedRows::mergeRuns()
{
    const std::size_t buffer = std::clamp(m_bounds.memory / m_extents.size(), kSmallestBuffer, kLargestBuffer);
    std::vector<char>().swap(m_chunk);
    for (std::size_t i = 0; i < m_extents.size(); ++i) {
        auto run = std::make_unique<Run>(*m_file, m_extents[i], buffer, i);
        advance(run);
    }
}

/// Puts \p run, which stands before a group or at its end, where it belongs among the others.
void OrderedRows::advance(std::unique_ptr<Run> &run)
{
    if (run->isAtEnd()) {
        run.reset();
        return;
    }
    std::memcpy(&run->left, run->take(kGroupHead), kGroupHead);
    fillHead(run->peekRow(), run->head);
    m_runs.push_back(std::move(run));
    std::push_heap(m_runs.begin(), m_runs.end(), [&](const auto &a, const auto &b) {
        const int order = compare(a->head, b->head);
        return order > 0 || (order == 0 && a->number > b->number);
    });
}

bool OrderedRows::nextOfRuns(std::span<Value> row)
{
    if (m_current && m_current->left == 0)
        advance(m_current);
    if (!m_current) {
        if (m_runs.empty())
            return false;
        std::pop_heap(m_runs.begin(), m_runs.end(), [&](const auto &a, const auto &b) {
            const int order = compare(a->head, b->head);
            return order > 0 || (order == 0 && a->number > b->number);
        });
        m_current = std::move(m_runs.back());
        m_runs.pop_back();
    }
    --m_current->left;
    m_packer.unpack(m_current->takeRow(), row);
    return true;
}

bool OrderedRows::nextOfFile(std::span<Value> row)
{
    if (m_arrived->isAtEnd())
        return false;
    m_packer.unpack(m_arrived->takeRow(), row);
    return true;
}

bool OrderedRows::nextOfChunk(std::span<Value> row)
{
    if (m_sorting) {
        if (m_at == m_rows.size())
            return false;
        m_packer.unpack(m_chunk.data() + m_rows[m_at++], row);
        return true;
    }
    if (m_at == m_chunk.size())
        return false;
    const char *packed = m_chunk.data() + m_at;
    m_packer.unpack(packed, row);
    m_at += RowPacker::length(packed);
    return true;
}

bool OrderedRows::next(std::span<Value> row)
{
    if (++m_given % kRowsPerLook == 0)
        m_limits.check();
    if (!m_extents.empty())
        return nextOfRuns(row);
    return (m_arrived && nextOfFile(row)) || nextOfChunk(row);
}

} // namespace qm
