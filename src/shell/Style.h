/// \file
/// The look of the controls.
#pragma once

namespace qm {

/// Chooses the style of controls for this system; called once, when the application object stands.
void chooseStyle();

} // namespace qm
