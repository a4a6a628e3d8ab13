/// \file
/// One cell of a result row, as it streams from the database to a writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

/// What a result column holds. Date and DateTime cells are ISO texts ("YYYY-MM-DD[ HH:MM:SS[.mmm]]").
enum class ColumnType : std::uint8_t { Text, Integer, Real, Boolean, Date, DateTime, Time, Blob };

/// A view of one cell; text and blob bytes belong to the row source and live until its next row.
/// Text is UTF-8 as the database gave it and may hold invalid sequences and NUL.
struct Value
{
    enum class Kind : std::uint8_t { Null, Integer, Real, Text, Blob };

    Kind kind = Kind::Null;
    union {
        std::int64_t integer = 0;
        double real;
    };
    const char *data = nullptr;
    std::size_t size = 0;

    [[nodiscard]] bool isNull() const { return kind == Kind::Null; }
    [[nodiscard]] std::string_view text() const { return {data, size}; }

    static Value ofNull() { return {}; }
    static Value of(std::int64_t number)
    {
        Value value;
        value.kind = Kind::Integer;
        value.integer = number;
        return value;
    }
    static Value of(double number)
    {
        Value value;
        value.kind = Kind::Real;
        value.real = number;
        return value;
    }
    static Value ofText(std::string_view text)
    {
        Value value;
        value.kind = Kind::Text;
        value.data = text.data();
        value.size = text.size();
        return value;
    }
    static Value ofBlob(std::string_view bytes)
    {
        Value value = ofText(bytes);
        value.kind = Kind::Blob;
        return value;
    }
};

} // namespace qm
