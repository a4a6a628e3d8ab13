#include "core/Globals.h"

namespace qm {

JobCollection &requireJobs(const Globals &globals)
{
    if (!globals.gcolJobs)
        raise(err::objectNotSet, QStringLiteral("the scheduled jobs of \"Jobs.cfg\" were not loaded at start-up, so nothing was changed; "
                                                "correct the error that start-up reported and start the program again"));
    return *globals.gcolJobs;
}

} // namespace qm
