#include "reporting/viewer/SpoolJobs.h"

#include "core/RuntimeError.h"
#include "documents/CellFormat.h"
#include "engine/rows/RowSample.h"
#include "reporting/viewer/TextCollation.h"

#include <algorithm>
#include <deque>
#include <sqlite3.h>

namespace qm {

namespace {

constexpr std::int64_t kRowsPerCheck = 1024;

/// Interrupts the connection when the work is cancelled, for as long as it lives.
class InterruptOnCancel final
{
public:
    InterruptOnCancel(CancelFlag &cancel, sqlite3 *database) : m_cancel(cancel), m_database(database)
    {
        sqlite3_progress_handler(
            database, 10000, [](void *flag) { return static_cast<CancelFlag *>(flag)->isCancelled() ? 1 : 0; }, &cancel);
    }
    ~InterruptOnCancel() { sqlite3_progress_handler(m_database, 0, nullptr, nullptr); }
    InterruptOnCancel(const InterruptOnCancel &) = delete;
    InterruptOnCancel &operator=(const InterruptOnCancel &) = delete;

private:
    CancelFlag &m_cancel;
    sqlite3 *m_database;
};

/// All rows as they came, in one pass: much faster than one by one.
template <class Take>
void forEachRow(const SpooledReport &report, Take &&take)
{
    SpoolStatement select(report.spool->back(), "SELECT * FROM rows");
    std::vector<Value> row(report.shape.columns.size());
    while (select.step()) {
        readSpoolValues(select.get(), 0, row);
        take(row);
    }
}

template <class Take>
void forEachRow(const SpooledReport &report, const RowOrder &order, Take &&take)
{
    SpoolReader reader(report.spool->back(), report.shape.columns.size());
    for (std::int64_t at = 0; at < order.size(); ++at) {
        const auto row = reader.row(order.idAt(at));
        if (row.empty())
            raise(err::deviceIo, QStringLiteral("row %1 of the viewer cannot be read back").arg(order.idAt(at)), kFrameworkSource);
        take(row);
    }
}

char lowered(char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
}

} // namespace

std::shared_ptr<const RowOrder> sortRows(const SpooledReport &report, SortKey key, CancelFlag &cancel, JobProgress &progress)
{
    if (key.column < 0)
        return RowOrder::original(report.tail.rows);
    sqlite3 *database = report.spool->back();
    installTextCollation(database);
    const InterruptOnCancel guard(cancel, database);
    const std::string column = "c" + std::to_string(key.column);
    const std::string sql = "SELECT rowid FROM rows ORDER BY " + column + " COLLATE qmtext" + (key.descending ? " DESC" : "") + ", rowid";
    SpoolStatement select(database, sql.c_str());
    RowOrderBuilder order;
    std::int64_t rows = 0;
    cancel.check();
    while (select.step()) {
        order.add(sqlite3_column_int64(select.get(), 0));
        if (++rows % kRowsPerCheck == 0) {
            cancel.check();
            progress.store(rows, std::memory_order_relaxed);
        }
    }
    return order.finish();
}

std::shared_ptr<const RowOrder> filterRows(const RowOrder &order, const RowHits &hits)
{
    RowOrderBuilder shown;
    for (std::int64_t at = 0; at < order.size(); ++at)
        if (hits.contains(order.idAt(at)))
            shown.add(order.idAt(at));
    return shown.finish();
}

struct CellMatcher::Formats
{
    std::vector<CellFormatter> formats;
    std::vector<bool> plainText;
};

CellMatcher::CellMatcher(const std::vector<ReportColumn> &columns, const SearchTerms &terms)
    : m_formats(std::make_unique<Formats>()), m_terms(terms)
{
    for (const ReportColumn &column : columns)
        m_formats->formats.emplace_back(column);
    const QByteArray utf8 = (terms.matchCase ? terms.text : terms.text.toLower()).toUtf8();
    m_needle = utf8.toStdString();
    m_ascii = terms.matchCase || std::all_of(m_needle.begin(), m_needle.end(), [](char byte) { return (byte & 0x80) == 0; });
}

CellMatcher::~CellMatcher() = default;

bool CellMatcher::contains(std::string_view text) const
{
    if (text.size() < m_needle.size() && m_ascii)
        return false;
    if (m_terms.matchCase)
        return text.find(m_needle) != std::string_view::npos;
    if (m_ascii) {
        const char first = m_needle.front();
        const char upper = first >= 'a' && first <= 'z' ? static_cast<char>(first - 32) : first;
        for (std::size_t at = 0; at + m_needle.size() <= text.size(); ++at) {
            if (text[at] != first && text[at] != upper)
                continue;
            std::size_t same = 1;
            while (same < m_needle.size() && lowered(text[at + same]) == m_needle[same])
                ++same;
            if (same == m_needle.size())
                return true;
        }
        return false;
    }
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).contains(m_terms.text, Qt::CaseInsensitive);
}

