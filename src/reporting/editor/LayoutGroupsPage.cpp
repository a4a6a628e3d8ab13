#include "reporting/editor/LayoutGroupsPage.h"

#include "reporting/common/Icons.h"
#include "reporting/editor/LayoutColumnModel.h"
#include "reporting/editor/LayoutFields.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace qm {

LayoutGroupsPage::LayoutGroupsPage(QWidget *parent) : QWidget(parent), m_groups(new QTableWidget(0, 3, this))
{
    m_groups->setTabKeyNavigation(false);
    m_groups->setObjectName(QStringLiteral("layoutGroups"));
    m_groups->setAccessibleName(tr("Groups"));
    m_groups->setHorizontalHeaderLabels({tr("Group by column"), tr("New page"), tr("Subtotals")});
    m_groups->horizontalHeader()->setStretchLastSection(true);
    m_groups->setColumnWidth(0, 180);
    connect(m_groups, &QTableWidget::cellChanged, this, &LayoutGroupsPage::changed);
    auto add = new QPushButton(uiIcon("add"), tr("A&dd group"), this);
    auto remove = new QPushButton(uiIcon("remove"), tr("Re&move group"), this);
    for (QPushButton *button : {add, remove})
        button->setAutoDefault(false);
    connect(add, &QPushButton::clicked, this, [this] {
        std::vector<LayoutGroup> groups(1);
        addGroups(groups);
        m_groups->editItem(m_groups->item(m_groups->rowCount() - 1, 0));
    });
    connect(remove, &QPushButton::clicked, this, [this] {
        if (m_groups->currentRow() >= 0)
            m_groups->removeRow(m_groups->currentRow());
        Q_EMIT changed();
    });
    auto buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch();
    m_totals = layoutField(this, "layoutTotals", tr("Totals"));
    m_totals->setPlaceholderText(QStringLiteral("sum(attempts); count"));
    auto form = new QFormLayout;
    form->addRow(tr("Totals of the report:"), m_totals);
    auto layout = new QVBoxLayout(this);
    layout->addWidget(layoutHint(tr("Groups and totals are kept in the layout file. Reports do not show them yet."), this));
    layout->addWidget(m_groups, 1);
    layout->addLayout(buttons);
    layout->addLayout(form);
    layout->addWidget(
        layoutHint(tr("Totals: count, sum(column), average(column), minimum(column), maximum(column), each with \"as caption\" if "
                      "wanted, separated by semicolons."),
                   this));
    connect(m_totals, &QLineEdit::textChanged, this, &LayoutGroupsPage::changed);
}

void LayoutGroupsPage::addGroups(const std::vector<LayoutGroup> &groups)
{
    for (const LayoutGroup &group : groups) {
        const int row = m_groups->rowCount();
        m_groups->insertRow(row);
        m_groups->setItem(row, 0, new QTableWidgetItem(group.field));
        auto newPage = new QTableWidgetItem;
        newPage->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        newPage->setCheckState(group.newPage ? Qt::Checked : Qt::Unchecked);
        m_groups->setItem(row, 1, newPage);
        m_groups->setItem(row, 2, new QTableWidgetItem(aggregatesText(group.subtotals)));
    }
}

void LayoutGroupsPage::show(const ReportLayout &layout)
{
    m_groups->setRowCount(0);
    addGroups(layout.groups);
    m_totals->setText(aggregatesText(layout.totals));
}

void LayoutGroupsPage::store(ReportLayout &layout) const
{
    layout.groups.clear();
    for (int row = 0; row < m_groups->rowCount(); ++row) {
        LayoutGroup group;
        group.field = m_groups->item(row, 0)->text().trimmed();
        group.newPage = m_groups->item(row, 1)->checkState() == Qt::Checked;
        group.subtotals = readAggregates(m_groups->item(row, 2)->text());
        if (!group.field.isEmpty())
            layout.groups.push_back(group);
    }
    layout.totals = readAggregates(m_totals->text());
}

} // namespace qm
