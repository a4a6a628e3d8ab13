#include "reporting/editor/SchemaBrowser.h"

#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QTreeView>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr int kLoadAfterMs = 600;

} // namespace

SchemaBrowser::SchemaBrowser(QWidget *parent)
    : QWidget(parent), m_filter(new QLineEdit(this)), m_tree(new QTreeView(this)), m_note(new QLabel(this)),
      m_connect(new QPushButton(uiIcon("run"), tr("Co&nnect"), this)), m_model(new QStandardItemModel(this)),
      m_proxy(new QSortFilterProxyModel(this))
{
    m_filter->setPlaceholderText(tr("Filter tables and columns"));
    m_filter->setAccessibleName(tr("Filter tables and columns"));
    m_filter->setClearButtonEnabled(true);
    m_filter->addAction(uiIcon("filter"), QLineEdit::LeadingPosition);
    m_proxy->setSourceModel(m_model);
    m_proxy->setRecursiveFilteringEnabled(true);
    m_proxy->setAutoAcceptChildRows(true);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_tree->setModel(m_proxy);
    m_tree->setObjectName(QStringLiteral("schema"));
    m_tree->setAccessibleName(tr("Tables and columns"));
    m_tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tree->setUniformRowHeights(true);
    m_tree->setExpandsOnDoubleClick(false);
    m_tree->setToolTip(tr("Double click writes the name into the SQL"));
    m_note->setTextFormat(Qt::PlainText);
    m_note->setWordWrap(true);
    m_note->setForegroundRole(QPalette::PlaceholderText);
    m_connect->setObjectName(QStringLiteral("connectSource"));
    m_connect->setAutoDefault(false);
    m_connect->hide();
    auto layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_filter);
    layout->addWidget(m_note);
    layout->addWidget(m_connect);
    layout->addWidget(m_tree, 1);
    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_proxy->setFilterFixedString(text);
        if (!text.isEmpty())
            m_tree->expandAll();
    });
    connect(m_tree, &QTreeView::activated, this, &SchemaBrowser::activate);
    connect(m_connect, &QPushButton::clicked, this, &SchemaBrowser::connectRequested);
    m_soon.setSingleShot(true);
    m_soon.setInterval(kLoadAfterMs);
}

SchemaBrowser::~SchemaBrowser() = default;

void SchemaBrowser::activate(const QModelIndex &index)
{
    Q_EMIT chosen(quotedName(index.siblingAtColumn(0).data(Qt::UserRole).toString()));
}

void SchemaBrowser::load(const QString &dataSource, const QString &database, const QString &installPath)
{
    m_soon.disconnect(this);
    connect(&m_soon, &QTimer::timeout, this, [=, this] { start(dataSource, database, installPath); });
    m_soon.start();
}

void SchemaBrowser::start(const QString &dataSource, const QString &database, const QString &installPath)
{
    m_task.reset();
    m_schema = std::make_shared<SqlSchema>();
    const auto cancel = std::make_shared<CancelFlag>();
    m_task = std::make_unique<BackgroundTask>(
        [dataSource, database, installPath, schema = m_schema, cancel](CancelFlag &) {
            *schema = readSchema(describeSource(dataSource, database, installPath), cancel);
        },
        cancel);
    connect(m_task.get(), &BackgroundTask::finished, this, &SchemaBrowser::ended);
    m_connect->hide();
    m_note->setText(tr("Reading tables…"));
    m_note->show();
    m_task->start();
}

void SchemaBrowser::offer()
{
    m_soon.stop();
    m_task.reset();
    m_model->clear();
    m_note->setText(tr("This query names its ODBC connection itself. Tables are listed, and the SQL is checked, once you connect."));
    m_note->show();
    m_connect->show();
    Q_EMIT loaded({});
}

void SchemaBrowser::ended()
{
    m_task->wait();
    const auto task = std::move(m_task);
    m_model->clear();
    m_model->setHorizontalHeaderLabels({tr("Name"), tr("Type")});
    m_note->setVisible(task->failed() || m_schema->empty());
    m_note->setText(task->failed() ? visibleText(task->failure().description(), LineBreaks::Kept) : tr("The data source has no tables."));
    if (task->failed())
        m_schema->clear();
    for (const SchemaTable &table : *m_schema) {
        auto node = new QStandardItem(uiIcon(table.isView ? "view" : "table"), visibleText(table.name));
        node->setData(table.name, Qt::UserRole);
        for (const SchemaColumn &column : table.columns) {
            auto leaf = new QStandardItem(uiIcon("column"), visibleText(column.name));
            leaf->setData(column.name, Qt::UserRole);
            node->appendRow({leaf, new QStandardItem(visibleText(column.type).toLower())});
        }
        m_model->appendRow({node, new QStandardItem(table.isView ? tr("view") : tr("table"))});
    }
    m_tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_tree->header()->setStretchLastSection(false);
    m_tree->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    Q_EMIT loaded(*m_schema);
}

} // namespace qm
