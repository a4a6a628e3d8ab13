#include "core/RuntimeError.h"
#include "reporting/writers/OutputDevice.h"

#include <QFile>
#include <QRandomGenerator>
#include <QStandardPaths>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace qm {

namespace {

QString systemWords(int code)
{
    return QString::fromStdString(std::generic_category().message(code));
}

[[noreturn]] void fail(std::int32_t number, const QString &what, const QString &path, const QString &why)
{
    raise(number, QStringLiteral("%1 \"%2\": %3").arg(what, path, why), kFrameworkSource);
}

[[noreturn]] void failWriting(const QString &target, int code)
{
    const bool full = code == ENOSPC || code == EDQUOT || code == EFBIG;
    const QString advice =
        full ? QStringLiteral("%1. Free some space or choose another folder, then run the report again.") : QStringLiteral("%1.");
    fail(full ? err::diskFull : err::deviceIo, QStringLiteral("The report could not be written to"), target, advice.arg(systemWords(code)));
}

/// A failure to make, look up or rename an entry of a folder.
[[noreturn]] void failInFolder(const QString &target, const QString &folder, int code)
{
    switch (code) {
    case ENOENT:
    case ENOTDIR:
        fail(err::pathNotFound, QStringLiteral("There is no folder"), folder, QStringLiteral("make it first, or choose another folder."));
    case EACCES:
    case EPERM:
    case EROFS:
        fail(err::pathFileAccess, QStringLiteral("The report cannot be written into the folder"), folder,
             QStringLiteral("%1. Choose another folder, or have it made writable.").arg(systemWords(code)));
    case ENAMETOOLONG:
    case EINVAL:
    case ELOOP:
        fail(err::badFileName, QStringLiteral("The report cannot be named"), target, systemWords(code) + u'.');
    case EISDIR:
        fail(err::pathFileAccess, QStringLiteral("The report cannot replace"), target,
             QStringLiteral("it is a folder. Give the name of a file."));
    default:
        failWriting(target, code);
    }
}

QByteArray folderOf(const QByteArray &path)
{
    const auto slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.left(slash);
}

/// Where a link leads in the end, although nothing may be there yet.
QByteArray followLinks(QByteArray path)
{
    char link[PATH_MAX];
    for (int hops = 0; hops < 40; ++hops) {
        const ssize_t size = ::readlink(path.constData(), link, sizeof link);
        if (size <= 0) {
            return path;
        }
        const QByteArray next(link, static_cast<qsizetype>(size));
        path = next.startsWith('/') ? next : folderOf(path) + '/' + next;
    }
    return path;
}

} // namespace

struct OutputFile::Device::State
{
    QString target;
    QByteArray path;      ///< the target itself, links followed
    QByteArray temporary; ///< empty while the temporary file has no name
    int file = -1;
    int failure = 0; ///< errno of the first failed write
    bool isSpecial = false;

    explicit State(const QString &name) : target(name) {}
    ~State();
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    [[nodiscard]] QString folder() const { return QFile::decodeName(folderOf(path)); }
    [[nodiscard]] std::optional<struct stat> examineTarget();
    void examineFolder() const;
    void makeTemporary();
    void makeSpool();
    [[nodiscard]] QByteArray temporaryName() const;
    void nameTemporary();
    void writeAll(int to, const char *data, std::size_t size, std::int64_t offset);
    void copyTo(int to);
};

OutputFile::Device::State::~State()
{
    if (!temporary.isEmpty()) {
        ::unlink(temporary.constData());
    }
    if (file >= 0) {
        ::close(file);
    }
}

std::optional<struct stat> OutputFile::Device::State::examineTarget()
{
    path = QFile::encodeName(target);
    if (path.isEmpty() || path.contains('\0')) {
        fail(err::badFileName, QStringLiteral("The report cannot be named"), target, QStringLiteral("give the name of a file."));
    }
    struct stat status
    {
    };
    if (::stat(path.constData(), &status) != 0) {
        if (errno != ENOENT) {
            failInFolder(target, folder(), errno);
        }
        path = followLinks(path);
        if (path.endsWith('/')) {
            path.chop(1);
            failInFolder(target, QFile::decodeName(path), ENOENT);
        }
        return std::nullopt;
    }
    if (S_ISDIR(status.st_mode)) {
        failInFolder(target, folder(), EISDIR);
    }
    isSpecial = !S_ISREG(status.st_mode);
    // The mode is looked at as well, since an administrator's access() finds everything writable.
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(path.constData(), W_OK) != 0) {
        fail(err::permissionDenied, QStringLiteral("The report cannot replace"), target,
             QStringLiteral("the file is read-only. Remove its write protection or choose another name."));
    }
    if (!isSpecial) {
        char real[PATH_MAX];
        if (::realpath(path.constData(), real) != nullptr) {
            path = real;
        }
    }
    return status;
}

void OutputFile::Device::State::examineFolder() const
{
    struct stat status
    {
    };
    const QByteArray name = folderOf(path);
    if (::stat(name.constData(), &status) != 0) {
        failInFolder(target, folder(), errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        failInFolder(target, folder(), ENOTDIR);
    }
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
        failInFolder(target, folder(), EACCES);
    }
}

QByteArray OutputFile::Device::State::temporaryName() const
{
    // Room is kept for the mark, within the 255 bytes that a name may have.
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1).left(220);
    const QByteArray mark = QByteArray::number(QRandomGenerator::system()->generate64(), 36);
    return folderOf(path) + "/." + name + ".tmp-" + mark;
}

