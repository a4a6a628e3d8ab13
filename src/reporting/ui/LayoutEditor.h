/// \file
/// The layout page of the query editor.
#pragma once

#include "framework/ReportLayout.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QTableView;
class QTableWidget;
class QTabWidget;

namespace qm {

class LayoutColumnModel;

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
    QWidget *buildColumns();
    QWidget *buildPage();
    QWidget *buildTotals();
    QWidget *buildChart();
    QLineEdit *edit(QWidget *parent, const char *name, const QString &label);
    void showGroups(const std::vector<LayoutGroup> &groups);
    void refresh();

    QRadioButton *m_automatic, *m_own;
    QLineEdit *m_path;
    QTabWidget *m_tabs;
    LayoutColumnModel *m_columns;
    QTableView *m_table = nullptr;
    QCheckBox *m_onlyListed = nullptr, *m_other = nullptr;
    QLineEdit *m_title = nullptr, *m_subtitle = nullptr, *m_bands[6] = {}, *m_totals = nullptr;
    QComboBox *m_size = nullptr, *m_orientation = nullptr, *m_chartKind = nullptr;
    QDoubleSpinBox *m_margin = nullptr;
    QTableWidget *m_groups = nullptr;
    QLineEdit *m_chartTitle = nullptr, *m_category = nullptr, *m_series = nullptr, *m_values = nullptr;
    QSpinBox *m_top = nullptr;
    QStringList m_resultColumns;
    QString m_suggested;
    ReportLayout m_shown; ///< what the page does not show is kept from here
};

} // namespace qm
