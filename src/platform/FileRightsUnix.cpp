#include "platform/FileRights.h"

#include "platform/PathParts.h"
#include "platform/PosixFileUnix.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

namespace qm::files {

using namespace qm::posix;

namespace {

/// What the masks of earlier versions usually gave a new file.
constexpr mode_t kPlainFile = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

void share(int file, const struct stat &now, const QString &folder)
{
    struct stat around
    {
    };
    const bool isFolder = S_ISDIR(now.st_mode);
    mode_t mode = S_IRUSR | S_IWUSR | (isFolder ? S_IXUSR | (now.st_mode & S_ISGID) : 0U);
    if (::stat(QFile::encodeName(folder).constData(), &around) == 0) {
        mode_t group = around.st_mode & (S_IRGRP | S_IWGRP);
        // Whoever writes a folder's files has to go through it; what several make in it belongs to the group too.
        if (isFolder && group != 0)
            group |= S_IXGRP | ((group & S_IWGRP) != 0 ? S_ISGID : 0U);
        if (now.st_gid == around.st_gid || ::fchown(file, static_cast<uid_t>(-1), around.st_gid) == 0)
            mode |= group;
    }
    (void)::fchmod(file, mode);
}

Descriptor opened(const QString &path)
{
    return Descriptor(
        retrying([&] { return ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK); }));
}

} // namespace

bool isTrusted(const QString &path)
{
    struct stat status
    {
    };
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && (status.st_uid == 0 || status.st_uid == ::geteuid()) &&
           (status.st_mode & S_IWOTH) == 0;
}

bool isPipeOrDevice(const QString &path)
{
    struct stat status
    {
    };
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

void shareAsItsFolder(const QString &path)
{
    const QString entry = trimmed(path);
    const Descriptor file = opened(entry);
    struct stat now
    {
    };
    if (file.isOpen() && ::fstat(file.get(), &now) == 0)
        share(file.get(), now, folderOf(entry));
}

void makeShared(const QString &path)
{
    Descriptor file(retrying([&] {
        return ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    }));
    const bool isNew = file.isOpen();
    if (!isNew)
        file = opened(path);
    struct stat now
    {
    };
    if (!file.isOpen() || ::fstat(file.get(), &now) != 0)
        return;
    const bool isOldOne = S_ISREG(now.st_mode) && now.st_uid == ::geteuid() && (now.st_mode & 07777U) == kPlainFile;
    if (isNew || isOldOne)
        share(file.get(), now, folderOf(path));
}

} // namespace qm::files
