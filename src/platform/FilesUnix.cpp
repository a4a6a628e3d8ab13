// Renaming, copying, deleting, folders and attributes.

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/PosixFileUnix.h"

#include <QFile>

#include <cstdlib>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace qm::files {

using namespace qm::posix;

namespace {

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t kPermissionBits = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr std::size_t kBlock = 262144;

struct Found
{
    QString path;
    struct stat entry;
};

/// The entry at \p path in any letter case. \throws RuntimeError \p missing.
Found require(const QString &path, std::int32_t missing = err::fileNotFound)
{
    const QString found = trimmed(existingSpelling(path));
    (void)native(found);
    const auto entry = entryAt(found);
    if (!entry)
        raiseSystem(ENOENT, path, missing);
    return {found, *entry};
}

void copyContent(const QString &from, Replacement &to)
{
    const Descriptor source(retrying([&] { return ::open(native(from).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    struct stat status
    {
    };
    if (!source.isOpen() || ::fstat(source.get(), &status) != 0)
        raiseSystem(errno, from);
    if (!S_ISREG(status.st_mode))
        raise(err::pathFileAccess, from + QStringLiteral(": is not a file"));
    to.open(status.st_mode & kPermissionBits);
    std::vector<char> block(kBlock);
    for (;;) {
        const ssize_t got = retrying([&] { return ::read(source.get(), block.data(), block.size()); });
        if (got < 0)
            raiseSystem(errno, from);
        if (got == 0)
            break;
        to.write(block.data(), static_cast<std::size_t>(got));
    }
    const timespec times[2] = {status.st_atim, status.st_mtim};
    (void)::futimens(to.file().descriptor(), times); // the content is what matters
    to.commit();
}

/// Moves a file to another file system.
void moveAcross(const Found &from, const QString &to)
{
    if (!S_ISREG(from.entry.st_mode))
        raiseSystem(EXDEV, from.path + QStringLiteral(" to ") + to);
    Replacement target(to);
    copyContent(from.path, target);
    if (::unlink(native(from.path).constData()) != 0)
        raiseSystem(errno, from.path);
}

} // namespace

void rename(const QString &from, const QString &to)
{
    const Found source = require(from);
    const QString target = trimmed(to);
    if (source.path == target)
        return;
    const QString both = source.path + QStringLiteral(" to ") + target;
    requireName(target);
    const QString inTheWay = existingSpelling(target);
    const auto other = entryAt(inTheWay);
    const bool isItself = other && other->st_dev == source.entry.st_dev && other->st_ino == source.entry.st_ino &&
                          source.path.compare(inTheWay, Qt::CaseInsensitive) == 0;
    if (other && !isItself)
        raise(err::fileAlreadyExists, inTheWay);
    const QByteArray oldName = native(source.path);
    const QByteArray newName = native(target);
    // Where the file system itself ignores letter case, the file stands in its own way.
    unsigned flags = isItself ? 0U : static_cast<unsigned>(RENAME_NOREPLACE);
    if (::renameat2(AT_FDCWD, oldName.constData(), AT_FDCWD, newName.constData(), flags) == 0)
        return;
    if (errno == EINVAL && flags != 0 && ::rename(oldName.constData(), newName.constData()) == 0)
        return; // a file system without the flag
    if (errno == EXDEV)
        moveAcross(source, target);
    else
        raiseSystem(errno, both, err::pathNotFound);
}

void copy(const QString &from, const QString &to)
{
    const Found source = require(from);
    if (S_ISDIR(source.entry.st_mode))
        raise(err::pathFileAccess, source.path + QStringLiteral(": is a folder"));
    Replacement target(to);
    if (sameFile(source.path, target.target()))
        raise(err::pathFileAccess, source.path + QStringLiteral(": cannot be copied onto itself"));
    copyContent(source.path, target);
}

void kill(const QString &path)
{
    const Found file = require(path);
    requireWritable(file.path, file.entry);
    if (::unlink(native(file.path).constData()) != 0)
        raiseSystem(errno, file.path);
}

void makeFolder(const QString &path)
{
    const QString folder = trimmed(path);
    requireName(folder);
    if (entryExists(folder))
        raise(err::pathFileAccess, existingSpelling(folder) + QStringLiteral(": exists already"));
    if (::mkdir(native(folder).constData(), kPermissionBits) != 0) {
        if (errno == EEXIST)
            raise(err::pathFileAccess, folder + QStringLiteral(": exists already"));
        raiseSystem(errno, folder, err::pathNotFound);
    }
}

void removeFolder(const QString &path)
{
    const Found folder = require(path, err::pathNotFound);
    if (!S_ISDIR(folder.entry.st_mode))
        raise(err::pathFileAccess, folder.path + QStringLiteral(": is not a folder"));
    if (::rmdir(native(folder.path).constData()) != 0) {
        if (errno == ENOTEMPTY || errno == EEXIST || errno == EINVAL)
            raise(err::pathFileAccess, folder.path + QStringLiteral(": the folder is not empty"));
        raiseSystem(errno, folder.path, err::pathNotFound);
    }
}

bool isHiddenName(const QString &name)
{
    return name.startsWith(u'.');
}

int fileAttributes(const QString &path)
{
    const Found file = require(path);
    int bits = S_ISDIR(file.entry.st_mode) ? attr::directory : attr::normal;
    if (!S_ISDIR(file.entry.st_mode) && !S_ISREG(file.entry.st_mode) && !S_ISLNK(file.entry.st_mode))
        bits |= attr::system;
    if (isHiddenName(lastPart(file.path)))
        bits |= attr::hidden;
    struct stat behind = file.entry;
    if (S_ISLNK(file.entry.st_mode))
        (void)::stat(native(file.path).constData(), &behind); // a dead link keeps its own bits
    if ((behind.st_mode & kWriteBits) == 0)
        bits |= attr::readOnly;
    return bits;
}

void setFileAttributes(const QString &path, int attributes)
{
    const Found file = require(path);
    const QByteArray name = native(file.path);
    struct stat status
    {
    };
    if (::stat(name.constData(), &status) != 0)
        raiseSystem(errno, file.path);
    mode_t mode = status.st_mode & ~static_cast<mode_t>(S_IFMT);
    if ((attributes & attr::readOnly) != 0) {
        mode &= ~kWriteBits;
    } else if ((mode & kWriteBits) == 0) {
        mode |= S_IWUSR;
        // In a folder that its group shares, a file that the group reads is the group's to write again.
        const auto folder = entryAt(folderOf(file.path));
        if (folder && (folder->st_mode & S_IWGRP) != 0 && (mode & S_IRGRP) != 0)
            mode |= S_IWGRP;
    }
    if (mode != (status.st_mode & ~static_cast<mode_t>(S_IFMT)) && ::chmod(name.constData(), mode) != 0)
        raiseSystem(errno, file.path);
}

void setCurrentFolder(const QString &path)
{
    if (::chdir(native(path).constData()) != 0)
        raiseSystem(errno == EACCES ? ENOENT : errno, path, err::pathNotFound);
}

QString currentFolder()
{
    const std::unique_ptr<char, decltype([](char *text) { std::free(text); })> folder(::getcwd(nullptr, 0));
    return folder ? QFile::decodeName(folder.get()) : QString();
}

} // namespace qm::files
