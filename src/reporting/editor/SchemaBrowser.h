/// \file
/// The tables and columns of the data source, beside the SQL.
#pragma once

#include "reporting/common/BackgroundTask.h"
#include "reporting/editor/SqlSchema.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;
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

    /// Reads it a moment later, unless another is wanted until then.
    void load(const QString &dataSource, const QString &database, const QString &installPath);
    /// Lists nothing, and offers to connect: the source is one that is reached only when the operator asks.
    void offer();

Q_SIGNALS:
    void loaded(const qm::SqlSchema &schema);
    void chosen(const QString &name);
    void connectRequested();

private:
    void start(const QString &dataSource, const QString &database, const QString &installPath);
    void ended();
    void activate(const QModelIndex &index);

    QLineEdit *m_filter;
    QTreeView *m_tree;
    QLabel *m_note;
    QPushButton *m_connect;
    QStandardItemModel *m_model;
    QSortFilterProxyModel *m_proxy;
    QTimer m_soon;
    std::shared_ptr<SqlSchema> m_schema;
    std::unique_ptr<BackgroundTask> m_task;
};

} // namespace qm
