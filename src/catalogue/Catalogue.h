/// \file
/// Fills the catalogue's tree and list from the packages, their folders and their query files.
#pragma once

#include "catalogue/CatalogueSelection.h"
#include "catalogue/CatalogueServices.h"
#include "core/Globals.h"

#include <QObject>

namespace qm {

/// The operations on the catalogue's models. It holds no widgets; every specified procedure traps its own failures.
class Catalogue final : public QObject
{
    Q_OBJECT
public:
    Catalogue(const CatalogueServices &services, CatalogueSelection &selection);

    /// Builds the whole tree, selects the first package and lists its groups.
    void PopulateTreeView();
    /// Adds the group nodes of one package and registers each group with the package.
    void PopulateGroups(const QString &parentKey, QMKPackage &package);
    void PopulateGroupsInListView(const QString &packageName);
    /// One row per query file of \p groupFolder (no trailing separator). \returns the number of rows; 0 when it was ended by a failure.
    int PopulateQueriesInListView(const QString &groupFolder);
    /// The list's columns for the selected node.
    void SetListViewColumns();
    /// The query access identifier of the package with exactly that name, or an empty text.
    [[nodiscard]] QString GetQueryAccess(const QString &packageName);

    void tvTreeView_NodeClick(const QModelIndex &index);
    /// \p collapsed is the node whose branch was closed.
    void tvTreeView_Collapse(const QModelIndex &collapsed);
    /// Whether the selected node's label may be edited.
    [[nodiscard]] bool tvTreeView_BeforeLabelEdit() const;
    void lvListView_ItemClick(int row);
    void lvListView_MouseUp();

    /// Lists the queries of the selected group without a click on it: list, caption and command states follow.
    /// \returns the number of rows.
    int openSelectedGroup();

Q_SIGNALS:
    /// What is selected, as the selection code that the commands' states follow.
    void selected(const QString &code);
    /// The caption of what is listed.
    void captionChanged(const QString &caption);
    /// A node whose children are to be seen.
    void nodeOpened(const QModelIndex &node);

private:
    int listGroup(const QModelIndex &index);

    Globals &m_globals;
    ErrorReporter &m_errors;
    CatalogueSelection &m_selection;
    std::function<std::unique_ptr<QueryReader>()> m_makeQueryReader;
    bool m_nodeClickBusy = false;
};

} // namespace qm
