/// \file
/// The schedule table as a control.
#pragma once

#include <QTableView>

namespace qm {

class JobTable;

/// Shows a JobTable and keeps its selected row and the model's in step. Raises the table's own events; what they do is SchedulePane's
/// affair.
class ScheduleTableView final : public QTableView
{
    Q_OBJECT
public:
    explicit ScheduleTableView(JobTable &table, QWidget *parent = nullptr);

Q_SIGNALS:
    void LfDblClick();
    /// A key without Shift, Ctrl or Alt.
    void KeyDown(int keyCode);
    /// A right click, or the menu key; \p row is -1 off the rows, \p position is global.
    void RtClick(int row, const QPoint &position);
    /// The operator selected a row by mouse or keyboard. What the schedule does to its rows is no choice.
    void RowChosen(int row);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end) override;

private:
    void showModelSelection(int row);

    JobTable &m_table;
    bool m_following = false; ///< the view is taking over the model's selection
};

} // namespace qm
