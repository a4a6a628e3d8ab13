#include "core/RuntimeError.h"
#include "documents/CellFormat.h"
#include "documents/IsoTime.h"
#include "documents/ReportWords.h"
#include "documents/TextScan.h"
#include "documents/Writers.h"
#include "documents/xlsx/XlsxParts.h"
#include "documents/xlsx/XlsxText.h"
#include "framework/LayoutWords.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace qm {

namespace {

using textscan::put;
using Style = CellFormatter::Style;

constexpr std::int64_t kMaxSheetRows = 1048576;
constexpr std::size_t kMaxColumns = 16384;
/// A sheet ends before its part of the archive would need the wide forms of zip, which not every reader of workbooks knows.
constexpr std::uint64_t kMaxSheetBytes = std::uint64_t{3} << 30;
/// Beyond it neighbouring integers are the same number to a spreadsheet.
constexpr std::int64_t kMaxExactInteger = std::int64_t{1} << 53;
/// Days from 1899-12-30, the day 0 of serial dates, to 1970-01-01.
constexpr std::int64_t kDaysTo1970 = 25569;
/// Serial of 1900-03-01. Serials below it are off by one, since spreadsheets give 1900 a February 29.
constexpr std::int64_t kFirstSerial = 61;
/// Room that a cell without its text needs.
constexpr std::size_t kCellRoom = 256;

constexpr std::string_view kSheetStart = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<worksheet "
                                         "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">";
/// Height of one line in points, and the most lines that a row is made high for: beyond it a reader opens the cell.
constexpr double kLineHeight = 13.5;
constexpr std::size_t kMaxLines = 15;
constexpr char kAboutName[] = "About this report";

/// The serial number of \p time for a column shown as \p style, if it has one.
std::optional<double> serialOf(const IsoTime &time, Style style)
{
    constexpr double kMillisecondsOfDay = 86400000.0;
    if (style == Style::Time && !time.hasTime)
        return std::nullopt;
    if (!time.hasDate)
        return style == Style::Time ? std::optional(time.millisecondOfDay() / kMillisecondsOfDay) : std::nullopt;
    const std::int64_t day = time.daysSince1970() + kDaysTo1970;
    if (day < kFirstSerial)
        return std::nullopt;
    return static_cast<double>(day) + time.millisecondOfDay() / kMillisecondsOfDay;
}

/// Width of a column in characters: its share of the page, and at least what its dates and times need.
double characterWidth(double widthMm, Style temporal)
{
    constexpr double kMmPerCharacter = 1.6, kLeast = 7, kMost = 90;
    const double needed = temporal == Style::DateTimeMs ? 23.5
                          : temporal == Style::DateTime ? 19.5
                          : temporal == Style::Date     ? 11
                          : temporal == Style::Time     ? 9
                                                        : kLeast;
    return std::clamp(widthMm / kMmPerCharacter, needed, kMost);
}

/// Lines that \p text takes in a column of \p characters, about; a byte counts as a character, which suits the wide ones.
std::size_t lineCount(std::string_view text, std::size_t characters)
{
    std::size_t lines = 0;
    while (lines < kMaxLines) {
        const std::size_t end = text.find('\n');
        const std::size_t size = std::min(end, text.size());
        lines += size <= characters ? 1 : (size + characters - 1) / characters;
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    return std::min(lines, kMaxLines);
}

/// A workbook: the rows on one or more sheets, then a sheet with the facts. The sheets are compressed as they are written.
class XlsxWriter final : public ReportWriter
{
public:
    explicit XlsxWriter(OutputFile &file) : m_file(file), m_zip(file) {}

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override;
    void row(std::span<const Value> cells) override;
    void end(const ReportTail &tail) override;
    [[nodiscard]] WriterNotes notes() const override { return m_notes; }

private:
    struct Column
    {
        CellFormatter format;
        Style temporal;
        std::string styleAttribute; ///< ' s="7"'
        double width;               ///< in characters
        std::size_t wrapsAt;        ///< characters in a line; 0 for a column of single lines
    };

    void beginSheet();
    void endSheet();
    void writeLine(int style, std::string_view text, double height);
    void beginRow(std::span<const Value> cells);
    void writeHeadings();
    void writeCell(const Value &value, const Column &column);
    void writeBlob(std::string_view blob, const Column &column);
    void writeNumber(const Column &column, const char *digits, const char *end);
    void writeTextCell(std::string_view styleAttribute, std::string_view text);
    void writeTextValue(const Value &value, const Column &column);
    void writeInteger(std::int64_t value, const Column &column);
    void writeAbout(const ReportTail &tail);
    void writeFact(std::string_view name, std::string_view value);
    [[nodiscard]] std::string summary(const ReportTail &tail) const;

    OutputFile &m_file;
    ZipStream m_zip;
    ReportHead m_head;
    std::vector<ReportColumn> m_reportColumns;
    std::vector<Column> m_columns;
    xlsx::SheetNames m_names;
    std::string m_aboutName;
    std::vector<xlsx::Sheet> m_sheets;
    std::int64_t m_sheetRow = 0; ///< rows on the sheet so far, headings included
    std::int64_t m_headingRows = 0;
    std::string m_text;
    WriterNotes m_notes;
};

void XlsxWriter::begin(const ReportHead &head, const ReportShape &shape, const SampleRows &)
{
    const std::vector<ReportColumn> &columns = shape.columns;
    if (columns.size() > kMaxColumns) {
        raise(err::reportFailed,
              QStringLiteral("The report has %1 columns; a workbook holds %2. Choose fewer columns or another format.")
                  .arg(columns.size())
                  .arg(kMaxColumns),
              kFrameworkSource);
    }
    m_head = head;
    m_reportColumns.assign(columns.begin(), columns.end());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const CellFormatter format(columns[i]);
        const Style temporal = xlsx::temporalStyle(format, columns[i].type);
        const double indent = columns[i].alignment == CellAlignment::Right ? 1.5 : 0;
        const double width = characterWidth(columns[i].widthMm, temporal) + indent;
        const bool wraps = columns[i].wrap && columns[i].type == ColumnType::Text;
        m_columns.push_back({format, temporal, " s=\"" + std::to_string(static_cast<std::size_t>(xlsx::style::firstColumn) + i) + '"',
                             width, wraps ? static_cast<std::size_t>(0.95 * width) : 0});
    }
    m_aboutName = m_names.take(kAboutName);
    xlsx::writeFirstParts(m_zip);
    beginSheet();
}

/// One line of the heading: a single cell that runs over its neighbours. \p height in points.
void XlsxWriter::writeLine(int style, std::string_view text, double height)
{
    std::string row = "<row ht=\"";
    numbers::appendFixed(height, {0, 2, false, 0}, row);
    m_zip.write(row + "\" customHeight=\"1\">");
    writeTextCell(" s=\"" + std::to_string(style) + '"', text);
    m_zip.write("</row>");
    ++m_sheetRow;
}

void XlsxWriter::writeHeadings()
{
    writeLine(xlsx::style::title, m_head.title, 24);
    if (!m_head.subtitle.empty())
        writeLine(xlsx::style::subtitle, m_head.subtitle, 16);
    // The number of rows is known only at the end; a shared string, which is written then, stands for it.
    m_zip.write("<row ht=\"18\" customHeight=\"1\"><c s=\"" + std::to_string(xlsx::style::summary) + "\" t=\"s\"><v>0</v></c></row>");
    m_zip.write("<row ht=\"24\" customHeight=\"1\">");
    for (const ReportColumn &column : m_reportColumns) {
        const int style = xlsx::style::firstHeading + static_cast<int>(column.alignment);
        writeTextCell(" s=\"" + std::to_string(style) + '"', column.caption);
    }
    m_zip.write("</row>");
    m_sheetRow += 2;
}

void XlsxWriter::beginSheet()
{
    const std::string number = std::to_string(m_sheets.size() + 1);
    m_sheets.push_back({m_names.take(m_head.title), {}, {}});
    m_zip.open("xl/worksheets/sheet" + number + ".xml");
    m_headingRows = m_head.subtitle.empty() ? 3 : 4;
    const std::string heads = std::to_string(m_headingRows);
    m_zip.write(kSheetStart);
    m_zip.write("<sheetPr><pageSetUpPr fitToPage=\"1\"/></sheetPr><sheetViews><sheetView " +
                std::string(m_sheets.size() == 1 ? "tabSelected=\"1\" " : "") + "workbookViewId=\"0\"><pane ySplit=\"" + heads +
                "\" topLeftCell=\"A" + std::to_string(m_headingRows + 1) +
                "\" activePane=\"bottomLeft\" state=\"frozen\"/></sheetView></sheetViews>" + "<sheetFormatPr defaultRowHeight=\"13.5\"/>");
    std::string widths;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const std::string at = std::to_string(i + 1);
        widths += textscan::joined({"<col min=\"", at, "\" max=\"", at, "\" width=\""});
        numbers::appendFixed(m_columns[i].width, {0, 2, false, 0}, widths);
        widths += "\" customWidth=\"1\"/>";
    }
    m_zip.write(widths.empty() ? "" : "<cols>" + widths + "</cols>");
    m_zip.write("<sheetData>");
    m_sheetRow = 0;
    writeHeadings();
}

