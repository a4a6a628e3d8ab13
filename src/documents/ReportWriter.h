/// \file
/// What every output format receives: the head, the rows in one pass, the tail.
#pragma once

#include "documents/ReportShape.h"
#include "documents/Value.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qm {

struct PageSetup
{
    double widthMm = 297, heightMm = 210, marginMm = 12;
    bool allowA3 = false; ///< a report whose columns do not fit may take A3 in place of a smaller page
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
        House,     ///< what the installation says of all its reports; see ReportHead::house
        Note,      ///< a sentence of the layout's author
    };
    Kind kind = Kind::Parameter;
    std::string label, value;
};

/// What the installation says of all its reports; empty where it says nothing. The facts state it too.
struct House
{
    std::string organisation, classification, preparedBy;
};

/// Everything known before the first row. All texts are UTF-8.
struct ReportHead
{
    std::string title, subtitle;
    std::vector<Fact> facts; ///< in the order in which they are stated
    PageSetup page;
    PageBand header, footer;
    std::string language = "en";
    House house;
    std::vector<std::string> notices; ///< sentences that a reader must not miss
    bool houseBands = false;          ///< header and footer are nobody's wish: a format with bands of its own takes those
    std::string author, creator;      ///< who made it, with which program and version; empty: not stated
    std::string madeUtc;              ///< "YYYY-MM-DD HH:MM:SS"; empty: not stated
};

/// The first rows of a report, for measuring: one value per column of its shape.
struct SampleRows
{
    std::span<const Value> cells; ///< row after row; valid as long as the call that is given them
    std::size_t rows = 0;
    bool whole = false; ///< there are no further rows

    [[nodiscard]] std::span<const Value> row(std::size_t index) const
    {
        const std::size_t columns = rows == 0 ? 0 : cells.size() / rows;
        return cells.subspan(index * columns, columns);
    }
};

/// A group that has ended. What it points to is valid during the call only.
struct GroupEnd
{
    std::size_t level = 0; ///< in ReportShape::groups
    Value key;
    std::int64_t rows = 0;
    std::span<const Value> subtotals; ///< one per subtotal of the level
    bool cut = false;                 ///< the row limit ended it: there may be more rows of it
};

/// Everything known only after the last row. The spans are valid until end() returns.
struct ReportTail
{
    std::int64_t rows = 0;
    bool truncated = false; ///< a row limit cut rows off; the output says so
    std::int64_t rowLimit = 0;
    std::span<const Value> totals = {};     ///< one per total of the shape; of the rows shown
    std::span<const Value> keyFigures = {}; ///< one per key figure
    std::span<const ChartData> charts = {}; ///< one per chart
    const ChartData *top = nullptr;         ///< of the top list; its "Other" is the rest
    std::vector<std::string> notices = {};  ///< sentences known only now
};

/// What a writer had to change to fit its format, for the ledger and the log.
struct WriterNotes
{
    std::int64_t cellsCut = 0;      ///< cells longer than the format holds
    std::int64_t missingGlyphs = 0; ///< characters no font could show
    std::int64_t pages = 0, sheets = 0;
};

/// One output format. Calls come in this order: begin, the rows, end. Where the shape has groups, beginGroup stands before the first row of
/// each and endGroup behind its last, nested as the levels are. A writer that is destroyed before end leaves nothing usable.
/// All of them throw RuntimeError (57 device error, 61 disk full, ...) when the output cannot be written.
class ReportWriter
{
public:
    virtual ~ReportWriter() = default;
    virtual void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) = 0;
    /// \p key: valid during the call only.
    virtual void beginGroup(std::size_t level, const Value &key)
    {
        static_cast<void>(level);
        static_cast<void>(key);
    }
    /// \p cells: one value per column, valid during the call only.
    virtual void row(std::span<const Value> cells) = 0;
    virtual void endGroup(const GroupEnd &group) { static_cast<void>(group); }
    virtual void end(const ReportTail &tail) = 0;
    [[nodiscard]] virtual WriterNotes notes() const { return {}; }
};

} // namespace qm
