/// \file
/// A report file being written: beside its target, renamed onto it when whole.
#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace qm {

/// Collects bytes in one large buffer, writes them to a temporary file in the target's folder, and puts that file in the target's place on
/// commit. Destroyed without commit it removes the temporary file. Not copyable; one writer at a time.
class OutputFile final
{
public:
    /// \throws RuntimeError 76 folder missing, 75 not writable, 70 the target is open elsewhere or read-only.
    explicit OutputFile(const QString &target);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    /// \throws RuntimeError 61 disk full, 57 other device errors.
    void write(std::string_view bytes)
    {
        if (bytes.size() > kBufferSize - m_buffered) {
            writeSlow(bytes);
            return;
        }
        bytes.copy(m_buffer.get() + m_buffered, bytes.size());
        m_buffered += bytes.size();
    }
    /// Overwrites bytes already written (a fixed-width field filled in at the end). \p offset + size must lie before position().
    void patch(std::uint64_t offset, std::string_view bytes);
    [[nodiscard]] std::uint64_t position() const { return m_flushed + m_buffered; }

    /// Flushes to the disk, renames onto the target, and gives size and SHA-256 of what was written.
    struct Committed
    {
        std::uint64_t bytes = 0;
        std::string sha256; ///< 64 lower-case hexadecimal digits
    };
    Committed commit();

    [[nodiscard]] const QString &target() const { return m_target; }

private:
    static constexpr std::size_t kBufferSize = std::size_t{1} << 18;
    void writeSlow(std::string_view bytes);
    void flushBuffer();

    struct Device;
    QString m_target;
    std::unique_ptr<Device> m_device;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_buffered = 0;
    std::uint64_t m_flushed = 0;
};

} // namespace qm
