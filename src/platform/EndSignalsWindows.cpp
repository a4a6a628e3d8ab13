#include "platform/EndSignals.h"

#include <csignal>

namespace qm {

void handleEndSignals(void (*handler)(int))
{
    std::signal(SIGINT, handler);
    std::signal(SIGTERM, handler);
}

} // namespace qm
