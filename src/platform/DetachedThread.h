/// \file
/// Threads that nobody waits for.
#pragma once

#include <functional>

namespace qm {

/// Runs \p task on a thread of its own that ends by itself, or with the process. An exception that leaves the task ends the process.
/// Throws std::system_error when the system gives no thread.
void runDetached(std::function<void()> task);

} // namespace qm
