#include "support/ServerProcess.h"

#include <QElapsedTimer>

namespace qm::test {

namespace {

constexpr int kStartMs = 15'000, kStopMs = 5000, kRunMs = 60'000;

} // namespace

QString serverScript(const QString &script)
{
    return qEnvironmentVariable("QM_SOURCE_DIR") + QStringLiteral("/tests/servers/") + script;
}

bool ServerProcess::start(const QString &script, const QStringList &arguments)
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    // Another Python in the path may lack Debian's modules.
    if (script.endsWith(QStringLiteral(".py")))
        m_process.start(QStringLiteral("/usr/bin/python3"), QStringList(serverScript(script)) + arguments);
    else
        m_process.start(serverScript(script), arguments);
    QElapsedTimer elapsed;
    elapsed.start();
    QByteArray said;
    while (elapsed.elapsed() < kStartMs && m_process.state() != QProcess::NotRunning) {
        m_process.waitForReadyRead(200);
        said += m_process.readAll();
        const qsizetype ready = said.indexOf("READY ");
        if (ready < 0 || said.indexOf('\n', ready) < 0)
            continue;
        for (const QByteArray &pair : said.mid(ready + 6, said.indexOf('\n', ready) - ready - 6).split(' '))
            m_values.insert(QString::fromUtf8(pair.left(pair.indexOf('='))), QString::fromUtf8(pair.mid(pair.indexOf('=') + 1)));
        return true;
    }
    m_problem = script + QStringLiteral(" did not start: ") + QString::fromUtf8(said) + m_process.errorString();
    return false;
}

void ServerProcess::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(kStopMs)) {
        m_process.kill();
        m_process.waitForFinished(kStopMs);
    }
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (process.waitForFinished(kRunMs) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return "" + process.readAllStandardOutput(); // never null
    fprintf(stderr, "%s: %s%s\n", qPrintable(program), process.readAllStandardError().constData(), qPrintable(process.errorString()));
    return {};
}

bool hasPythonModule(const QString &module)
{
    QProcess process;
    process.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), QStringLiteral("import ") + module});
    return process.waitForFinished(kRunMs) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace qm::test
