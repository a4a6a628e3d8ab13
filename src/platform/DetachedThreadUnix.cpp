#include "platform/DetachedThread.h"

#include <thread>

namespace qm {

void runDetached(std::function<void()> task)
{
    std::thread(std::move(task)).detach();
}

} // namespace qm
