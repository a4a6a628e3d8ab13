#include "platform/FileRights.h"
#include "platform/LogFile.h"
#include "platform/PosixFileUnix.h"

#include <QFile>

#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace qm {

using namespace qm::posix;
using namespace std::chrono_literals;

namespace {

constexpr auto kLongestTurn = 2s;
constexpr auto kPause = 5ms;

/// A link made by another user could lead into a file that only this one may write.
bool isForeignLink(const QByteArray &path)
{
    struct stat link
    {
    };
    return ::lstat(path.constData(), &link) == 0 && S_ISLNK(link.st_mode) && link.st_uid != 0 && link.st_uid != ::geteuid();
}

/// Without blocking: a pipe would wait for a reader.
Descriptor openForAppending(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    const auto opened = [&](int more) {
        return Descriptor(
            retrying([&] { return ::open(name.constData(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | more); }));
    };
    Descriptor file = opened(O_NOFOLLOW);
    if (!file.isOpen() && errno == ELOOP) {
        if (isForeignLink(name))
            return file;
        file = opened(0);
    }
    if (!file.isOpen() && errno == ENOENT) {
        files::makeShared(path);
        file = opened(0);
    }
    struct stat status
    {
    };
    if (file.isOpen() && (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)))
        return {};
    return file;
}

/// Open for writing, without which some systems lock nothing.
Descriptor lockFile(const QString &folder)
{
    const QString path = folder + QStringLiteral("/.quillmark-log.lock");
    files::makeShared(path);
    return Descriptor(retrying([&] { return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK); }));
}

} // namespace

/// The lock on the log's folder. It ends with the process, however that ends, and leaves no file but where only files can be locked, as on
/// some network's disks.
struct LogFile::Turns
{
    bool isStuck = false;

    /// Closed when it was not given: lines can still be appended, since that is one step, but no file may be moved.
    [[nodiscard]] Descriptor take(const QString &path)
    {
        Descriptor lock(
            retrying([&] { return ::open(QFile::encodeName(folderOf(path)).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
        bool isFolder = true;
        const auto end = std::chrono::steady_clock::now() + (isStuck ? 0s : kLongestTurn);
        while (lock.isOpen() && ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            const int code = errno;
            if (isFolder && (code == EBADF || code == ENOLCK || code == EOPNOTSUPP)) {
                isFolder = false;
                lock = lockFile(folderOf(path));
                continue;
            }
            isStuck = code == EWOULDBLOCK && std::chrono::steady_clock::now() >= end;
            if (isStuck || (code != EWOULDBLOCK && code != EINTR))
                return {};
            std::this_thread::sleep_for(kPause);
        }
        isStuck = false;
        return lock;
    }
};

LogFile::LogFile(QString path, qint64 fullSize, int oldFiles)
    : m_path(std::move(path)), m_fullSize(fullSize), m_oldFiles(oldFiles), m_turns(std::make_unique<Turns>())
{
}

LogFile::~LogFile() = default;

bool LogFile::append(std::string_view line)
{
    const Descriptor turn = m_turns->take(m_path);
    Descriptor file = openForAppending(m_path);
    struct stat status
    {
    };
    if (turn.isOpen() && file.isOpen() && ::fstat(file.get(), &status) == 0 && status.st_size > 0 &&
        status.st_size + static_cast<qint64>(line.size()) > m_fullSize) {
        for (int number = m_oldFiles; number > 0; --number)
            (void)::rename(QFile::encodeName(oldPath(number - 1)).constData(), QFile::encodeName(oldPath(number)).constData());
        file = openForAppending(m_path);
    }
    if (!file.isOpen())
        return false;
    const bool isKnown = ::fstat(file.get(), &status) == 0;
    // One write a line, so that it stays whole beside those of a program that did not wait for its turn.
    const ssize_t written = retrying([&] { return ::write(file.get(), line.data(), line.size()); });
    // Of a line that the disk has no room for nothing stays, or the next one would go on in it.
    const off_t before = status.st_size;
    if (written > 0 && static_cast<std::size_t>(written) < line.size() && turn.isOpen() && isKnown && ::fstat(file.get(), &status) == 0 &&
        status.st_size == before + written)
        (void)retrying([&] { return ::ftruncate(file.get(), before); });
    return true;
}

} // namespace qm