void XlsxWriter::endSheet()
{
    m_zip.write("</sheetData>");
    if (!m_columns.empty()) {
        const std::string last = xlsx::columnLetters(m_columns.size() - 1);
        const std::string top = std::to_string(m_headingRows), bottom = std::to_string(m_sheetRow);
        m_zip.write("<autoFilter ref=\"A" + top + ':' + last + bottom + "\"/>");
        m_sheets.back().filter = "$A$" + top + ":$" + last + '$' + bottom;
        m_sheets.back().titles = "$" + top + ":$" + top;
    }
    const bool landscape = m_head.page.widthMm > m_head.page.heightMm;
    const std::string bands = xlsx::headerFooter(m_head);
    std::string side, top;
    numbers::appendFixed(m_head.page.marginMm / 25.4, {1, 4, false, 0}, side);
    // The bands stand within the margins at head and foot.
    numbers::appendFixed(std::max(m_head.page.marginMm / 25.4, bands.empty() ? 0.0 : 0.7), {1, 4, false, 0}, top);
    m_zip.write("<pageMargins left=\"" + side + "\" right=\"" + side + "\" top=\"" + top + "\" bottom=\"" + top +
                "\" header=\"0.3\" footer=\"0.3\"/><pageSetup paperSize=\"" +
                std::to_string(paperNumber(m_head.page.widthMm, m_head.page.heightMm)) + "\" fitToHeight=\"0\" orientation=\"" +
                (landscape ? "landscape" : "portrait") + "\"/>" + bands + "</worksheet>");
    m_zip.close();
    m_notes.sheets = static_cast<std::int64_t>(m_sheets.size());
}

