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

QString id(const char *identifier)
{
    return QString::fromLatin1(identifier);
}

} // namespace

CatalogueCommands::CatalogueCommands(const Services &services, CataloguePane &pane, Commands &commands,
                                     SelectionCommands &selectionCommands, std::function<void()> filesChanged)
    : m_errors(services.errors), m_pane(pane), m_selection(pane.selection()),
      m_groups(services.globals, services.errors, services.prompts, m_selection, pane.catalogue(), pane.pendingPaste()),
      m_queries(services.globals, services.errors, services.prompts, services.components, m_selection, pane.catalogue(), m_groups),
      m_transfer(services.globals, services.errors, services.prompts, m_selection, pane.catalogue(), pane.pendingPaste()),
      m_treeEditor(*new LabelEditor(pane.tvTreeView(),
                                    [this](const QModelIndex &index, const QString &text) { return afterTreeEdit(index, text); })),
      m_listEditor(*new LabelEditor(pane.lvListView(),
                                    [this](const QModelIndex &index, const QString &text) { return afterListEdit(index, text); })),
      m_drag(
          *new CatalogueDrag(pane.tvTreeView(), pane.lvListView(), m_selection, m_transfer, services.images, [this] { m_filesChanged(); })),
      m_filesChanged(std::move(filesChanged))
{
    setTools(commands);
    setSelectionCommands(selectionCommands);
    QObject::connect(&pane.lvListView(), &CatalogueListView::BeginDrag, &m_drag,
                     [this] { trap(m_errors, kListMouseMove, [&] { m_drag.begin(); }); });
}

void CatalogueCommands::setTools(Commands &commands)
{
    commands.setCommand(id("ID_ReportGroup"), [this] { addNewGroup(); });
    commands.setCommand(id("ID_ReportQuery"), [this] { addNewQuery(); });
    commands.setCommand(id("ID_Copy"), [this, &commands] {
        m_transfer.pickUpSelected(false);
        commands.PasteEnabled(true);
    });
    commands.setCommand(id("ID_Cut"), [this, &commands] {
        m_transfer.pickUpSelected(true);
        commands.PasteEnabled(true);
    });
    commands.setCommand(id("ID_Paste"), [this, &commands] {
        m_transfer.paste();
        commands.PasteEnabled(false);
        m_filesChanged();
    });
    commands.setCommand(id("ID_SaveAs"), [this] {
        m_queries.Import();
        m_filesChanged();
    });
}

void CatalogueCommands::setSelectionCommands(SelectionCommands &selectionCommands)
{
    using View = SelectionCommands::View;
    using Verb = SelectionCommands::Verb;
    for (const Verb verb : {Verb::Modify, Verb::Rename})
        selectionCommands.set(View::TreeView, verb, [this] { editTreeLabel(); });
    selectionCommands.set(View::ListView, Verb::Modify, [this] { modifyInList(); });
    selectionCommands.set(View::ListView, Verb::Rename, [this] { editListLabel(); });
    selectionCommands.set(View::TreeView, Verb::Delete, [this] { deleteInTree(); });
    selectionCommands.set(View::ListView, Verb::Delete, [this] { deleteInList(); });
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

void CatalogueCommands::deleteInTree()
{
    deleteSelectedGroup();
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
    m_filesChanged();
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
    m_filesChanged();
}

bool CatalogueCommands::afterTreeEdit(const QModelIndex &index, const QString &text)
{
    // The click that ended the edit may have selected another node already.
    m_selection.selectNode(index);
    const bool renamed = m_groups.tvTreeView_AfterLabelEdit(text);
    m_filesChanged();
    return renamed;
}

bool CatalogueCommands::afterListEdit(const QModelIndex &index, const QString &text)
{
    const ListRow row = m_selection.list().row(index.row());
    m_selection.selectRow(index.row());
    if (isLevel(row.key, selection::group))
        m_selection.selectNode(m_selection.tree().find(row.key));
    const bool accepted = m_queries.lvListView_AfterLabelEdit(index.row(), text);
    m_filesChanged();
    return accepted;
}

} // namespace qm
