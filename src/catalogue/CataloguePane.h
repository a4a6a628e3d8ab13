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

/// Owns the catalogue: models, controls and operations, and the handlers of the controls' events.
class CataloguePane final : public QObject
{
    Q_OBJECT
public:
    CataloguePane(CatalogueServices services, QWidget *window);
    ~CataloguePane() override;

    [[nodiscard]] const CatalogueServices &services() const { return m_services; }
    [[nodiscard]] CatalogueTreeView &tvTreeView() { return *m_treeView; }
    [[nodiscard]] CatalogueListView &lvListView() { return *m_listView; }
    [[nodiscard]] Catalogue &catalogue() { return m_catalogue; }
    [[nodiscard]] CatalogueSelection &selection() { return m_selection; }
    [[nodiscard]] PendingPaste &pendingPaste() { return m_pendingPaste; }

    /// Node-click handling for the tree's selected node; nothing without one.
    void refreshSelectedNode();

Q_SIGNALS:
    /// As Catalogue's signals of that name.
    void selected(const QString &code);
    void captionChanged(const QString &caption);
    /// A right click beside the list's rows; its commands are those of the selected node, a group or not.
    void emptyListSpaceClicked(bool groupSelected);
    void rightClickMenuRequested(const QPoint &globalPosition);
    void deleteRequested();
    void queryOpened(const QString &queryFile, const QString &interfaceId);
    void labelEditRequested(const QModelIndex &node);

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

    CatalogueServices m_services;
    CatalogueTree m_tree;
    CatalogueList m_list;
    CatalogueSelection m_selection;
    Catalogue m_catalogue;
    PendingPaste m_pendingPaste;
    QPointer<CatalogueTreeView> m_treeView; ///< both views are owned by their parent widgets
    QPointer<CatalogueListView> m_listView;
};

} // namespace qm
