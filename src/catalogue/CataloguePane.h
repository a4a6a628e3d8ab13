/// \file
/// The catalogue as the main window sees it.
#pragma once

#include "catalogue/Catalogue.h"
#include "catalogue/CatalogueListView.h"
#include "catalogue/CatalogueTreeView.h"
#include "catalogue/PendingPaste.h"

#include <QObject>
#include <QPoint>
#include <QPointer>

namespace qm {

/// What the catalogue's events need of the main window.
struct CataloguePaneHooks
{
    std::function<void(const QString &selectionCode)> enableDisableMenus;
    std::function<void(bool groupSelected)> enableForEmptyListSpace; ///< command states for a right click beside the rows
    std::function<void(const QString &caption)> setCaption;
    std::function<void(const QPoint &globalPosition)> popUpRightClickMenu;
    std::function<void()> deleteCommand; ///< the generic Delete command
    std::function<void(const QString &queryFile, const QString &interfaceId)> modifyReportQuery;
    std::function<void(const QModelIndex &node)> editNodeLabel;
};

/// Owns the catalogue: models, controls and operations, and the handlers of the controls' events.
class CataloguePane final : public QObject
{
    Q_OBJECT
public:
    /// What outlives the pane.
    struct Services
    {
        Globals &globals;
        ErrorReporter &errors;
        Catalogue::QueryReaderMaker makeQueryReader;
        ImageList images;
    };
    CataloguePane(Services services, CataloguePaneHooks hooks, QWidget *window);
    ~CataloguePane() override;

    [[nodiscard]] CatalogueTreeView &tvTreeView() { return *m_treeView; }
    [[nodiscard]] CatalogueListView &lvListView() { return *m_listView; }
    [[nodiscard]] Catalogue &catalogue() { return m_catalogue; }
    [[nodiscard]] CatalogueSelection &selection() { return m_selection; }
    [[nodiscard]] PendingPaste &pendingPaste() { return m_pendingPaste; }

    /// Node-click handling for the tree's selected node; nothing without one.
    void refreshSelectedNode();

private:
    void connectTree();
    void connectList();
    void tvTreeView_MouseDown(Qt::MouseButton button, const QModelIndex &node, const QPoint &position);
    void tvTreeView_KeyUp(int keyCode);
    void tvTreeView_DblClick();
    void lvListView_MouseDown(Qt::MouseButton button, int row, const QPoint &position);
    void lvListView_KeyDown(int keyCode);
    void lvListView_DblClick();
    void rightClickInTree(const QModelIndex &node, const QPoint &position);
    void rightClickInList(int row, const QPoint &position);

    Services m_services;
    CataloguePaneHooks m_hooks;
    CatalogueTree m_tree;
    CatalogueList m_list;
    CatalogueSelection m_selection;
    Catalogue m_catalogue;
    PendingPaste m_pendingPaste;
    QPointer<CatalogueTreeView> m_treeView; ///< both views are owned by their parent widgets
    QPointer<CatalogueListView> m_listView;
};

} // namespace qm
