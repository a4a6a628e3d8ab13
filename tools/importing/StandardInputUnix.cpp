#include "importing/StandardInput.h"

namespace qm {

void useStandardInputBytes()
{
    // It never gives anything else here.
}

} // namespace qm
