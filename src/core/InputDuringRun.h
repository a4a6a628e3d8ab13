/// \file
/// Which windows take input while the operator's own report is being produced.
#pragma once

namespace qm {

/// A dynamic property, true for windows that keep their input then.
inline constexpr char kInputDuringRun[] = "inputDuringRun";

} // namespace qm
