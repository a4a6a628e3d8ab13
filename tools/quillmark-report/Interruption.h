/// \file
/// Ctrl+C as a cancel of the running report.
#pragma once

#include "reporting/engine/CancelFlag.h"

#include <memory>
#include <thread>

namespace qm {

/// While it lives, an interrupt or termination signal cancels \c flag.
class Interruption final
{
public:
    explicit Interruption(std::shared_ptr<CancelFlag> flag);

private:
    std::jthread m_watcher; ///< a signal handler itself may call next to nothing
};

} // namespace qm
