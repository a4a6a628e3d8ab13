#include "catalogue/CatalogueSelection.h"

namespace qm {

namespace {
constexpr auto kSelect = QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows;
}

CatalogueSelection::CatalogueSelection(CatalogueTree &tree, CatalogueList &list)
    : m_tree(tree), m_list(list), m_treeSelection(&tree), m_listSelection(&list)
{
}

QModelIndex CatalogueSelection::nodeIndex() const
{
    return m_treeSelection.selectedIndexes().value(0);
}

TreeNode CatalogueSelection::node() const
{
    return CatalogueTree::node(nodeIndex(), QStringLiteral("no package or report group is selected in the tree"));
}

TreeNode CatalogueSelection::parentNode() const
{
    return CatalogueTree::node(nodeIndex().parent(), QStringLiteral("no report group is selected in the tree"));
}

QString CatalogueSelection::nodeKey() const
{
    return nodeIndex().data(CatalogueTree::KeyRole).toString();
}

void CatalogueSelection::selectNode(const QModelIndex &index)
{
    m_treeSelection.setCurrentIndex(index, kSelect);
}

int CatalogueSelection::rowIndex() const
{
    const QModelIndex current = m_listSelection.currentIndex();
    if (m_listSelection.isSelected(current))
        return current.row();
    const QModelIndexList selected = m_listSelection.selectedRows();
    return selected.isEmpty() ? -1 : selected.first().row();
}

QString CatalogueSelection::rowKey() const
{
    const int index = rowIndex();
    return index < 0 ? QString() : m_list.row(index).key;
}

void CatalogueSelection::selectRow(int row)
{
    m_listSelection.setCurrentIndex(m_list.index(row, CatalogueList::Text), kSelect);
}

} // namespace qm
