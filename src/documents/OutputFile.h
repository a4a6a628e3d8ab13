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
///
/// A target that is a link is followed. A target that is a device or a pipe receives the whole report on commit.
class OutputFile final
{
public:
    /// \throws RuntimeError 76 folder missing, 75 folder not writable or the target is a folder, 70 the target is open elsewhere or
    /// read-only, 52 no such name possible.
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

    /// Most bytes that room() gives at once.
    static constexpr std::size_t kMaxRoom = std::size_t{1} << 18;
    /// The write position in the buffer with room for \p bytes (at most kMaxRoom), to be filled in place; advanceTo() says how far it was.
    [[nodiscard]] char *room(std::size_t bytes)
    {
        if (bytes > kBufferSize - m_buffered)
            flushBuffer();
        return m_buffer.get() + m_buffered;
    }
    void advanceTo(const char *end) { m_buffered = static_cast<std::size_t>(end - m_buffer.get()); }

    /// Overwrites bytes already written (a fixed-width field filled in at the end). \p offset + size must lie before position().
    void patch(std::uint64_t offset, std::string_view bytes);
    /// Says that patch() will be used, so that the digest is taken once, at commit.
    void expectPatch() { m_digestAtCommit = true; }
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
    static constexpr std::size_t kBufferSize = kMaxRoom;
    void writeSlow(std::string_view bytes);
    void flushBuffer();
    [[nodiscard]] std::string digestOfFile() const;

    struct Device;
    struct Digest;
    QString m_target;
    std::unique_ptr<Device> m_device;
    std::unique_ptr<Digest> m_digest;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_buffered = 0;
    std::uint64_t m_flushed = 0;
    bool m_digestAtCommit = false;
};

} // namespace qm
