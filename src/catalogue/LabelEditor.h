/// \file
/// Editing a label in place.
#pragma once

#include <QPersistentModelIndex>
#include <QPointer>
#include <QStyledItemDelegate>

#include <functional>

class QAbstractItemView;
class QLineEdit;

namespace qm {

/// Opens a text editor on a label of one view and hands over what was entered; it never writes to the model itself.
///
/// Enter, Tab and a click elsewhere in the window end the edit, Esc abandons it. Losing the window's focus does not: a half-typed name is
/// no name.
class LabelEditor final : public QStyledItemDelegate
{
    Q_OBJECT
public:
    /// \p afterLabelEdit receives the index and the entered text; false keeps the operator in the edit.
    using AfterLabelEdit = std::function<bool(const QModelIndex &index, const QString &text)>;

    LabelEditor(QAbstractItemView &view, AfterLabelEdit afterLabelEdit);

    /// Starts editing the label at \p index. Returns at once.
    void edit(const QModelIndex &index);
    [[nodiscard]] bool isEditing() const { return !m_editor.isNull(); }
    /// Ends an edit in progress as Enter would. \returns false when the entered text was refused and the edit goes on.
    bool commitNow();

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    bool finish(const QPersistentModelIndex &index, const QString &text);

    QAbstractItemView &m_view;
    AfterLabelEdit m_afterLabelEdit;
    mutable QPointer<QLineEdit> m_editor;
    mutable QPersistentModelIndex m_edited;
    QString m_refusedText; ///< shown again when the edit goes on after a refusal
    bool m_hasRefusedText = false;
};

} // namespace qm
