#include "reporting/editor/LayoutGroupsPage.h"

#include "framework/LayoutWords.h"
#include "reporting/common/Icons.h"
#include "reporting/editor/ChoiceDelegate.h"
#include "reporting/editor/LayoutCellText.h"
#include "reporting/editor/LayoutFields.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace qm {

namespace {

enum Column { Field, Order, Subtotals, FirstBox, ColumnCount = FirstBox + 4 };

/// The boxes of a group, in the order of their columns.
constexpr bool LayoutGroup::*kBoxes[] = {&LayoutGroup::heading, &LayoutGroup::newPage, &LayoutGroup::keepTogether,
                                         &LayoutGroup::suppressRepeats};

} // namespace

LayoutGroupsPage::LayoutGroupsPage(QWidget *parent) : QWidget(parent), m_groups(new QTableWidget(0, ColumnCount, this))
{
    m_groups->setTabKeyNavigation(false);
    m_groups->setObjectName(QStringLiteral("layoutGroups"));
    m_groups->setAccessibleName(tr("Groups"));
    m_groups->setHorizontalHeaderLabels(
        {tr("Group by column"), tr("Order"), tr("Subtotals"), tr("Heading"), tr("New page"), tr("Keep together"), tr("Say once")});
    m_groups->horizontalHeaderItem(FirstBox)->setToolTip(
        tr("A line above the group with its value; without it the value stands in its own column"));
    m_groups->horizontalHeaderItem(FirstBox + 2)->setToolTip(tr("Begin a page where the rest of the page does not hold the whole group"));
    m_groups->horizontalHeaderItem(FirstBox + 3)->setToolTip(tr("The group's own column says its value once, not in each row"));
    m_groups->setItemDelegateForColumn(Order, new ChoiceDelegate(groupOrderWords(), false, m_groups));
    m_groups->setColumnWidth(Field, 140);
    m_groups->setColumnWidth(Order, 90);
    m_groups->setColumnWidth(Subtotals, 210);
    for (int box = FirstBox; box < ColumnCount; ++box)
        m_groups->setColumnWidth(box, box == FirstBox + 2 ? 105 : 75);
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
    layout->addWidget(m_groups, 1);
    layout->addLayout(buttons);
    layout->addLayout(form);
    layout->addWidget(
        layoutHint(tr("Totals: count, sum(column), average(column), minimum(column), maximum(column), distinct(column), and in groups "
                      "share(column) and running(column), each with \"as caption\" if wanted, separated by semicolons."),
                   this));
    connect(m_totals, &QLineEdit::textChanged, this, &LayoutGroupsPage::changed);
}

void LayoutGroupsPage::addGroups(const std::vector<LayoutGroup> &groups)
{
    for (const LayoutGroup &group : groups) {
        const int row = m_groups->rowCount();
        m_groups->insertRow(row);
        m_groups->setItem(row, Field, new QTableWidgetItem(group.field));
        m_groups->setItem(row, Order, new QTableWidgetItem(groupOrderWords().value(static_cast<int>(group.order))));
        m_groups->setItem(row, Subtotals, new QTableWidgetItem(aggregatesText(group.subtotals)));
        int column = FirstBox;
        for (const auto box : kBoxes) {
            auto item = new QTableWidgetItem;
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
            item->setCheckState(group.*box ? Qt::Checked : Qt::Unchecked);
            m_groups->setItem(row, column++, item);
        }
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
        group.field = m_groups->item(row, Field)->text().trimmed();
        group.order = static_cast<GroupOrder>(std::max<qsizetype>(0, groupOrderWords().indexOf(m_groups->item(row, Order)->text())));
        group.subtotals = readAggregates(m_groups->item(row, Subtotals)->text());
        int column = FirstBox;
        for (const auto box : kBoxes)
            group.*box = m_groups->item(row, column++)->checkState() == Qt::Checked;
        if (!group.field.isEmpty())
            layout.groups.push_back(group);
    }
    layout.totals = readAggregates(m_totals->text());
}

} // namespace qm
