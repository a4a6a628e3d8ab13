/// \file
/// Standard input as it comes.
#pragma once

namespace qm {

/// From now on standard input gives the bytes that were sent: Windows would end it at a Ctrl+Z and change the ends of lines.
void useStandardInputBytes();

} // namespace qm
