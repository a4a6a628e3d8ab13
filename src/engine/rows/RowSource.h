/// \file
/// Where report rows come from, one row at a time.
#pragma once

#include "documents/Value.h"

#include <span>
#include <string>
#include <vector>

namespace qm {

struct ResultColumn
{
    std::string name;
    std::string declaredType; ///< as the database declares it, upper case; empty for expressions
};

/// A result being read. next() is called until it gives false; each row's values live until the next call.
/// The database's own errors are RuntimeError reportFailed with the database's words and, for SQL errors, the line.
class RowSource
{
public:
    virtual ~RowSource() = default;
    [[nodiscard]] virtual std::span<const ResultColumn> columns() const = 0;
    /// Fills \p row (one value per column). \returns false after the last row. \throws RuntimeError cancelledByOperator when cancelled.
    virtual bool next(std::span<Value> row) = 0;
};

} // namespace qm
