#include "engine/rows/ScratchFile.h"

#include "core/RuntimeError.h"

#include <QDir>
#include <QFileInfo>

#include <utility>

namespace qm {

ScratchFile::ScratchFile(QString purpose) : m_purpose(std::move(purpose)), m_work(std::make_unique<WorkFolder>())
{
    m_file = std::make_unique<QFile>(m_work->path() + QStringLiteral("rows"));
    m_folder = QDir::toNativeSeparators(QFileInfo(QDir(m_work->path()).absolutePath()).absolutePath());
    if (!m_file->open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered))
        raise(err::pathFileAccess, QStringLiteral("\"%1\": %2").arg(m_file->fileName(), m_file->errorString()), kFrameworkSource);
    // Not remove(): that would close it first.
    if (QFile::remove(m_file->fileName()))
        m_work.reset();
}

void ScratchFile::append(std::span<const char> bytes)
{
    const auto size = static_cast<qint64>(bytes.size());
    if (!m_file->seek(m_size) || m_file->write(bytes.data(), size) != size)
        raise(err::diskFull,
              QStringLiteral("while writing %1 into the temporary folder %2 (%3). Free some space there, or shorten the report's period.")
                  .arg(m_purpose, m_folder, m_file->errorString()),
              kFrameworkSource);
    m_size += size;
}

void ScratchFile::read(std::int64_t offset, std::span<char> bytes)
{
    if (!m_file->seek(offset) || m_file->read(bytes.data(), static_cast<qint64>(bytes.size())) != static_cast<qint64>(bytes.size()))
        raise(err::deviceIo,
              QStringLiteral("while reading back %1 from the temporary folder %2 (%3)").arg(m_purpose, m_folder, m_file->errorString()),
              kFrameworkSource);
}

} // namespace qm
