#include "documents/xlsx/ZipStream.h"

#include "core/RuntimeError.h"

#include <algorithm>
#include <zlib.h>

namespace qm {

namespace {

constexpr std::uint16_t kVersion = 20, kVersionZip64 = 45;
constexpr std::uint16_t kFlags = 0x0808; ///< sizes in a data descriptor, names in UTF-8
constexpr std::uint16_t kDeflated = 8;
constexpr std::uint16_t kFirstDay = 0x0021; ///< 1980-01-01
constexpr int kLevel = 1;

/// Collects little-endian numbers.
struct Fields
{
    std::string bytes;

    Fields &number(std::uint64_t value, unsigned width)
    {
        for (unsigned i = 0; i < width; ++i)
            bytes += static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
        return *this;
    }
    Fields &u16(std::uint64_t value) { return number(value, 2); }
    Fields &u32(std::uint64_t value) { return number(value, 4); }
    Fields &u64(std::uint64_t value) { return number(value, 8); }
};

} // namespace

struct ZipStream::Deflate
{
    z_stream stream{};
    Deflate()
    {
        if (deflateInit2(&stream, kLevel, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK)
            raise(err::outOfMemory, QStringLiteral("Compressing the report could not be started."), kFrameworkSource);
    }
    ~Deflate() { deflateEnd(&stream); }
    Deflate(const Deflate &) = delete;
    Deflate &operator=(const Deflate &) = delete;
};

ZipStream::ZipStream(OutputFile &file, std::uint64_t zip64From)
    : m_file(file), m_zip64From(zip64From), m_deflate(std::make_unique<Deflate>()), m_buffer(std::make_unique<char[]>(kBufferSize))
{
}

ZipStream::~ZipStream() = default;

void ZipStream::open(std::string name)
{
    Fields header;
    header.u32(0x04034B50).u16(kVersion).u16(kFlags).u16(kDeflated).u16(0).u16(kFirstDay).u32(0).u32(0).u32(0).u16(name.size()).u16(0);
    Member &member = m_members.emplace_back();
    member.offset = m_file.position();
    m_file.write(header.bytes);
    m_file.write(name);
    member.name = std::move(name);
    deflateReset(&m_deflate->stream);
    m_taken = 0;
}

void ZipStream::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t part = std::min(bytes.size(), kMaxRoom);
        char *const to = room(part);
        bytes.copy(to, part);
        advanceTo(to + part);
        bytes.remove_prefix(part);
    }
}

void ZipStream::compress(bool last)
{
    constexpr std::size_t kPart = std::size_t{1} << 16;
    Member &member = m_members.back();
    z_stream &stream = m_deflate->stream;
    stream.next_in = reinterpret_cast<Bytef *>(m_buffer.get());
    stream.avail_in = static_cast<uInt>(m_buffered);
    member.crc = static_cast<std::uint32_t>(crc32(member.crc, stream.next_in, stream.avail_in));
    do {
        char *const to = m_file.room(kPart);
        stream.next_out = reinterpret_cast<Bytef *>(to);
        stream.avail_out = static_cast<uInt>(kPart);
        deflate(&stream, last ? Z_FINISH : Z_NO_FLUSH);
        const std::size_t packed = kPart - stream.avail_out;
        m_file.advanceTo(to + packed);
        member.packed += packed;
        // A full output part means that more is waiting.
    } while (stream.avail_out == 0);
    m_taken += m_buffered;
    m_buffered = 0;
}

void ZipStream::close()
{
    compress(true);
    Member &member = m_members.back();
    member.size = m_taken;
    if (member.size > kLargest32 || member.packed > kLargest32)
        raise(err::overflow, QStringLiteral("A part of \"%1\" is larger than 4 GB.").arg(m_file.target()), kFrameworkSource);
    m_file.write(Fields().u32(0x08074B50).u32(member.crc).u32(member.packed).u32(member.size).bytes);
}

void ZipStream::add(std::string name, std::string_view content)
{
    open(std::move(name));
    write(content);
    close();
}

void ZipStream::writeDirectoryEntry(const Member &member)
{
    const bool wide = member.offset >= m_zip64From;
    const std::uint16_t version = wide ? kVersionZip64 : kVersion;
    Fields extra;
    if (wide)
        extra.u16(1).u16(8).u64(member.offset);
    Fields entry;
    entry.u32(0x02014B50).u16(version).u16(version).u16(kFlags).u16(kDeflated).u16(0).u16(kFirstDay);
    entry.u32(member.crc).u32(member.packed).u32(member.size).u16(member.name.size()).u16(extra.bytes.size());
    entry.u16(0).u16(0).u16(0).u32(0).u32(wide ? kLargest32 : member.offset);
    m_file.write(entry.bytes);
    m_file.write(member.name);
    m_file.write(extra.bytes);
}

void ZipStream::finish()
{
    const std::uint64_t start = m_file.position();
    for (const Member &member : m_members)
        writeDirectoryEntry(member);
    const std::uint64_t end = m_file.position();
    const std::uint64_t count = m_members.size();
    const bool wide = start >= m_zip64From;
    Fields tail;
    if (wide) {
        tail.u32(0x06064B50).u64(44).u16(kVersionZip64).u16(kVersionZip64).u32(0).u32(0).u64(count).u64(count).u64(end - start).u64(start);
        tail.u32(0x07064B50).u32(0).u64(end).u32(1);
    }
    tail.u32(0x06054B50).u16(0).u16(0).u16(count).u16(count).u32(end - start).u32(wide ? kLargest32 : start).u16(0);
    m_file.write(tail.bytes);
}

} // namespace qm
