/// \file
/// The columns of a report layout as an editable table.
#pragma once

#include "framework/ReportLayout.h"

#include <QAbstractTableModel>

#include <vector>

namespace qm {

class LayoutColumnModel final : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Field, Caption, Width, Align, Format, Visible, Wrap, Words, Rules, NullText, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;

    void setColumns(const std::vector<LayoutColumn> &columns);
    [[nodiscard]] const std::vector<LayoutColumn> &columns() const { return m_columns; }
    /// Appends those of \p fields that are not listed yet.
    void addFields(const QStringList &fields);
    void add();
    void remove(int row);
    /// \returns the row's new place.
    int move(int row, int by);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

private:
    std::vector<LayoutColumn> m_columns;
};

[[nodiscard]] QStringList columnFormats(); ///< the usual ones; others may be typed

} // namespace qm
