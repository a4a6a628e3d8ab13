#include "catalogue/CatalogueListView.h"

#include "catalogue/CatalogueKeys.h"
#include "catalogue/CatalogueList.h"
#include "catalogue/ViewKeys.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>

namespace qm {

namespace {
constexpr int kPadding = 24;
constexpr QSize kIconSize(20, 20);
} // namespace

CatalogueListView::CatalogueListView(CatalogueList &list, QWidget *parent) : QTreeView(parent), m_list(list)
{
    setObjectName(QStringLiteral("lvListView"));
    setAccessibleName(tr("Report groups or report queries"));
    setModel(&list);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setTextElideMode(Qt::ElideMiddle);
    setIconSize(kIconSize);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    header()->setStretchLastSection(false);
    header()->setSectionsMovable(false);
    header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    connect(&list, &QAbstractItemModel::modelReset, this, &CatalogueListView::applyColumnWidths);
    connect(header(), &QHeaderView::sectionResized, this, &CatalogueListView::rememberColumnWidths);
}

void CatalogueListView::setColumnWidths(const ColumnWidths &widths)
{
    m_widths = widths;
    applyColumnWidths();
}

void CatalogueListView::applyColumnWidths()
{
    const QScopedValueRollback applying(m_applyingWidths, true);
    const auto columns = columnsOfLevel(m_list.level());
    setAlternatingRowColors(columns.size() > 1); // bands help along wide rows only
    const QList<int> remembered = m_widths.value(m_list.level());
    for (std::size_t i = 0; i < columns.size(); ++i)
        setColumnWidth(static_cast<int>(i), remembered.value(static_cast<qsizetype>(i), columns[i].pixels()));
}

void CatalogueListView::rememberColumnWidths()
{
    if (m_applyingWidths || m_list.columnCount() == 0)
        return;
    QList<int> widths;
    for (int i = 0; i < m_list.columnCount(); ++i)
        widths.append(columnWidth(i));
    m_widths.insert(m_list.level(), widths);
}

int CatalogueListView::selectedRow() const
{
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void CatalogueListView::mousePressEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    m_pressedAt.reset();
    if (event->button() == Qt::LeftButton) {
        // A press on free space keeps the selection.
        if (index.isValid()) {
            QMouseEvent plain = withoutModifiers(*event);
            QTreeView::mousePressEvent(&plain);
            // A press that was led to its row, which an edit had moved away under the pointer, is no beginning of a drag.
            const QPoint pointer = viewport()->mapFromGlobal(event->globalPosition().toPoint());
            if ((event->position().toPoint() - pointer).manhattanLength() < QApplication::startDragDistance())
                m_pressedAt = event->position().toPoint();
        }
    }
    Q_EMIT MouseDown(event->button(), index.isValid() ? index.row() : -1, event->globalPosition().toPoint());
}

void CatalogueListView::mouseMoveEvent(QMouseEvent *event)
{
    // A move with the button down would select the rows that it passes.
    if (!(event->buttons() & (Qt::LeftButton | Qt::RightButton)))
        return QTreeView::mouseMoveEvent(event);
    if (!m_dragReady || !m_pressedAt || m_list.rows() == 0)
        return;
    if ((event->position().toPoint() - *m_pressedAt).manhattanLength() < QApplication::startDragDistance())
        return;
    m_pressedAt.reset();
    Q_EMIT BeginDrag(event->globalPosition().toPoint());
}

void CatalogueListView::mouseReleaseEvent(QMouseEvent *event)
{
    m_pressedAt.reset();
    QMouseEvent plain = withoutModifiers(*event);
    QTreeView::mouseReleaseEvent(&plain);
    Q_EMIT MouseUp();
}

void CatalogueListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && indexAt(event->position().toPoint()).isValid())
        Q_EMIT DblClick();
}

void CatalogueListView::keyPressEvent(QKeyEvent *event)
{
    if (state() == EditingState)
        return QTreeView::keyPressEvent(event);
    if (const int code = plainKeyCode(*event); code != keycode::none) {
        event->accept();
        if (!event->isAutoRepeat() && selectedRow() >= 0)
            Q_EMIT KeyDown(code);
        return;
    }
    const int before = selectedRow();
    const bool arrow = event->key() == Qt::Key_Down || event->key() == Qt::Key_Up;
    if (before < 0 && arrow && m_list.rows() > 0) // the first arrow key takes the row that has the focus, not the one beside it
        setCurrentIndex(currentIndex().isValid() ? currentIndex() : m_list.index(0, CatalogueList::Text));
    else
        QTreeView::keyPressEvent(event);
    if (const int after = selectedRow(); after >= 0 && after != before)
        Q_EMIT RowSelectedByKey(after);
}

void CatalogueListView::contextMenuEvent(QContextMenuEvent *event)
{
    event->accept();
    if (event->reason() == QContextMenuEvent::Mouse)
        return; // the press has already shown the menu
    const int row = selectedRow();
    const QPoint at = row >= 0 ? visualRect(m_list.index(row, CatalogueList::Text)).center() : QPoint(kPadding, kPadding);
    Q_EMIT MenuKey(viewport()->mapToGlobal(at));
}

void CatalogueListView::paintEvent(QPaintEvent *event)
{
    QTreeView::paintEvent(event);
    if (m_list.rows() > 0)
        return;
    QString text;
    if (m_list.level() == selection::package)
        text = tr("This package has no report groups yet.");
    else if (m_list.level() == selection::group)
        text = tr("This report group has no report queries yet.");
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(kPadding, kPadding, -kPadding, -kPadding), Qt::AlignCenter | Qt::TextWordWrap, text);
}

} // namespace qm
