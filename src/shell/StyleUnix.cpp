#include "shell/Style.h"

namespace qm {

/// The desktop's own style stays.
void chooseStyle() {}

} // namespace qm
