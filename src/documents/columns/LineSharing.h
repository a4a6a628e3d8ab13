/// \file
/// Shares width among text columns so that a table's first rows take the fewest lines.
#pragma once

#include "documents/columns/ColumnFit.h"

namespace qm::columns {

struct Sharer
{
    const SampleTexts *texts = nullptr;
    Tenths least = 0; ///< its width without a share
};

/// \p room: what is to be shared. \returns the share of each; their sum is \p room, or 0 where nobody shares.
///
/// Each column begins as wide as its widest text; then the one whose narrowing costs the fewest lines gives way, step by step, until all
/// fit; then pairs exchange steps while that saves lines. A row is as high as its highest cell, so a column costs nothing where another one
/// is higher. The exact problem is one of combinations; this takes some hundred steps over the sample, whatever the texts.
[[nodiscard]] std::vector<Tenths> shareForFewestLines(std::span<const Sharer> sharers, Tenths room, Tenths letters);

} // namespace qm::columns
