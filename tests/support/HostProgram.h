/// \file
/// Programs of the machine on which the tests run: readers of the files that were made, servers. A test for Windows that runs under Wine
/// uses those of the machine around Wine; on Windows itself there are none.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

namespace qm::test {

struct HostResult
{
    int code = -1;       ///< -1: it did not start, or did not end by itself within two minutes
    QByteArray out, err; ///< \c err says what happened when it did not start
};

/// Runs \p program to its end.
[[nodiscard]] HostResult runHost(const QString &program, const QStringList &arguments);
/// Runs \p program to its end. \returns what it printed; null when it failed, and then says why in a warning.
[[nodiscard]] QByteArray outputOf(const QString &program, const QStringList &arguments);
/// Whether \p program can be found.
[[nodiscard]] bool hostHas(const QString &program);
/// Whether Debian's Python has \p module.
[[nodiscard]] bool hasPythonModule(const QString &module);

/// A program that goes on beside the test, and ends with it at the latest.
class HostProcess final
{
public:
    HostProcess();
    ~HostProcess();
    HostProcess(const HostProcess &) = delete;
    HostProcess &operator=(const HostProcess &) = delete;

    void start(const QString &program, const QStringList &arguments);
    /// Waits \p ms for more of what it prints, on either stream. \returns all that has come so far.
    const QByteArray &wait(int ms);
    [[nodiscard]] bool isRunning() const;
    /// Why it did not start; empty when it did.
    [[nodiscard]] QString problem() const;
    /// Asks it to end, and ends it when it does not.
    void stop();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm::test
