/// \file
/// The seam for the connection test.
#pragma once

#include <QString>

namespace qm {

/// Opens a connection as the data source dialog's test asks, and closes it again.
class ConnectionTester
{
public:
    virtual ~ConnectionTester() = default;
    /// \p connectionString is an OLE DB connection string. \throws RuntimeError whose description says what the server or driver said.
    virtual void testConnection(const QString &connectionString) = 0;
};

} // namespace qm
