#include "catalogue/LabelEditor.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScrollBar>

namespace qm {

/// Sees the presses and releases of the whole program before the widgets that they are meant for.
class LabelEditor::PressWatch final : public QObject
{
public:
    explicit PressWatch(LabelEditor &owner) : QObject(&owner), m_owner(owner) { qApp->installEventFilter(this); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (!watched->isWidgetType())
            return false;
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            return m_owner.pressed(*static_cast<QWidget *>(watched), *static_cast<QMouseEvent *>(event));
        case QEvent::MouseButtonRelease:
            return m_owner.released(*static_cast<QWidget *>(watched), *static_cast<QMouseEvent *>(event));
        default:
            return false;
        }
    }

private:
    LabelEditor &m_owner;
};

namespace {

/// Sends \p event as it is, but for its type, buttons and position.
void resend(QWidget &target, const QMouseEvent &event, QEvent::Type type, Qt::MouseButtons buttons, const QPointF &position)
{
    QMouseEvent copy(type, position, target.mapTo(target.window(), position), event.globalPosition(), event.button(), buttons,
                     event.modifiers(), event.pointingDevice());
    QCoreApplication::sendEvent(&target, &copy);
}

} // namespace

/// What a press in the edited view was meant for, in terms that outlast a new listing.
struct LabelEditor::Aim
{
    QPointF position; ///< in the view's viewport
    int column = -1;  ///< -1: for no item
    bool isEdited = false;
    QVariant identity;
};

LabelEditor::LabelEditor(QAbstractItemView &view, OnRefusal onRefusal, AfterLabelEdit afterLabelEdit)
    : QStyledItemDelegate(&view), m_view(view), m_onRefusal(onRefusal), m_afterLabelEdit(std::move(afterLabelEdit))
{
    view.setItemDelegateForColumn(0, this);
    new PressWatch(*this);
}

void LabelEditor::edit(const QModelIndex &index)
{
    m_view.scrollTo(index);
    m_view.edit(index.siblingAtColumn(0));
}

QWidget *LabelEditor::createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &index) const
{
    m_editor = new QLineEdit(parent); // owned by its parent, deleted by the view
    m_editor->setFrame(false);
    m_editor->setAccessibleName(tr("Name"));
    m_edited = index;
    return m_editor;
}

void LabelEditor::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    auto *line = static_cast<QLineEdit *>(editor);
    line->setText(m_hasRefusedText ? m_refusedText : index.data(Qt::DisplayRole).toString());
    line->selectAll();
}

void LabelEditor::setModelData(QWidget *editor, QAbstractItemModel *, const QModelIndex &index) const
{
    // Only captured: the rows come from the disk, and the handler must not run inside the view's own closing of the editor. The press that
    // took the focus away finishes it before it is handled; without one it is done as soon as the event loop turns.
    auto *self = const_cast<LabelEditor *>(this); // the delegate interface is const; the edit's outcome is not
    self->m_entered = {QPersistentModelIndex(index), static_cast<QLineEdit *>(editor)->text()};
    m_editor.clear();
    QMetaObject::invokeMethod(
        self, [self] { self->finish(); }, Qt::QueuedConnection);
}

bool LabelEditor::finish()
{
    const std::optional<Entered> entered = std::exchange(m_entered, std::nullopt);
    if (!entered || !entered->index.isValid() || m_afterLabelEdit(entered->index, entered->text))
        return true;
    if (m_onRefusal == OnRefusal::Reopen && entered->index.isValid()) {
        m_refusedText = entered->text;
        m_hasRefusedText = true;
        edit(entered->index);
        m_hasRefusedText = false;
        if (m_editor)
            m_editor->setFocus();
    }
    return false;
}

bool LabelEditor::commitNow()
{
    if (QLineEdit *editor = m_editor) {
        m_entered = {m_edited, editor->text()};
        m_editor.clear();
        Q_EMIT closeEditor(editor, NoHint);
    }
    return finish();
}

