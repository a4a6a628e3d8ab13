#include "platform/FileRights.h"

#include "platform/AccessListWindows.h"
#include "platform/SystemFileWindows.h"

namespace qm::files {

bool isTrusted(const QString &path)
{
    const auto entry = win::entryAt(path);
    return entry && win::belongsToTrusted(win::native(path));
}

/// What a folder of the disk lists is a file or a folder; devices have names of their own, which no folder lists.
bool isPipeOrDevice(const QString &)
{
    return false;
}

/// A new file has the access list that its folder hands down.
void shareAsItsFolder(const QString &) {}

void makeShared(const QString &) {}

} // namespace qm::files
