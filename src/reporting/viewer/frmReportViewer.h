/// \file
/// The window that shows a report on the screen.
#pragma once

#include "engine/rows/Spool.h"
#include "reporting/viewer/ViewerRows.h"

#include <QMainWindow>

class QLabel;
class QStackedWidget;
class QTableView;

namespace qm {

class DetailPane;
class MatchDelegate;
class SearchBar;
class SpoolModel;
struct ReportingUiServices;

/// Rows in a table: sorted by a click on a header, searched, reduced to the rows that match, copied, and exported. Blocks nothing and
/// deletes itself when closed. Widgets and wiring; what is shown is ViewerRows' to say.
class frmReportViewer final : public QMainWindow
{
    Q_OBJECT
public:
    /// \p queryFile tells under which name column widths are remembered. \p note is shown when not empty.
    frmReportViewer(ReportingUiServices &services, SpooledReport report, const QString &queryFile, const QString &note);
    ~frmReportViewer() override;

    /// Writes the rows that are shown, in the order shown, to \p path.
    void exportTo(const QString &path, ReportFormat format);
    [[nodiscard]] ViewerRows &rows() { return m_rows; }
    [[nodiscard]] SpoolModel &model() const { return *m_model; }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void buildTable();
    void buildActions();
    void buildStatus();
    void restoreWidths();
    void saveWidths() const;

    void showRows();
    void showOrder();
    void stepHit(int direction);
    void currentChanged();
    void copySelection(bool withCaptions);
    void chooseExport(ReportFormat format);
    void contextMenu(const QPoint &at);
    void showRowCount();
    void showHitCount();
    void showExported(const QString &path, qint64 rows);

    ReportingUiServices &m_services;
    SpooledReport m_report;
    QString m_queryFile;
    ViewerRows m_rows;

    SpoolModel *m_model = nullptr;
    QTableView *m_table = nullptr;
    MatchDelegate *m_delegate = nullptr;
    DetailPane *m_details = nullptr;
    SearchBar *m_search = nullptr;
    QStackedWidget *m_stack = nullptr;
    QLabel *m_empty = nullptr, *m_rowCount = nullptr;
    QAction *m_export = nullptr;
};

} // namespace qm
