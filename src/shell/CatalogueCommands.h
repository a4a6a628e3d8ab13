/// \file
/// The commands that change the catalogue, on the controls of the catalogue pane.
#pragma once

#include "catalogue/CatalogueDrag.h"
#include "catalogue/LabelEditor.h"
#include "catalogue/QueryTransfer.h"
#include "catalogue/ReportGroups.h"
#include "catalogue/ReportQueries.h"

namespace qm {

class CataloguePane;
class Commands;
class SelectionCommands;

/// Owns the operations on groups and queries, the label editors and the drag, and gives their tools their commands.
class CatalogueCommands final : public QObject
{
    Q_OBJECT
public:
    CatalogueCommands(CataloguePane &pane, Commands &commands, SelectionCommands &selectionCommands);

    /// Ends a label edit in progress. \returns false when the name was refused: no command may run on it.
    bool endLabelEdit() { return m_treeEditor.commitNow() && m_listEditor.commitNow(); }

Q_SIGNALS:
    /// Query files were moved, renamed or deleted, or may have been.
    void filesChanged();

private:
    void setTools(Commands &commands);
    void setSelectionCommands(SelectionCommands &selectionCommands);
    void addNewGroup();
    void addNewQuery();
    void editTreeLabel();
    void editListLabel();
    void modifyInList();
    void deleteInList();
    /// Asks, deletes the group of the tree's selected node if it is one, and lists what there is afterwards.
    void deleteSelectedGroup();
    void deleteSelectedQuery();
    bool afterTreeEdit(const QModelIndex &index, const QString &text);
    bool afterListEdit(const QModelIndex &index, const QString &text);

    ErrorReporter &m_errors;
    CataloguePane &m_pane;
    CatalogueSelection &m_selection;
    ReportGroups m_groups;
    ReportQueries m_queries;
    QueryTransfer m_transfer;
    LabelEditor &m_treeEditor; ///< both editors are owned by their views
    LabelEditor &m_listEditor;
    CatalogueDrag &m_drag; ///< owned by the list
};

} // namespace qm
