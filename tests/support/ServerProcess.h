/// \file
/// A server that a test starts for itself, and stops.
#pragma once

#include "support/HostProgram.h"

#include <QMap>

namespace qm::test {

/// Starts a program of tests/servers that prints "READY name=value name=value ..." once it serves, and kills it at the end.
class ServerProcess final
{
public:
    ServerProcess() = default;
    ~ServerProcess() { stop(); }
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;

    /// \p script lies in tests/servers. \returns whether it serves; else problem() says why not.
    bool start(const QString &script, const QStringList &arguments);
    void stop() { m_process.stop(); }
    /// All that it has printed so far.
    [[nodiscard]] QByteArray said() { return m_process.wait(0); }
    [[nodiscard]] QString value(const QString &name) const { return m_values.value(name); }
    [[nodiscard]] int port(const QString &name) const { return value(name).toInt(); }
    [[nodiscard]] const QString &problem() const { return m_problem; }

private:
    HostProcess m_process;
    QMap<QString, QString> m_values;
    QString m_problem;
};

/// The path of \p script in tests/servers.
[[nodiscard]] QString serverScript(const QString &script);

} // namespace qm::test
