/// \file
/// Editing a label in place.
#pragma once

#include <QPersistentModelIndex>
#include <QPointF>
#include <QPointer>
#include <QStyledItemDelegate>

#include <functional>
#include <optional>

class QAbstractItemView;
class QLineEdit;
class QMouseEvent;

namespace qm {

/// Opens a text editor on a label of one view and hands over what was entered; it never writes to the model itself.
///
/// Enter, Tab and a press elsewhere in the window end the edit, Esc abandons it. Losing the window's focus does not: a half-typed name is
/// no name. A press is handed on when the edit is complete, so that it meets the window as the edit left it.
class LabelEditor final : public QStyledItemDelegate
{
    Q_OBJECT
public:
    /// What a refused name leads to: the edit goes on with it, or the label is as it was.
    enum class OnRefusal { Reopen, Cancel };
    /// Receives the index and the entered text. \returns false when the name was refused.
    using AfterLabelEdit = std::function<bool(const QModelIndex &index, const QString &text)>;

    /// An item that the edit moves to another place is found again by its Qt::UserRole.
    LabelEditor(QAbstractItemView &view, OnRefusal onRefusal, AfterLabelEdit afterLabelEdit);

    /// Starts editing the label at \p index. Returns at once.
    void edit(const QModelIndex &index);
    /// Ends an edit in progress as Enter would. \returns false when the entered name was refused.
    bool commitNow();

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    class PressWatch;
    struct Entered
    {
        QPersistentModelIndex index;
        QString text;
    };
    struct Aim;

    bool finish();
    /// \returns whether the press has been dealt with.
    bool pressed(QWidget &widget, const QMouseEvent &press);
    /// \returns whether the release, which follows its press, has been dealt with.
    bool released(QWidget &widget, const QMouseEvent &release);
    [[nodiscard]] bool endsTheEdit(const QWidget &widget) const;
    [[nodiscard]] Aim aimOf(const QWidget &widget, const QMouseEvent &press) const;
    [[nodiscard]] QPointF positionOf(const Aim &aim) const;

    QAbstractItemView &m_view;
    OnRefusal m_onRefusal;
    AfterLabelEdit m_afterLabelEdit;
    mutable QPointer<QLineEdit> m_editor;
    mutable QPersistentModelIndex m_edited;
    std::optional<Entered> m_entered; ///< handed over by the editor; what follows from it has yet to be done
    QString m_refusedText;            ///< shown again when the edit goes on after a refusal
    bool m_hasRefusedText = false;
    bool m_swallowRelease = false; ///< the press was not handed on
    QPointF m_moved;               ///< how far the press was led to meet its item
};

} // namespace qm
