#include "support/ServerProcess.h"

#include <QElapsedTimer>

namespace qm::test {

namespace {

constexpr int kStartMs = 15'000;

} // namespace

QString serverScript(const QString &script)
{
    return qEnvironmentVariable("QM_SOURCE_DIR") + QStringLiteral("/tests/servers/") + script;
}

bool ServerProcess::start(const QString &script, const QStringList &arguments)
{
    // Another Python in the path may lack Debian's modules.
    if (script.endsWith(QStringLiteral(".py")))
        m_process.start(QStringLiteral("/usr/bin/python3"), QStringList(serverScript(script)) + arguments);
    else
        m_process.start(serverScript(script), arguments);
    QElapsedTimer elapsed;
    elapsed.start();
    QByteArray said;
    while (elapsed.elapsed() < kStartMs && m_process.isRunning()) {
        said = m_process.wait(200);
        const qsizetype ready = said.indexOf("READY ");
        if (ready < 0 || said.indexOf('\n', ready) < 0)
            continue;
        for (const QByteArray &pair : said.mid(ready + 6, said.indexOf('\n', ready) - ready - 6).split(' '))
            m_values.insert(QString::fromUtf8(pair.left(pair.indexOf('='))), QString::fromUtf8(pair.mid(pair.indexOf('=') + 1)));
        return true;
    }
    m_problem = script + QStringLiteral(" did not start: ") + QString::fromUtf8(m_process.wait(0)) + m_process.problem();
    return false;
}

} // namespace qm::test
