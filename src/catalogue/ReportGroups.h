/// \file
/// Creates, renames and deletes report groups.
#pragma once

#include "catalogue/Catalogue.h"
#include "catalogue/PendingPaste.h"

namespace qm {

class Prompts;

/// A report group is a folder below a package's "Query Groups". These operations keep the folder, the package's group collection and the
/// tree and list in step; each works on the tree's selected node.
class ReportGroups final
{
public:
    ReportGroups(const CatalogueServices &services, CatalogueSelection &selection, Catalogue &catalogue, PendingPaste &pendingPaste);

    /// Creates a group with a generated name in the package, selects and lists it.
    void AddNewGroup(const QString &packageName);
    /// Deletes the selected node's group with its folder and everything in it.
    void DeleteGroup();
    /// Renames the selected node's group. Shows nothing on a run-time error. \returns true when done.
    bool RenameGroup(const QString &newName);
    /// Shows its own messages. \returns whether \p newName may be a new group of the package.
    bool CheckIfValidGroupName(const QString &packageFolder, const QString &newName);
    /// The first free generated name; empty when all are taken.
    [[nodiscard]] QString DetermineNumber(const QString &packageFolder);
    /// Completes a label edit in the tree. \returns false when the edit must go on.
    bool tvTreeView_AfterLabelEdit(const QString &newString);

    /// Deletes every file in the folder and every sub-folder that is itself empty. \throws RuntimeError 75 at a sub-folder that is not.
    static void EmptyFolder(const QString &folder);

private:
    void renameOnDisk(const TreeNode &node, const QString &packageName, const QString &oldName, const QString &newName);
    /// Leads the current query file and the pending paste to the group's new name. \p packageFolder ends with a separator.
    void repointPaths(const QString &packageFolder, const QString &oldName, const QString &newName);
    /// Leaves \p folder when it is the current directory, or above it.
    void stepOutOf(const QString &folder) const;

    Globals &m_globals;
    ErrorReporter &m_errors;
    Prompts &m_prompts;
    CatalogueSelection &m_selection;
    Catalogue &m_catalogue;
    PendingPaste &m_pendingPaste;
};

} // namespace qm
