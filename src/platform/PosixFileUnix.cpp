#include "platform/PosixFileUnix.h"

#include <QFile>
#include <QRandomGenerator>

#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace qm::posix {

namespace {

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

} // namespace

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
    const char *said = ::strerrordesc_np(code);
    raise(classicNumber(code, missing), what + QStringLiteral(": ") + QString::fromLatin1(said == nullptr ? "unknown system error" : said));
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

Replacement::Replacement(const QString &target) : m_target(files::existingSpelling(target))
{
    m_old = entryAt(m_target);
    if (m_old && S_ISLNK(m_old->st_mode)) {
        struct stat behind
        {
        };
        char *real = ::realpath(native(m_target).constData(), nullptr);
        if (real != nullptr && ::stat(real, &behind) == 0) {
            m_target = QFile::decodeName(real);
            m_old = behind;
        }
        std::free(real);
    }
    if (m_old)
        requireWritable(m_target, *m_old);
    else
        requireName(m_target);
}

Replacement::~Replacement()
{
    if (!m_temporary.isEmpty())
        ::unlink(m_temporary.constData());
}

void Replacement::open(mode_t mode)
{
    const QByteArray folder = native(folderOf(m_target));
    for (int attempt = 0; attempt < 100; ++attempt) {
        // Hidden, and without a suffix that any listing of the program looks for.
        const QByteArray candidate = folder + "/.quillmark-" + QByteArray::number(QRandomGenerator::system()->generate64(), 36) + ".tmp";
        m_file =
            Descriptor(retrying([&] { return ::open(candidate.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode); }));
        if (m_file.isOpen()) {
            m_temporary = candidate;
            return;
        }
        if (errno != EEXIST)
            break;
    }
    raiseSystem(errno, QStringLiteral("%1 (making a temporary file in its folder)").arg(m_target), err::pathNotFound);
}

void Replacement::write(const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = retrying([&] { return ::write(m_file.get(), data, size); });
        if (written < 0)
            raiseSystem(errno, m_target);
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

void Replacement::commit()
{
    if (retrying([&] { return ::fsync(m_file.get()); }) != 0)
        raiseSystem(errno, m_target);
    if (const int code = m_file.close(); code != 0)
        raiseSystem(code, m_target);
    if (::rename(m_temporary.constData(), native(m_target).constData()) != 0)
        raiseSystem(errno, m_target, err::pathNotFound);
    m_temporary.clear();
    // The new file is in place; some file systems refuse to flush a folder, which changes nothing about that.
    const Descriptor folder(::open(native(folderOf(m_target)).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        (void)::fsync(folder.get());
}

} // namespace qm::posix
