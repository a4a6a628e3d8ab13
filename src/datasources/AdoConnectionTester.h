/// \file
/// The connection test behind the data source editor.
#pragma once

#include "datasources/ConnectionTester.h"

#include <chrono>

namespace qm {

/// Opens an OLE DB connection string.
///
/// On Windows ADO does, on the calling thread, with the deadline as its ConnectionTimeout. Where ADO or the provider is not installed, and
/// elsewhere than on Windows, the string is carried out through ODBC: read by ADO's rules, its provider answered by the best driver that is
/// installed. That test ends within its deadline even when name service, driver or server are silent; the thread that still waits for them
/// is left behind and frees what it holds by itself.
class AdoConnectionTester final : public ConnectionTester
{
public:
    static constexpr std::chrono::milliseconds kDeadline = std::chrono::seconds(15);

    explicit AdoConnectionTester(std::chrono::milliseconds deadline = kDeadline) : m_deadline(deadline) {}
    /// \throws RuntimeError: through ODBC reportFailed, with the step that failed (driver, server name, network, log-in, database), the
    /// server's own words and number, what to do, and what else was said; by ADO with the number and words that the provider reported. The
    /// password is not in them.
    void testConnection(const QString &connectionString) override;

private:
    std::chrono::milliseconds m_deadline;
};

} // namespace qm
