/// \file
/// Edits a table cell through a list of words.
#pragma once

#include <QStringList>
#include <QStyledItemDelegate>

namespace qm {

class ChoiceDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
public:
    /// \p free: other words may be typed.
    ChoiceDelegate(QStringList choices, bool free, QObject *parent);
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;

private:
    QStringList m_choices;
    bool m_free;
};

} // namespace qm
