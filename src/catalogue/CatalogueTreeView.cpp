#include "catalogue/CatalogueTreeView.h"

#include "catalogue/ViewKeys.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace qm {

namespace {
constexpr int kPadding = 20;
constexpr QSize kIconSize(20, 20);
} // namespace

CatalogueTreeView::CatalogueTreeView(QWidget *parent) : QTreeView(parent)
{
    setObjectName(QStringLiteral("tvTreeView"));
    setAccessibleName(tr("Packages and report groups"));
    header()->hide();
    setUniformRowHeights(true);
    setIconSize(kIconSize);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    setTextElideMode(Qt::ElideRight);
}

QModelIndex CatalogueTreeView::nodeAt(const QPoint &point) const
{
    const QModelIndex index = indexAt(point);
    return index.isValid() && visualRect(index).contains(point) ? index : QModelIndex();
}

void CatalogueTreeView::mousePressEvent(QMouseEvent *event)
{
    const QPoint point = event->position().toPoint();
    const QModelIndex node = event->button() == Qt::RightButton ? indexAt(point) : nodeAt(point);
    m_pressedOnNode = event->button() == Qt::LeftButton && node.isValid();
    Q_EMIT MouseDown(event->button(), node, event->globalPosition().toPoint());
    if (event->button() != Qt::LeftButton)
        return;
    const QPersistentModelIndex before = selectedIndexes().value(0);
    QMouseEvent plain = withoutModifiers(*event);
    QTreeView::mousePressEvent(&plain);
    // Left of a node's picture a press selects it too: it is a click like any other, or tree and list would tell different stories.
    if (selectedIndexes().value(0) != before)
        m_pressedOnNode = true;
}

void CatalogueTreeView::mouseReleaseEvent(QMouseEvent *event)
{
    QMouseEvent plain = withoutModifiers(*event);
    QTreeView::mouseReleaseEvent(&plain);
    if (event->button() != Qt::LeftButton || !std::exchange(m_pressedOnNode, false))
        return;
    if (const QModelIndex selected = selectedIndexes().value(0); selected.isValid())
        Q_EMIT NodeClick(selected);
}

void CatalogueTreeView::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_pressedOnNode = false;
    if (event->button() != Qt::LeftButton)
        return;
    const bool onNode = nodeAt(event->position().toPoint()).isValid();
    QTreeView::mouseDoubleClickEvent(event);
    if (onNode)
        Q_EMIT DblClick();
}

void CatalogueTreeView::keyPressEvent(QKeyEvent *event)
{
    if (state() == EditingState)
        return QTreeView::keyPressEvent(event);
    const int code = plainKeyCode(*event);
    if (code != keycode::none) {
        if (!event->isAutoRepeat())
            m_pressedKey = code;
        event->accept();
        return;
    }
    const QPersistentModelIndex before = selectedIndexes().value(0);
    QTreeView::keyPressEvent(event);
    const QModelIndex after = selectedIndexes().value(0);
    if (after.isValid() && after != before)
        Q_EMIT NodeClick(after);
}

void CatalogueTreeView::keyReleaseEvent(QKeyEvent *event)
{
    const int code = plainKeyCode(*event);
    if (code == keycode::none || event->isAutoRepeat())
        return QTreeView::keyReleaseEvent(event);
    event->accept();
    if (std::exchange(m_pressedKey, keycode::none) == code && state() != EditingState)
        Q_EMIT KeyUp(code);
}

void CatalogueTreeView::focusOutEvent(QFocusEvent *event)
{
    m_pressedKey = keycode::none;
    QTreeView::focusOutEvent(event);
}

void CatalogueTreeView::contextMenuEvent(QContextMenuEvent *event)
{
    event->accept();
    if (event->reason() == QContextMenuEvent::Mouse)
        return; // the press has already shown the menu
    const QModelIndex selected = selectedIndexes().value(0);
    const QPoint at = selected.isValid() ? visualRect(selected).center() : QPoint(kPadding, kPadding);
    Q_EMIT MenuKey(viewport()->mapToGlobal(at));
}

void CatalogueTreeView::paintEvent(QPaintEvent *event)
{
    QTreeView::paintEvent(event);
    if (model() && model()->rowCount() > 0)
        return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(kPadding, kPadding, -kPadding, -kPadding), Qt::AlignCenter | Qt::TextWordWrap,
                     tr("No event-log packages.\nPackages are listed in \"Packages.ini\" in the installation folder."));
}

} // namespace qm
