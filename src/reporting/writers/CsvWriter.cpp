#include "reporting/writers/NumberText.h"
#include "reporting/writers/TextScan.h"
#include "reporting/writers/Writers.h"

#include <algorithm>
#include <array>

namespace qm {

namespace {

using textscan::copyRun;
using textscan::put;

/// Text is taken in pieces whose worst case (each byte an invalid one) fits the buffer.
constexpr std::ptrdiff_t kPiece = 1 << 14;
constexpr std::size_t kPieceRoom = 4 * static_cast<std::size_t>(kPiece) + 64;

/// Skips what a spreadsheet overlooks in front of a formula.
std::string_view withoutLeadingBlanks(std::string_view text)
{
    static constexpr std::array<std::string_view, 5> kBlanks{" ", "\xC2\xA0", "\xE3\x80\x80", "\xEF\xBB\xBF", "\xE2\x80\x8B"};
    for (bool found = true; found;) {
        found = false;
        for (const std::string_view blank : kBlanks) {
            if (text.starts_with(blank)) {
                text.remove_prefix(blank.size());
                found = true;
            }
        }
    }
    return text;
}

bool needsQuotes(char c)
{
    return c == '"' || c == ',' || c == '\r' || c == '\n';
}

bool isPlainNumber(std::string_view text)
{
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        text.remove_prefix(1);
    }
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto point = std::find_if_not(text.begin(), text.end(), isDigit);
    const bool wholeThere = point != text.begin();
    if (point == text.end() || *point != '.') {
        return wholeThere && point == text.end();
    }
    return wholeThere && point + 1 != text.end() && std::all_of(point + 1, text.end(), isDigit);
}

/// Whether a spreadsheet would take \p text for a formula or a command. A plain number does no harm and stays a number.
bool looksLikeFormula(std::string_view text)
{
    static constexpr std::array<std::string_view, 4> kFullWidth{"\xEF\xBC\x9D", "\xEF\xBC\x8B", "\xEF\xBC\x8D", "\xEF\xBC\xA0"};
    const std::string_view start = withoutLeadingBlanks(text);
    if (start.empty()) {
        return false;
    }
    if (std::string_view("=+-@\t\r\n").find(start.front()) != std::string_view::npos) {
        return !isPlainNumber(text);
    }
    return std::any_of(kFullWidth.begin(), kFullWidth.end(), [&](std::string_view sign) { return start.starts_with(sign); });
}

/// RFC 4180 in UTF-8: the field names, then the rows, and nothing else, so that programs read it and it can be imported again. Numbers in
/// their shortest form, dates as the database gave them, blobs in hexadecimal, NULL as an empty field and empty text as two quotes.
class CsvWriter final : public ReportWriter
{
public:
    CsvWriter(OutputFile &file, const CsvOptions &options) : m_file(file), m_options(options) {}

    void begin(const ReportHead &head, std::span<const ReportColumn> columns) override;
    void row(std::span<const Value> cells) override;
    void end(const ReportTail &tail) override;

private:
    void writeField(const Value &value);
    void writeText(std::string_view text, bool alwaysQuoted);
    void writeCarefully(std::string_view text, bool quoted, bool guarded);
    void writeEncoded(std::string_view text);
    void writeBlob(std::string_view blob);

    OutputFile &m_file;
    CsvOptions m_options;
    std::string m_hex;
};

void CsvWriter::begin(const ReportHead &, std::span<const ReportColumn> columns)
{
    if (m_options.byteOrderMark) {
        m_file.write("\xEF\xBB\xBF");
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        m_file.write(i == 0 ? "" : ",");
        // Spreadsheets take a file that starts with the letters ID for another format; the quotes prevent it.
        writeText(columns[i].field, i == 0 && columns[i].field.starts_with("ID"));
    }
    m_file.write("\r\n");
}

void CsvWriter::row(std::span<const Value> cells)
{
    if (cells.size() == 1 && cells.front().isNull()) {
        // An empty line would be no record to most readers.
        m_file.write("\"\"\r\n");
        return;
    }
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0) {
            m_file.write(",");
        }
        writeField(cells[i]);
    }
    m_file.write("\r\n");
}

