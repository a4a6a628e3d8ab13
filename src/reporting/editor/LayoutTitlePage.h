/// \file
/// Title and page of a layout.
#pragma once

#include "framework/ReportLayout.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;

namespace qm {

/// Title, subtitle, the paper, and what stands at the head and foot of each page.
class LayoutTitlePage final : public QWidget
{
    Q_OBJECT
public:
    explicit LayoutTitlePage(QWidget *parent = nullptr);

    void show(const ReportLayout &layout);
    /// Writes what the page shows into \p layout.
    void store(ReportLayout &layout) const;

Q_SIGNALS:
    void changed();

private:
    QLineEdit *m_title, *m_subtitle, *m_note, *m_bands[6] = {};
    QComboBox *m_size, *m_orientation;
    QDoubleSpinBox *m_margin;
    QCheckBox *m_allowA3;
};

} // namespace qm
