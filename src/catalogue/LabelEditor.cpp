#include "catalogue/LabelEditor.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QLineEdit>

namespace qm {

LabelEditor::LabelEditor(QAbstractItemView &view, AfterLabelEdit afterLabelEdit)
    : QStyledItemDelegate(&view), m_view(view), m_afterLabelEdit(std::move(afterLabelEdit))
{
    view.setItemDelegateForColumn(0, this);
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
    // Only captured: the rows come from the disk, and the handler must not run inside the view's own closing of the editor.
    const QPersistentModelIndex edited(index);
    const QString text = static_cast<QLineEdit *>(editor)->text();
    m_editor.clear();
    auto *self = const_cast<LabelEditor *>(this); // the delegate interface is const; the edit's outcome is not
    QMetaObject::invokeMethod(
        self, [self, edited, text] { self->finish(edited, text); }, Qt::QueuedConnection);
}

bool LabelEditor::finish(const QPersistentModelIndex &index, const QString &text)
{
    m_hasRefusedText = false;
    if (!index.isValid() || m_afterLabelEdit(index, text))
        return true;
    if (index.isValid()) {
        m_refusedText = text;
        m_hasRefusedText = true;
        edit(index);
        m_hasRefusedText = false;
        if (m_editor)
            m_editor->setFocus();
    }
    return false;
}

bool LabelEditor::commitNow()
{
    if (!m_editor)
        return true;
    QLineEdit *editor = m_editor;
    const QPersistentModelIndex index = m_edited;
    const QString text = editor->text();
    m_editor.clear();
    Q_EMIT closeEditor(editor, NoHint);
    return finish(index, text);
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
        const int key = static_cast<QKeyEvent *>(event)->key();
        // Consumed here: the view must not see the Enter that ends the edit.
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            Q_EMIT commitData(editor);
            Q_EMIT closeEditor(editor, NoHint);
            return true;
        }
        if (key == Qt::Key_Escape)
            m_editor.clear();
    }
    return QStyledItemDelegate::eventFilter(object, event);
}

} // namespace qm
