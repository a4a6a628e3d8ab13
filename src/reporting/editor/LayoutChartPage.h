/// \file
/// The charts of a layout, and what stands beside them on the first page.
#pragma once

#include "framework/ReportLayout.h"

#include <QWidget>

#include <vector>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace qm {

/// Charts in their order, the fields of the one that is selected; key figures and the top list.
class LayoutChartPage final : public QWidget
{
    Q_OBJECT
public:
    explicit LayoutChartPage(QWidget *parent = nullptr);

    void show(const ReportLayout &layout);
    /// Writes what the page shows into \p layout. \throws RuntimeError for key figures that cannot be read.
    void store(ReportLayout &layout) const;

Q_SIGNALS:
    void changed();

private:
    void addChart();
    void removeChart();
    /// Lists the charts and shows the fields of chart \p current.
    void list(int current);
    void showChart();
    /// Takes the fields into the chart that is selected.
    void take();

    QListWidget *m_list;
    QPushButton *m_add, *m_remove;
    QWidget *m_form;
    QComboBox *m_kind;
    QLineEdit *m_title, *m_category, *m_values, *m_series, *m_categoryTitle, *m_valueTitle;
    QSpinBox *m_top;
    QCheckBox *m_other;
    QLineEdit *m_figures, *m_topField, *m_topValue, *m_topCaption;
    QSpinBox *m_topMost;
    std::vector<LayoutChart> m_charts;
    bool m_showing = false; ///< the fields are being filled
};

} // namespace qm
