// Reading and saving whole files.

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/PathParts.h"
#include "platform/PosixFileUnix.h"

#include <array>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace qm::files {

using namespace qm::posix;

namespace {

constexpr mode_t kEverybody = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
constexpr mode_t kOwner = S_IRUSR | S_IWUSR;
constexpr mode_t kOthers = S_IRWXO;
constexpr qsizetype kBlock = 65536;

/// Owner, group and permission bits of the temporary before it takes the target's place.
void givePermissions(const Replacement &file, Privacy privacy)
{
    struct stat model
    {
    };
    QByteArray listed;
    if (file.old()) {
        model = *file.old();
        listed = native(file.target());
    } else if (privacy == Privacy::Normal) {
        return; // the mask and the folder's default list have decided
    } else if (::stat(native(folderOf(file.target())).constData(), &model) == 0) {
        model.st_uid = ::geteuid();
        model.st_mode = kOwner | (model.st_mode & (S_IRGRP | S_IWGRP));
    }
    if (const int code = file.file().giveAccess(listed, model, privacy == Privacy::Secret ? kOthers : 0); code != 0)
        raiseSystem(code, file.target());
}

/// Whether the file at \p path holds exactly \p bytes; looks no further than the first difference.
bool holds(const QString &path, const struct stat &entry, const QByteArray &bytes)
{
    if (!S_ISREG(entry.st_mode) || entry.st_size != bytes.size())
        return false;
    const Descriptor file(retrying([&] { return ::open(native(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    std::vector<char> block(kBlock);
    for (qsizetype at = 0; at < bytes.size();) {
        const ssize_t got = retrying([&] { return ::read(file.get(), block.data(), block.size()); });
        // What cannot be read is written anew, and so is a file that grew meanwhile.
        if (got <= 0 || got > bytes.size() - at || std::memcmp(block.data(), bytes.constData() + at, static_cast<std::size_t>(got)) != 0)
            return false;
        at += got;
    }
    return true;
}

} // namespace

void saveAtomically(const QString &path, const QByteArray &bytes, Privacy privacy)
{
    (void)native(path);
    Replacement file(path);
    if (file.old() && holds(file.target(), *file.old(), bytes)) {
        const mode_t mode = file.old()->st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
        if (privacy == Privacy::Secret && (mode & kOthers) != 0 && ::chmod(native(file.target()).constData(), mode & ~kOthers) != 0)
            raiseSystem(errno, file.target());
        return;
    }
    // Until it has its own rights, nobody else may open it.
    file.open(file.old() || privacy == Privacy::Secret ? kOwner : kEverybody);
    givePermissions(file, privacy);
    file.write(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    file.commit();
}

QByteArray readAll(const QString &path)
{
    // Without blocking: a pipe under a file's name would wait for a writer for ever.
    const auto opened = [](const QString &name) {
        return retrying([&] { return ::open(native(name).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); });
    };
    Descriptor file(opened(path));
    if (!file.isOpen() && errno == ENOENT) // perhaps spelled in another letter case
        file = Descriptor(opened(existingSpelling(path)));
    if (!file.isOpen())
        raiseSystem(errno, path);
    // Most files fit one block. What cannot be read at a place is a pipe or a folder; a device gives nothing, or without end.
    std::array<char, 8192> first;
    const ssize_t start = retrying([&] { return ::pread(file.get(), first.data(), first.size(), 0); });
    if (start > 0 && static_cast<std::size_t>(start) < first.size())
        return QByteArray(first.data(), static_cast<qsizetype>(start));
    struct stat status
    {
    };
    if (::fstat(file.get(), &status) != 0)
        raiseSystem(errno, path);
    if (!S_ISREG(status.st_mode))
        raise(err::pathFileAccess, path + QStringLiteral(": is not a file"));
    if (start < 0)
        raiseSystem(errno, path);
    if (status.st_size > paths::kMostBytes)
        paths::raiseTooLong(path);
    // One byte more than the file shows, so that its end is seen without another round.
    QByteArray bytes(static_cast<qsizetype>(status.st_size) + 1, Qt::Uninitialized);
    qsizetype filled = 0;
    for (;;) {
        const auto room = static_cast<std::size_t>(bytes.size() - filled);
        const ssize_t got = retrying([&] { return ::read(file.get(), bytes.data() + filled, room); });
        if (got < 0)
            raiseSystem(errno, path);
        filled += static_cast<qsizetype>(got);
        if (got == 0 || (filled >= status.st_size && static_cast<std::size_t>(got) < room)) {
            bytes.truncate(filled);
            return bytes;
        }
        if (filled > paths::kMostBytes)
            paths::raiseTooLong(path);
        if (filled == bytes.size()) // it grows while it is read
            bytes.resize(filled + kBlock);
    }
}

} // namespace qm::files
