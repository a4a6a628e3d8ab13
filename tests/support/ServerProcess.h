/// \file
/// A server that a test starts for itself, and stops.
#pragma once

#include <QMap>
#include <QProcess>
#include <QString>

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
    void stop();
    [[nodiscard]] QString value(const QString &name) const { return m_values.value(name); }
    [[nodiscard]] int port(const QString &name) const { return value(name).toInt(); }
    [[nodiscard]] const QString &problem() const { return m_problem; }

private:
    QProcess m_process;
    QMap<QString, QString> m_values;
    QString m_problem;
};

/// The path of \p script in tests/servers.
[[nodiscard]] QString serverScript(const QString &script);
/// Runs a program to its end. \returns what it printed; null when it failed, and then says why on standard error.
[[nodiscard]] QByteArray outputOf(const QString &program, const QStringList &arguments);
/// Whether Debian's Python has \p module.
[[nodiscard]] bool hasPythonModule(const QString &module);

} // namespace qm::test
