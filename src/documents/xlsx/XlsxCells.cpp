#include "documents/xlsx/XlsxCells.h"

#include "documents/TextScan.h"
#include "documents/xlsx/XlsxText.h"

#include <algorithm>
#include <cmath>

namespace qm::xlsx {

namespace {

using textscan::put;
using Style = CellFormatter::Style;

/// Beyond it neighbouring integers are the same number to a spreadsheet.
constexpr std::int64_t kMaxExactInteger = std::int64_t{1} << 53;
/// Room that a cell without its text needs.
constexpr std::size_t kCellRoom = 256;

bool isExact(std::int64_t value)
{
    return value <= kMaxExactInteger && value >= -kMaxExactInteger;
}

} // namespace

/// The height is written, since not every program works it out when it opens a workbook.
void CellWriter::row(std::span<const Value> cells, std::vector<SheetColumn> &columns, std::size_t level)
{
    std::size_t lines = 1;
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (cells[i].kind == Value::Kind::Text && columns[i].wrapsAt > 0)
            lines = std::max(lines, lineCount(cells[i].text(), columns[i].wrapsAt));
    if (lines == 1 && level == 0) {
        m_zip.write("<row>");
        ++m_row;
    } else {
        beginRow(lines == 1 ? 0 : kLineHeight * static_cast<double>(lines), level);
    }
    for (std::size_t i = 0; i < columns.size(); ++i)
        cell(cells[i], columns[i]);
    m_zip.write("</row>");
}

void CellWriter::beginRow(double height, std::size_t level, bool keepsHeight)
{
    std::string row = "<row";
    if (height > 0) {
        row += " ht=\"";
        numbers::appendFixed(height, {0, 2, false, 0}, row);
        row += keepsHeight ? "\" customHeight=\"1\"" : "\"";
    }
    if (level > 0)
        row += " outlineLevel=\"" + std::to_string(level) + '"';
    m_zip.write(row + '>');
    ++m_row;
}

/// Where words stand for values: the word for \p value, if there is one.
bool CellWriter::word(const Value &value, SheetColumn &column)
{
    std::string bare;
    m_text.clear();
    column.format.append(value, m_text);
    column.withoutWords->append(value, bare);
    if (m_text == bare)
        return false;
    text(column.style, m_text);
    column.lastText = m_row;
    return true;
}

void CellWriter::cell(const Value &value, SheetColumn &column)
{
    if (column.withoutWords && !value.isNull() && word(value, column))
        return;
    switch (value.kind) {
    case Value::Kind::Null:
        if (!column.nullText.empty()) {
            text(column.style, column.nullText);
            column.lastBlank = m_row;
            return;
        }
        empty(column.style);
        return;
    case Value::Kind::Integer:
        integer(value.integer, column);
        return;
    case Value::Kind::Real: {
        char number[numbers::kMaxText];
        const char *const end = numbers::writeShortest(value.real, number);
        if (std::isfinite(value.real)) {
            digits(column.style, number, end);
        } else {
            text(column.style, {number, static_cast<std::size_t>(end - number)});
            column.lastText = m_row;
        }
        return;
    }
    case Value::Kind::Text:
        textValue(value, column);
        return;
    case Value::Kind::Blob:
        blob(value.text(), column.style);
        column.lastText = m_row;
        return;
    }
}

void CellWriter::empty(std::string_view style)
{
    m_zip.advanceTo(put(put(put(m_zip.room(kCellRoom), "<c"), style), "/>"));
}

void CellWriter::digits(std::string_view style, const char *from, const char *to)
{
    char *out = put(put(put(m_zip.room(kCellRoom), "<c"), style), "><v>");
    m_zip.advanceTo(put(put(out, {from, static_cast<std::size_t>(to - from)}), "</v></c>"));
}

void CellWriter::number(std::string_view style, std::string_view digitsOfIt, std::string_view formula)
{
    if (formula.empty()) {
        digits(style, digitsOfIt.data(), digitsOfIt.data() + digitsOfIt.size());
        return;
    }
    char *out = put(put(put(m_zip.room(kCellRoom), "<c"), style), "><f>");
    m_zip.advanceTo(put(put(put(put(out, formula), "</f><v>"), digitsOfIt), "</v></c>"));
}

/// In hexadecimal; a blob that is longer than a cell is cut, and its end says how long it was.
void CellWriter::blob(std::string_view bytes, std::string_view style)
{
    constexpr std::size_t kMaxBlob = (kMaxCellUnits - 2) / 2, kKeptBlob = kMaxBlob - 50;
    m_text = "0x";
    textscan::appendHex(bytes.size() > kMaxBlob ? bytes.substr(0, kKeptBlob) : bytes, m_text);
    if (bytes.size() > kMaxBlob) {
        m_text += "\xE2\x80\xA6 [cut: " + numbers::counted(static_cast<std::int64_t>(bytes.size()), "byte", "bytes") + " in all]";
        ++m_cut;
    }
    text(style, m_text);
}

void CellWriter::integer(std::int64_t value, SheetColumn &column)
{
    char number[numbers::kMaxText];
    const char *const end = numbers::writeInteger(value, number);
    if (column.format.style() == Style::Boolean && (value == 0 || value == 1)) {
        char *out = put(put(put(m_zip.room(kCellRoom), "<c"), column.style), value == 1 ? " t=\"b\"><v>1" : " t=\"b\"><v>0");
        m_zip.advanceTo(put(out, "</v></c>"));
        column.lastText = m_row;
    } else if (!isExact(value)) {
        text(column.style, {number, static_cast<std::size_t>(end - number)});
        column.lastText = m_row;
    } else {
        digits(column.style, number, end);
    }
}

void CellWriter::textValue(const Value &value, SheetColumn &column)
{
    if (column.temporal != Style::Plain) {
        if (const std::optional<double> serial = serialOf(value.text(), column.temporal)) {
            char number[numbers::kMaxText];
            digits(column.style, number, numbers::writeShortest(*serial, number));
            return;
        }
    }
    (value.size == 0 ? column.lastBlank : column.lastText) = m_row;
    text(column.style, value.text());
}

void CellWriter::text(std::string_view style, std::string_view content)
{
    std::string cut;
    if (content.size() > kMaxCellUnits) {
        cut = cutText(content);
        if (!cut.empty()) {
            content = cut;
            ++m_cut;
        }
    }
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    const bool keepsBlanks = !content.empty() && (isBlank(content.front()) || isBlank(content.back()));
    char *const out = put(put(m_zip.room(kCellRoom), "<c"), style);
    m_zip.advanceTo(put(out, keepsBlanks ? " t=\"inlineStr\"><is><t xml:space=\"preserve\">" : " t=\"inlineStr\"><is><t>"));
    writeText(m_zip, content);
    m_zip.advanceTo(put(m_zip.room(kCellRoom), "</t></is></c>"));
}

void CellWriter::line(std::string_view style, std::string_view content, double height, std::size_t level)
{
    beginRow(height, level, true);
    text(style, content);
    endRow();
}

std::string numberText(const Value &value, const SheetColumn &column)
{
    char text[numbers::kMaxText];
    if (value.kind == Value::Kind::Integer && isExact(value.integer) && column.format.style() != Style::Boolean)
        return {text, numbers::writeInteger(value.integer, text)};
    if (value.kind == Value::Kind::Real && std::isfinite(value.real))
        return {text, numbers::writeShortest(value.real, text)};
    if (value.kind == Value::Kind::Text && column.temporal != Style::Plain)
        if (const std::optional<double> serial = serialOf(value.text(), column.temporal))
            return {text, numbers::writeShortest(*serial, text)};
    return {};
}

} // namespace qm::xlsx
