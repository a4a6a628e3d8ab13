/// \file
/// Cells compared, told apart and packed into bytes.
#pragma once

#include "documents/Value.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qm {

/// Appends to \p out bytes that are the same for equal values and for no others: 1 equals 1.0, NULL equals NULL, a text no number.
void appendKey(const Value &value, std::string &out);
/// The same for the text of a date, a number and so on: by value and kind, without making bytes.
[[nodiscard]] bool isSameValue(const Value &left, const Value &right);
/// Below zero, zero, above zero. NULL comes first, then numbers by value (exactly, also integers beside reals; NaN before all others), then
/// texts by their bytes, then blobs.
[[nodiscard]] int compareValues(const Value &left, const Value &right);

/// A value with bytes of its own.
class OwnedValue final
{
public:
    OwnedValue() = default;
    explicit OwnedValue(const Value &value) { set(value); }

    void set(const Value &value);
    /// Its bytes live as long as this object is not changed.
    [[nodiscard]] Value view() const;

private:
    Value m_value;
    std::string m_bytes;
};

/// Packs rows into bytes and out of them: the columns that matter for the order first, so that they are read without the rest.
class RowPacker final
{
public:
    /// \p keys: columns among \p columns (their number).
    RowPacker(std::size_t columns, std::span<const std::size_t> keys);

    /// Appends \p row. A packed row begins with its whole length.
    void pack(std::span<const Value> row, std::vector<char> &out) const;
    /// The length of the packed row that begins at \p packed, of which kLength bytes must be there.
    [[nodiscard]] static std::size_t length(const char *packed);
    static constexpr std::size_t kLength = sizeof(std::uint64_t);
    /// The key columns of a packed row, in the order of the keys; the bytes of the values are those at \p packed.
    void unpackKeys(const char *packed, std::span<Value> keys) const;
    /// All columns, each in its place.
    void unpack(const char *packed, std::span<Value> row) const;

private:
    std::vector<std::size_t> m_order; ///< at each packed place, the column
    std::size_t m_keys;
};

} // namespace qm
