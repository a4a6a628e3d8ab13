#include "documents/OutputFile.h"

#include "core/RuntimeError.h"
#include "documents/OutputDevice.h"
#include "platform/Sha256.h"

#include <algorithm>

namespace qm {

struct OutputFile::Digest
{
    Sha256 sha;
};

OutputFile::OutputFile(const QString &target)
    : m_target(target), m_device(std::make_unique<Device>(target)), m_digest(std::make_unique<Digest>()),
      m_buffer(std::make_unique<char[]>(kBufferSize))
{
}

OutputFile::~OutputFile() = default;

void OutputFile::flushBuffer()
{
    const std::string_view bytes(m_buffer.get(), m_buffered);
    m_device->append(bytes);
    if (!m_digestAtCommit)
        m_digest->sha.update(bytes);
    m_flushed += m_buffered;
    m_buffered = 0;
}

void OutputFile::writeSlow(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (m_buffered == kBufferSize)
            flushBuffer();
        const std::size_t part = std::min(bytes.size(), kBufferSize - m_buffered);
        bytes.copy(m_buffer.get() + m_buffered, part);
        m_buffered += part;
        bytes.remove_prefix(part);
    }
}

void OutputFile::patch(std::uint64_t offset, std::string_view bytes)
{
    if (offset > position() || bytes.size() > position() - offset) {
        raise(err::invalidProcedureCall, QStringLiteral("A field outside what was written to \"%1\" was to be filled in.").arg(m_target),
              kFrameworkSource);
    }
    if (offset < m_flushed) {
        const auto onDisk = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), m_flushed - offset));
        m_device->overwrite(offset, bytes.substr(0, onDisk));
        m_digestAtCommit = true;
        offset += onDisk;
        bytes.remove_prefix(onDisk);
    }
    bytes.copy(m_buffer.get() + (offset - m_flushed), bytes.size());
}

std::string OutputFile::digestOfFile() const
{
    Sha256 sha;
    std::uint64_t offset = 0;
    // The buffer has been flushed, so it is free to read into.
    while (const std::size_t got = m_device->read(offset, m_buffer.get(), kBufferSize)) {
        sha.update({m_buffer.get(), got});
        offset += got;
    }
    return sha.hex().toStdString();
}

OutputFile::Committed OutputFile::commit()
{
    flushBuffer();
    Committed committed{m_flushed, m_digestAtCommit ? digestOfFile() : m_digest->sha.hex().toStdString()};
    m_device->publish();
    return committed;
}

} // namespace qm
