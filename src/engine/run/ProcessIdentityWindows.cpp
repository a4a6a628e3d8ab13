#include "engine/run/ProcessIdentity.h"

#include <QSysInfo>

#include <windows.h>

namespace qm {

namespace {

QString startOf(HANDLE process)
{
    FILETIME created, ended, kernel, user;
    if (!GetProcessTimes(process, &created, &ended, &kernel, &user))
        return {};
    return QString::number((static_cast<quint64>(created.dwHighDateTime) << 32) | created.dwLowDateTime);
}

} // namespace

ProcessIdentity thisProcess()
{
    return {QSysInfo::machineHostName(), static_cast<qint64>(GetCurrentProcessId()), startOf(GetCurrentProcess())};
}

bool isRunning(const ProcessIdentity &process)
{
    if (process.host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) != 0)
        return true;
    const HANDLE handle = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(process.pid));
    if (!handle)
        return GetLastError() == ERROR_ACCESS_DENIED;
    DWORD exitCode = 0;
    const bool alive = GetExitCodeProcess(handle, &exitCode) && exitCode == STILL_ACTIVE;
    const QString start = startOf(handle);
    CloseHandle(handle);
    return alive && (start.isEmpty() || process.start.isEmpty() || start == process.start);
}

} // namespace qm
