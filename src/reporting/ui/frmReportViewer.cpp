#include "reporting/ui/frmReportViewer.h"

#include "core/Prompts.h"
#include "core/RuntimeError.h"
#include "reporting/ui/DetailPane.h"
#include "reporting/ui/Icons.h"
#include "reporting/ui/InputGate.h"
#include "reporting/ui/MatchDelegate.h"
#include "reporting/ui/PackageReportInterface.h"
#include "reporting/ui/ReportDesk.h"
#include "reporting/ui/SearchBar.h"
#include "reporting/ui/SpoolModel.h"
#include "reporting/ui/frmReportDone.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QStackedWidget>
#include <QTableView>
#include <QTimer>
#include <QToolButton>

namespace qm {

frmReportViewer::~frmReportViewer()
{
    m_task.reset();
    saveWidths();
    delete m_model;
}

frmReportViewer::Rows frmReportViewer::makeRows(const SpooledReport &report, const View &before, const Rows &had, const View &wanted,
                                                CancelFlag &cancel, JobProgress &progress)
{
    Rows rows = had;
    if (!rows.sorted || wanted.sort != before.sort)
        rows.sorted = sortRows(report, wanted.sort, cancel, progress);
    if (wanted.terms.text.isEmpty())
        rows.hits.reset();
    else if (!rows.hits || wanted.terms != before.terms)
        rows.hits = searchRows(report, wanted.terms, cancel, progress);
    rows.shown = rows.hits && wanted.onlyMatches ? filterRows(*rows.sorted, *rows.hits) : rows.sorted;
    return rows;
}

void frmReportViewer::startWork(Work kind, const QString &what, qint64 total, BackgroundTask::Work work, std::function<void()> done)
{
    m_kind = kind;
    m_what = what;
    m_progress = 0;
    m_done = std::move(done);
    m_task = std::make_unique<BackgroundTask>(std::move(work));
    connect(m_task.get(), &BackgroundTask::finished, this, &frmReportViewer::endWork);
    m_bar->setRange(0, static_cast<int>(std::min<qint64>(total, std::numeric_limits<int>::max())));
    m_bar->setValue(0);
    m_work->setText(what);
    m_tick->start();
    m_export->setEnabled(false);
    m_task->start();
}

void frmReportViewer::endWork()
{
    m_task->wait();
    const auto task = std::move(m_task);
    m_tick->stop();
    for (QWidget *widget : std::initializer_list<QWidget *>{m_work, m_bar, m_stop})
        widget->hide();
    m_export->setEnabled(!m_services.desk.isProducingRows());
    const auto done = std::move(m_done);
    if (!task->failed()) {
        done();
    } else if (const RuntimeError failure = task->failure(); failure.number() != err::cancelledByOperator) {
        m_wanted = m_shown;
        m_services.prompts.messageBox(failure.description(), box::ok | box::critical, QString::fromLatin1(kApplicationTitle));
    }
    update();
}

void frmReportViewer::stopWork()
{
    if (!m_task)
        return;
    if (m_kind == Work::View) {
        // What was not reached is given up: the view stays as it is.
        m_wanted.sort = m_shown.sort;
        m_shown.terms = m_wanted.terms;
        m_have.hits.reset();
        m_search->showText(tr("Stopped"));
    }
    m_task->cancel();
}

void frmReportViewer::update()
{
    if (m_task) {
        if (m_kind == Work::View)
            m_task->cancel();
        return;
    }
    if (m_wanted == m_shown) {
        Q_EMIT settled();
        return;
    }
    const View wanted = m_wanted, before = m_shown;
    const bool sorting = wanted.sort != before.sort;
    startWork(
        Work::View, sorting ? tr("Sorting…") : tr("Searching…"), m_report.tail.rows,
        [this, wanted, before, had = m_have](CancelFlag &cancel) { m_made = makeRows(m_report, before, had, wanted, cancel, m_progress); },
        [this, wanted] {
            m_shown = wanted;
            m_have = std::move(m_made);
            showView();
        });
}

void frmReportViewer::showView()
{
    if (m_model->sharedOrder() != m_have.shown)
        showOrder(m_have.shown);
    if (m_shown.sort.column < 0)
        m_table->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    else
        m_table->horizontalHeader()->setSortIndicator(m_shown.sort.column,
                                                      m_shown.sort.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    m_delegate->setTerms(m_shown.terms);
    m_details->setTerms(m_shown.terms);
    currentChanged();
    m_table->viewport()->update();
    showRowCount();
    const int row = m_table->currentIndex().row();
    if (m_have.hits && m_have.hits->count() > 0 && (row < 0 || !m_have.hits->contains(m_have.shown->idAt(row))))
        stepHit(1);
    showHitCount();
}

void frmReportViewer::showOrder(std::shared_ptr<const RowOrder> order)
{
    const QModelIndex current = m_table->currentIndex();
    const std::int64_t id = current.isValid() ? m_model->order().idAt(current.row()) : 0;
    const int column = std::max(current.column(), 0);
    m_model->setOrder(std::move(order));
    for (std::int64_t at = 0; id > 0 && at < m_model->rowCount(); ++at) {
        if (m_model->order().idAt(at) == id) {
            const QModelIndex index = m_model->index(static_cast<int>(at), column);
            m_table->setCurrentIndex(index);
            m_table->scrollTo(index, QAbstractItemView::PositionAtCenter);
            break;
        }
    }
}

void frmReportViewer::sortBy(int column, bool descending)
{
    m_wanted.sort = {column, column >= 0 && descending};
    update();
}

void frmReportViewer::headerClicked(int column)
{
    // Ascending, descending, and back to the report's own order.
    if (m_wanted.sort.column != column)
        sortBy(column, false);
    else if (!m_wanted.sort.descending)
        sortBy(column, true);
    else
        sortBy(-1, false);
}

void frmReportViewer::search()
{
    m_wanted.terms = m_search->terms();
    m_wanted.onlyMatches = m_search->onlyMatches();
    update();
}

void frmReportViewer::stepHit(int direction)
{
    if (!m_have.hits)
        return;
    const std::int64_t at = nextHit(m_model->order(), *m_have.hits, m_table->currentIndex().row(), direction);
    if (at < 0)
        return;
    int column = std::max(m_table->currentIndex().column(), 0);
    const auto letterCase = m_shown.terms.matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    for (int i = 0; i < m_model->columnCount(); ++i) {
        if ((m_shown.terms.column < 0 || m_shown.terms.column == i) &&
            m_model->fullText(static_cast<int>(at), i).contains(m_shown.terms.text, letterCase)) {
            column = i;
            break;
        }
    }
    const QModelIndex index = m_model->index(static_cast<int>(at), column);
    m_table->setCurrentIndex(index);
    m_table->scrollTo(index);
    showHitCount();
}

void frmReportViewer::showHitCount()
{
    const int row = m_table->currentIndex().row();
    const bool onHit = m_have.hits && row >= 0 && m_have.hits->contains(m_model->order().idAt(row));
    m_search->showCount(m_have.hits ? m_have.hits->count() : 0, onHit ? hitsUpTo(m_model->order(), *m_have.hits, row) : 0);
}

void frmReportViewer::exportTo(const QString &path, const QString &format)
{
    ExportRequest request{path, format, m_services.fontFolder, {}};
    if (m_shown.onlyMatches && m_have.hits) {
        std::string words = tr("only rows that contain").toStdString() + " \"" + m_shown.terms.text.toStdString() + "\"";
        if (m_shown.terms.column >= 0)
            words += " (" + m_report.columns[static_cast<std::size_t>(m_shown.terms.column)].caption + ")";
        request.extraFacts.emplace_back(tr("Reduced to").toStdString(), words);
    }
    if (m_shown.sort.column >= 0)
        request.extraFacts.emplace_back(tr("Sorted by").toStdString(),
                                        m_report.columns[static_cast<std::size_t>(m_shown.sort.column)].caption +
                                            (m_shown.sort.descending ? tr(", descending").toStdString() : std::string()));
    const auto order = m_model->sharedOrder();
    startWork(
        Work::Export, tr("Exporting…"), order->size(),
        [this, order, request](CancelFlag &cancel) { exportRows(m_report, *order, request, cancel, m_progress); },
        [this, order, path] {
            auto done = new frmReportDone(QString::fromStdString(m_report.head.title), path, order->size(),
                                          static_cast<quint64>(QFileInfo(path).size()), {});
            m_services.desk.addViewer(done);
            done->show();
        });
}

void frmReportViewer::showRowCount()
{
    const QLocale locale;
    const qint64 all = m_report.tail.rows, shown = m_model->order().size();
    QString text = all == 1 ? tr("1 row") : tr("%1 rows").arg(locale.toString(all));
    if (shown != all)
        text = tr("%1 of %2 rows").arg(locale.toString(shown), locale.toString(all));
    m_rows->setText(text);
    if (all == 0)
        m_empty->setText(headFact("Period").isEmpty() ? tr("No rows") : tr("No rows for this period") + u'\n' + headFact("Period"));
    else if (shown == 0)
        m_empty->setText(tr("No row contains “%1”").arg(m_shown.terms.text));
    m_stack->setCurrentIndex(shown == 0 ? 1 : 0);
}

void frmReportViewer::closeEvent(QCloseEvent *event)
{
    if (m_task && m_kind == Work::Export) {
        const int answer =
            m_services.prompts.messageBox(tr("The export is not finished. Stop it and close this window?"),
                                          box::yesNo | box::question | box::defaultButton2, QString::fromLatin1(kApplicationTitle));
        if (answer != box::idYes) {
            event->ignore();
            return;
        }
    }
    QMainWindow::closeEvent(event);
}

} // namespace qm
