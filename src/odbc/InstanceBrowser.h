/// \file
/// Finds the TCP port of a named SQL Server instance.
#pragma once

#include "odbc/Diagnostics.h"

#include <QString>

#include <chrono>
#include <optional>

namespace qm::odbc {

struct InstanceAnswer
{
    int port = 0;
    std::optional<ConnectFailure> failure;
};

/// Asks the SQL Server Browser of \p host (UDP 1434, "SQL Server Resolution Protocol") which port \p instance listens on. Waits at most
/// \p patience for its answer. May be called on any thread.
[[nodiscard]] InstanceAnswer askForInstance(const QString &host, const QString &instance, std::chrono::milliseconds patience);

} // namespace qm::odbc
