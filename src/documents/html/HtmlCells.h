/// \file
/// Cells of a report page: values as a reader sees them, and the rows that add up.
#pragma once

#include "documents/CellFormat.h"
#include "documents/OutputFile.h"
#include "documents/ReportShape.h"

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qm {

/// Stands for NULL, in soft.
inline constexpr std::string_view kHtmlNull = "\xE2\x80\x93";

/// Appends what \p format makes of \p value, with a minus sign for the hyphen of a number. Not escaped; nothing for NULL.
void appendShown(const CellFormatter &format, const Value &value, std::string &out);

/// A column's cells in its rows.
class HtmlCell final
{
public:
    explicit HtmlCell(const ReportColumn &column);
    void write(const Value &value, OutputFile &file);

private:
    void writeFormatted(const Value &value, OutputFile &file);

    CellFormatter m_format;
    bool m_plain; ///< texts and integers are shown as they are
    std::string m_nullText, m_null, m_text;
};

/// What is added up over a group or over the report, as rows: each value under its column, the captions at the left. What has no column of
/// its own, or the first one, stands beside the captions.
class HtmlSums final
{
public:
    /// \p labelled: each value bears its caption, for pages on which its column does not stand above it.
    HtmlSums(std::span<const Subtotal> sums, std::size_t columns, bool labelled);
    [[nodiscard]] bool empty() const { return m_rows.empty(); }

    /// \p key: of the group, escaped; \p mark: what is said behind it. Values that are missing are shown as NULL.
    void write(std::string_view rowClass, std::string_view key, std::string_view mark, std::span<const Value> values,
               OutputFile &file) const;

private:
    struct Row
    {
        std::string captions; ///< escaped
        std::vector<std::size_t> beside;
        std::vector<std::pair<std::size_t, std::size_t>> under; ///< column, sum; by column
    };
    [[nodiscard]] std::string shown(std::size_t sum, std::span<const Value> values) const;

    std::vector<CellFormatter> m_formats;
    std::vector<std::string> m_captions; ///< escaped
    std::vector<std::string_view> m_sides;
    std::vector<Row> m_rows;
    std::size_t m_columns;
    bool m_labelled;
};

} // namespace qm
