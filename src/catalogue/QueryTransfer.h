/// \file
/// Copies and moves report queries between groups: paste and drop.
#pragma once

#include "catalogue/Catalogue.h"
#include "catalogue/PendingPaste.h"

namespace qm {

class Prompts;

/// The pictures of a drag, by their image list keys.
enum class DragPicture { Drag, Drop, Invalid };

/// Picks queries up (copy, cut, drag) and puts them down in the tree's selected group.
///
/// Copy and cut record the source group as folder and group name run together, a drag records the folder alone; the two ways are compared
/// differently when the query is put down. The results differ on purpose.
class QueryTransfer final
{
public:
    QueryTransfer(const CatalogueServices &services, CatalogueSelection &selection, Catalogue &catalogue, PendingPaste &pending);

    /// Records the selected query for "ID_Copy" and "ID_Cut". \throws RuntimeError 91 when nothing suitable is selected.
    void pickUpSelected(bool cut);
    /// Records the query in \p row as a drag starts; the cut flag stays as it was. \throws as pickUpSelected.
    void pickUpForDrag(int row);
    /// Pastes what is pending, and forgets it whatever came of it.
    void paste();

    /// \returns whether the file was copied.
    bool CopyFile();
    void MoveFile();

    /// The drag is over \p node (invalid: over none). \returns the picture to show, nullopt to leave it.
    std::optional<DragPicture> tvTreeView_DragOver(const QModelIndex &node);
    /// The drag ended over the tree's selected node. \returns whether the query was copied.
    bool tvTreeView_DragDrop(bool dragReady);

private:
    [[nodiscard]] QString targetFolder(const TreeNode &target) const;
    void showTarget();

    Globals &m_globals;
    ErrorReporter &m_errors;
    Prompts &m_prompts;
    CatalogueSelection &m_selection;
    Catalogue &m_catalogue;
    PendingPaste &m_pending;
};

} // namespace qm
