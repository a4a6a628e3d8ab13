#include "catalogue/CataloguePane.h"

#include "catalogue/CatalogueKeys.h"
#include "catalogue/ViewKeys.h"
#include "core/ErrorReporter.h"
#include "framework/Readers.h"

#include <QtGlobal>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");
constexpr Procedure kTreeKeyUp{"tvTreeView_KeyUp", kUnanticipated, kModule};
constexpr Procedure kListMouseDown{"lvListView_MouseDown", kUnanticipated, kModule};
constexpr Procedure kListKeyDown{"lvListView_KeyDown", kUnanticipated, kModule};
constexpr Procedure kListDblClick{"lvListView_DblClick", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured in the listview control"),
                                  kModule};

} // namespace

CataloguePane::CataloguePane(CatalogueServices services, QWidget *window)
    : QObject(window), m_services(std::move(services)), m_tree(m_services.images), m_list(m_services.images), m_selection(m_tree, m_list),
      m_catalogue(m_services, m_selection), m_treeView(new CatalogueTreeView(window)), m_listView(new CatalogueListView(m_list, window))
{
    m_treeView->setModel(&m_tree);
    m_treeView->setSelectionModel(&m_selection.treeModel());
    m_listView->setSelectionModel(&m_selection.listModel());
    connect(&m_catalogue, &Catalogue::selected, this, &CataloguePane::selected);
    connect(&m_catalogue, &Catalogue::captionChanged, this, &CataloguePane::captionChanged);
    connect(&m_catalogue, &Catalogue::nodeOpened, m_treeView, &QTreeView::expand);
    connectTree();
    connectList();
}

CataloguePane::~CataloguePane()
{
    // The views look at the models until they go.
    delete m_listView.data();
    delete m_treeView.data();
}

void CataloguePane::connectTree()
{
    connect(m_treeView, &CatalogueTreeView::MouseDown, this, &CataloguePane::tvTreeView_MouseDown);
    connect(m_treeView, &CatalogueTreeView::NodeClick, this, [this](const QModelIndex &node) { m_catalogue.tvTreeView_NodeClick(node); });
    connect(m_treeView, &QTreeView::collapsed, this, [this](const QModelIndex &node) { m_catalogue.tvTreeView_Collapse(node); });
    connect(m_treeView, &CatalogueTreeView::KeyUp, this, &CataloguePane::tvTreeView_KeyUp);
    connect(m_treeView, &CatalogueTreeView::DblClick, this, &CataloguePane::tvTreeView_DblClick);
    connect(m_treeView, &CatalogueTreeView::MenuKey, this,
            [this](const QPoint &position) { trapSilently([&] { rightClickInTree(m_selection.nodeIndex(), position); }); });
}

void CataloguePane::connectList()
{
    connect(m_listView, &CatalogueListView::MouseDown, this, &CataloguePane::lvListView_MouseDown);
    connect(m_listView, &CatalogueListView::MouseUp, this, [this] { m_catalogue.lvListView_MouseUp(); });
    connect(m_listView, &CatalogueListView::KeyDown, this, &CataloguePane::lvListView_KeyDown);
    connect(m_listView, &CatalogueListView::DblClick, this, &CataloguePane::lvListView_DblClick);
    connect(m_listView, &CatalogueListView::RowSelectedByKey, this, [this](int row) {
        m_catalogue.lvListView_ItemClick(row);
        m_catalogue.lvListView_MouseUp();
    });
    connect(m_listView, &CatalogueListView::MenuKey, this, [this](const QPoint &position) {
        trap(m_services.errors, kListMouseDown, [&] { rightClickInList(m_selection.rowIndex(), position); });
    });
}

void CataloguePane::refreshSelectedNode()
{
    if (const QModelIndex node = m_selection.nodeIndex(); node.isValid())
        m_catalogue.tvTreeView_NodeClick(node);
}

void CataloguePane::tvTreeView_MouseDown(Qt::MouseButton button, const QModelIndex &node, const QPoint &position)
{
    trapSilently([&] {
        m_treeView->setFocus(Qt::MouseFocusReason);
        m_listView->setDragReady(false);
        if (button == Qt::RightButton)
            rightClickInTree(node, position);
    });
}

void CataloguePane::rightClickInTree(const QModelIndex &node, const QPoint &position)
{
    if (node.isValid()) {
        m_selection.selectNode(node);
        Q_EMIT selected(selectionCode(m_selection.nodeKey()));
    }
    refreshSelectedNode();
    Q_EMIT rightClickMenuRequested(position);
}

void CataloguePane::tvTreeView_KeyUp(int keyCode)
{
    trap(m_services.errors, kTreeKeyUp, [&] {
        const QModelIndex node = m_selection.nodeIndex();
        if (!node.isValid())
            return;
        if (keyCode == keycode::enter)
            m_catalogue.tvTreeView_NodeClick(node);
        else if (keyCode == keycode::del && isLevel(m_selection.nodeKey(), selection::group))
            Q_EMIT deleteRequested();
    });
}

void CataloguePane::tvTreeView_DblClick()
{
    trapSilently([&] {
        if (m_catalogue.tvTreeView_BeforeLabelEdit())
            Q_EMIT labelEditRequested(m_selection.nodeIndex());
    });
}

void CataloguePane::lvListView_MouseDown(Qt::MouseButton button, int row, const QPoint &position)
{
    trap(m_services.errors, kListMouseDown, [&] {
        m_listView->setFocus(Qt::MouseFocusReason);
        m_listView->setDragReady(row >= 0 && isLevel(m_list.row(row).key, selection::query));
        if (row >= 0) {
            m_selection.selectRow(row);
            m_catalogue.lvListView_ItemClick(row);
        }
        if (button == Qt::RightButton)
            rightClickInList(row, position);
    });
}

void CataloguePane::rightClickInList(int row, const QPoint &position)
{
    if (row < 0) {
        Q_EMIT emptyListSpaceClicked(isLevel(m_selection.nodeKey(), selection::group));
    } else {
        // The menu takes the release away, so what it would do is done now.
        m_catalogue.lvListView_MouseUp();
        Q_EMIT selected(selectionCode(m_list.row(row).key));
    }
    Q_EMIT rightClickMenuRequested(position);
}

void CataloguePane::lvListView_KeyDown(int keyCode)
{
    trap(m_services.errors, kListKeyDown, [&] {
        if (keyCode == keycode::enter)
            lvListView_DblClick();
        else
            Q_EMIT deleteRequested();
        m_treeView->setFocus(Qt::OtherFocusReason);
        m_listView->setDragReady(false);
    });
}

void CataloguePane::lvListView_DblClick()
{
    trap(m_services.errors, kListDblClick, [&] {
        const int index = m_selection.rowIndex();
        if (index < 0)
            return;
        m_catalogue.lvListView_MouseUp();
        const ListRow row = m_list.row(index);
        if (isLevel(row.key, selection::group))
            m_catalogue.openSelectedGroup();
        else if (isLevel(row.key, selection::query))
            Q_EMIT queryOpened(row.subItems[CatalogueList::QueryFile - 1], m_selection.parentNode().tag);
    });
}

} // namespace qm