bool CellMatcher::matches(std::size_t column, const Value &cell)
{
    if (cell.isNull())
        return false;
    if (cell.kind == Value::Kind::Text && contains(cell.text()))
        return true;
    m_shown.clear();
    m_formats->formats[column].append(cell, m_shown);
    if (cell.kind == Value::Kind::Text && m_shown == cell.text())
        return false;
    if (contains(m_shown))
        return true;
    return cell.kind == Value::Kind::Integer && contains(std::to_string(cell.integer));
}

bool CellMatcher::matches(std::span<const Value> row)
{
    if (m_terms.column >= 0)
        return matches(static_cast<std::size_t>(m_terms.column), row[static_cast<std::size_t>(m_terms.column)]);
    for (std::size_t column = 0; column < row.size(); ++column)
        if (matches(column, row[column]))
            return true;
    return false;
}

std::shared_ptr<const RowHits> searchRows(const SpooledReport &report, const SearchTerms &terms, CancelFlag &cancel, JobProgress &progress)
{
    auto hits = std::make_shared<RowHits>(report.tail.rows);
    CellMatcher matcher(report.shape.columns, terms);
    SpoolStatement select(report.spool->back(), "SELECT rowid, * FROM rows");
    std::vector<Value> row(report.shape.columns.size());
    std::int64_t rows = 0;
    while (select.step()) {
        readSpoolValues(select.get(), 1, row);
        if (matcher.matches(row))
            hits->add(sqlite3_column_int64(select.get(), 0));
        if (++rows % kRowsPerCheck == 0) {
            cancel.check();
            progress.store(rows, std::memory_order_relaxed);
        }
    }
    return hits;
}

namespace {

/// Keeps copies of the first rows until a writer begins with them.
class FirstRows final
{
public:
    /// \returns whether there is room for more.
    bool add(std::span<const Value> row)
    {
        for (Value value : row) {
            if (value.size > 0)
                value.data = m_texts.emplace_back(value.text()).data();
            m_bytes += value.size;
            m_cells.push_back(value);
        }
        return ++m_rows < RowSample::kRows && m_bytes < RowSample::kBytes;
    }
    [[nodiscard]] SampleRows sample(bool whole) const { return {m_cells, m_rows, whole}; }

private:
    std::deque<std::string> m_texts;
    std::vector<Value> m_cells;
    std::size_t m_rows = 0, m_bytes = 0;
};

} // namespace

void exportRows(const SpooledReport &report, const RowOrder &order, const ExportRequest &request, CancelFlag &cancel, JobProgress &progress)
{
    OutputFile file(request.path);
    const auto writer = makeWriter(request.format, file, {.csv = report.csv, .fontFolder = request.fontFolder});
    ReportHead head = report.head;
    head.facts.insert(head.facts.end(), request.extraFacts.begin(), request.extraFacts.end());
    FirstRows first;
    bool begun = false;
    const auto begin = [&](bool whole) {
        const SampleRows sample = first.sample(whole);
        writer->begin(head, report.shape, sample);
        for (std::size_t i = 0; i < sample.rows; ++i)
            writer->row(sample.row(i));
        first = {};
        begun = true;
    };
    std::int64_t written = 0;
    const auto write = [&](std::span<const Value> row) {
        if (begun)
            writer->row(row);
        else if (!first.add(row))
            begin(false);
        if (++written % kRowsPerCheck == 0) {
            cancel.check();
            progress.store(written, std::memory_order_relaxed);
        }
    };
    if (order.isOriginal())
        forEachRow(report, write);
    else
        forEachRow(report, order, write);
    if (!begun)
        begin(true);
    ReportTail tail = report.tail;
    tail.rows = order.size();
    writer->end(tail);
    cancel.check();
    file.commit();
}

} // namespace qm