bool LabelEditor::endsTheEdit(const QWidget &widget) const
{
    if ((!m_editor && !m_entered) || widget.window() != m_view.window())
        return false;
    const bool inEditor = m_editor && (&widget == m_editor || m_editor->isAncestorOf(&widget));
    return !inEditor && !qobject_cast<const QScrollBar *>(&widget);
}

bool LabelEditor::pressed(QWidget &widget, const QMouseEvent &press)
{
    m_swallowRelease = false;
    m_moved = {};
    if (!endsTheEdit(widget))
        return false;
    const bool isHeld = QGuiApplication::mouseButtons() & press.button();
    const bool isInView = qobject_cast<QAbstractItemView *>(widget.parentWidget()) != nullptr;
    const Aim aim = aimOf(widget, press);
    const QPointer<QWidget> target(&widget);
    const bool accepted = commitNow();
    // The operator stays in an edit that goes on, and no command runs over a name that was refused.
    if (m_editor || !target || (!accepted && !isInView)) {
        m_swallowRelease = true;
        return true;
    }
    const QPointF position = positionOf(aim);
    // A box that the edit brought has taken the release.
    const bool isReleased = isHeld && !(QGuiApplication::mouseButtons() & press.button());
    if (position == press.position() && !isReleased)
        return false;
    resend(*target, press, press.type(), press.buttons(), position);
    if (!isReleased)
        m_moved = position - press.position();
    else if (target && press.button() == Qt::LeftButton)
        resend(*target, press, QEvent::MouseButtonRelease, press.buttons() & ~Qt::MouseButtons(press.button()), position);
    return true;
}

bool LabelEditor::released(QWidget &widget, const QMouseEvent &release)
{
    const QPointF moved = std::exchange(m_moved, {});
    if (std::exchange(m_swallowRelease, false))
        return true;
    if (moved.isNull())
        return false;
    resend(widget, release, release.type(), release.buttons(), release.position() + moved);
    return true;
}

LabelEditor::Aim LabelEditor::aimOf(const QWidget &widget, const QMouseEvent &press) const
{
    const QModelIndex index = &widget == m_view.viewport() ? m_view.indexAt(press.position().toPoint()) : QModelIndex();
    if (!index.isValid())
        return {press.position(), -1, false, {}};
    const QModelIndex edited = m_entered ? m_entered->index : m_edited;
    return {press.position(), index.column(), index.siblingAtColumn(0) == edited, index.siblingAtColumn(0).data(Qt::UserRole)};
}

QPointF LabelEditor::positionOf(const Aim &aim) const
{
    if (aim.column < 0 || !aim.identity.isValid())
        return aim.position;
    const QAbstractItemModel &items = *m_view.model();
    const QModelIndex item =
        aim.isEdited ? m_view.currentIndex() : items.match(items.index(0, 0), Qt::UserRole, aim.identity, 1, Qt::MatchExactly).value(0);
    if (!item.isValid())
        return aim.position;
    m_view.scrollTo(item);
    const QRect place = m_view.visualRect(item.siblingAtColumn(aim.column));
    const bool isThere = place.top() <= aim.position.y() && aim.position.y() <= place.bottom();
    return isThere ? aim.position : QPointF(aim.position.x(), place.center().y());
}

bool LabelEditor::eventFilter(QObject *object, QEvent *event)
{
    auto *editor = qobject_cast<QLineEdit *>(object);
    if (!editor)
        return QStyledItemDelegate::eventFilter(object, event);
    if (event->type() == QEvent::FocusOut) {
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason)
            return false;
    }
    if (event->type() == QEvent::KeyPress) {
        switch (static_cast<QKeyEvent *>(event)->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            // Consumed here: the view must not see the Enter that ends the edit, nor go on to the next label by Tab.
            if (editor == m_editor)
                commitNow();
            return true;
        case Qt::Key_Escape:
            m_editor.clear();
            break;
        default:
            break;
        }
    }
    return QStyledItemDelegate::eventFilter(object, event);
}

} // namespace qm
