#include "platform/PosixFileUnix.h"
#include "platform/TemporaryFiles.h"
#include "platform/TemporaryFilesSystem.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace qm {

using namespace qm::posix;

void holdTemporary(int descriptor)
{
    (void)::flock(descriptor, LOCK_EX | LOCK_NB); // where it cannot be held its age protects it
}

bool removeUnheld(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    const Descriptor file(retrying([&] { return ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK); }));
    struct stat status
    {
    };
    return file.isOpen() && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 &&
           ::unlink(name.constData()) == 0;
}

bool isOwn(const QString &path)
{
    const auto entry = entryAt(path);
    return entry && entry->st_uid == ::geteuid();
}

bool isPrivateFolder(const QString &path)
{
    const auto entry = entryAt(path);
    return entry && S_ISDIR(entry->st_mode) && entry->st_uid == ::geteuid() && (entry->st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

} // namespace qm
