/// \file
/// The tables and columns of the data source, beside the SQL.
#pragma once

#include "reporting/ui/BackgroundTask.h"
#include "reporting/ui/SqlSchema.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QSortFilterProxyModel;
class QStandardItemModel;
class QTreeView;

namespace qm {

/// Reads the schema in the background; a double click or Enter hands a name to the SQL.
class SchemaBrowser final : public QWidget
{
    Q_OBJECT
public:
    explicit SchemaBrowser(QWidget *parent = nullptr);
    ~SchemaBrowser() override;

    void load(const QString &dataSource, const QString &database, const QString &installPath);

Q_SIGNALS:
    void loaded(const qm::SqlSchema &schema);
    void chosen(const QString &name);

private:
    void ended();
    void activate(const QModelIndex &index);

    QLineEdit *m_filter;
    QTreeView *m_tree;
    QLabel *m_note;
    QStandardItemModel *m_model;
    QSortFilterProxyModel *m_proxy;
    std::shared_ptr<SqlSchema> m_schema;
    std::unique_ptr<BackgroundTask> m_task;
};

} // namespace qm
