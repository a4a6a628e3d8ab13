#include "platform/DetachedThread.h"

#include <cerrno>
#include <memory>
#include <system_error>

#include <process.h>
#include <windows.h>

namespace qm {

namespace {

unsigned __stdcall runTask(void *task) noexcept
{
    (*std::unique_ptr<std::function<void()>>(static_cast<std::function<void()> *>(task)))();
    return 0;
}

} // namespace

/// Not std::thread::detach: with winpthreads 10.0 a thread now and then never runs its function, or runs it with the argument gone, once
/// others before it were detached. Joined threads and the C runtime's own have never been seen to.
void runDetached(std::function<void()> task)
{
    auto owned = std::make_unique<std::function<void()>>(std::move(task));
    const uintptr_t thread = _beginthreadex(nullptr, 0, runTask, owned.get(), 0, nullptr);
    if (thread == 0)
        throw std::system_error(errno, std::generic_category(), "no thread");
    static_cast<void>(owned.release());
    CloseHandle(reinterpret_cast<HANDLE>(thread)); // NOLINT(performance-no-int-to-ptr): the runtime tells handles as numbers
}

} // namespace qm
