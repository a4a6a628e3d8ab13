#include "support/HostProgram.h"

#include <QProcess>
#include <QStandardPaths>

namespace qm::test {

namespace {

constexpr int kRunMs = 120'000, kStopMs = 5000;

} // namespace

struct HostProcess::State
{
    QProcess process;
    QByteArray said;
};

HostProcess::HostProcess() = default;

HostProcess::~HostProcess()
{
    stop();
}

void HostProcess::start(const QString &program, const QStringList &arguments)
{
    m_state = std::make_unique<State>();
    m_state->process.setProcessChannelMode(QProcess::MergedChannels);
    m_state->process.start(program, arguments);
}

const QByteArray &HostProcess::wait(int ms)
{
    m_state->process.waitForReadyRead(ms);
    return m_state->said += m_state->process.readAll();
}

bool HostProcess::isRunning() const
{
    return m_state && m_state->process.state() != QProcess::NotRunning;
}

QString HostProcess::problem() const
{
    return m_state->process.error() == QProcess::FailedToStart ? m_state->process.errorString() : QString();
}

void HostProcess::stop()
{
    if (!isRunning())
        return;
    m_state->process.terminate();
    if (!m_state->process.waitForFinished(kStopMs)) {
        m_state->process.kill();
        m_state->process.waitForFinished(kStopMs);
    }
}

HostResult runHost(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(kRunMs) && process.exitStatus() == QProcess::NormalExit;
    if (!ended)
        return {-1, process.readAllStandardOutput(), process.readAllStandardError() + process.errorString().toUtf8()};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

bool hostHas(const QString &program)
{
    return !QStandardPaths::findExecutable(program).isEmpty();
}

} // namespace qm::test
