/// \file
/// The test program itself as a second process: it plays the part that its main() finds behind "--child".
#pragma once

#include <QCoreApplication>
#include <QProcess>

#include <cstdio>

namespace qm::test {

/// Ends with the test at the latest, by being killed.
class SecondProcess final
{
public:
    explicit SecondProcess(const QStringList &part)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationFilePath(), QStringList(QStringLiteral("--child")) + part);
    }
    ~SecondProcess() { kill(); }
    SecondProcess(const SecondProcess &) = delete;
    SecondProcess &operator=(const SecondProcess &) = delete;

    /// \returns whether it has called sayReady(), or does so in time.
    [[nodiscard]] bool isReady() { return m_process.waitForReadyRead(kPatienceMs) && m_process.readLine().trimmed() == "ready"; }
    /// Lets it leave waitForGo().
    void go()
    {
        m_process.write("go\n");
        m_process.waitForBytesWritten(kPatienceMs);
    }
    /// \returns its exit code; -1 when it did not end by itself.
    [[nodiscard]] int end()
    {
        return m_process.waitForFinished(kPatienceMs) && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    /// Ends it without a chance to clean up.
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(kPatienceMs);
    }

    /// \returns the part that this process plays; empty in the test itself.
    [[nodiscard]] static QStringList part()
    {
        const QStringList arguments = QCoreApplication::arguments();
        return arguments.value(1) == QStringLiteral("--child") ? arguments.mid(2) : QStringList();
    }
    /// Called in the second process.
    static void sayReady()
    {
        std::fputs("ready\n", stdout);
        std::fflush(stdout);
    }
    /// Called in the second process: waits for go(), or for the end of the test.
    static void waitForGo() { static_cast<void>(std::getchar()); }

private:
    static constexpr int kPatienceMs = 30'000;

    QProcess m_process;
};

} // namespace qm::test
