#include "engine/rows/RowCells.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

namespace qm {

namespace {

using Kind = Value::Kind;

constexpr double kBeyondIntegers = 9223372036854775808.0;

/// The integer that \p real is; nothing when it is none.
std::optional<std::int64_t> integerOf(double real)
{
    if (!(real >= -kBeyondIntegers && real < kBeyondIntegers) || real != std::trunc(real))
        return std::nullopt;
    return static_cast<std::int64_t>(real);
}

int sign(auto left, auto right)
{
    return left < right ? -1 : left > right ? 1 : 0;
}

int compareReals(double left, double right)
{
    if (std::isnan(left) || std::isnan(right))
        return sign(std::isnan(right), std::isnan(left));
    return sign(left, right);
}

int compareMixed(std::int64_t integer, double real)
{
    if (std::isnan(real) || real < -kBeyondIntegers)
        return 1;
    if (real >= kBeyondIntegers)
        return -1;
    const double whole = std::trunc(real);
    if (const int order = sign(integer, static_cast<std::int64_t>(whole)); order != 0)
        return order;
    return sign(whole, real);
}

int compareBytes(std::string_view left, std::string_view right)
{
    return sign(left.compare(right), 0);
}

int classOf(Kind kind)
{
    switch (kind) {
    case Kind::Null:
        return 0;
    case Kind::Integer:
    case Kind::Real:
        return 1;
    case Kind::Text:
        return 2;
    case Kind::Blob:
        return 3;
    }
    return 0;
}

template <class Number>
void appendBytes(Number number, std::string &out)
{
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    out.append(bytes, sizeof number);
}

template <class Number>
Number takeNumber(const char *&at)
{
    Number number;
    std::memcpy(&number, at, sizeof number);
    at += sizeof number;
    return number;
}

template <class Number>
char *putNumber(Number number, char *out)
{
    std::memcpy(out, &number, sizeof number);
    return out + sizeof number;
}

/// Short lengths take one byte.
constexpr unsigned char kLongLength = 255;

char *putSize(std::size_t size, char *out)
{
    if (size < kLongLength) {
        *out++ = static_cast<char>(size);
        return out;
    }
    *out++ = static_cast<char>(kLongLength);
    return putNumber(std::uint64_t{size}, out);
}

std::size_t takeSize(const char *&at)
{
    const auto size = static_cast<unsigned char>(*at++);
    return size < kLongLength ? size : static_cast<std::size_t>(takeNumber<std::uint64_t>(at));
}

std::size_t packedSize(const Value &value)
{
    switch (value.kind) {
    case Kind::Null:
        return 1;
    case Kind::Integer:
    case Kind::Real:
        return 1 + sizeof(std::int64_t);
    case Kind::Text:
    case Kind::Blob:
        return 1 + (value.size < kLongLength ? 1 : 1 + sizeof(std::uint64_t)) + value.size;
    }
    return 1;
}

char *putCell(const Value &value, char *out)
{
    *out++ = static_cast<char>(value.kind);
    switch (value.kind) {
    case Kind::Null:
        break;
    case Kind::Integer:
        return putNumber(value.integer, out);
    case Kind::Real:
        return putNumber(value.real, out);
    case Kind::Text:
    case Kind::Blob:
        out = putSize(value.size, out);
        if (value.size > 0)
            std::memcpy(out, value.data, value.size);
        return out + value.size;
    }
    return out;
}

Value takeCell(const char *&at)
{
    const auto kind = static_cast<Kind>(*at++);
    Value value;
    value.kind = kind;
    switch (kind) {
    case Kind::Null:
        break;
    case Kind::Integer:
        value.integer = takeNumber<std::int64_t>(at);
        break;
    case Kind::Real:
        value.real = takeNumber<double>(at);
        break;
    case Kind::Text:
    case Kind::Blob:
        value.size = takeSize(at);
        value.data = at;
        at += value.size;
        break;
    }
    return value;
}

} // namespace

void appendKey(const Value &value, std::string &out)
{
    switch (value.kind) {
    case Kind::Null:
        out += 'n';
        return;
    case Kind::Integer:
        out += 'i';
        appendBytes(value.integer, out);
        return;
    case Kind::Real:
        if (const auto integer = integerOf(value.real)) {
            out += 'i';
            appendBytes(*integer, out);
        } else if (std::isnan(value.real)) {
            out += 'x';
        } else {
            out += 'r';
            appendBytes(value.real, out);
        }
        return;
    case Kind::Text:
    case Kind::Blob:
        out += value.kind == Kind::Text ? 't' : 'b';
        appendBytes(std::uint64_t{value.size}, out);
        out.append(value.text());
        return;
    }
}

bool isSameValue(const Value &left, const Value &right)
{
    return compareValues(left, right) == 0;
}

int compareValues(const Value &left, const Value &right)
{
    if (left.kind == right.kind) {
        switch (left.kind) {
        case Kind::Null:
            return 0;
        case Kind::Integer:
            return sign(left.integer, right.integer);
        case Kind::Real:
            return compareReals(left.real, right.real);
        case Kind::Text:
        case Kind::Blob:
            return compareBytes(left.text(), right.text());
        }
    }
    if (left.kind == Kind::Integer && right.kind == Kind::Real)
        return compareMixed(left.integer, right.real);
    if (left.kind == Kind::Real && right.kind == Kind::Integer)
        return -compareMixed(right.integer, left.real);
    return sign(classOf(left.kind), classOf(right.kind));
}

void OwnedValue::set(const Value &value)
{
    m_value = value;
    m_value.data = nullptr;
    if (value.size > 0)
        m_bytes.assign(value.data, value.size);
    else
        m_bytes.clear();
}

Value OwnedValue::view() const
{
    Value value = m_value;
    value.data = m_bytes.data();
    value.size = m_bytes.size();
    return value;
}

RowPacker::RowPacker(std::size_t columns, std::span<const std::size_t> keys) : m_order(keys.begin(), keys.end()), m_keys(keys.size())
{
    for (std::size_t i = 0; i < columns; ++i)
        if (std::find(keys.begin(), keys.end(), i) == keys.end())
            m_order.push_back(i);
}

void RowPacker::pack(std::span<const Value> row, std::vector<char> &out) const
{
    std::size_t size = kLength;
    for (const std::size_t column : m_order)
        size += packedSize(row[column]);
    const std::size_t at = out.size();
    out.resize(at + size);
    char *to = putNumber(std::uint64_t{size}, out.data() + at);
    for (const std::size_t column : m_order)
        to = putCell(row[column], to);
}

std::size_t RowPacker::length(const char *packed)
{
    return static_cast<std::size_t>(takeNumber<std::uint64_t>(packed));
}

void RowPacker::unpackKeys(const char *packed, std::span<Value> keys) const
{
    packed += kLength;
    for (std::size_t i = 0; i < m_keys; ++i)
        keys[i] = takeCell(packed);
}

void RowPacker::unpack(const char *packed, std::span<Value> row) const
{
    packed += kLength;
    for (const std::size_t column : m_order)
        row[column] = takeCell(packed);
}

} // namespace qm
