/// \file
/// The window that shows a report on the screen.
#pragma once

#include "reporting/ui/BackgroundTask.h"
#include "reporting/ui/SpoolJobs.h"

#include <QMainWindow>

#include <memory>

class QLabel;
class QProgressBar;
class QStackedWidget;
class QTableView;
class QTimer;
class QToolButton;

namespace qm {

class DetailPane;
class MatchDelegate;
class SearchBar;
class SpoolModel;
struct ReportingUiServices;

/// Rows in a table: sorted by a click on a header, searched, reduced to the rows that match, copied, and exported. Blocks nothing and
/// deletes itself when closed. Ordering, searching and exporting run one after another on a background thread; the window stays usable.
class frmReportViewer final : public QMainWindow
{
    Q_OBJECT
public:
    /// \p queryFile tells under which name column widths are remembered. \p note is shown when not empty.
    frmReportViewer(ReportingUiServices &services, SpooledReport report, const QString &queryFile, const QString &note);
    ~frmReportViewer() override;

    /// Orders the rows; column -1 is the original order.
    void sortBy(int column, bool descending);
    /// Writes the rows that are shown, in the order shown, to \p path.
    void exportTo(const QString &path, const QString &format);
    [[nodiscard]] bool isWorking() const { return m_task != nullptr; }
    [[nodiscard]] SpoolModel &model() const { return *m_model; }

Q_SIGNALS:
    /// The rows are in the order and reduction last asked for, or the work for it was cancelled or failed.
    void settled();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void buildHeading(QWidget *into);
    void buildTable();
    void buildActions();
    void buildStatus();
    void restoreWidths();
    void saveWidths() const;
    [[nodiscard]] QString headFact(const char *name) const;

    enum class Work { View, Export };
    void startWork(Work kind, const QString &what, qint64 total, BackgroundTask::Work work, std::function<void()> done);
    void endWork();
    void stopWork();
    void update();
    void showView();
    void showOrder(std::shared_ptr<const RowOrder> order);
    void headerClicked(int column);
    void search();
    void stepHit(int direction);
    void currentChanged();
    void copySelection(bool withCaptions);
    [[nodiscard]] QString selectionText(bool withCaptions);
    void chooseExport(const QString &format);
    void contextMenu(const QPoint &at);
    void showRowCount();
    void showHitCount();

    ReportingUiServices &m_services;
    SpooledReport m_report;
    QString m_queryFile, m_note;

    SpoolModel *m_model = nullptr;
    QTableView *m_table = nullptr;
    MatchDelegate *m_delegate = nullptr;
    DetailPane *m_details = nullptr;
    SearchBar *m_search = nullptr;
    QStackedWidget *m_stack = nullptr;
    QLabel *m_empty = nullptr, *m_rows = nullptr, *m_work = nullptr;
    QProgressBar *m_bar = nullptr;
    QToolButton *m_stop = nullptr;
    QTimer *m_tick = nullptr;
    QAction *m_export = nullptr;

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
    [[nodiscard]] static Rows makeRows(const SpooledReport &report, const View &before, const Rows &had, const View &wanted,
                                       CancelFlag &cancel, JobProgress &progress);

    View m_wanted, m_shown;
    Rows m_have, m_made;
    Work m_kind = Work::View;
    QString m_what;
    std::unique_ptr<BackgroundTask> m_task;
    std::function<void()> m_done;
    JobProgress m_progress{0};
};

} // namespace qm
