#include "datasources/AdoConnectionTester.h"

#include "core/RuntimeError.h"
#include "odbc/Connection.h"

namespace qm {

void AdoConnectionTester::testConnection(const QString &connectionString)
{
    if (const auto failure = odbc::testConnecting(odbc::Endpoint::ofAdo(connectionString), m_deadline))
        throw RuntimeError(err::reportFailed, *failure);
}

} // namespace qm
