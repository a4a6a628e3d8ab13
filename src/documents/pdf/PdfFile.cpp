#include "documents/pdf/PdfFile.h"

#include "core/RuntimeError.h"
#include "documents/pdf/PdfSyntax.h"

#include <libdeflate.h>

#include <cstdio>

namespace qm::pdf {

namespace {
/// The offsets of a cross-reference table have ten digits (ISO 32000-1, 7.5.4).
constexpr std::uint64_t kLargestOffset = 9'999'999'999U;
} // namespace

/// A compressor for whole streams, used again and again.
class PdfFile::Deflater final
{
public:
    explicit Deflater(int level) : m_compressor(libdeflate_alloc_compressor(level))
    {
        if (!m_compressor)
            raise(err::outOfMemory, QStringLiteral("The PDF file could not be compressed."), kFrameworkSource);
    }

    std::string_view compress(std::string_view data)
    {
        const std::size_t bound = libdeflate_zlib_compress_bound(m_compressor.get(), data.size());
        if (m_buffer.size() < bound)
            m_buffer.resize(bound);
        const std::size_t size = libdeflate_zlib_compress(m_compressor.get(), data.data(), data.size(), m_buffer.data(), m_buffer.size());
        return {m_buffer.data(), size};
    }

private:
    struct Free
    {
        void operator()(libdeflate_compressor *compressor) const { libdeflate_free_compressor(compressor); }
    };
    std::unique_ptr<libdeflate_compressor, Free> m_compressor;
    std::string m_buffer;
};

PdfFile::PdfFile(OutputFile &file) : m_file(file), m_fast(std::make_unique<Deflater>(1))
{
    // The comment of high bytes tells transfer programs that the file is binary.
    m_file.write("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
}

PdfFile::~PdfFile() = default;

int PdfFile::reserve(int count)
{
    m_offsets.resize(m_offsets.size() + static_cast<std::size_t>(count));
    return static_cast<int>(m_offsets.size()) - count + 1;
}

void PdfFile::beginObject(int number)
{
    if (m_file.position() > kLargestOffset)
        raise(err::overflow,
              QStringLiteral("The report \"%1\" is larger than a PDF file can be (10 GB). Choose a shorter period, or another format.")
                  .arg(m_file.target()),
              kFrameworkSource);
    m_offsets[static_cast<std::size_t>(number - 1)] = m_file.position();
    m_scratch.clear();
    appendNumber(m_scratch, number);
    m_scratch += " 0 obj\n";
}

void PdfFile::writeObject(int number, std::string_view body)
{
    beginObject(number);
    m_scratch += body;
    m_scratch += "\nendobj\n";
    m_file.write(m_scratch);
}

void PdfFile::writeStream(int number, std::string_view entries, std::string_view data, Packing packing)
{
    if (packing == Packing::Small && !m_small)
        m_small = std::make_unique<Deflater>(6);
    if (packing != Packing::None)
        data = (packing == Packing::Fast ? m_fast : m_small)->compress(data);
    beginObject(number);
    m_scratch += "<<";
    m_scratch += entries;
    m_scratch += "/Length ";
    appendNumber(m_scratch, static_cast<std::int64_t>(data.size()));
    m_scratch += packing == Packing::None ? ">>stream\n" : "/Filter/FlateDecode>>stream\n";
    m_file.write(m_scratch);
    m_file.write(data);
    m_file.write("\nendstream\nendobj\n");
}

void PdfFile::finish(int catalogue, int information, std::string_view identifier)
{
    const std::uint64_t start = m_file.position();
    std::string text = "xref\n0 ";
    appendNumber(text, static_cast<std::int64_t>(m_offsets.size()) + 1);
    text += "\n0000000000 65535 f \n";
    for (const std::uint64_t offset : m_offsets) {
        char entry[32];
        const int length = std::snprintf(entry, sizeof entry, "%010llu 00000 n \n", static_cast<unsigned long long>(offset));
        text.append(entry, static_cast<std::size_t>(length));
        if (text.size() > 32768) {
            m_file.write(text);
            text.clear();
        }
    }
    text += "trailer\n<</Size ";
    appendNumber(text, static_cast<std::int64_t>(m_offsets.size()) + 1);
    text += "/Root ";
    appendReference(text, catalogue);
    text += "/Info ";
    appendReference(text, information);
    text.append("/ID[<").append(identifier).append("><").append(identifier).append(">]>>\nstartxref\n");
    appendNumber(text, static_cast<std::int64_t>(start));
    text += "\n%%EOF\n";
    m_file.write(text);
}

} // namespace qm::pdf
