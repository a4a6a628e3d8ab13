/// \file
/// What every program of the suite does first.
#pragma once

#include <QString>

namespace qm {

/// A file that reaches the size the system allows is a failed write from now on, which is reported, and not the end of the program.
void prepareProgram();
/// Why the command line cannot be understood: an argument that is no text of the system's encoding would name another file than the one
/// meant. Empty when it can.
[[nodiscard]] QString whyUnreadable(int argc, const char *const *argv);

} // namespace qm
