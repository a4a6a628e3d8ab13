#include "reporting/editor/ChoiceDelegate.h"

#include <QComboBox>

namespace qm {

ChoiceDelegate::ChoiceDelegate(QStringList choices, bool free, QObject *parent)
    : QStyledItemDelegate(parent), m_choices(std::move(choices)), m_free(free)
{
}

QWidget *ChoiceDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &) const
{
    auto box = new QComboBox(parent);
    box->setEditable(m_free);
    box->addItems(m_choices);
    // A choice from the list is final: it is not lost when the operator goes straight to Save.
    connect(box, &QComboBox::activated, this, [this, box] { Q_EMIT const_cast<ChoiceDelegate *>(this)->commitData(box); });
    return box;
}

void ChoiceDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    auto box = static_cast<QComboBox *>(editor);
    const QString text = index.data(Qt::EditRole).toString();
    if (m_free)
        box->setEditText(text);
    else
        box->setCurrentText(text);
}

void ChoiceDelegate::setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const
{
    model->setData(index, static_cast<QComboBox *>(editor)->currentText());
}

} // namespace qm