void XlsxWriter::row(std::span<const Value> cells)
{
    if (m_sheetRow == kMaxSheetRows || m_zip.memberSize() > kMaxSheetBytes) {
        endSheet();
        beginSheet();
    }
    beginRow(cells);
    for (std::size_t i = 0; i < cells.size(); ++i)
        writeCell(cells[i], m_columns[i]);
    m_zip.write("</row>");
    ++m_sheetRow;
}

/// The height is written, since not every program works it out when it opens a workbook.
void XlsxWriter::beginRow(std::span<const Value> cells)
{
    std::size_t lines = 1;
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (cells[i].kind == Value::Kind::Text && m_columns[i].wrapsAt > 0)
            lines = std::max(lines, lineCount(cells[i].text(), m_columns[i].wrapsAt));
    if (lines == 1) {
        m_zip.write("<row>");
        return;
    }
    std::string row = "<row ht=\"";
    numbers::appendFixed(kLineHeight * static_cast<double>(lines), {0, 1, false, 0}, row);
    m_zip.write(row + "\">");
}

void XlsxWriter::writeCell(const Value &value, const Column &column)
{
    switch (value.kind) {
    case Value::Kind::Null: {
        char *const out = m_zip.room(kCellRoom);
        m_zip.advanceTo(put(put(put(out, "<c"), column.styleAttribute), "/>"));
        return;
    }
    case Value::Kind::Integer:
        writeInteger(value.integer, column);
        return;
    case Value::Kind::Real: {
        char text[numbers::kMaxText];
        const char *const end = numbers::writeShortest(value.real, text);
        if (std::isfinite(value.real))
            writeNumber(column, text, end);
        else
            writeTextCell(column.styleAttribute, {text, static_cast<std::size_t>(end - text)});
        return;
    }
    case Value::Kind::Text:
        writeTextValue(value, column);
        return;
    case Value::Kind::Blob:
        writeBlob(value.text(), column);
        return;
    }
}

/// In hexadecimal; a blob that is longer than a cell is cut, and its end says how long it was.
void XlsxWriter::writeBlob(std::string_view blob, const Column &column)
{
    constexpr std::size_t kMaxBlob = (xlsx::kMaxCellUnits - 2) / 2, kKeptBlob = kMaxBlob - 50;
    m_text = "0x";
    textscan::appendHex(blob.size() > kMaxBlob ? blob.substr(0, kKeptBlob) : blob, m_text);
    if (blob.size() > kMaxBlob) {
        m_text += "\xE2\x80\xA6 [cut: " + numbers::counted(static_cast<std::int64_t>(blob.size()), "byte", "bytes") + " in all]";
        ++m_notes.cellsCut;
    }
    writeTextCell(column.styleAttribute, m_text);
}

void XlsxWriter::writeNumber(const Column &column, const char *digits, const char *end)
{
    char *out = put(put(put(m_zip.room(kCellRoom), "<c"), column.styleAttribute), "><v>");
    m_zip.advanceTo(put(put(out, {digits, static_cast<std::size_t>(end - digits)}), "</v></c>"));
}

