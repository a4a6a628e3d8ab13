#include "catalogue/CatalogueTree.h"

#include "core/RuntimeError.h"

namespace qm {

CatalogueTree::CatalogueTree(ImageList images, QObject *parent) : QStandardItemModel(parent), m_images(std::move(images)) {}

void CatalogueTree::clearNodes()
{
    m_byKey.clear();
    removeRows(0, rowCount());
}

QModelIndex CatalogueTree::addNode(const QString &parentKey, const TreeNode &node, const QString &imageKey)
{
    if (m_byKey.contains(node.key))
        raise(err::keyNotUnique, node.key);
    QStandardItem *parent = invisibleRootItem();
    if (!parentKey.isEmpty()) {
        parent = itemFromIndex(find(parentKey));
        if (!parent)
            raise(err::elementNotFound, parentKey);
    }
    auto *item = new QStandardItem(node.text); // owned by the model
    item->setData(node.key, KeyRole);
    item->setData(node.tag, TagRole);
    item->setData(imageKey, ImageRole);
    item->setEditable(!parentKey.isEmpty()); // packages keep their names
    parent->appendRow(item);
    m_byKey.insert(node.key, QPersistentModelIndex(item->index()));
    return item->index();
}

void CatalogueTree::renameNode(const QString &key, const QString &newKey, const QString &newText)
{
    QStandardItem *item = itemFromIndex(find(key));
    if (!item)
        raise(err::elementNotFound, key);
    if (newKey != key && m_byKey.contains(newKey))
        raise(err::keyNotUnique, newKey);
    m_byKey.insert(newKey, m_byKey.take(key));
    item->setData(newKey, KeyRole);
    item->setText(newText);
}

void CatalogueTree::removeNode(const QString &key)
{
    const QModelIndex index = find(key);
    if (!index.isValid())
        raise(err::elementNotFound, key);
    m_byKey.remove(key);
    removeRow(index.row(), index.parent());
}

QModelIndex CatalogueTree::find(const QString &key) const
{
    return m_byKey.value(key);
}

TreeNode CatalogueTree::node(const QModelIndex &index, const QString &what)
{
    if (!index.isValid())
        raise(err::objectNotSet, what);
    return {index.data(KeyRole).toString(), index.data(Qt::DisplayRole).toString(), index.data(TagRole).toString()};
}

QVariant CatalogueTree::data(const QModelIndex &index, int role) const
{
    if (role == Qt::DecorationRole)
        return m_images.value(QStandardItemModel::data(index, ImageRole).toString());
    return QStandardItemModel::data(index, role);
}

} // namespace qm
