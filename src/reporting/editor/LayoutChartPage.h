/// \file
/// The chart of a layout.
#pragma once

#include "framework/ReportLayout.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;

namespace qm {

/// What the chart shows; the first kind is none.
class LayoutChartPage final : public QWidget
{
    Q_OBJECT
public:
    explicit LayoutChartPage(QWidget *parent = nullptr);

    void show(const ReportLayout &layout);
    /// Writes what the page shows into \p layout.
    void store(ReportLayout &layout) const;

Q_SIGNALS:
    void changed();

private:
    QComboBox *m_kind;
    QLineEdit *m_title, *m_category, *m_values, *m_series;
    QSpinBox *m_top;
    QCheckBox *m_other;
};

} // namespace qm
