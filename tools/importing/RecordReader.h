/// \file
/// What every log format's reader looks like to the importer.
#pragma once

#include "importing/EventRecord.h"

#include <QStringList>

namespace qm {

/// Reads one input, record by record.
class RecordReader
{
public:
    virtual ~RecordReader() = default;

    /// Fills \p record (cleared before) with the next event. \returns false after the last.
    /// \throws RuntimeError 321 when the input breaks its format; line() then tells where.
    virtual bool next(EventRecord &record) = 0;
    /// Line of the record last given, or of the fault, from 1.
    [[nodiscard]] virtual long long line() const = 0;
    /// What the operator should know about the input as a whole ("column ... is not known and was skipped").
    [[nodiscard]] virtual QStringList notes() const { return {}; }
};

} // namespace qm
