#include "reporting/editor/LayoutColumnsPage.h"

#include "framework/LayoutWords.h"
#include "reporting/common/Icons.h"
#include "reporting/editor/ChoiceDelegate.h"
#include "reporting/editor/LayoutColumnModel.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace qm {

LayoutColumnsPage::LayoutColumnsPage(QWidget *parent)
    : QWidget(parent), m_columns(new LayoutColumnModel(this)), m_table(new QTableView(this)),
      m_onlyListed(new QCheckBox(tr("Only these columns (others of the result follow otherwise)"), this))
{
    m_table->setModel(m_columns);
    m_table->setObjectName(QStringLiteral("layoutColumns"));
    m_table->setAccessibleName(tr("Columns of the report"));
    m_table->setItemDelegateForColumn(LayoutColumnModel::Align, new ChoiceDelegate(alignmentWords(), false, m_table));
    m_table->setItemDelegateForColumn(LayoutColumnModel::Format, new ChoiceDelegate(columnFormats(), true, m_table));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false); // Tab leads out of the table
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setColumnWidth(LayoutColumnModel::Field, 120);
    m_table->setColumnWidth(LayoutColumnModel::Caption, 130);
    m_table->setColumnWidth(LayoutColumnModel::Width, 75);
    m_table->setColumnWidth(LayoutColumnModel::Format, 90);
    m_table->setColumnWidth(LayoutColumnModel::Align, 75);
    for (const int box : {LayoutColumnModel::Visible, LayoutColumnModel::Wrap})
        m_table->setColumnWidth(box, 50);
    for (const int text : {LayoutColumnModel::Words, LayoutColumnModel::Rules})
        m_table->setColumnWidth(text, 180);
    m_onlyListed->setObjectName(QStringLiteral("onlyListed"));
    connect(m_onlyListed, &QCheckBox::toggled, this, &LayoutColumnsPage::changed);

    auto buttons = new QHBoxLayout;
    const auto button = [&](const char *icon, const QString &text, auto &&run) {
        auto made = new QPushButton(uiIcon(icon), text, this);
        made->setAutoDefault(false);
        buttons->addWidget(made);
        connect(made, &QPushButton::clicked, this, run);
    };
    button("refresh", tr("From the &result"), [this] {
        if (m_resultColumns.isEmpty())
            Q_EMIT columnsRequested();
        else
            m_columns->addFields(m_resultColumns);
    });
    button("add", tr("A&dd"), [this] {
        m_columns->add();
        const QModelIndex field = m_columns->index(m_columns->rowCount() - 1, LayoutColumnModel::Field);
        m_table->setCurrentIndex(field);
        m_table->edit(field);
    });
    button("remove", tr("Re&move"), [this] {
        if (m_table->currentIndex().isValid())
            m_columns->remove(m_table->currentIndex().row());
    });
    const auto shift = [this](int by) {
        const QModelIndex current = m_table->currentIndex();
        if (current.isValid())
            m_table->setCurrentIndex(m_columns->index(m_columns->move(current.row(), by), current.column()));
    };
    button("up", tr("&Up"), [shift] { shift(-1); });
    button("down", tr("D&own"), [shift] { shift(1); });
    buttons->addStretch();
    auto layout = new QVBoxLayout(this);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttons);
    layout->addWidget(m_onlyListed);
    for (const auto &signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(m_columns, signal, this, &LayoutColumnsPage::changed);
    connect(m_columns, &QAbstractItemModel::dataChanged, this, &LayoutColumnsPage::changed);
    connect(m_columns, &QAbstractItemModel::rowsMoved, this, &LayoutColumnsPage::changed);
}

void LayoutColumnsPage::show(const ReportLayout &layout)
{
    m_columns->setColumns(layout.columns);
    m_onlyListed->setChecked(layout.onlyListed);
}

void LayoutColumnsPage::store(ReportLayout &layout) const
{
    layout.columns = m_columns->columns();
    layout.onlyListed = m_onlyListed->isChecked();
}

void LayoutColumnsPage::setResultColumns(const QStringList &columns, bool fill)
{
    const bool wanted = fill && m_resultColumns.isEmpty() && m_columns->rowCount() == 0;
    m_resultColumns = columns;
    if (wanted)
        m_columns->addFields(columns);
}

} // namespace qm
