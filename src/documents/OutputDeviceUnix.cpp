#include "core/RuntimeError.h"
#include "documents/OutputDevice.h"
#include "platform/PosixFileUnix.h"

#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace qm {

namespace {

[[noreturn]] void fail(std::int32_t number, const QString &what, const QString &path, const QString &why)
{
    raise(number, QStringLiteral("%1 \"%2\": %3").arg(what, path, why), kFrameworkSource);
}

[[noreturn]] void failWriting(const QString &target, int code)
{
    const bool full = posix::classicNumber(code) == err::diskFull;
    const QString advice =
        full ? QStringLiteral("%1. Free some space or choose another folder, then run the report again.") : QStringLiteral("%1.");
    fail(full ? err::diskFull : err::deviceIo, QStringLiteral("The report could not be written to"), target,
         advice.arg(posix::systemWords(code)));
}

/// A failure to make, look up or rename an entry of a folder.
[[noreturn]] void failInFolder(const QString &target, const QString &folder, int code)
{
    if (code == EACCES || code == EPERM || code == EROFS)
        fail(err::pathFileAccess, QStringLiteral("The report cannot be written into the folder"), folder,
             QStringLiteral("%1. Choose another folder, or have it made writable.").arg(posix::systemWords(code)));
    if (code == EISDIR)
        fail(err::pathFileAccess, QStringLiteral("The report cannot replace"), target,
             QStringLiteral("it is a folder. Give the name of a file."));
    switch (const std::int32_t number = posix::classicNumber(code, err::pathNotFound)) {
    case err::pathNotFound:
        fail(number, QStringLiteral("There is no folder"), folder, QStringLiteral("make it first, or choose another folder."));
    case err::badFileName:
        fail(number, QStringLiteral("The report cannot be named"), target, posix::systemWords(code) + u'.');
    default:
        failWriting(target, code);
    }
}

QByteArray folderOf(const QByteArray &path)
{
    const auto slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.left(slash);
}

} // namespace

struct OutputFile::Device::State
{
    QString target;
    QByteArray path; ///< the target itself, links followed
    posix::TemporaryFile temporary;
    posix::Descriptor spool; ///< instead of the temporary, for a device or a pipe
    int failure = 0;         ///< errno of the first failed write
    bool isSpecial = false;

    explicit State(const QString &name) : target(name) {}
    ~State() = default;
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    [[nodiscard]] QString folder() const { return QFile::decodeName(folderOf(path)); }
    [[nodiscard]] std::optional<struct stat> examineTarget();
    void examineFolder() const;
    void makeTemporary(const std::optional<struct stat> &present);
    void makeSpool();
    [[nodiscard]] int file() const { return isSpecial ? spool.get() : temporary.descriptor(); }
    void writeAll(int to, const char *data, std::size_t size, std::int64_t offset);
    [[nodiscard]] int openSpecial() const;
    void copyTo(int to);
};

std::optional<struct stat> OutputFile::Device::State::examineTarget()
{
    path = QFile::encodeName(target);
    if (path.isEmpty() || path.contains('\0'))
        fail(err::badFileName, QStringLiteral("The report cannot be named"), target, QStringLiteral("give the name of a file."));
    struct stat status
    {
    };
    if (::stat(path.constData(), &status) != 0) {
        if (errno != ENOENT)
            failInFolder(target, folder(), errno);
        path = posix::targetOf(path);
        if (path.endsWith('/')) {
            path.chop(1);
            failInFolder(target, QFile::decodeName(path), ENOENT);
        }
        return std::nullopt;
    }
    if (S_ISDIR(status.st_mode))
        failInFolder(target, folder(), EISDIR);
    isSpecial = !S_ISREG(status.st_mode);
    // The mode is looked at as well, since an administrator's access() finds everything writable.
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(path.constData(), W_OK) != 0) {
        fail(err::permissionDenied, QStringLiteral("The report cannot replace"), target,
             QStringLiteral("the file is read-only. Remove its write protection or choose another name."));
    }
    if (!isSpecial)
        path = posix::targetOf(path);
    return status;
}

void OutputFile::Device::State::examineFolder() const
{
    struct stat status
    {
    };
    const QByteArray name = folderOf(path);
    if (::stat(name.constData(), &status) != 0)
        failInFolder(target, folder(), errno);
    if (!S_ISDIR(status.st_mode))
        failInFolder(target, folder(), ENOTDIR);
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        failInFolder(target, folder(), EACCES);
}