void CsvWriter::writeField(const Value &value)
{
    switch (value.kind) {
    case Value::Kind::Null:
        return;
    case Value::Kind::Integer:
        m_file.advanceTo(numbers::writeInteger(value.integer, m_file.room(numbers::kMaxText)));
        return;
    case Value::Kind::Real:
        m_file.advanceTo(numbers::writeShortest(value.real, m_file.room(numbers::kMaxText)));
        return;
    case Value::Kind::Text:
        writeText(value.text(), false);
        return;
    case Value::Kind::Blob:
        writeBlob(value.text());
        return;
    }
}

void CsvWriter::writeText(std::string_view text, bool alwaysQuoted)
{
    const bool guarded = m_options.guardFormulas && looksLikeFormula(text);
    if (text.empty() || text.size() > static_cast<std::size_t>(kPiece) || guarded || alwaysQuoted) {
        writeCarefully(text, alwaysQuoted, guarded);
        return;
    }
    // The usual case in one pass: copied while it is looked through.
    const char *in = text.data();
    const char *const end = in + text.size();
    char *const start = m_file.room(kPieceRoom);
    char *out = start;
    copyRun<textscan::StopAt<0x20, '"', ','>>(in, end, out);
    if (in == end) {
        m_file.advanceTo(out);
        return;
    }
    if (!needsQuotes(*in)) {
        writeCarefully(text, false, false);
        return;
    }
    std::memmove(start + 1, start, static_cast<std::size_t>(out - start));
    *start = '"';
    m_file.advanceTo(out + 1);
    writeEncoded({in, static_cast<std::size_t>(end - in)});
    m_file.write("\"");
}

void CsvWriter::writeCarefully(std::string_view text, bool quoted, bool guarded)
{
    quoted = quoted || text.empty() || std::any_of(text.begin(), text.end(), needsQuotes);
    m_file.write(quoted ? "\"" : "");
    m_file.write(guarded ? "'" : "");
    writeEncoded(text);
    m_file.write(quoted ? "\"" : "");
}

/// Doubles quotes. Invalid UTF-8 becomes replacement characters and NUL its control picture, since readers stop at either.
void CsvWriter::writeEncoded(std::string_view text)
{
    using Stop = textscan::StopAt<1, '"'>;
    const char *in = text.data();
    const char *const end = in + text.size();
    while (in != end) {
        const char *const pieceEnd = end - in > kPiece ? in + kPiece : end;
        char *out = m_file.room(kPieceRoom);
        while (in < pieceEnd) {
            copyRun<Stop>(in, pieceEnd, out);
            while (in < pieceEnd && Stop::byte(*in)) {
                if (*in == '"') {
                    out = put(out, "\"\"");
                    ++in;
                    continue;
                }
                const textscan::Decoded next = textscan::decode(in, end);
                out = textscan::encode(next.codePoint == 0 ? 0x2400 : next.codePoint, out);
                in += next.bytes;
            }
        }
        m_file.advanceTo(out);
    }
}

void CsvWriter::writeBlob(std::string_view blob)
{
    constexpr std::size_t kPart = 1 << 16;
    m_file.write(blob.empty() ? "\"\"" : "");
    for (; !blob.empty(); blob.remove_prefix(std::min(blob.size(), kPart))) {
        m_hex.clear();
        textscan::appendHex(blob.substr(0, kPart), m_hex);
        m_file.write(m_hex);
    }
}

void CsvWriter::end(const ReportTail &) {}

} // namespace

std::unique_ptr<ReportWriter> makeCsvWriter(OutputFile &file, const CsvOptions &options)
{
    return std::make_unique<CsvWriter>(file, options);
}

} // namespace qm
