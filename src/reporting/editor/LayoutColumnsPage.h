/// \file
/// The columns of a layout.
#pragma once

#include "framework/ReportLayout.h"

#include <QStringList>
#include <QWidget>

class QCheckBox;
class QTableView;

namespace qm {

class LayoutColumnModel;

/// Which columns the report has, in which order, and how they look.
class LayoutColumnsPage final : public QWidget
{
    Q_OBJECT
public:
    explicit LayoutColumnsPage(QWidget *parent = nullptr);

    void show(const ReportLayout &layout);
    /// Writes what the page shows into \p layout.
    void store(ReportLayout &layout) const;
    /// What the result of the last preview has. \p fill: lists them if none are listed yet and no result was known.
    void setResultColumns(const QStringList &columns, bool fill);

Q_SIGNALS:
    void changed();
    void columnsRequested(); ///< the result's columns are wanted and not known yet

private:
    LayoutColumnModel *m_columns;
    QTableView *m_table;
    QCheckBox *m_onlyListed;
    QStringList m_resultColumns;
};

} // namespace qm
