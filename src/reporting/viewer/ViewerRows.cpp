#include "reporting/viewer/ViewerRows.h"

#include "core/RuntimeError.h"

namespace qm {

ViewerRows::ViewerRows(const SpooledReport &report, QObject *parent) : QObject(parent), m_report(report)
{
    m_have.sorted = m_have.shown = RowOrder::original(report.tail.rows);
}

ViewerRows::Rows ViewerRows::makeRows(const View &before, Rows rows, const View &wanted, CancelFlag &cancel)
{
    if (!rows.sorted || wanted.sort != before.sort)
        rows.sorted = sortRows(m_report, wanted.sort, cancel, m_progress);
    if (wanted.terms.text.isEmpty())
        rows.hits.reset();
    else if (!rows.hits || wanted.terms != before.terms)
        rows.hits = searchRows(m_report, wanted.terms, cancel, m_progress);
    rows.shown = rows.hits && wanted.onlyMatches ? filterRows(*rows.sorted, *rows.hits) : rows.sorted;
    return rows;
}

void ViewerRows::sortBy(int column, bool descending)
{
    m_wanted.sort = {column, column >= 0 && descending};
    update();
}

void ViewerRows::sortNext(int column)
{
    if (m_wanted.sort.column != column)
        sortBy(column, false);
    else if (!m_wanted.sort.descending)
        sortBy(column, true);
    else
        sortBy(-1, false);
}

void ViewerRows::search(const SearchTerms &terms, bool onlyMatches)
{
    m_wanted.terms = terms;
    m_wanted.onlyMatches = onlyMatches;
    update();
}

void ViewerRows::update()
{
    if (m_work == Work::Export)
        return;
    if (m_task) {
        m_task->cancel();
        return;
    }
    if (m_wanted == m_shown) {
        Q_EMIT settled();
        return;
    }
    const View wanted = m_wanted, before = m_shown;
    begin(
        wanted.sort != before.sort ? Work::Sort : Work::Search, m_report.tail.rows,
        [this, wanted, before, had = m_have](CancelFlag &cancel) { m_made = makeRows(before, had, wanted, cancel); },
        [this, wanted] {
            m_shown = wanted;
            m_have = std::move(m_made);
            Q_EMIT changed();
        });
}

void ViewerRows::exportTo(ExportRequest request)
{
    if (m_shown.onlyMatches && m_have.hits) {
        std::string words = tr("only rows that contain").toStdString() + " \"" + m_shown.terms.text.toStdString() + "\"";
        if (m_shown.terms.column >= 0)
            words += " (" + m_report.shape.columns[static_cast<std::size_t>(m_shown.terms.column)].caption + ")";
        request.extraFacts.push_back({Fact::Kind::Selection, tr("Reduced to").toStdString(), words});
    }
    if (m_shown.sort.column >= 0)
        request.extraFacts.push_back({Fact::Kind::Selection, tr("Sorted by").toStdString(),
                                      m_report.shape.columns[static_cast<std::size_t>(m_shown.sort.column)].caption +
                                          (m_shown.sort.descending ? tr(", descending").toStdString() : std::string())});
    const auto order = m_have.shown;
    begin(
        Work::Export, order->size(),
        [this, order, request](CancelFlag &cancel) { exportRows(m_report, *order, request, cancel, m_progress); },
        [this, order, path = request.path] { Q_EMIT exported(path, order->size()); });
}

void ViewerRows::stop()
{
    if (!m_task)
        return;
    if (m_work != Work::Export) {
        // What was not reached is given up: the view stays as it is.
        m_wanted.sort = m_shown.sort;
        m_shown.terms = m_wanted.terms;
        m_have.hits.reset();
        Q_EMIT stopped();
    }
    m_task->cancel();
}

void ViewerRows::begin(Work kind, std::int64_t end, BackgroundTask::Work work, std::function<void()> done)
{
    m_work = kind;
    m_progress = 0;
    m_progressEnd = end;
    m_done = std::move(done);
    m_task = std::make_unique<BackgroundTask>(std::move(work));
    connect(m_task.get(), &BackgroundTask::finished, this, &ViewerRows::end);
    Q_EMIT workBegan();
    m_task->start();
}

void ViewerRows::end()
{
    m_task->wait();
    const auto task = std::move(m_task);
    m_work = Work::None;
    Q_EMIT workEnded();
    const auto done = std::move(m_done);
    if (!task->failed()) {
        done();
    } else if (const RuntimeError failure = task->failure(); failure.number() != err::cancelledByOperator) {
        m_wanted = m_shown;
        Q_EMIT failed(failure.description());
    }
    update();
}

bool ViewerRows::isHit(std::int64_t position) const
{
    return m_have.hits && position >= 0 && m_have.hits->contains(m_have.shown->idAt(position));
}

std::int64_t ViewerRows::hitsUpTo(std::int64_t position) const
{
    return m_have.hits ? qm::hitsUpTo(*m_have.shown, *m_have.hits, position) : 0;
}

std::int64_t ViewerRows::nextHit(std::int64_t position, int step) const
{
    return m_have.hits ? qm::nextHit(*m_have.shown, *m_have.hits, position, step) : -1;
}

} // namespace qm
