/// \file
/// The catalogue list as a control.
#pragma once

#include <QHash>
#include <QTreeView>

#include <optional>

namespace qm {

class CatalogueList;

/// Turns mouse and keys into the list's own events; what they do is CataloguePane's affair. Keeps the column widths that the operator
/// chose, per level.
class CatalogueListView final : public QTreeView
{
    Q_OBJECT
public:
    using ColumnWidths = QHash<QChar, QList<int>>; ///< level to widths in device-independent pixels

    explicit CatalogueListView(CatalogueList &list, QWidget *parent = nullptr);

    [[nodiscard]] const ColumnWidths &columnWidths() const { return m_widths; }
    void setColumnWidths(const ColumnWidths &widths);
    /// While set, a press followed by a move beyond the drag distance raises BeginDrag and selects nothing.
    void setDragReady(bool ready) { m_dragReady = ready; }
    [[nodiscard]] bool isDragReady() const { return m_dragReady; }

Q_SIGNALS:
    /// Any mouse press; \p row is -1 off the rows. \p position is global.
    void MouseDown(Qt::MouseButton button, int row, const QPoint &position);
    void MouseUp();
    /// A key without modifiers: Enter (13) or Delete (46).
    void KeyDown(int keyCode);
    /// A key moved the selection to \p row.
    void RowSelectedByKey(int row);
    /// Left double click on a row.
    void DblClick();
    /// The menu key; \p position is global.
    void MenuKey(const QPoint &position);
    /// The mouse left the place where it went down on the selected row.
    void BeginDrag(const QPoint &position);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void applyColumnWidths();
    void rememberColumnWidths();
    [[nodiscard]] int selectedRow() const;

    CatalogueList &m_list;
    ColumnWidths m_widths;
    bool m_applyingWidths = false;
    bool m_dragReady = false;
    std::optional<QPoint> m_pressedAt; ///< where the mouse went down on a row; empty: it did not
};

} // namespace qm
