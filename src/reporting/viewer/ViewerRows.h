/// \file
/// Which rows the viewer shows, in which order, and the work that makes them so.
#pragma once

#include "reporting/common/BackgroundTask.h"
#include "reporting/viewer/SpoolJobs.h"

#include <QObject>

#include <memory>

namespace qm {

/// The order, the search and the reduction that an operator asked for over one report, and what they came to. Sorting, searching and
/// exporting run one after another on a background thread; a newer wish stops an older one. No widgets. The report must outlive it.
class ViewerRows final : public QObject
{
    Q_OBJECT
public:
    enum class Work { None, Sort, Search, Export };

    explicit ViewerRows(const SpooledReport &report, QObject *parent = nullptr);

    /// Orders the rows; column -1 is the original order.
    void sortBy(int column, bool descending);
    /// Ascending, descending, and back to the report's own order.
    void sortNext(int column);
    /// Searches for \p terms (an empty text: for nothing); \p onlyMatches hides the other rows.
    void search(const SearchTerms &terms, bool onlyMatches);
    /// Writes the rows that are shown, in the order shown; \p request's extra facts are joined by how they were reduced and sorted.
    /// Call only while nothing else works.
    void exportTo(ExportRequest request);
    /// Gives up what is being done; the rows stay as they are.
    void stop();

    [[nodiscard]] Work work() const { return m_work; }
    /// Rows looked at so far, of progressEnd().
    [[nodiscard]] std::int64_t progress() const { return m_progress.load(std::memory_order_relaxed); }
    [[nodiscard]] std::int64_t progressEnd() const { return m_progressEnd; }

    /// What is shown now.
    [[nodiscard]] const SortKey &sort() const { return m_shown.sort; }
    [[nodiscard]] const SearchTerms &terms() const { return m_shown.terms; }
    [[nodiscard]] const std::shared_ptr<const RowOrder> &order() const { return m_have.shown; }
    /// How many rows the search found; 0 without a search.
    [[nodiscard]] std::int64_t hitCount() const { return m_have.hits ? m_have.hits->count() : 0; }
    /// Whether the row at \p position of order() was found by the search.
    [[nodiscard]] bool isHit(std::int64_t position) const;
    /// How many hits there are up to and including \p position.
    [[nodiscard]] std::int64_t hitsUpTo(std::int64_t position) const;
    /// The next hit after \p position (before it when \p step is -1), going round at the end; -1: none.
    [[nodiscard]] std::int64_t nextHit(std::int64_t position, int step) const;

Q_SIGNALS:
    void workBegan();
    void workEnded();
    /// order(), sort(), terms() or the hits are others.
    void changed();
    /// A sort or search was given up on request.
    void stopped();
    /// What was asked for failed; the rows are as before.
    void failed(const QString &why);
    void exported(const QString &path, qint64 rows);
    /// The rows are as last asked for, or the work for it was cancelled or failed.
    void settled();

private:
    /// What the operator asked to see.
    struct View
    {
        SortKey sort;
        SearchTerms terms;
        bool onlyMatches = false;
        friend bool operator==(const View &, const View &) = default;
    };
    /// What that came to.
    struct Rows
    {
        std::shared_ptr<const RowOrder> sorted; ///< all rows in the view's sort
        std::shared_ptr<const RowHits> hits;    ///< null: nothing searched
        std::shared_ptr<const RowOrder> shown;
    };

    [[nodiscard]] Rows makeRows(const View &before, Rows rows, const View &wanted, CancelFlag &cancel);
    void update();
    void begin(Work kind, std::int64_t end, BackgroundTask::Work work, std::function<void()> done);
    void end();

    const SpooledReport &m_report;
    View m_wanted, m_shown;
    Rows m_have, m_made;
    Work m_work = Work::None;
    JobProgress m_progress{0};
    std::int64_t m_progressEnd = 0;
    std::function<void()> m_done;
    std::unique_ptr<BackgroundTask> m_task; ///< last: it stops before the rest goes
};

} // namespace qm
