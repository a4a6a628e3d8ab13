#include "catalogue/CatalogueDrag.h"

#include "catalogue/CatalogueListView.h"
#include "catalogue/CatalogueTreeView.h"
#include "core/ErrorReporter.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>

namespace qm {

namespace {
constexpr int kTickMs = 60;
constexpr int kTicksToExpand = 12; ///< about 0.7 s over one node
constexpr int kScrollMargin = 20;
constexpr int kPictureSize = 32;

QString imageKey(DragPicture picture)
{
    switch (picture) {
    case DragPicture::Drop:
        return QStringLiteral("Drop");
    case DragPicture::Invalid:
        return QStringLiteral("Invalid");
    default:
        return QStringLiteral("Drag");
    }
}
} // namespace

CatalogueDrag::CatalogueDrag(CatalogueTreeView &tree, CatalogueListView &list, CatalogueSelection &selection, QueryTransfer &transfer,
                             ImageList images)
    : QObject(&list), m_tree(tree), m_list(list), m_selection(selection), m_transfer(transfer), m_images(std::move(images))
{
    m_timer.setInterval(kTickMs);
    connect(&m_timer, &QTimer::timeout, this, &CatalogueDrag::scrollAndExpand);
}

CatalogueDrag::~CatalogueDrag()
{
    if (m_dragging)
        QApplication::restoreOverrideCursor();
}

void CatalogueDrag::begin()
{
    m_transfer.pickUpForDrag(m_selection.rowIndex());
    m_nodeAtStart = m_selection.nodeIndex();
    m_dragging = true;
    QApplication::setOverrideCursor(Qt::ArrowCursor);
    show(DragPicture::Drag);
    qApp->installEventFilter(this);
    m_timer.start();
}

bool CatalogueDrag::isOver(const QWidget &viewport, const QPoint &globalPosition) const
{
    return viewport.isVisible() && viewport.rect().contains(viewport.mapFromGlobal(globalPosition));
}

bool CatalogueDrag::eventFilter(QObject *watched, QEvent *event)
{
    Q_UNUSED(watched)
    switch (event->type()) {
    case QEvent::MouseMove:
        moveTo(static_cast<QMouseEvent *>(event)->globalPosition().toPoint());
        return true;
    case QEvent::MouseButtonRelease:
        release(static_cast<QMouseEvent *>(event)->globalPosition().toPoint());
        return true;
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape)
            end(true);
        return true;
    case QEvent::WindowDeactivate:
        end(true);
        return false;
    default:
        return false;
    }
}

void CatalogueDrag::moveTo(const QPoint &globalPosition)
{
    if (isOver(*m_tree.viewport(), globalPosition)) {
        const QModelIndex node = m_tree.indexAt(m_tree.viewport()->mapFromGlobal(globalPosition));
        if (node != m_hovered) {
            m_hovered = node;
            m_hoverTicks = 0;
        }
        if (const auto picture = m_transfer.tvTreeView_DragOver(node))
            show(*picture);
    } else if (isOver(*m_list.viewport(), globalPosition) && m_list.isDragReady()) {
        m_hovered = QModelIndex();
        show(DragPicture::Drag);
    }
}

void CatalogueDrag::release(const QPoint &globalPosition)
{
    const bool overTree = isOver(*m_tree.viewport(), globalPosition);
    const bool dragReady = m_list.isDragReady();
    const QPersistentModelIndex start = m_nodeAtStart;
    end(!overTree);
    if (!overTree)
        return;
    if (m_transfer.tvTreeView_DragDrop(dragReady))
        Q_EMIT dropped();
    else if (start.isValid())
        m_selection.selectNode(start);
}

void CatalogueDrag::end(bool restoreNode)
{
    if (!m_dragging)
        return;
    m_dragging = false;
    m_timer.stop();
    qApp->removeEventFilter(this);
    QApplication::restoreOverrideCursor();
    m_hovered = QModelIndex();
    if (restoreNode && m_nodeAtStart.isValid())
        m_selection.selectNode(m_nodeAtStart);
}

void CatalogueDrag::show(DragPicture picture)
{
    const QPixmap pixmap = m_images.value(imageKey(picture)).pixmap(QSize(kPictureSize, kPictureSize), m_list.devicePixelRatioF());
    QApplication::changeOverrideCursor(pixmap.isNull() ? QCursor(Qt::DragCopyCursor) : QCursor(pixmap, 0, 0));
}

void CatalogueDrag::scrollAndExpand()
{
    const QPoint at = m_tree.viewport()->mapFromGlobal(QCursor::pos());
    if (!m_tree.viewport()->rect().contains(at))
        return;
    QScrollBar *bar = m_tree.verticalScrollBar();
    if (at.y() < kScrollMargin)
        bar->setValue(bar->value() - bar->singleStep());
    else if (at.y() > m_tree.viewport()->height() - kScrollMargin)
        bar->setValue(bar->value() + bar->singleStep());
    if (m_hovered.isValid() && !m_tree.isExpanded(m_hovered) && ++m_hoverTicks == kTicksToExpand)
        m_tree.expand(m_hovered);
}

} // namespace qm
