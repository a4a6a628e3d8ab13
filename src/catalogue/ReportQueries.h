/// \file
/// Creates, edits, renames, deletes and saves-as report query files.
#pragma once

#include "catalogue/Catalogue.h"

#include <QSet>

namespace qm {

class ComponentFactory;
class Prompts;
class ReportGroups;

/// The operations on query files. Each creates the package's component anew, changes the file, and lists the group again.
class ReportQueries final
{
public:
    ReportQueries(const CatalogueServices &services, CatalogueSelection &selection, Catalogue &catalogue, ReportGroups &groups);

    /// Opens the editor for a new query in \p target (a group folder with trailing separator). \returns true when the group has another
    /// number of queries afterwards.
    bool AddNewReportQuery(const QString &target);
    void ModifyReportQuery(const QString &queryFile, const QString &interfaceId);
    void DeleteReportQuery(const QString &queryFile);
    /// Selects the renamed query's row. \returns whether it was renamed.
    bool RenameReportQuery(const QString &queryFile, const QString &newDescription);
    /// Names the group's last listed file after its description, if that file is new since the last AddNewReportQuery.
    void RenameNewFileAsDescription();
    /// A free path for the description in \p groupFolder (with trailing separator), never one that the listing hides.
    [[nodiscard]] QString DetermineQueryName(const QString &groupFolder, const QString &description, const QString &extension);
    /// Moves the selected query to a name chosen in a save dialog.
    void Import();

    /// Completes a label edit of the list's row \p row. \returns whether the row was renamed.
    bool lvListView_AfterLabelEdit(int row, const QString &newString);

private:
    void listSelectedGroup();
    void selectFile(const QString &queryFile);
    [[nodiscard]] QString selectedGroupFolder() const;
    /// The path chosen in the save dialog. \throws RuntimeError 32755 when cancelled.
    [[nodiscard]] QString chooseImportTarget(const TreeNode &group);

    Globals &m_globals;
    ErrorReporter &m_errors;
    Prompts &m_prompts;
    ComponentFactory &m_components;
    CatalogueSelection &m_selection;
    Catalogue &m_catalogue;
    ReportGroups &m_groups;
    QSet<QString> m_filesBeforeEdit; ///< the group's files when the editor was opened for a new query
};

} // namespace qm
