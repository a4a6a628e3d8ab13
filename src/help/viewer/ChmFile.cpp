#include "help/viewer/ChmFile.h"

#include "core/RuntimeError.h"
#include "platform/Files.h"

#include <QFileInfo>
#include <QHash>

#include <mspack.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace qm {

namespace {

/// Larger files and objects are taken for damaged ones: a help file of some kilobytes can claim to unpack to any size.
constexpr qint64 kLargestFile = 64U << 20U;
constexpr qint64 kLargestObject = 8U << 20U;
/// What the decompressor may take for the list of objects.
constexpr std::size_t kMostWorkingMemory = 64U << 20U;

/// What the decompressor reads from and writes to: memory. The file on disk may be replaced while the help is open.
struct Memory
{
    mspack_system system{}; ///< first: the decompressor hands it back as a pointer to itself
    QByteArray input;
    QByteArray output;
    std::size_t left = kMostWorkingMemory;
};

struct Stream
{
    Memory &memory;
    bool writes;
    qint64 at = 0;
};

Stream &streamOf(mspack_file *file)
{
    return *reinterpret_cast<Stream *>(file);
}

mspack_file *openStream(mspack_system *system, const char *, int mode)
{
    auto *memory = reinterpret_cast<Memory *>(system);
    if (mode == MSPACK_SYS_OPEN_WRITE)
        memory->output.clear();
    return reinterpret_cast<mspack_file *>(new Stream{*memory, mode == MSPACK_SYS_OPEN_WRITE});
}

void closeStream(mspack_file *file)
{
    delete &streamOf(file);
}

int readStream(mspack_file *file, void *buffer, int bytes)
{
    Stream &stream = streamOf(file);
    const qint64 count = std::min<qint64>(bytes, stream.memory.input.size() - stream.at);
    if (stream.writes || bytes < 0 || count < 0)
        return -1;
    std::memcpy(buffer, stream.memory.input.constData() + stream.at, static_cast<std::size_t>(count));
    stream.at += count;
    return static_cast<int>(count);
}

int writeStream(mspack_file *file, void *buffer, int bytes)
{
    Stream &stream = streamOf(file);
    if (!stream.writes || bytes < 0 || stream.memory.output.size() + bytes > kLargestObject)
        return -1;
    stream.memory.output.append(static_cast<const char *>(buffer), bytes);
    return bytes;
}

int seekStream(mspack_file *file, off_t offset, int mode)
{
    Stream &stream = streamOf(file);
    const qint64 from = mode == MSPACK_SYS_SEEK_CUR ? stream.at : mode == MSPACK_SYS_SEEK_END ? stream.memory.input.size() : 0;
    const qint64 target = from + offset;
    if (target < 0 || target > stream.memory.input.size())
        return -1;
    stream.at = target;
    return 0;
}

off_t tellStream(mspack_file *file)
{
    return streamOf(file).at;
}

void ignoreMessage(mspack_file *, const char *, ...) {}

void *allocate(mspack_system *system, std::size_t bytes)
{
    // The library unpacks with a copy of the system that has a writer of its own, and takes little more than a window of some megabytes
    // then.
    if (system->write == writeStream) {
        auto *memory = reinterpret_cast<Memory *>(system);
        if (bytes > memory->left)
            return nullptr;
        memory->left -= bytes;
    }
    return std::malloc(bytes);
}

void copyBytes(void *from, void *to, std::size_t bytes)
{
    std::memcpy(to, from, bytes);
}

constexpr mspack_system kMemorySystem{openStream,    closeStream, readStream, writeStream, seekStream, tellStream,
                                      ignoreMessage, allocate,    std::free,  copyBytes,   nullptr};

} // namespace

struct ChmFile::Handle
{
    ~Handle()
    {
        if (header)
            decompressor->close(decompressor, header);
        if (decompressor)
            mspack_destroy_chm_decompressor(decompressor);
    }

    Memory memory;
    mschm_decompressor *decompressor = nullptr;
    mschmd_header *header = nullptr;
    QHash<QString, mschmd_file *> objects; ///< by folded path
};

ChmFile::ChmFile(const QString &path) : m_handle(std::make_unique<Handle>())
{
    if (!files::fileExists(path))
        raise(err::fileNotFound, QStringLiteral("the help file \"%1\" is missing; install it again").arg(path));
    Handle &handle = *m_handle;
    if (QFileInfo(path).size() <= kLargestFile)
        handle.memory.input = files::readAll(path);
    handle.memory.system = kMemorySystem;
    handle.decompressor = mspack_create_chm_decompressor(&handle.memory.system);
    if (handle.decompressor)
        handle.header = handle.decompressor->open(handle.decompressor, "");
    if (!handle.header)
        raise(err::invalidFileFormat, QStringLiteral("the help file \"%1\" cannot be read; install it again").arg(path));
    for (mschmd_file *file = handle.header->files; file; file = file->next)
        handle.objects.insert(QString::fromUtf8(file->filename).toCaseFolded(), file);
}

ChmFile::~ChmFile() = default;

std::optional<QByteArray> ChmFile::read(const QString &objectPath) const
{
    mschmd_file *object = m_handle->objects.value(objectPath.toCaseFolded());
    if (!object || object->length > kLargestObject)
        return std::nullopt;
    m_handle->memory.left = kMostWorkingMemory;
    if (m_handle->decompressor->extract(m_handle->decompressor, object, "") != MSPACK_ERR_OK ||
        m_handle->memory.output.size() != object->length)
        return std::nullopt;
    return std::exchange(m_handle->memory.output, {});
}

} // namespace qm
