#include "reporting/editor/PreviewPane.h"

#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"

#include <QAbstractTableModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPalette>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace qm {

namespace {

class PreviewModel final : public QAbstractTableModel
{
public:
    PreviewModel(std::shared_ptr<const ProbeRows> rows, QObject *parent) : QAbstractTableModel(parent), m_rows(std::move(rows)) {}

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows->rows.size());
    }
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows->columns.size());
    }
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid))
            return {};
        const auto &cell = m_rows->rows[static_cast<std::size_t>(index.row())][static_cast<std::size_t>(index.column())];
        if (role == Qt::DisplayRole)
            return cell ? visibleText(*cell) : QStringLiteral("NULL");
        if (role == Qt::TextAlignmentRole) {
            bool isNumber = false;
            if (cell)
                cell->toDouble(&isNumber);
            return QVariant::fromValue(Qt::Alignment((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter));
        }
        if (role == Qt::ForegroundRole && !cell)
            return QPalette().color(QPalette::PlaceholderText);
        return {};
    }
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        return orientation == Qt::Horizontal ? visibleText(m_rows->columns.value(section)) : QString::number(section + 1);
    }

private:
    std::shared_ptr<const ProbeRows> m_rows;
};

} // namespace

PreviewPane::PreviewPane(QWidget *parent)
    : QWidget(parent), m_table(new QTableView(this)), m_status(new QLabel(this)), m_bar(new QProgressBar(this)),
      m_stop(new QPushButton(uiIcon("cancel"), tr("Cancel preview"), this))
{
    setObjectName(QStringLiteral("previewPane"));
    m_table->setObjectName(QStringLiteral("previewRows"));
    m_table->setAccessibleName(tr("Preview of the first rows"));
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->setTabKeyNavigation(false);
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 8);
    m_table->hide();
    m_status->setTextFormat(Qt::PlainText);
    m_status->setWordWrap(true);
    m_status->setObjectName(QStringLiteral("previewStatus"));
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_status->setText(tr("Preview shows the first rows of the query (F5)."));
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_bar->setFixedWidth(120);
    m_bar->hide();
    m_stop->setObjectName(QStringLiteral("cancelPreview"));
    m_stop->hide();
    connect(m_stop, &QPushButton::clicked, this, &PreviewPane::cancel);
    auto row = new QHBoxLayout;
    row->addWidget(m_status, 1);
    row->addWidget(m_bar);
    row->addWidget(m_stop);
    auto layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(row);
    layout->addWidget(m_table, 1);
    layout->setAlignment(row, Qt::AlignTop);
}

PreviewPane::~PreviewPane() = default;

void PreviewPane::run(const ProbeRequest &request)
{
    m_task.reset();
    m_rows = std::make_shared<ProbeRows>();
    const auto cancel = std::make_shared<CancelFlag>();
    m_task = std::make_unique<BackgroundTask>(
        [request, rows = m_rows, cancel](CancelFlag &) { *rows = readFirstRows(request, kRows, cancel); }, cancel);
    connect(m_task.get(), &BackgroundTask::finished, this, &PreviewPane::ended);
    m_status->setText(tr("Reading the first rows…"));
    m_bar->show();
    m_stop->show();
    m_stop->setEnabled(true);
    m_task->start();
}

void PreviewPane::cancel()
{
    if (!m_task)
        return;
    m_stop->setEnabled(false);
    m_status->setText(tr("Stopping…"));
    m_task->cancel();
}

void PreviewPane::ended()
{
    m_task->wait();
    const auto task = std::move(m_task);
    m_bar->hide();
    m_stop->hide();
    if (task->failed()) {
        const RuntimeError failure = task->failure();
        const bool cancelled = failure.number() == err::cancelledByOperator;
        m_status->setText(cancelled ? tr("The preview was cancelled.") : visibleText(failure.description(), LineBreaks::Kept));
        m_table->hide();
        if (!cancelled)
            Q_EMIT failed(failure.description());
        return;
    }
    m_columns = m_rows->columns;
    const auto old = m_table->model();
    m_table->setModel(new PreviewModel(m_rows, m_table));
    delete old;
    m_table->resizeColumnsToContents();
    for (int i = 0; i < m_columns.size(); ++i)
        m_table->setColumnWidth(i, std::min(m_table->columnWidth(i), 320));
    m_table->setVisible(!m_columns.isEmpty());
    const QString time = QLocale().toString(m_rows->seconds, 'f', m_rows->seconds < 10 ? 3 : 1);
    const auto count = static_cast<qint64>(m_rows->rows.size());
    m_status->setText(count == 0     ? (m_rows->hasPeriod ? tr("No rows for this period (%1 s)") : tr("No rows (%1 s)")).arg(time)
                      : m_rows->more ? tr("The first %1 rows, in %2 s").arg(QLocale().toString(count), time)
                      : count == 1   ? tr("1 row, in %1 s").arg(time)
                                     : tr("All %1 rows, in %2 s").arg(QLocale().toString(count), time));
    Q_EMIT succeeded();
}

} // namespace qm
