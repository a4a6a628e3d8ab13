/// \file
/// Ctrl+C as a cancel of the running report.
#pragma once

#include "engine/rows/CancelFlag.h"

#include <chrono>
#include <memory>
#include <thread>

namespace qm {

/// While it lives, an interrupt or termination signal cancels \c flag. One that comes a second later ends the program at once, and so does
/// the patience when the run does not heed the first: it may wait for a pipe or a disk that never answers.
class Interruption final
{
public:
    explicit Interruption(std::shared_ptr<CancelFlag> flag, std::chrono::milliseconds patience = std::chrono::seconds(10));

private:
    std::jthread m_watcher; ///< a signal handler itself may call next to nothing
};

} // namespace qm
