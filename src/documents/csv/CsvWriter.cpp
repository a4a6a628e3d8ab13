#include "core/Utf8.h"
#include "documents/NumberText.h"
#include "documents/TextScan.h"
#include "documents/Writers.h"

#include <algorithm>
#include <array>
#include <vector>

namespace qm {

namespace {

using textscan::copyRun;
using textscan::put;

/// Doubles quotes. Invalid UTF-8 becomes replacement characters and NUL its control picture, since readers stop at either.
char *writeSpecial(const char *&in, const char *end, char *out)
{
    if (*in == '"') {
        ++in;
        return put(out, "\"\"");
    }
    const utf8::Decoded next = utf8::decode(in, end);
    in += next.bytes;
    return utf8::encode(next.codePoint == 0 ? 0x2400 : next.codePoint, out);
}

using Escaper = textscan::Escaper<textscan::StopAt<1, '"'>, writeSpecial, 4>;
/// Texts up to this size are copied at once.
constexpr std::size_t kPiece = Escaper::kRoom - 64;

/// Skips what a spreadsheet overlooks in front of a formula.
std::string_view withoutLeadingBlanks(std::string_view text)
{
    static constexpr std::array<std::string_view, 6> kBlanks{" ", "\"", "\xC2\xA0", "\xE3\x80\x80", "\xEF\xBB\xBF", "\xE2\x80\x8B"};
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
    if (!text.empty() && (text.front() == '-' || text.front() == '+'))
        text.remove_prefix(1);
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto point = std::find_if_not(text.begin(), text.end(), isDigit);
    const bool wholeThere = point != text.begin();
    if (point == text.end() || *point != '.')
        return wholeThere && point == text.end();
    return wholeThere && point + 1 != text.end() && std::all_of(point + 1, text.end(), isDigit);
}

/// Where the next cell of \p text begins to a spreadsheet whose list separator is not the comma, and which so does not see our quotes:
/// behind a semicolon, a tab or a line break. npos: nowhere.
std::size_t nextCell(std::string_view text, std::size_t from)
{
    const auto ends = [](char c) { return c == ';' || c == '\t' || c == '\r' || c == '\n'; };
    const auto found = std::find_if(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), ends);
    return found == text.end() ? std::string_view::npos : static_cast<std::size_t>(found - text.begin()) + 1;
}

/// Whether a spreadsheet would take the cell that begins at \p from for a formula or a command. A plain number does no harm and stays one.
bool looksLikeFormula(std::string_view text, std::size_t from)
{
    static constexpr std::array<std::string_view, 4> kFullWidth{"\xEF\xBC\x9D", "\xEF\xBC\x8B", "\xEF\xBC\x8D", "\xEF\xBC\xA0"};
    const std::string_view start = withoutLeadingBlanks(text.substr(from));
    if (start.empty())
        return false;
    const std::string_view signs = from == 0 ? "=+-@\t\r\n" : "=+-@";
    if (signs.find(start.front()) != std::string_view::npos) {
        const std::size_t next = from == 0 ? std::string_view::npos : nextCell(text, from);
        return !isPlainNumber(text.substr(from, next == std::string_view::npos ? next : next - 1 - from));
    }
    return std::any_of(kFullWidth.begin(), kFullWidth.end(), [&](std::string_view sign) { return start.starts_with(sign); });
}

/// The places in \p text where a formula would begin.
std::vector<std::size_t> formulaStarts(std::string_view text)
{
    std::vector<std::size_t> starts;
    for (std::size_t from = 0; from != std::string_view::npos; from = nextCell(text, from))
        if (looksLikeFormula(text, from))
            starts.push_back(from);
    return starts;
}

/// RFC 4180 in UTF-8: the field names, then the rows, and nothing else, so that programs read it and it can be imported again. Numbers in
/// their shortest form, dates as the database gave them, blobs in hexadecimal, NULL as an empty field and empty text as two quotes.
class CsvWriter final : public ReportWriter
{
public:
    CsvWriter(OutputFile &file, const CsvOptions &options) : m_file(file), m_options(options) {}

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override;
    void row(std::span<const Value> cells) override;
    void end(const ReportTail &tail) override;

private:
    void writeField(const Value &value);
    void writeText(std::string_view text, bool alwaysQuoted);
    void writeCarefully(std::string_view text, bool quoted, std::span<const std::size_t> guards);
    void writeBlob(std::string_view blob);

    OutputFile &m_file;
    CsvOptions m_options;
    std::vector<std::size_t> m_guards; ///< empty without the guard
    std::string m_hex;
};

void CsvWriter::begin(const ReportHead &, const ReportShape &shape, const SampleRows &)
{
    const std::vector<ReportColumn> &columns = shape.columns;
    if (m_options.byteOrderMark)
        m_file.write("\xEF\xBB\xBF");
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
        if (i > 0)
            m_file.write(",");
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
    if (m_options.guardFormulas)
        m_guards = formulaStarts(text);
    if (text.empty() || text.size() > kPiece || alwaysQuoted || !m_guards.empty()) {
        writeCarefully(text, alwaysQuoted, m_guards);
        return;
    }
    // The usual case in one pass: copied while it is looked through.
    const char *in = text.data();
    const char *const end = in + text.size();
    char *const start = m_file.room(Escaper::kRoom);
    char *out = start;
    copyRun<textscan::StopAt<0x20, '"', ','>>(in, end, out);
    if (in == end) {
        m_file.advanceTo(out);
        return;
    }
    if (!needsQuotes(*in)) {
        writeCarefully(text, false, {});
        return;
    }
    std::memmove(start + 1, start, static_cast<std::size_t>(out - start));
    *start = '"';
    m_file.advanceTo(out + 1);
    Escaper::write(m_file, {in, static_cast<std::size_t>(end - in)});
    m_file.write("\"");
}

/// An apostrophe at each of the \p guards keeps a spreadsheet from reading on as a formula.
void CsvWriter::writeCarefully(std::string_view text, bool quoted, std::span<const std::size_t> guards)
{
    quoted = quoted || text.empty() || std::any_of(text.begin(), text.end(), needsQuotes);
    m_file.write(quoted ? "\"" : "");
    std::size_t from = 0;
    for (const std::size_t guard : guards) {
        Escaper::write(m_file, text.substr(from, guard - from));
        m_file.write("'");
        from = guard;
    }
    Escaper::write(m_file, text.substr(from));
    m_file.write(quoted ? "\"" : "");
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

std::unique_ptr<ReportWriter> makeCsvWriter(OutputFile &file, const WriterOptions &options)
{
    return std::make_unique<CsvWriter>(file, options.csv);
}

} // namespace qm
