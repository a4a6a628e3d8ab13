/// \file
/// Addresses on loopback where nobody answers.
#pragma once

#include "support/ServerProcess.h"

namespace qm::test {

/// Accepts connections while it lives and never says a word; stop() closes its port.
class SilentServer final
{
public:
    explicit SilentServer(const QStringList &more = {}) { m_process.start(QStringLiteral("silent_server.py"), more); }
    void stop() { m_process.stop(); }

    /// Why it does not run; empty: it does.
    [[nodiscard]] const QString &problem() const { return m_process.problem(); }
    [[nodiscard]] int port() const { return m_process.port(QStringLiteral("port")); }
    /// The questions that came by UDP, one a line in hexadecimal digits; with --tell a line for each connection.
    [[nodiscard]] QByteArrayList questions()
    {
        QByteArrayList lines = m_process.said().trimmed().split('\n');
        lines.removeFirst(); // READY
        return lines;
    }

private:
    ServerProcess m_process;
};

/// A port that was free a moment ago; 0 when none can be had.
[[nodiscard]] inline int closedPort()
{
    SilentServer server;
    return server.port();
}

} // namespace qm::test
