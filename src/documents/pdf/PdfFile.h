/// \file
/// The file structure of a PDF: numbered objects, compressed streams, the cross-reference table.
#pragma once

#include "documents/OutputFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qm::pdf {

/// Writes objects in any order, each once. Keeps eight bytes per object and nothing else, so memory stays flat.
/// Follows ISO 32000-1 (PDF 1.7), 7.5 "File structure".
class PdfFile final
{
public:
    explicit PdfFile(OutputFile &file);
    ~PdfFile();
    PdfFile(const PdfFile &) = delete;
    PdfFile &operator=(const PdfFile &) = delete;

    /// Takes \p count object numbers in a row to be written later; gives the first.
    int reserve(int count = 1);

    /// \p body: the object without "obj" and "endobj".
    void writeObject(int number, std::string_view body);

    /// \p entries: dictionary entries other than Length and Filter, for example "/Type/XObject".
    enum class Packing { None, Fast, Small };
    void writeStream(int number, std::string_view entries, std::string_view data, Packing packing = Packing::Fast);

    /// Writes the cross-reference table and the trailer. Every reserved number must have been written.
    /// \p identifier: 32 hexadecimal digits.
    void finish(int catalogue, int information, std::string_view identifier);

    /// Bytes written up to now.
    [[nodiscard]] std::uint64_t position() const { return m_file.position(); }

private:
    void beginObject(int number);

    class Deflater;
    OutputFile &m_file;
    std::unique_ptr<Deflater> m_fast, m_small;
    std::vector<std::uint64_t> m_offsets; ///< by object number - 1
    std::string m_scratch;
};

} // namespace qm::pdf
