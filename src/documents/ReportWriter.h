/// \file
/// What every output format receives: the head, the rows in one pass, the tail.
#pragma once

#include "documents/Value.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qm {

enum class CellAlignment : std::uint8_t { Left, Centre, Right };

/// One column of the report, resolved: nothing in it is automatic any more.
struct ReportColumn
{
    std::string field;
    std::string caption;
    ColumnType type = ColumnType::Text;
    CellAlignment alignment = CellAlignment::Left;
    std::string format;  ///< see LayoutColumn::format; never empty for numbers and dates that are to be formatted
    double widthMm = 30; ///< share of the page width; the writer scales all columns to fit the page
    bool wrap = true;
};

struct PageSetup
{
    double widthMm = 297, heightMm = 210, marginMm = 12;
};

/// Three texts of a page band with {page} and {pages} still to be filled in; all other fields are resolved.
struct PageBand
{
    std::string left, centre, right;
};

/// One thing that a report states about itself. What it is about is told by its kind, never by its label: a parameter may bear any.
struct Fact
{
    enum class Kind : std::uint8_t {
        Package,
        Group,
        Query,
        Source,
        Period,
        Times,     ///< what the times in the rows are
        Parameter, ///< a value that was asked for
        Made,      ///< when the report was made
        Selection, ///< how a reader reduced or ordered the rows
    };
    Kind kind = Kind::Parameter;
    std::string label, value;
};

/// Everything known before the first row. All texts are UTF-8.
struct ReportHead
{
    std::string title, subtitle;
    std::vector<Fact> facts; ///< in the order in which they are stated
    PageSetup page;
    PageBand header, footer;
    std::string language = "en";
};

/// Everything known only after the last row.
struct ReportTail
{
    std::int64_t rows = 0;
    bool truncated = false; ///< a row limit cut rows off; the output says so
    std::int64_t rowLimit = 0;
};

/// What a writer had to change to fit its format, for the ledger and the log.
struct WriterNotes
{
    std::int64_t cellsCut = 0;      ///< cells longer than the format holds
    std::int64_t missingGlyphs = 0; ///< characters no font could show
    std::int64_t pages = 0, sheets = 0;
};

/// One output format. Calls come in this order: begin, row for each row, end. A writer that is destroyed before end leaves nothing usable.
/// begin, row and end throw RuntimeError (57 device error, 61 disk full, ...) when the output cannot be written.
class ReportWriter
{
public:
    virtual ~ReportWriter() = default;
    virtual void begin(const ReportHead &head, std::span<const ReportColumn> columns) = 0;
    /// \p cells: one value per column, valid during the call only.
    virtual void row(std::span<const Value> cells) = 0;
    virtual void end(const ReportTail &tail) = 0;
    [[nodiscard]] virtual WriterNotes notes() const { return {}; }
};

} // namespace qm
