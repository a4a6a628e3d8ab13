/// \file
/// The rows of the look-up tables.
#pragma once

#include "importing/EventSchema.h"

#include <string>

namespace qm {

/// SQL that fills the look-up tables of a new database.
[[nodiscard]] std::string lookupRowsSql(EventKind kind);

} // namespace qm
