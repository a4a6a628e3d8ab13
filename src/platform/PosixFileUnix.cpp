#include "platform/PosixFileUnix.h"

#include "platform/TemporaryFiles.h"

#include <QFile>

#include <array>
#include <climits>
#include <cstring>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace qm::posix {

namespace {

constexpr int kMostNames = 100; ///< tried before a folder is given up

} // namespace

std::int32_t classicNumber(int code, std::int32_t missing)
{
    switch (code) {
    case ENOENT:
    case ENOTDIR:
        return missing;
    case EEXIST:
        return err::fileAlreadyExists;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return err::diskFull;
    case ENAMETOOLONG:
    case EINVAL:
    case EILSEQ:
    case ELOOP:
        return err::badFileName;
    case EIO:
    case ENXIO:
    case ENODEV:
        return err::deviceIo;
    case ENOMEM:
        return err::outOfMemory;
    default:
        return err::pathFileAccess;
    }
}

QString systemWords(int code)
{
    const char *said = ::strerrordesc_np(code);
    return QString::fromLatin1(said == nullptr ? "unknown system error" : said);
}

Descriptor::~Descriptor()
{
    (void)close();
}

int Descriptor::close()
{
    const int number = std::exchange(m_number, -1);
    return number >= 0 && ::close(number) != 0 && errno != EINTR ? errno : 0;
}

QByteArray native(const QString &path)
{
    if (path.isEmpty() || path.contains(QChar(u'\0')) || !path.isValidUtf16())
        raise(err::badFileName, path.isEmpty() ? QStringLiteral("the file name is empty") : path);
    return QFile::encodeName(path);
}

void raiseSystem(int code, const QString &what, std::int32_t missing)
{
    raise(classicNumber(code, missing), what + QStringLiteral(": ") + systemWords(code));
}

std::optional<struct stat> entryAt(const QString &path)
{
    struct stat entry
    {
    };
    if (path.isEmpty() || path.contains(QChar(u'\0')) || !path.isValidUtf16() || ::lstat(QFile::encodeName(path).constData(), &entry) != 0)
        return std::nullopt;
    return entry;
}

QByteArray targetOf(QByteArray path)
{
    constexpr int kMostLinks = 40; // as the system has it
    std::array<char, PATH_MAX> link{};
    for (int followed = 0; followed < kMostLinks; ++followed) {
        const ssize_t size = ::readlink(path.constData(), link.data(), link.size());
        if (size <= 0)
            return path;
        const QByteArray next(link.data(), static_cast<qsizetype>(size));
        path = next.startsWith('/') ? next : path.first(path.lastIndexOf('/') + 1) + next;
    }
    return path;
}

void requireWritable(const QString &path, const struct stat &entry)
{
    if (S_ISDIR(entry.st_mode))
        raise(err::pathFileAccess, path + QStringLiteral(": is a folder"));
    if (S_ISLNK(entry.st_mode))
        return;
    if ((entry.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        raise(err::pathFileAccess, path + QStringLiteral(": the file is read-only"));
    if (::faccessat(AT_FDCWD, native(path).constData(), W_OK, AT_EACCESS) != 0)
        raiseSystem(errno, path);
}

TemporaryFile::~TemporaryFile()
{
    if (!m_name.isEmpty())
        ::unlink(m_name.constData());
}

QByteArray TemporaryFile::freshName() const
{
    // Hidden, and without a suffix that any listing of the program looks for.
    return m_folder + '/' + QFile::encodeName(temporaryName());
}

int TemporaryFile::make(const QByteArray &folder, mode_t mode)
{
    m_folder = folder;
#ifdef O_TMPFILE
    if (::access("/proc/self/fd", X_OK) == 0)
        m_file = Descriptor(retrying([&] { return ::open(m_folder.constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode); }));
#endif
    for (int attempt = 0; !m_file.isOpen(); ++attempt) {
        const QByteArray name = freshName();
        m_file = Descriptor(retrying([&] { return ::open(name.constData(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, mode); }));
        if (m_file.isOpen())
            m_name = name;
        else if (errno != EEXIST || attempt == kMostNames)
            return errno;
    }
    holdTemporary(descriptor());
    return 0;
}

int TemporaryFile::giveAccess(const QByteArray &path, const struct stat &model, mode_t taken) const
{
    if (::geteuid() == 0)
        (void)::fchown(descriptor(), model.st_uid, static_cast<gid_t>(-1));
    std::array<char, 4096> list{};
    const char *const name = "system.posix_acl_access";
    // A file system may keep no such lists.
    const ssize_t size = path.isEmpty() ? 0 : ::getxattr(path.constData(), name, list.data(), list.size());
    if (size > 0)
        (void)::fsetxattr(descriptor(), name, list.data(), static_cast<std::size_t>(size), 0);
    mode_t mode = model.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO) & ~taken;
    struct stat now
    {
    };
    const bool inGroup = ::fstat(descriptor(), &now) == 0 && now.st_gid == model.st_gid;
    if (!inGroup && ::fchown(descriptor(), static_cast<uid_t>(-1), model.st_gid) != 0)
        mode &= ~static_cast<mode_t>(S_IRWXG);
    return ::fchmod(descriptor(), mode) == 0 ? 0 : errno;
}

int TemporaryFile::giveName()
{
    const QByteArray source = "/proc/self/fd/" + QByteArray::number(descriptor());
    for (int attempt = 0; m_name.isEmpty(); ++attempt) {
        const QByteArray name = freshName();
        if (::linkat(AT_FDCWD, source.constData(), AT_FDCWD, name.constData(), AT_SYMLINK_FOLLOW) == 0)
            m_name = name;
        else if (errno != EEXIST || attempt == kMostNames)
            return errno;
    }
    return 0;
}

int TemporaryFile::replace(const QByteArray &target)
{
    if (retrying([&] { return ::fsync(descriptor()); }) != 0)
        return errno;
    if (const int code = giveName(); code != 0)
        return code;
    // Held until it has its name: with an old file's time of change it looks left.
    if (::rename(m_name.constData(), target.constData()) != 0)
        return errno;
    m_name.clear();
    (void)m_file.close();
    // The new file is in place; some file systems refuse to flush a folder, which changes nothing about that.
    const Descriptor folder(::open(m_folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        (void)::fsync(folder.get());
    return 0;
}

Replacement::Replacement(const QString &target) : m_target(files::existingSpelling(target))
{
    m_old = entryAt(m_target);
    if (m_old && S_ISLNK(m_old->st_mode)) {
        m_target = QFile::decodeName(targetOf(native(m_target)));
        m_old = entryAt(m_target);
        if (m_old && S_ISLNK(m_old->st_mode))
            raiseSystem(ELOOP, target);
    }
    if (m_old)
        requireWritable(m_target, *m_old);
    else
        requireName(m_target);
}

Replacement::~Replacement() = default;

void Replacement::open(mode_t mode)
{
    if (const int code = m_file.make(native(folderOf(m_target)), mode); code != 0)
        raiseSystem(code, QStringLiteral("%1 (making a temporary file in its folder)").arg(m_target), err::pathNotFound);
}

void Replacement::write(const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = retrying([&] { return ::write(m_file.descriptor(), data, size); });
        if (written < 0)
            raiseSystem(errno, m_target);
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

void Replacement::commit()
{
    if (const int code = m_file.replace(native(m_target)); code != 0)
        raiseSystem(code, m_target, err::pathNotFound);
}

} // namespace qm::posix
