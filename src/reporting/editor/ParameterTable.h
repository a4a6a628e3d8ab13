/// \file
/// The parameters page of the query editor.
#pragma once

#include "framework/Query.h"

#include <QAbstractTableModel>
#include <QWidget>

#include <vector>

class QTableView;

namespace qm {

/// The parameters as rows. Those that the SQL names but nobody described stand in it too, and go again when the SQL no longer names them.
class ParameterModel final : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Name, Label, Type, Asked, Default, Choices, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;

    void setParameters(const std::vector<QueryParameter> &parameters);
    [[nodiscard]] std::vector<QueryParameter> parameters() const;
    /// The names that the SQL uses and the query has to give values for, in their order.
    void setNamesInSql(const QStringList &names);
    void add();
    void remove(int row);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

private:
    struct Row
    {
        QueryParameter parameter;
        bool found = false; ///< only found in the SQL, not yet touched by the operator
    };
    [[nodiscard]] bool isInSql(const QString &name) const { return m_inSql.contains(name, Qt::CaseInsensitive); }

    std::vector<Row> m_rows;
    QStringList m_inSql;
};

/// The words of the parameter types, in the order of ParameterType.
[[nodiscard]] QStringList parameterTypeWords();

/// The table with its buttons.
class ParameterTable final : public QWidget
{
    Q_OBJECT
public:
    explicit ParameterTable(QWidget *parent = nullptr);
    [[nodiscard]] ParameterModel &model() const { return *m_model; }
    /// Puts the cursor into the row of parameter \p name.
    void select(const QString &name);

private:
    ParameterModel *m_model;
    QTableView *m_table;
};

} // namespace qm
