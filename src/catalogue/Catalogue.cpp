#include "catalogue/Catalogue.h"

#include "catalogue/CatalogueKeys.h"
#include "core/ErrorReporter.h"
#include "framework/Readers.h"
#include "platform/Files.h"

#include <QCoreApplication>
#include <QScopeGuard>
#include <QScopedValueRollback>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kListMessage[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured while populating the list view control.");
constexpr Procedure kPopulateTreeView{"PopulateTreeView",
                                      QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while populating the tree view control.")};
constexpr Procedure kPopulateGroups{"PopulateGroups", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while populating the groups.")};
constexpr Procedure kPopulateGroupsInListView{"PopulateGroupsInListView", kListMessage, kModule};
constexpr Procedure kPopulateQueriesInListView{"PopulateQueriesInListView", kListMessage, kModule};
constexpr Procedure kGetQueryAccess{"GetQueryAccess", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured in function GetQueryAccess")};
constexpr Procedure kNodeClick{"tvTreeView_NodeClick",
                               QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface"), kModule};
constexpr Procedure kCollapse{"tvTreeView_Collapse", QT_TRANSLATE_NOOP("qm::Procedure", "Unexpected error occured in the user interface."),
                              kModule};

bool isBelow(QModelIndex index, const QModelIndex &ancestor)
{
    for (index = index.parent(); index.isValid(); index = index.parent())
        if (index == ancestor)
            return true;
    return false;
}

ListRow queryRow(const Query &query, std::size_t number)
{
    return {queryKey(number),
            query.Description,
            query.QueryFile,
            {query.QueryFile, files::lastPart(query.ReportFile), outputText(query.OutputSettings.OutputType)}};
}

} // namespace

Catalogue::Catalogue(const CatalogueServices &services, CatalogueSelection &selection)
    : m_globals(services.globals), m_errors(services.errors), m_selection(selection), m_makeQueryReader(services.makeQueryReader)
{
}

void Catalogue::PopulateTreeView()
{
    trap(m_errors, kPopulateTreeView, [&] {
        CatalogueTree &tree = m_selection.tree();
        tree.clearNodes();
        for (const QString &name : m_globals.gdicPackages.Keys()) {
            const std::shared_ptr<QMKPackage> package = m_globals.gdicPackages.at(name);
            package->RemoveAllGroups();
            const QString key = packageKey(name);
            tree.addNode({}, {key, name, package->PackageInfo()->Interface}, QStringLiteral("Event"));
            PopulateGroups(key, *package);
        }
        const QModelIndex first = tree.index(0, 0);
        if (!first.isValid())
            raise(err::indexOutOfBounds, QStringLiteral("the catalogue has no packages; \"%1Packages.ini\" lists none that could be loaded")
                                             .arg(m_globals.gstrInstallPath));
        m_selection.selectNode(first);
        Q_EMIT nodeOpened(first);
        tvTreeView_NodeClick(first);
    });
}

void Catalogue::PopulateGroups(const QString &parentKey, QMKPackage &package)
{
    trap(m_errors, kPopulateGroups, [&] {
        const PackageInfo &info = *package.PackageInfo();
        // Every entry is a group, a plain file too.
        for (const QString &entry : files::list(groupsFolder(info.InstallPath), QStringLiteral("*"), attr::directory)) {
            package.AddGroup(entry);
            m_selection.tree().addNode(parentKey, {groupKey(info.PackageName, entry), entry, info.InstallPath},
                                       QStringLiteral("ReportGroup"));
        }
    });
}

void Catalogue::PopulateGroupsInListView(const QString &packageName)
{
    trap(m_errors, kPopulateGroupsInListView, [&] {
        CatalogueList &list = m_selection.list();
        SetListViewColumns();
        list.clearRows();
        list.tag.clear();
        if (!m_globals.gdicPackages.Exists(packageName))
            return;
        const QMKPackage &package = *m_globals.gdicPackages.at(packageName);
        std::vector<ListRow> rows;
        for (int i = 0; i < package.GroupCount(); ++i) {
            const QString name = package.GroupItem(i);
            rows.push_back({groupKey(packageName, name), name, {}});
        }
        list.appendRows(std::move(rows));
    });
}

int Catalogue::PopulateQueriesInListView(const QString &groupFolder)
{
    return trap(m_errors, kPopulateQueriesInListView, [&] {
        CatalogueList &list = m_selection.list();
        SetListViewColumns();
        list.clearRows();
        list.tag = files::lastPart(groupFolder);
        const QStringList names = files::list(groupFolder, QStringLiteral("*.rqn"), attr::normal);
        std::vector<ListRow> rows;
        rows.reserve(static_cast<std::size_t>(names.size()));
        // Runs at the end and on a failure alike: rows read before an unreadable file stay.
        const auto show = qScopeGuard([&] { list.appendRows(std::move(rows)); });
        std::unique_ptr<QueryReader> reader;
        for (const QString &name : names) {
            if (!reader)
                reader = m_makeQueryReader();
            rows.push_back(queryRow(*reader->ReadQuery(groupFolder + kSep + name), rows.size() + 1));
        }
        return static_cast<int>(rows.size());
    });
}

void Catalogue::SetListViewColumns()
{
    const QString code = selectionCode(m_selection.nodeKey());
    const QChar level = code.isEmpty() ? QChar() : code.front();
    m_selection.list().setLevel(level);
    if (columnsOfLevel(level).empty())
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

QString Catalogue::GetQueryAccess(const QString &packageName)
{
    return trap(m_errors, kGetQueryAccess, [&] {
        return m_globals.gdicPackages.Exists(packageName) ? m_globals.gdicPackages.at(packageName)->PackageInfo()->QueryAccess : QString();
    });
}

void Catalogue::tvTreeView_NodeClick(const QModelIndex &index)
{
    if (m_nodeClickBusy)
        return;
    trap(m_errors, kNodeClick, [&] {
        const QScopedValueRollback busy(m_nodeClickBusy, true);
        const TreeNode node = CatalogueTree::node(index, QStringLiteral("no package or report group is selected in the tree"));
        if (isLevel(node.key, selection::package)) {
            PopulateGroupsInListView(node.text);
            Q_EMIT captionChanged(node.text);
        } else if (isLevel(node.key, selection::group)) {
            listGroup(index);
        }
        Q_EMIT selected(selectionCode(node.key));
    });
}

void Catalogue::tvTreeView_Collapse(const QModelIndex &collapsed)
{
    trap(m_errors, kCollapse, [&] {
        if (isBelow(m_selection.nodeIndex(), collapsed))
            m_selection.selectNode(collapsed);
        tvTreeView_NodeClick(m_selection.nodeIndex());
    });
}

bool Catalogue::tvTreeView_BeforeLabelEdit() const
{
    return trapSilently([&] { return !isLevel(m_selection.node().key, selection::package); });
}

void Catalogue::lvListView_ItemClick(int row)
{
    trapSilently([&] { Q_EMIT selected(selectionCode(m_selection.list().row(row).key)); });
}

void Catalogue::lvListView_MouseUp()
{
    trapSilently([&] {
        const QString key = m_selection.rowKey();
        if (isLevel(key, selection::group))
            m_selection.selectNode(m_selection.tree().find(key));
        else if (isLevel(key, selection::query))
            m_globals.gstrCurrentQueryFile = m_selection.row().subItems[CatalogueList::QueryFile - 1];
    });
}

int Catalogue::openSelectedGroup()
{
    const int rows = listGroup(m_selection.nodeIndex());
    Q_EMIT selected(selectionCode(m_selection.nodeKey()));
    return rows;
}

int Catalogue::listGroup(const QModelIndex &index)
{
    const QString missing = QStringLiteral("no report group is selected in the tree");
    const TreeNode group = CatalogueTree::node(index, missing);
    const int rows = PopulateQueriesInListView(groupsFolder(group.tag) + group.text);
    Q_EMIT captionChanged(CatalogueTree::node(index.parent(), missing).text + QStringLiteral(" - ") + group.text);
    return rows;
}

} // namespace qm
