/// \file
/// How many different values there are, exactly.
#pragma once

#include "documents/Value.h"
#include "sqlite/Sqlite.h"

#include <cstdint>
#include <string>
#include <unordered_set>

namespace qm {

/// Counts different values. They are held in memory up to a bound and beyond it in a temporary database that nobody else can open and that
/// goes with the process.
class DistinctCounter final
{
public:
    static constexpr std::size_t kMemory = std::size_t{8} << 20;

    /// \p memory: bytes.
    explicit DistinctCounter(std::size_t memory = kMemory) : m_memory(memory) {}

    /// NULL does not count. \throws RuntimeError 61, 57.
    void add(const Value &value);
    [[nodiscard]] std::int64_t count();
    void clear();

private:
    void spill();

    std::size_t m_memory, m_bytes = 0;
    std::unordered_set<std::string> m_held;
    std::string m_key;
    sqlite::Connection m_database; ///< null while all values are held; before its statement
    sqlite::Statement m_insert;
    std::int64_t m_spilled = 0; ///< in the database
};

} // namespace qm
