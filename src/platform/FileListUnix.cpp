// Listing folders, and finding entries in any letter case.

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/FoldedNames.h"
#include "platform/PosixFileUnix.h"

#include <QDir>
#include <QFile>

#include <memory>

#include <dirent.h>
#include <fcntl.h>

namespace qm::files {

namespace {

using DirectoryStream = std::unique_ptr<DIR, decltype([](DIR *stream) { ::closedir(stream); })>;

DirectoryStream openFolder(const QString &folder)
{
    if (folder.isEmpty() || folder.contains(QChar(u'\0'))) {
        errno = ENOENT;
        return nullptr;
    }
    return DirectoryStream(::opendir(QFile::encodeName(folder).constData()));
}

bool isDots(const char *name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// The attributes that decide whether an entry is listed. A link is a file; a pipe, socket or device belongs to the system.
int listingAttributes(DIR *stream, const dirent &entry)
{
    int bits = entry.d_name[0] == '.' ? attr::hidden : attr::normal;
    unsigned char type = entry.d_type;
    if (type == DT_UNKNOWN) {
        struct stat status
        {
        };
        if (::fstatat(::dirfd(stream), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
            type = static_cast<unsigned char>(IFTODT(status.st_mode));
    }
    if (type == DT_DIR)
        bits |= attr::directory;
    else if (type != DT_REG && type != DT_LNK && type != DT_UNKNOWN)
        bits |= attr::system;
    return bits;
}

/// The name in \p folder that equals \p name when letter case is ignored; the first in listing order when there are several.
QString nameInFolder(const QString &folder, const QString &name)
{
    const QString wanted = name.toCaseFolded();
    QString found;
    const DirectoryStream stream = openFolder(folder);
    while (const dirent *entry = stream ? ::readdir(stream.get()) : nullptr) {
        const QString candidate = QFile::decodeName(entry->d_name);
        if (candidate.toCaseFolded() == wanted && (found.isEmpty() || candidate < found))
            found = candidate;
    }
    return found;
}

} // namespace

QStringList list(const QString &folder, const QString &pattern, int mask)
{
    const Pattern wanted(pattern);
    const int listed = mask | attr::readOnly | attr::archive;
    const DirectoryStream stream = openFolder(folder);
    if (!stream && errno != ENOENT && errno != ENOTDIR)
        posix::raiseSystem(errno, folder);
    FoldedNames names;
    while (const dirent *entry = stream ? ::readdir(stream.get()) : nullptr)
        if (!isDots(entry->d_name) && (listingAttributes(stream.get(), *entry) & ~listed) == 0)
            names.add(QFile::decodeName(entry->d_name), wanted);
    return names.ordered();
}

QString existingSpelling(const QString &path)
{
    const QString whole = posix::trimmed(path);
    const auto nameAt = whole.lastIndexOf(kSep) + 1;
    const QString name = whole.mid(nameAt);
    if (name.isEmpty() || posix::entryAt(whole))
        return path;
    const QString spelled = nameInFolder(posix::folderOf(whole), name);
    return spelled.isEmpty() ? path : whole.first(nameAt) + spelled;
}

bool fileExists(const QString &path)
{
    if (path.endsWith(kSep))
        return false;
    struct stat status
    {
    };
    const QString found = existingSpelling(path);
    return posix::entryAt(found) && ::stat(QFile::encodeName(found).constData(), &status) == 0 && !S_ISDIR(status.st_mode);
}

bool entryExists(const QString &path)
{
    return posix::entryAt(posix::trimmed(existingSpelling(path))).has_value();
}

bool sameFile(const QString &a, const QString &b)
{
    if (QDir::cleanPath(a).compare(QDir::cleanPath(b), Qt::CaseInsensitive) == 0)
        return true;
    const auto left = posix::entryAt(existingSpelling(a));
    const auto right = posix::entryAt(existingSpelling(b));
    return left && right && left->st_dev == right->st_dev && left->st_ino == right->st_ino;
}

} // namespace qm::files
