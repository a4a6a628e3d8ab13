#include "shell/CatalogueCommands.h"

#include "catalogue/CatalogueKeys.h"
#include "catalogue/CataloguePane.h"
#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "platform/Files.h"
#include "shell/Commands.h"
#include "shell/SelectionCommands.h"

#include <QCoreApplication>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr Procedure kListMouseMove{"lvListView_MouseMove",
                                   QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface"), kModule};

} // namespace

CatalogueCommands::CatalogueCommands(CataloguePane &pane, Commands &commands, SelectionCommands &selectionCommands)
    : m_errors(pane.services().errors), m_pane(pane), m_selection(pane.selection()),
      m_groups(pane.services(), m_selection, pane.catalogue(), pane.pendingPaste()),
      m_queries(pane.services(), m_selection, pane.catalogue(), m_groups),
      m_transfer(pane.services(), m_selection, pane.catalogue(), pane.pendingPaste()),
      m_treeEditor(*new LabelEditor(pane.tvTreeView(), LabelEditor::OnRefusal::Reopen,
                                    [this](const QModelIndex &index, const QString &text) { return afterTreeEdit(index, text); })),
      m_listEditor(*new LabelEditor(pane.lvListView(), LabelEditor::OnRefusal::Cancel,
                                    [this](const QModelIndex &index, const QString &text) { return afterListEdit(index, text); })),
      m_drag(*new CatalogueDrag(pane.tvTreeView(), pane.lvListView(), m_selection, m_transfer, pane.services().images))
{
    setTools(commands);
    setSelectionCommands(selectionCommands);
    connect(&pane, &CataloguePane::labelEditRequested, this, [this](const QModelIndex &node) { m_treeEditor.edit(node); });
    connect(&pane, &CataloguePane::queryOpened, this,
            [this](const QString &file, const QString &interfaceId) { m_queries.ModifyReportQuery(file, interfaceId); });
    connect(&pane.lvListView(), &CatalogueListView::BeginDrag, this, [this] { trap(m_errors, kListMouseMove, [&] { m_drag.begin(); }); });
    connect(&m_drag, &CatalogueDrag::dropped, this, &CatalogueCommands::filesChanged);
}

void CatalogueCommands::setTools(Commands &commands)
{
    commands.setCommand(command::reportGroup, [this] { addNewGroup(); });
    commands.setCommand(command::reportQuery, [this] { addNewQuery(); });
    commands.setCommand(command::copy, [this, &commands] {
        m_transfer.pickUpSelected(false);
        commands.PasteEnabled(true);
    });
    commands.setCommand(command::cut, [this, &commands] {
        m_transfer.pickUpSelected(true);
        commands.PasteEnabled(true);
    });
    commands.setCommand(command::paste, [this, &commands] {
        m_transfer.paste();
        commands.PasteEnabled(false);
        Q_EMIT filesChanged();
    });
    commands.setCommand(command::saveAs, [this] {
        m_queries.Import();
        Q_EMIT filesChanged();
    });
}

void CatalogueCommands::setSelectionCommands(SelectionCommands &selectionCommands)
{
    using View = SelectionCommands::View;
    using Verb = SelectionCommands::Verb;
    const auto nodeIsSelected = [this] { return m_selection.nodeIndex().isValid(); };
    const auto rowIsSelected = [this] { return m_selection.rowIndex() >= 0; };
    for (const Verb verb : {Verb::Modify, Verb::Rename})
        selectionCommands.set(
            View::TreeView, verb, [this] { editTreeLabel(); }, nodeIsSelected);
    selectionCommands.set(
        View::TreeView, Verb::Delete, [this] { deleteSelectedGroup(); }, nodeIsSelected);
    selectionCommands.set(
        View::ListView, Verb::Modify, [this] { modifyInList(); }, rowIsSelected);
    selectionCommands.set(
        View::ListView, Verb::Rename, [this] { editListLabel(); }, rowIsSelected);
    selectionCommands.set(
        View::ListView, Verb::Delete, [this] { deleteInList(); }, rowIsSelected);
}

void CatalogueCommands::addNewGroup()
{
    const TreeNode node = m_selection.node();
    m_groups.AddNewGroup(isLevel(node.key, selection::package) ? node.text : m_selection.parentNode().text);
}

void CatalogueCommands::addNewQuery()
{
    const TreeNode group = m_selection.node();
    if (m_queries.AddNewReportQuery(groupsFolder(group.tag) + group.text + kSep))
        m_queries.RenameNewFileAsDescription();
}

void CatalogueCommands::editTreeLabel()
{
    if (isLevel(m_selection.node().key, selection::group))
        m_treeEditor.edit(m_selection.nodeIndex());
}

void CatalogueCommands::editListLabel()
{
    static_cast<void>(m_selection.row());
    m_listEditor.edit(m_selection.list().index(m_selection.rowIndex(), CatalogueList::Text));
}

void CatalogueCommands::modifyInList()
{
    const ListRow row = m_selection.row();
    if (isLevel(row.key, selection::group))
        editListLabel();
    else if (isLevel(row.key, selection::query))
        m_queries.ModifyReportQuery(row.tag, m_selection.parentNode().tag);
}

void CatalogueCommands::deleteInList()
{
    if (isLevel(m_selection.row().key, selection::query))
        deleteSelectedQuery();
    else
        deleteSelectedGroup();
}

void CatalogueCommands::deleteSelectedGroup()
{
    const TreeNode node = m_selection.node();
    const int answer = m_errors.ReportError(QCoreApplication::translate("qm::CatalogueCommands", "Are you sure you want to delete '") +
                                                node.text + QStringLiteral("' and all its Contents?"),
                                            box::yesNo | box::question);
    if (answer != box::idYes)
        return;
    if (isLevel(node.key, selection::group))
        m_groups.DeleteGroup();
    m_pane.refreshSelectedNode();
    Q_EMIT filesChanged();
}

void CatalogueCommands::deleteSelectedQuery()
{
    const ListRow row = m_selection.row();
    const int answer =
        m_errors.ReportError(QCoreApplication::translate("qm::CatalogueCommands", "Are you sure you want to delete the report query '") +
                                 row.text + QStringLiteral("' ?"),
                             box::yesNo | box::question);
    if (answer != box::idYes)
        return;
    m_queries.DeleteReportQuery(row.tag);
    m_pane.catalogue().openSelectedGroup();
    Q_EMIT filesChanged();
}

bool CatalogueCommands::afterTreeEdit(const QModelIndex &index, const QString &text)
{
    m_selection.selectNode(index);
    const bool renamed = m_groups.tvTreeView_AfterLabelEdit(text);
    Q_EMIT filesChanged();
    return renamed;
}

bool CatalogueCommands::afterListEdit(const QModelIndex &index, const QString &text)
{
    const ListRow row = m_selection.list().row(index.row());
    m_selection.selectRow(index.row());
    if (isLevel(row.key, selection::group))
        m_selection.selectNode(m_selection.tree().find(row.key));
    const bool accepted = m_queries.lvListView_AfterLabelEdit(index.row(), text);
    Q_EMIT filesChanged();
    return accepted;
}

} // namespace qm
