#include "platform/ProgramStart.h"

namespace qm {

void prepareProgram() {}

/// The system keeps the command line in Unicode.
QString whyUnreadable(int, const char *const *)
{
    return {};
}

} // namespace qm
