#include "reporting/viewer/SpoolJobs.h"

#include "core/RuntimeError.h"
#include "documents/CellFormat.h"
#include "engine/rows/RowSample.h"
#include "engine/run/RowPipe.h"
#include "reporting/viewer/TextCollation.h"

#include <sqlite3.h>

#include <algorithm>
#include <numeric>
#include <optional>

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

/// The spool's rows in an order of the viewer's.
class SpoolRows final : public RowSource
{
public:
    SpoolRows(const SpooledReport &report, const RowOrder &order) : m_order(order)
    {
        for (const ReportColumn &column : report.shape.columns)
            m_columns.push_back({column.field, {}});
        // One pass over all rows is much faster than one look for each.
        if (order.isOriginal())
            m_all.emplace(report.spool->back(), "SELECT * FROM rows");
        else
            m_reader.emplace(report.spool->back(), m_columns.size());
    }

    [[nodiscard]] std::span<const ResultColumn> columns() const override { return m_columns; }

    bool next(std::span<Value> row) override
    {
        if (m_all) {
            if (m_at == m_order.size() || !m_all->step())
                return false;
            ++m_at;
            readSpoolValues(m_all->get(), 0, row);
            return true;
        }
        if (m_at == m_order.size())
            return false;
        const auto values = m_reader->row(m_order.idAt(m_at));
        if (values.empty())
            raise(err::deviceIo, QStringLiteral("row %1 of the viewer cannot be read back").arg(m_order.idAt(m_at)), kFrameworkSource);
        ++m_at;
        std::copy(values.begin(), values.end(), row.begin());
        return true;
    }

private:
    const RowOrder &m_order;
    std::vector<ResultColumn> m_columns;
    std::optional<SpoolStatement> m_all;
    std::optional<SpoolReader> m_reader;
    std::int64_t m_at = 0;
};

/// What the run planned, for the rows of the spool and a document of \p format.
ReportPlan exportPlan(const SpooledReport &report, const ExportRequest &request)
{
    ReportPlan plan;
    plan.head = report.head;
    plan.head.facts.insert(plan.head.facts.end(), request.extraFacts.begin(), request.extraFacts.end());
    plan.shape = report.shape;
    plan.shape.columns = report.shownColumns();
    plan.shape.hidden = 0;
    if (request.format != ReportFormat::Csv)
        plan.sources = report.sources;
    plan.sources.shown.resize(plan.shape.columns.size());
    std::iota(plan.sources.shown.begin(), plan.sources.shown.end(), std::size_t{0});
    plan.inResultOrder = report.shape.hidden == 0;
    return plan;
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
    for (std::size_t column = 0; column < m_formats->formats.size(); ++column)
        if (matches(column, row[column]))
            return true;
    return false;
}

std::shared_ptr<const RowHits> searchRows(const SpooledReport &report, const SearchTerms &terms, CancelFlag &cancel, JobProgress &progress)
{
    auto hits = std::make_shared<RowHits>(report.tail.rows);
    CellMatcher matcher(report.shownColumns(), terms);
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

void exportRows(const SpooledReport &report, const RowOrder &order, const ExportRequest &request, CancelFlag &cancel, JobProgress &progress)
{
    OutputFile file(request.path);
    const auto writer = makeWriter(request.format, file, {.csv = report.csv, .fontFolder = request.fontFolder});
    SpoolRows rows(report, order);
    const RowSample sample(rows);
    ReportPlan plan = exportPlan(report, request);
    const RunLimits limits(std::shared_ptr<CancelFlag>(std::shared_ptr<void>(), &cancel), std::chrono::seconds(0));
    const RowPipe::Progress told = [&progress](std::int64_t written) { progress.store(written, std::memory_order_relaxed); };
    RowPipe pipe(rows, sample, plan, *writer, limits, told);
    writer->end(pipe.passCut(report.tail));
    cancel.check();
    file.commit();
}

} // namespace qm
