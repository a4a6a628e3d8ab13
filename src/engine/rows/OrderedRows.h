/// \file
/// Rows in the order of their groups, however many there are.
#pragma once

#include "engine/rows/CancelFlag.h"
#include "engine/rows/RowCells.h"
#include "engine/rows/RowSource.h"
#include "engine/rows/ScratchFile.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qm {

/// In which order the groups of one level stand.
enum class KeyOrder : std::uint8_t {
    Automatic,  ///< as the rows come where they come grouped on every level, else ascending
    Ascending,  ///< as compareValues()
    Descending, ///< the same, the other way round; NULL comes last
    Rows,       ///< as the first row of each comes
};

struct RowKey
{
    std::size_t column = 0;
    KeyOrder order = KeyOrder::Automatic;
};

struct OrderingLimits
{
    static constexpr std::size_t kMemory = std::size_t{16} << 20, kGroups = std::size_t{1} << 20;
    std::size_t memory = kMemory; ///< bytes of rows that are held at once; what is more lies on disk
    /// So many groups are remembered to see whether one returns (beyond it rows count as not grouped) and to keep the order in which they
    /// came (those beyond it follow the others, ascending).
    std::size_t groups = kGroups;
};

/// Reads all rows of a source and gives them again, those with equal keys together. Stable: rows of one group stay in the order in which
/// they came. Rows that fit into the memory stay there; others lie in a private temporary file and are merged from it.
class OrderedRows final : public RowSource
{
public:
    using Seen = std::function<void(std::span<const Value>)>;

    /// \p keys: at least one, the outermost first. \p seen is given each row once, as it is read; may be empty. \p source, \p limits must
    /// outlive it. \throws RuntimeError as the source and \p limits do, 61 when the disk is full.
    OrderedRows(RowSource &source, std::vector<RowKey> keys, const RunLimits &limits, const Seen &seen = {},
                const OrderingLimits &bounds = {});
    ~OrderedRows() override;

    [[nodiscard]] std::span<const ResultColumn> columns() const override { return m_source.columns(); }
    bool next(std::span<Value> row) override;
    /// Whether rows come in another order than the source gave them.
    [[nodiscard]] bool isReordered() const { return m_sorting; }

private:
    /// A group's rows within one run, by the first of them.
    struct Head
    {
        std::vector<Value> keys;
        std::vector<std::uint32_t> ranks; ///< of levels that stand in the order of the rows
    };
    struct Level
    {
        KeyOrder order = KeyOrder::Automatic;
        std::string key;                                       ///< of the row before
        std::uint64_t path = 0;                                ///< of that row: this level's key and those above it
        std::unordered_set<std::uint64_t> left;                ///< paths that have ended, below the group above
        std::unordered_map<std::uint64_t, std::uint32_t> rank; ///< of each path, when it came first
    };
    class Run;

    void take(std::span<const Value> row);
    [[nodiscard]] bool comesInOrder(std::span<const Value> row);
    void keepRanks(std::size_t from);
    void beginSorting();
    void index(std::size_t offset);
    void flush();
    void sortChunk();
    void writeSortedRun();
    void mergeRuns();
    void advance(std::unique_ptr<Run> &run);
    void fillHead(const char *packed, Head &head) const;
    [[nodiscard]] int compare(const Head &left, const Head &right) const;
    bool nextOfChunk(std::span<Value> row);
    bool nextOfFile(std::span<Value> row);
    bool nextOfRuns(std::span<Value> row);

    RowSource &m_source;
    const RunLimits &m_limits;
    OrderingLimits m_bounds;
    RowPacker m_packer;
    std::vector<std::size_t> m_keyColumns;
    std::vector<Level> m_levels;
    std::vector<OwnedValue> m_before; ///< keys of the row before
    std::string m_scratch;
    bool m_any = false, m_sorting = false, m_ranked = false;
    std::size_t m_kept = 0; ///< entries of all the levels' tables

    std::vector<char> m_chunk;                               ///< packed rows
    std::vector<std::size_t> m_rows;                         ///< sorting: where the chunk's rows begin, as they came
    std::vector<std::uint32_t> m_groupOf;                    ///< sorting: the group of each
    std::unordered_map<std::string, std::uint32_t> m_groups; ///< sorting: the chunk's groups
    std::vector<std::size_t> m_firstOf;                      ///< sorting: where the first row of each group begins
    std::size_t m_groupBytes = 0;

    std::unique_ptr<ScratchFile> m_file;
    struct Extent
    {
        std::int64_t from = 0, to = 0;
    };
    std::vector<Extent> m_extents;            ///< of sorted runs, in the order in which their rows came
    std::vector<std::unique_ptr<Run>> m_runs; ///< a heap, the next first
    std::unique_ptr<Run> m_current;           ///< the run whose group is being given
    std::unique_ptr<Run> m_arrived;           ///< the file's rows where they came in order
    std::size_t m_at = 0;                     ///< the next row: its offset in the chunk, or its place in m_rows
    std::int64_t m_given = 0;
};

} // namespace qm
