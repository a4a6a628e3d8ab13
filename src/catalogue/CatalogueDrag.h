/// \file
/// Dragging a report query from the list onto a group of the tree.
#pragma once

#include "catalogue/QueryTransfer.h"

#include <QObject>
#include <QPersistentModelIndex>
#include <QTimer>

namespace qm {

class CatalogueListView;
class CatalogueTreeView;

/// A drag inside the window, with its own picture under the pointer. The mouse stays with the list until the button goes up; Esc or a
/// release elsewhere than over the tree ends the drag without a drop and selects the node again that was selected before.
class CatalogueDrag final : public QObject
{
    Q_OBJECT
public:
    CatalogueDrag(CatalogueTreeView &tree, CatalogueListView &list, CatalogueSelection &selection, QueryTransfer &transfer,
                  ImageList images);
    ~CatalogueDrag() override;

    /// Begins dragging the list's selected query. \throws RuntimeError 91 when no query is selected.
    void begin();

Q_SIGNALS:
    /// A query was put down in a group.
    void dropped();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void moveTo(const QPoint &globalPosition);
    void release(const QPoint &globalPosition);
    void end(bool restoreNode);
    void show(DragPicture picture);
    void scrollAndExpand();
    [[nodiscard]] bool isOver(const QWidget &viewport, const QPoint &globalPosition) const;

    CatalogueTreeView &m_tree;
    CatalogueListView &m_list;
    CatalogueSelection &m_selection;
    QueryTransfer &m_transfer;
    ImageList m_images;
    QPersistentModelIndex m_nodeAtStart;
    QPersistentModelIndex m_hovered;
    int m_hoverTicks = 0;
    QTimer m_timer;
    bool m_dragging = false;
};

} // namespace qm
