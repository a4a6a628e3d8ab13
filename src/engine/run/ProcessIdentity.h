/// \file
/// Which process a ledger row belongs to, so that a row left by a dead one can be told from a running one.
#pragma once

#include <QString>

namespace qm {

/// A process of this host. The start tells a process from a later one with the same number; empty where the system does not say.
struct ProcessIdentity
{
    QString host;
    qint64 pid = 0;
    QString start;
};

[[nodiscard]] ProcessIdentity thisProcess();
/// Whether the process still runs. A process of another host counts as running: nothing is known of it.
[[nodiscard]] bool isRunning(const ProcessIdentity &process);

} // namespace qm
