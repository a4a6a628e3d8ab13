/// \file
/// The rows of the catalogue list.
#pragma once

#include "catalogue/ImageList.h"

#include <QAbstractTableModel>

#include <array>
#include <span>
#include <vector>

namespace qm {

/// One row: a report group (no sub-items, no tag) or a report query (tag = query file).
struct ListRow
{
    QString key, text, tag;
    std::array<QString, 3> subItems{}; ///< columns 1 to 3
};

/// One column of the list. Widths are in twips, of which fifteen make a device-independent pixel.
struct ListColumn
{
    const char *caption;
    int twips;

    [[nodiscard]] int pixels() const { return twips / 15; }
};

/// The columns the list has while a node of \p level is selected; none for an unknown level.
[[nodiscard]] std::span<const ListColumn> columnsOfLevel(QChar level);
/// The text of an output code; empty for an unknown one.
[[nodiscard]] QString outputText(int outputType);

/// Model of the catalogue list. Rows are appended in bulk; a listing of 100,000 queries is an ordinary one.
class CatalogueList final : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Text, QueryFile, ReportFile, Output };

    explicit CatalogueList(ImageList images, QObject *parent = nullptr);

    void setLevel(QChar level);
    [[nodiscard]] QChar level() const { return m_level; }
    void clearRows();
    void appendRows(std::vector<ListRow> rows);

    /// Gives the row with \p key another key and text; does nothing when the list has no such row.
    void renameRow(const QString &key, const QString &newKey, const QString &newText);
    /// Removes the row with \p key, if the list has it.
    void removeRow(const QString &key);

    [[nodiscard]] int rows() const { return static_cast<int>(m_rows.size()); }
    /// \throws RuntimeError 91 when there is no such row.
    [[nodiscard]] const ListRow &row(int index) const;

    /// Name of the group whose queries are listed, all of them or those before one that could not be read.
    QString tag;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    /// Qt::UserRole is a query's file.
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    ImageList m_images;
    QIcon m_groupPicture, m_queryPicture;
    QChar m_level;
    std::span<const ListColumn> m_columns;
    std::vector<ListRow> m_rows;
};

} // namespace qm
