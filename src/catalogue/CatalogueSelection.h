/// \file
/// What is selected in the catalogue.
#pragma once

#include "catalogue/CatalogueList.h"
#include "catalogue/CatalogueTree.h"

#include <QItemSelectionModel>

namespace qm {

/// The selected node of the tree and the selected row of the list, as values. Selecting here is only that: nothing is listed.
class CatalogueSelection final
{
public:
    CatalogueSelection(CatalogueTree &tree, CatalogueList &list);

    [[nodiscard]] CatalogueTree &tree() const { return m_tree; }
    [[nodiscard]] CatalogueList &list() const { return m_list; }
    [[nodiscard]] QItemSelectionModel &treeModel() { return m_treeSelection; }
    [[nodiscard]] QItemSelectionModel &listModel() { return m_listSelection; }

    /// Invalid when no node is selected.
    [[nodiscard]] QModelIndex nodeIndex() const;
    /// \throws RuntimeError 91 when no node is selected.
    [[nodiscard]] TreeNode node() const;
    /// The selected node's parent. \throws RuntimeError 91 when there is none.
    [[nodiscard]] TreeNode parentNode() const;
    /// Key of the selected node; empty when none is selected.
    [[nodiscard]] QString nodeKey() const;
    void selectNode(const QModelIndex &index);

    /// -1 when no row is selected.
    [[nodiscard]] int rowIndex() const;
    /// \throws RuntimeError 91 when no row is selected.
    [[nodiscard]] const ListRow &row() const { return m_list.row(rowIndex()); }
    /// Key of the selected row; empty when none is selected.
    [[nodiscard]] QString rowKey() const;
    void selectRow(int row);

private:
    CatalogueTree &m_tree;
    CatalogueList &m_list;
    QItemSelectionModel m_treeSelection, m_listSelection;
};

} // namespace qm
