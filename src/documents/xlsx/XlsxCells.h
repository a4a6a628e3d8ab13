/// \file
/// Cells and rows of a workbook as they are written.
#pragma once

#include "documents/xlsx/XlsxColumns.h"
#include "documents/xlsx/ZipStream.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qm::xlsx {

/// Writes into the open member of a zip archive, a row after the other, the cells of a row from the left.
class CellWriter final
{
public:
    explicit CellWriter(ZipStream &zip) : m_zip(zip) {}

    /// A whole row of data. \p level: of its outline, 0 to 7.
    void row(std::span<const Value> cells, std::vector<SheetColumn> &columns, std::size_t level);

    /// \p height in points; 0: as the program has it.
    void beginRow(double height = 0, std::size_t level = 0, bool keepsHeight = false);
    void endRow() { m_zip.write("</row>"); }
    void empty(std::string_view style);
    void text(std::string_view style, std::string_view text);
    /// A number as its digits, with the formula that gives it unless that is empty.
    void number(std::string_view style, std::string_view digits, std::string_view formula = {});
    /// As a row of data has it.
    void cell(const Value &value, SheetColumn &column);
    /// A row with one text, which runs over its neighbours.
    void line(std::string_view style, std::string_view content, double height, std::size_t level = 0);

    /// The row that is or was last written, from 1.
    [[nodiscard]] std::int64_t at() const { return m_row; }
    /// To begin a sheet.
    void restart() { m_row = 0; }
    /// Cells that were longer than a cell holds.
    [[nodiscard]] std::int64_t cut() const { return m_cut; }

private:
    bool word(const Value &value, SheetColumn &column);
    void textValue(const Value &value, SheetColumn &column);
    void integer(std::int64_t value, SheetColumn &column);
    void blob(std::string_view bytes, std::string_view style);
    void digits(std::string_view style, const char *from, const char *to);

    ZipStream &m_zip;
    std::int64_t m_row = 0, m_cut = 0;
    std::string m_text;
};

/// The digits of \p value where it becomes a number in its cell, else nothing.
[[nodiscard]] std::string numberText(const Value &value, const SheetColumn &column);

} // namespace qm::xlsx
