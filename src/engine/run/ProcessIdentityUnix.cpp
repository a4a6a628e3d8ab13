#include "engine/run/ProcessIdentity.h"

#include <QFile>
#include <QSysInfo>

#include <cerrno>

#include <signal.h>
#include <unistd.h>

namespace qm {

namespace {

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The boot's id and the start in clock ticks since it; empty where there is no /proc.
QString startOf(qint64 pid)
{
    const QByteArray stat = contents(QStringLiteral("/proc/%1/stat").arg(pid));
    // The second field is the program's name in parentheses and may hold blanks; the start is the twentieth after it.
    const auto fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 20)
        return {};
    return QString::fromLatin1(contents(QStringLiteral("/proc/sys/kernel/random/boot_id")).trimmed() + ':' + fields.at(19));
}

} // namespace

ProcessIdentity thisProcess()
{
    return {QSysInfo::machineHostName(), getpid(), startOf(getpid())};
}

bool isRunning(const ProcessIdentity &process)
{
    if (process.host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) != 0)
        return true;
    if (process.pid <= 0 || (kill(static_cast<pid_t>(process.pid), 0) != 0 && errno == ESRCH))
        return false;
    const QString start = startOf(process.pid);
    return start.isEmpty() || process.start.isEmpty() || start == process.start;
}

} // namespace qm