void OutputFile::Device::State::makeTemporary()
{
    constexpr mode_t mode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
#ifdef O_TMPFILE
    // A file without a name: a killed program leaves nothing behind.
    if (::access("/proc/self/fd", X_OK) == 0) {
        file = ::open(folderOf(path).constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
    }
#endif
    for (int attempt = 0; file < 0 && attempt < 100; ++attempt) {
        const QByteArray name = temporaryName();
        file = ::open(name.constData(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, mode);
        if (file >= 0) {
            temporary = name;
        } else if (errno != EEXIST) {
            break;
        }
    }
    if (file < 0) {
        failInFolder(target, folder(), errno);
    }
}

/// A device or pipe is written at the end; until then the report is kept in a nameless file in the user's own cache folder.
void OutputFile::Device::State::makeSpool()
{
    const QByteArray cache = QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation));
    ::mkdir(cache.constData(), S_IRWXU);
    QByteArray name = cache + "/quillmark-spool-XXXXXX";
    file = ::mkostemp(name.data(), O_CLOEXEC);
    if (file < 0) {
        failInFolder(QFile::decodeName(name), QFile::decodeName(cache), errno);
    }
    ::unlink(name.constData());
}

void OutputFile::Device::State::nameTemporary()
{
    const QByteArray source = "/proc/self/fd/" + QByteArray::number(file);
    for (int attempt = 0; temporary.isEmpty(); ++attempt) {
        const QByteArray name = temporaryName();
        if (::linkat(AT_FDCWD, source.constData(), AT_FDCWD, name.constData(), AT_SYMLINK_FOLLOW) == 0) {
            temporary = name;
        } else if (errno != EEXIST || attempt == 100) {
            failInFolder(target, folder(), errno);
        }
    }
}

/// Writes at \p offset, or at the end when it is negative.
void OutputFile::Device::State::writeAll(int to, const char *data, std::size_t size, std::int64_t offset)
{
    if (failure != 0) {
        failWriting(target, failure);
    }
    while (size > 0) {
        const ssize_t written = offset < 0 ? ::write(to, data, size) : ::pwrite(to, data, size, offset);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            failure = errno;
            failWriting(target, failure);
        }
        data += written;
        size -= static_cast<std::size_t>(written);
        offset += offset < 0 ? 0 : written;
    }
}

void OutputFile::Device::State::copyTo(int to)
{
    constexpr std::size_t kPart = std::size_t{1} << 16;
    const auto part = std::make_unique<char[]>(kPart);
    for (off_t offset = 0;;) {
        const ssize_t got = ::pread(file, part.get(), kPart, offset);
        if (got < 0) {
            failWriting(target, errno);
        }
        if (got == 0) {
            return;
        }
        writeAll(to, part.get(), static_cast<std::size_t>(got), -1);
        offset += got;
    }
}

OutputFile::Device::Device(const QString &target) : m_state(std::make_unique<State>(target))
{
    const std::optional<struct stat> present = m_state->examineTarget();
    if (m_state->isSpecial) {
        m_state->makeSpool();
        return;
    }
    m_state->examineFolder();
    m_state->makeTemporary();
    if (present) {
        // The new file is as private as the one it replaces; where the owner cannot be kept, the report still is.
        [[maybe_unused]] const int owner = ::fchown(m_state->file, present->st_uid, present->st_gid);
        [[maybe_unused]] const int mode = ::fchmod(m_state->file, present->st_mode & 07777U);
    }
}

OutputFile::Device::~Device() = default;

void OutputFile::Device::append(std::string_view bytes)
{
    m_state->writeAll(m_state->file, bytes.data(), bytes.size(), -1);
}

void OutputFile::Device::overwrite(std::uint64_t offset, std::string_view bytes)
{
    m_state->writeAll(m_state->file, bytes.data(), bytes.size(), static_cast<std::int64_t>(offset));
}

std::size_t OutputFile::Device::read(std::uint64_t offset, char *into, std::size_t size) const
{
    std::size_t got = 0;
    while (got < size) {
        const ssize_t part = ::pread(m_state->file, into + got, size - got, static_cast<off_t>(offset + got));
        if (part < 0) {
            if (errno == EINTR) {
                continue;
            }
            failWriting(m_state->target, errno);
        }
        if (part == 0) {
            break;
        }
        got += static_cast<std::size_t>(part);
    }
    return got;
}

void OutputFile::Device::publish()
{
    State &state = *m_state;
    if (state.failure != 0) {
        failWriting(state.target, state.failure);
    }
    if (state.isSpecial) {
        const int device = ::open(state.path.constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (device < 0) {
            failInFolder(state.target, state.target, errno);
        }
        const std::unique_ptr<const int, void (*)(const int *)> closing(&device, [](const int *open) { ::close(*open); });
        state.copyTo(device);
        return;
    }
    if (::fsync(state.file) != 0) {
        state.failure = errno;
        failWriting(state.target, errno);
    }
    state.nameTemporary();
    if (::rename(state.temporary.constData(), state.path.constData()) != 0) {
        failInFolder(state.target, state.folder(), errno);
    }
    state.temporary.clear();
    // The rename is on the disk once the folder is; a system that cannot flush folders has done what it can.
    const int folder = ::open(folderOf(state.path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        ::fsync(folder);
        ::close(folder);
    }
}

} // namespace qm
