#include "platform/AccessListWindows.h"
#include "platform/SystemFileWindows.h"
#include "platform/TemporaryFiles.h"
#include "platform/TemporaryFilesSystem.h"

namespace qm {

void holdTemporary(int) {}

bool removeUnheld(const QString &path)
{
    return DeleteFileW(win::native(path).c_str()) != 0;
}

bool isOwn(const QString &path)
{
    return win::entryAt(path) && win::belongsToTrusted(win::native(path));
}

/// Temporary folders are the user's own here.
bool isPrivateFolder(const QString &path)
{
    const auto entry = win::entryAt(path);
    return entry && entry->isFolder() && win::belongsToTrusted(win::native(path));
}

} // namespace qm
