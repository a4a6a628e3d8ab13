/// \file
/// A zip archive written from front to back, by the .ZIP File Format Specification (APPNOTE) of PKWARE.
#pragma once

#include "documents/OutputFile.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// One member at a time is compressed as it is written, its sizes following it in a data descriptor, so nothing is ever gone back to and
/// memory stays the same for any size. The archive may grow beyond 4 GB (zip64), a member may not. Members carry no date: equal input,
/// equal bytes.
class ZipStream final
{
public:
    static constexpr std::uint64_t kLargest32 = 0xFFFFFFFF;
    /// \p zip64From: the offset from which the wide forms are used.
    explicit ZipStream(OutputFile &file, std::uint64_t zip64From = kLargest32);
    ~ZipStream();
    ZipStream(const ZipStream &) = delete;
    ZipStream &operator=(const ZipStream &) = delete;

    /// Begins a member. \p name in ASCII, with slashes.
    void open(std::string name);
    void write(std::string_view bytes);
    /// Room for \p bytes (at most kMaxRoom) to be filled in place; advanceTo() says how far it was.
    static constexpr std::size_t kMaxRoom = std::size_t{1} << 16;
    [[nodiscard]] char *room(std::size_t bytes)
    {
        if (bytes > kBufferSize - m_buffered)
            compress(false);
        return m_buffer.get() + m_buffered;
    }
    void advanceTo(const char *end) { m_buffered = static_cast<std::size_t>(end - m_buffer.get()); }
    /// Uncompressed bytes of the open member so far.
    [[nodiscard]] std::uint64_t memberSize() const { return m_taken + m_buffered; }
    void close();

    /// Opens, writes and closes a member.
    void add(std::string name, std::string_view content);
    /// Writes the directory. Nothing may follow.
    void finish();

private:
    struct Member
    {
        std::string name;
        std::uint64_t offset = 0, packed = 0, size = 0;
        std::uint32_t crc = 0;
    };
    static constexpr std::size_t kBufferSize = 2 * kMaxRoom;
    void compress(bool last);
    void writeDirectoryEntry(const Member &member);

    struct Deflate;
    OutputFile &m_file;
    std::uint64_t m_zip64From;
    std::unique_ptr<Deflate> m_deflate;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_buffered = 0;
    std::uint64_t m_taken = 0;
    std::vector<Member> m_members;
};

} // namespace qm
