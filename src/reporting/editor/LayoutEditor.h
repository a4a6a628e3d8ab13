/// \file
/// The layout page of the query editor.
#pragma once

#include "framework/ReportLayout.h"

#include <QWidget>

class QLineEdit;
class QRadioButton;
class QTabWidget;

namespace qm {

class LayoutChartPage;
class LayoutColumnsPage;
class LayoutGroupsPage;
class LayoutTitlePage;
class NoticeStrip;

/// Automatic layout, or a layout file with everything that it holds.
class LayoutEditor final : public QWidget
{
    Q_OBJECT
public:
    explicit LayoutEditor(QWidget *parent = nullptr);

    void show(const QString &reportFile, const ReportLayout &layout);
    [[nodiscard]] QString reportFile() const;
    /// The layout as the page shows it. \throws RuntimeError for totals that cannot be read.
    [[nodiscard]] ReportLayout layout() const;
    /// Columns of the last preview, for "Take from preview" and the lists.
    void setResultColumns(const QStringList &columns);
    /// The name that a new layout gets.
    void suggestName(const QString &reportFile) { m_suggested = reportFile; }

Q_SIGNALS:
    void changed();
    void openRequested();    ///< choose another layout file
    void columnsRequested(); ///< the result's columns are wanted and not known yet

private:
    void refresh();
    void tellWarnings();

    QRadioButton *m_automatic, *m_own;
    QLineEdit *m_path;
    NoticeStrip *m_warnings;
    QTabWidget *m_tabs;
    LayoutColumnsPage *m_columns;
    LayoutTitlePage *m_title;
    LayoutGroupsPage *m_groups;
    LayoutChartPage *m_chart;
    QString m_suggested;
    ReportLayout m_shown; ///< what the page does not show is kept from here
};

} // namespace qm
