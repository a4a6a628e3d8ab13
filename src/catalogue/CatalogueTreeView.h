/// \file
/// The catalogue tree as a control.
#pragma once

#include <QPersistentModelIndex>
#include <QTreeView>

namespace qm {

/// Turns mouse and keys into the tree's own events; what they do is CataloguePane's affair. A node click is something the operator does:
/// a left click on a node, or a key that moves the selection. Selecting by program raises nothing.
class CatalogueTreeView final : public QTreeView
{
    Q_OBJECT
public:
    explicit CatalogueTreeView(QWidget *parent = nullptr);

Q_SIGNALS:
    /// Any mouse press; \p node is invalid off the nodes. \p position is global.
    void MouseDown(Qt::MouseButton button, const QModelIndex &node, const QPoint &position);
    void NodeClick(const QModelIndex &node);
    /// Release of Enter (13) or Delete (46) whose press the tree saw, without modifiers.
    void KeyUp(int keyCode);
    /// Left double click on a node.
    void DblClick();
    /// The menu key; \p position is global.
    void MenuKey(const QPoint &position);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    /// The node whose picture or text is under \p point; invalid over a branch or free space.
    [[nodiscard]] QModelIndex nodeAt(const QPoint &point) const;

    bool m_pressedOnNode = false;
    int m_pressedKey = 0;
};

} // namespace qm
