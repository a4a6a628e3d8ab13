/// \file
/// The tree of packages and report groups.
#pragma once

#include "catalogue/ImageList.h"

#include <QStandardItemModel>

namespace qm {

/// One node of the tree. A package node's tag is the package's `Interface`, a group node's tag is the package's folder.
struct TreeNode
{
    QString key, text, tag;
};

/// Model of the catalogue tree: nodes found by unique keys. It knows neither files nor packages; Catalogue fills it.
class CatalogueTree final : public QStandardItemModel
{
    Q_OBJECT
public:
    enum Role { KeyRole = Qt::UserRole + 1, TagRole, ImageRole };

    explicit CatalogueTree(ImageList images, QObject *parent = nullptr);

    void clearNodes();
    /// Adds a node below the one with \p parentKey, or a top-level node for an empty \p parentKey.
    /// \throws RuntimeError 35602 when the key is taken, 35601 when the parent is not there.
    QModelIndex addNode(const QString &parentKey, const TreeNode &node, const QString &imageKey);
    /// Gives a node another key and text. \throws RuntimeError 35601 when it is not there, 35602 when the new key is taken.
    void renameNode(const QString &key, const QString &newKey, const QString &newText);
    /// \throws RuntimeError 35601 when it is not there.
    void removeNode(const QString &key);
    /// The node with \p key; invalid when there is none.
    [[nodiscard]] QModelIndex find(const QString &key) const;
    /// The node at \p index. \throws RuntimeError 91 for an invalid index, naming \p what is missing.
    [[nodiscard]] static TreeNode node(const QModelIndex &index, const QString &what);

    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

private:
    ImageList m_images;
    QHash<QString, QPersistentModelIndex> m_byKey;
};

} // namespace qm
