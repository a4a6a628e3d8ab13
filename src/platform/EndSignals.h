/// \file
/// The signals by which a program without a window is asked to end.
#pragma once

namespace qm {

/// Has \p handler called, as a signal is, when the keyboard or the system asks this program to end, or its terminal goes away.
void handleEndSignals(void (*handler)(int));

} // namespace qm