void XlsxWriter::writeInteger(std::int64_t value, const Column &column)
{
    char text[numbers::kMaxText];
    const char *const end = numbers::writeInteger(value, text);
    if (column.format.style() == Style::Boolean && (value == 0 || value == 1)) {
        char *out = put(put(put(m_zip.room(kCellRoom), "<c"), column.styleAttribute), value == 1 ? " t=\"b\"><v>1" : " t=\"b\"><v>0");
        m_zip.advanceTo(put(out, "</v></c>"));
    } else if (value > kMaxExactInteger || value < -kMaxExactInteger) {
        writeTextCell(column.styleAttribute, {text, static_cast<std::size_t>(end - text)});
    } else {
        writeNumber(column, text, end);
    }
}

void XlsxWriter::writeTextValue(const Value &value, const Column &column)
{
    if (column.temporal != Style::Plain) {
        const std::optional<IsoTime> time = parseIsoTime(value.text());
        const std::optional<double> serial = time ? serialOf(*time, column.temporal) : std::nullopt;
        if (serial) {
            char text[numbers::kMaxText];
            writeNumber(column, text, numbers::writeShortest(*serial, text));
            return;
        }
    }
    writeTextCell(column.styleAttribute, value.text());
}

void XlsxWriter::writeTextCell(std::string_view styleAttribute, std::string_view text)
{
    std::string cut;
    if (text.size() > xlsx::kMaxCellUnits) {
        cut = xlsx::cutText(text);
        if (!cut.empty()) {
            text = cut;
            ++m_notes.cellsCut;
        }
    }
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    const bool keepsBlanks = !text.empty() && (isBlank(text.front()) || isBlank(text.back()));
    char *const out = put(put(m_zip.room(kCellRoom), "<c"), styleAttribute);
    m_zip.advanceTo(put(out, keepsBlanks ? " t=\"inlineStr\"><is><t xml:space=\"preserve\">" : " t=\"inlineStr\"><is><t>"));
    xlsx::writeText(m_zip, text);
    m_zip.advanceTo(put(m_zip.room(kCellRoom), "</t></is></c>"));
}

std::string XlsxWriter::summary(const ReportTail &tail) const
{
    std::string text = tail.rows == 0 ? std::string(kNoRows) + ": nothing matched what was asked for." : rowsText(tail.rows) + '.';
    if (tail.truncated)
        text = "Not complete. " + cutNotice(tail);
    if (m_sheets.size() > 1)
        text += " On " + std::to_string(m_sheets.size()) + " sheets.";
    return text + " More on the sheet \"" + m_aboutName + "\".";
}

void XlsxWriter::writeFact(std::string_view name, std::string_view value)
{
    m_zip.write("<row>");
    writeTextCell(" s=\"" + std::to_string(xlsx::style::factName) + '"', name);
    writeTextCell(" s=\"" + std::to_string(xlsx::style::factValue) + '"', value);
    m_zip.write("</row>");
}

void XlsxWriter::writeAbout(const ReportTail &tail)
{
    m_zip.open("xl/worksheets/sheet" + std::to_string(m_sheets.size() + 1) + ".xml");
    m_zip.write(kSheetStart);
    m_zip.write("<sheetViews><sheetView showGridLines=\"0\" workbookViewId=\"0\"/></sheetViews><cols><col min=\"1\" max=\"1\" width=\"22\" "
                "customWidth=\"1\"/><col min=\"2\" max=\"2\" width=\"90\" customWidth=\"1\"/></cols><sheetData>");
    writeLine(xlsx::style::title, m_head.title, 24);
    if (!m_head.subtitle.empty())
        writeLine(xlsx::style::subtitle, m_head.subtitle, 16);
    m_zip.write("<row/>");
    for (const Fact &fact : m_head.facts)
        writeFact(fact.label, fact.value);
    writeFact("Rows", rowsText(tail.rows));
    if (tail.truncated)
        writeFact("Not complete", cutNotice(tail));
    if (m_sheets.size() > 1)
        writeFact("Sheets", std::to_string(m_sheets.size()));
    if (m_notes.cellsCut > 0) {
        writeFact("Cells cut", numbers::counted(m_notes.cellsCut, "cell was", "cells were") +
                                   " longer than a workbook holds (32,767 characters) and cut; each says so at its end.");
    }
    m_zip.write("</sheetData></worksheet>");
    m_zip.close();
    m_sheets.push_back({m_aboutName, {}, {}});
}

void XlsxWriter::end(const ReportTail &tail)
{
    endSheet();
    const std::string text = summary(tail);
    writeAbout(tail);
    xlsx::writeLastParts(m_zip, m_head.title, m_reportColumns, m_sheets, text);
    m_zip.finish();
}

} // namespace

std::unique_ptr<ReportWriter> makeXlsxWriter(OutputFile &file, const WriterOptions &)
{
    return std::make_unique<XlsxWriter>(file);
}

} // namespace qm
