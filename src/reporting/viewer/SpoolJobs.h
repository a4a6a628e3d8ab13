/// \file
/// The long pieces of work on a spool: ordering, searching and exporting. They run on a background thread, through the spool's back
/// connection.
#pragma once

#include "engine/rows/Spool.h"
#include "engine/run/ReportEngine.h"
#include "reporting/viewer/RowOrder.h"

#include <QString>

#include <atomic>
#include <optional>

namespace qm {

/// Rows looked at so far, for a progress bar; written by the work, read by the window.
using JobProgress = std::atomic<std::int64_t>;

/// By which column rows are shown; no column: as they came.
struct SortKey
{
    int column = -1;
    bool descending = false;
    friend bool operator==(const SortKey &, const SortKey &) = default;
};

/// Orders the rows: empty cells first, then numbers by value, then texts without letter case with runs of digits by value, then binary
/// data. Rows that compare equal stay in their original order in both directions.
[[nodiscard]] std::shared_ptr<const RowOrder> sortRows(const SpooledReport &report, SortKey key, CancelFlag &cancel, JobProgress &progress);
/// The rows of \p order that are among \p hits.
[[nodiscard]] std::shared_ptr<const RowOrder> filterRows(const RowOrder &order, const RowHits &hits);

struct SearchTerms
{
    QString text; ///< not empty
    bool matchCase = false;
    int column = -1; ///< -1: every column
    friend bool operator==(const SearchTerms &, const SearchTerms &) = default;
};

/// Whether a cell contains the searched text, as it is shown or as it is stored.
class CellMatcher final
{
public:
    CellMatcher(const std::vector<ReportColumn> &columns, const SearchTerms &terms);
    ~CellMatcher();
    [[nodiscard]] bool matches(std::span<const Value> row);
    [[nodiscard]] bool matches(std::size_t column, const Value &cell);

private:
    [[nodiscard]] bool contains(std::string_view text) const;
    struct Formats;
    std::unique_ptr<Formats> m_formats;
    SearchTerms m_terms;
    std::string m_needle; ///< UTF-8; lower case when the case does not matter
    bool m_ascii = false;
    std::string m_shown;
};

[[nodiscard]] std::shared_ptr<const RowHits> searchRows(const SpooledReport &report, const SearchTerms &terms, CancelFlag &cancel,
                                                        JobProgress &progress);

struct ExportRequest
{
    QString path;
    ReportFormat format = ReportFormat::Pdf;
    QString fontFolder;
    /// What the file states beyond the report's own facts: the search it was reduced to, the column it was sorted by.
    std::vector<Fact> extraFacts;
};

/// Writes the rows of \p order as a file of its own. The file appears only when it is whole.
void exportRows(const SpooledReport &report, const RowOrder &order, const ExportRequest &request, CancelFlag &cancel,
                JobProgress &progress);

} // namespace qm