void OutputFile::Device::State::makeTemporary(const std::optional<struct stat> &present)
{
    constexpr mode_t owner = S_IRUSR | S_IWUSR;
    constexpr mode_t everybody = owner | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    if (const int code = temporary.make(folderOf(path), present ? owner : everybody); code != 0)
        failInFolder(target, folder(), code);
    // The new file is as private as the one it replaces; a file system that knows no rights takes none.
    if (present)
        (void)temporary.giveAccess(path, *present);
}

/// A device or pipe is written at the end; until then the report is kept in a nameless file in the user's own cache folder.
void OutputFile::Device::State::makeSpool()
{
    const QByteArray cache = QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation));
    ::mkdir(cache.constData(), S_IRWXU);
    QByteArray name = cache + "/quillmark-spool-XXXXXX";
    spool = posix::Descriptor(::mkostemp(name.data(), O_CLOEXEC));
    if (!spool.isOpen())
        failInFolder(QFile::decodeName(name), QFile::decodeName(cache), errno);
    ::unlink(name.constData());
}

/// Writes at \p offset, or at the end when it is negative.
void OutputFile::Device::State::writeAll(int to, const char *data, std::size_t size, std::int64_t offset)
{
    if (failure != 0)
        failWriting(target, failure);
    while (size > 0) {
        const ssize_t written = offset < 0 ? ::write(to, data, size) : ::pwrite(to, data, size, offset);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            failure = errno;
            failWriting(target, failure);
        }
        data += written;
        size -= static_cast<std::size_t>(written);
        offset += offset < 0 ? 0 : written;
    }
}

/// Waits for the reader of a pipe, but not for ever.
int OutputFile::Device::State::openSpecial() const
{
    constexpr auto kLongestWait = std::chrono::seconds(10);
    constexpr auto kPause = std::chrono::milliseconds(20);
    struct stat status
    {
    };
    const bool isPipe = ::stat(path.constData(), &status) == 0 && S_ISFIFO(status.st_mode);
    const auto end = std::chrono::steady_clock::now() + kLongestWait;
    for (;;) {
        const int device = ::open(path.constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY | (isPipe ? O_NONBLOCK : 0));
        if (device >= 0) {
            if (isPipe)
                ::fcntl(device, F_SETFL, ::fcntl(device, F_GETFL) & ~O_NONBLOCK);
            return device;
        }
        if (!isPipe || errno != ENXIO)
            failInFolder(target, target, errno);
        if (std::chrono::steady_clock::now() >= end) {
            fail(err::deviceIo, QStringLiteral("The report could not be written to"), target,
                 QStringLiteral("no program reads this pipe. Start its reader first, then run the report again."));
        }
        std::this_thread::sleep_for(kPause);
    }
}

void OutputFile::Device::State::copyTo(int to)
{
    constexpr std::size_t kPart = std::size_t{1} << 16;
    const auto part = std::make_unique<char[]>(kPart);
    for (off_t offset = 0;;) {
        const ssize_t got = ::pread(file(), part.get(), kPart, offset);
        if (got < 0)
            failWriting(target, errno);
        if (got == 0)
            return;
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
    m_state->makeTemporary(present);
}

OutputFile::Device::~Device() = default;

void OutputFile::Device::append(std::string_view bytes)
{
    m_state->writeAll(m_state->file(), bytes.data(), bytes.size(), -1);
}

void OutputFile::Device::overwrite(std::uint64_t offset, std::string_view bytes)
{
    m_state->writeAll(m_state->file(), bytes.data(), bytes.size(), static_cast<std::int64_t>(offset));
}

std::size_t OutputFile::Device::read(std::uint64_t offset, char *into, std::size_t size) const
{
    std::size_t got = 0;
    while (got < size) {
        const ssize_t part = ::pread(m_state->file(), into + got, size - got, static_cast<off_t>(offset + got));
        if (part < 0) {
            if (errno == EINTR)
                continue;
            failWriting(m_state->target, errno);
        }
        if (part == 0)
            break;
        got += static_cast<std::size_t>(part);
    }
    return got;
}

void OutputFile::Device::publish()
{
    State &state = *m_state;
    if (state.failure != 0)
        failWriting(state.target, state.failure);
    if (state.isSpecial) {
        const int device = state.openSpecial();
        const std::unique_ptr<const int, void (*)(const int *)> closing(&device, [](const int *open) { ::close(*open); });
        state.copyTo(device);
        return;
    }
    if (const int code = state.temporary.replace(state.path); code != 0) {
        state.failure = code;
        failInFolder(state.target, state.folder(), code);
    }
}

} // namespace qm
