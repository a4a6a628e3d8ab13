#include "scheduler/ScheduleTableView.h"

#include "scheduler/JobTable.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>

namespace qm {

namespace {
constexpr int kEnterCode = 13, kDeleteCode = 46;
constexpr int kPadding = 24;

/// Ctrl takes nothing out of the selection: one row is always the selected one.
QMouseEvent withoutControl(const QMouseEvent &event)
{
    return {event.type(),          event.position(), event.globalPosition(),
            event.button(),        event.buttons(),  event.modifiers() & ~Qt::ControlModifier,
            event.pointingDevice()};
}

int keyCode(const QKeyEvent &event)
{
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return kEnterCode;
    case Qt::Key_Delete:
        return kDeleteCode;
    default:
        return 0;
    }
}
} // namespace

ScheduleTableView::ScheduleTableView(JobTable &table, QWidget *parent) : QTableView(parent), m_table(table)
{
    setObjectName(QStringLiteral("dtblScheduleTable"));
    setAccessibleName(tr("Scheduled reports"));
    setModel(&table);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideMiddle);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 10);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setStretchLastSection(true);
    for (const int hidden : {JobTable::NextRun, JobTable::JobId, JobTable::InterfaceId})
        setColumnHidden(hidden, true);
    setColumnWidth(JobTable::Picture, 30);
    setColumnWidth(JobTable::Date, 110);
    setColumnWidth(JobTable::Time, 110);
    setColumnWidth(JobTable::Frequency, 90);
    setColumnWidth(JobTable::Description, 240);
    connect(&table, &JobTable::selectedRowChanged, this, &ScheduleTableView::showModelSelection);
    connect(&table, &JobTable::modelReset, this, [this] { showModelSelection(m_table.selectedRow()); });
}

void ScheduleTableView::showModelSelection(int row)
{
    const QScopedValueRollback following(m_following, true);
    if (row < 0) {
        clearSelection();
        setCurrentIndex({});
    } else {
        setCurrentIndex(m_table.index(row, JobTable::Date));
        // Not selectRow: laid out from right to left it finds no row before the view has its size.
        selectionModel()->select(m_table.index(row, JobTable::Date), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
}

void ScheduleTableView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTableView::currentChanged(current, previous);
    if (m_following || !current.isValid())
        return;
    m_table.selectRow(current.row());
    Q_EMIT RowChosen(current.row());
}

void ScheduleTableView::rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end)
{
    const QScopedValueRollback following(m_following, true); // the model says which row is selected afterwards
    QTableView::rowsAboutToBeRemoved(parent, start, end);
}

void ScheduleTableView::mousePressEvent(QMouseEvent *event)
{
    QMouseEvent plain = withoutControl(*event);
    const int row = rowAt(event->position().toPoint().y());
    if (row >= 0 && row == m_table.selectedRow())
        Q_EMIT RowChosen(row);
    QTableView::mousePressEvent(&plain);
    if (event->button() == Qt::RightButton)
        Q_EMIT RtClick(row, event->globalPosition().toPoint());
}

void ScheduleTableView::mouseReleaseEvent(QMouseEvent *event)
{
    QMouseEvent plain = withoutControl(*event);
    QTableView::mouseReleaseEvent(&plain);
}

void ScheduleTableView::mouseDoubleClickEvent(QMouseEvent *event)
{
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton)
        Q_EMIT LfDblClick();
}

void ScheduleTableView::keyPressEvent(QKeyEvent *event)
{
    constexpr auto held = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const int code = keyCode(*event);
    if (code != 0 && !(event->modifiers() & held)) {
        event->accept();
        if (!event->isAutoRepeat())
            Q_EMIT KeyDown(code);
        return;
    }
    QTableView::keyPressEvent(event);
}

void ScheduleTableView::contextMenuEvent(QContextMenuEvent *event)
{
    event->accept();
    if (event->reason() == QContextMenuEvent::Mouse)
        return; // the press has already shown the menu
    const int row = m_table.selectedRow();
    const QRect cell = row >= 0 ? visualRect(m_table.index(row, JobTable::Date)) : QRect();
    Q_EMIT RtClick(row, viewport()->mapToGlobal(cell.isValid() ? cell.center() : QPoint(kPadding, kPadding)));
}

void ScheduleTableView::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (m_table.rows() > 0)
        return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(kPadding, kPadding, -kPadding, -kPadding), Qt::AlignCenter | Qt::TextWordWrap,
                     tr("No scheduled reports yet.\nDouble-click here, or choose System > New > Scheduled Report, to schedule one."));
}

} // namespace qm
