#include "reporting/editor/LayoutChartPage.h"

#include "framework/LayoutWords.h"
#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"
#include "reporting/editor/LayoutCellText.h"
#include "reporting/editor/LayoutFields.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>

namespace qm {

namespace {

constexpr int kMostInTopList = 50;
constexpr int kListWidth = 190;

QString nameOf(const LayoutChart &chart)
{
    const QString kind = chartLabels().value(std::max<qsizetype>(0, chartWords().indexOf(chart.kind)));
    return chart.title.isEmpty() ? kind : kind + QStringLiteral(": ") + visibleText(chart.title);
}

} // namespace

LayoutChartPage::LayoutChartPage(QWidget *parent)
    : QWidget(parent), m_list(new QListWidget(this)), m_add(new QPushButton(uiIcon("add"), tr("A&dd chart"), this)),
      m_remove(new QPushButton(uiIcon("remove"), tr("Re&move chart"), this)), m_form(new QWidget(this)), m_kind(new QComboBox(m_form)),
      m_title(layoutField(m_form, "chartTitle", tr("Chart title"))),
      m_category(layoutField(m_form, "chartCategory", tr("Category column"))),
      m_values(layoutField(m_form, "chartValues", tr("Value columns"))), m_series(layoutField(m_form, "chartSeries", tr("Series column"))),
      m_categoryTitle(layoutField(m_form, "chartCategoryTitle", tr("Title of the category axis"))),
      m_valueTitle(layoutField(m_form, "chartValueTitle", tr("Title of the value axis"))), m_top(new QSpinBox(m_form)),
      m_other(new QCheckBox(tr("Sum the rest as \"Other\""), m_form)), m_figures(layoutField(this, "layoutFigures", tr("Key figures"))),
      m_topField(layoutField(this, "topField", tr("Column of the top list"))),
      m_topValue(layoutField(this, "topValue", tr("What the top list adds up"))),
      m_topCaption(layoutField(this, "topCaption", tr("Caption of the top list"))), m_topMost(new QSpinBox(this))
{
    m_list->setObjectName(QStringLiteral("layoutCharts"));
    m_list->setAccessibleName(tr("Charts"));
    m_list->setFixedWidth(kListWidth);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // a long title ends in an ellipsis
    m_add->setObjectName(QStringLiteral("addChart"));
    m_remove->setObjectName(QStringLiteral("removeChart"));
    m_kind->addItems(chartLabels());
    m_kind->setObjectName(QStringLiteral("chartKind"));
    m_kind->setAccessibleName(tr("Kind of chart"));
    m_values->setPlaceholderText(tr("one or several columns separated by ; none: rows are counted"));
    m_series->setPlaceholderText(tr("none: one series for each value column"));
    m_categoryTitle->setPlaceholderText(tr("categories"));
    m_valueTitle->setPlaceholderText(tr("values"));
    m_top->setRange(0, 1000);
    m_top->setSpecialValueText(tr("all"));
    m_figures->setPlaceholderText(tr("count as Events; sum(attempts) as Attempts; average(size) as Mean size [bytes]"));
    m_topField->setPlaceholderText(tr("column; none: no list"));
    m_topValue->setPlaceholderText(QStringLiteral("count"));
    m_topCaption->setPlaceholderText(tr("caption"));
    m_topMost->setRange(1, kMostInTopList);
    m_topMost->setAccessibleName(tr("Length of the top list"));

    auto axes = new QHBoxLayout;
    axes->addWidget(m_categoryTitle);
    axes->addWidget(m_valueTitle);
    auto form = new QFormLayout(m_form);
    form->setContentsMargins({});
    form->addRow(tr("Chart:"), m_kind);
    form->addRow(tr("Title:"), m_title);
    form->addRow(tr("Categories:"), m_category);
    form->addRow(tr("Values:"), m_values);
    form->addRow(tr("Series:"), m_series);
    form->addRow(tr("Titles of the axes:"), axes);
    auto largest = new QHBoxLayout;
    largest->addWidget(m_top);
    largest->addWidget(m_other);
    largest->addStretch();
    form->addRow(tr("Largest categories:"), largest);
    auto buttons = new QVBoxLayout;
    buttons->addWidget(m_list, 1);
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    auto charts = new QHBoxLayout;
    charts->addLayout(buttons);
    charts->addWidget(m_form, 1);
    auto top = new QHBoxLayout;
    top->addWidget(m_topField, 2);
    top->addWidget(new QLabel(tr("by"), this));
    top->addWidget(m_topValue, 2);
    top->addWidget(m_topCaption, 2);
    top->addWidget(m_topMost);
    auto first = new QFormLayout;
    first->addRow(tr("&Key figures:"), m_figures);
    auto topLabel = new QLabel(tr("&Top list of:"), this);
    topLabel->setBuddy(m_topField);
    first->addRow(topLabel, top);
    auto layout = new QVBoxLayout(this);
    layout->addLayout(charts, 1);
    layout->addLayout(first);

    for (QPushButton *button : {m_add, m_remove})
        button->setAutoDefault(false);
    connect(m_add, &QPushButton::clicked, this, &LayoutChartPage::addChart);
    connect(m_remove, &QPushButton::clicked, this, &LayoutChartPage::removeChart);
    connect(m_list, &QListWidget::currentRowChanged, this, &LayoutChartPage::showChart);
    connect(m_kind, &QComboBox::currentIndexChanged, this, &LayoutChartPage::take);
    connect(m_top, &QSpinBox::valueChanged, this, &LayoutChartPage::take);
    connect(m_other, &QCheckBox::toggled, this, &LayoutChartPage::take);
    for (QLineEdit *line : {m_title, m_category, m_values, m_series, m_categoryTitle, m_valueTitle})
        connect(line, &QLineEdit::textChanged, this, &LayoutChartPage::take);
    for (QLineEdit *line : {m_figures, m_topField, m_topValue, m_topCaption})
        connect(line, &QLineEdit::textChanged, this, &LayoutChartPage::changed);
    connect(m_topMost, &QSpinBox::valueChanged, this, &LayoutChartPage::changed);
    list(-1);
}

void LayoutChartPage::addChart()
{
    m_charts.push_back({.kind = QStringLiteral("bar")});
    list(static_cast<int>(m_charts.size()) - 1);
    m_kind->setFocus(Qt::TabFocusReason);
    Q_EMIT changed();
}

void LayoutChartPage::removeChart()
{
    const int current = m_list->currentRow();
    if (current < 0)
        return;
    m_charts.erase(m_charts.begin() + current);
    list(std::min(current, static_cast<int>(m_charts.size()) - 1));
    if (m_charts.empty())
        m_add->setFocus(Qt::TabFocusReason); // the button that had the focus cannot be used any more
    Q_EMIT changed();
}

void LayoutChartPage::list(int current)
{
    {
        const QSignalBlocker quiet(m_list);
        m_list->clear();
        for (const LayoutChart &chart : m_charts)
            m_list->addItem(nameOf(chart));
        m_list->setCurrentRow(current);
    }
    showChart();
}

void LayoutChartPage::showChart()
{
    const QScopedValueRollback showing(m_showing, true);
    const int current = m_list->currentRow();
    const bool any = current >= 0 && current < static_cast<int>(m_charts.size());
    const LayoutChart chart = any ? m_charts[static_cast<std::size_t>(current)] : LayoutChart{};
    m_form->setEnabled(any);
    m_kind->setCurrentIndex(static_cast<int>(std::max<qsizetype>(0, chartWords().indexOf(chart.kind))));
    m_title->setText(chart.title);
    m_category->setText(chart.category);
    m_series->setText(chart.series);
    m_values->setText(chart.values.join(QStringLiteral("; ")));
    m_categoryTitle->setText(chart.categoryTitle);
    m_valueTitle->setText(chart.valueTitle);
    m_top->setValue(chart.top);
    m_other->setChecked(chart.other);
    m_remove->setEnabled(any);
}

void LayoutChartPage::take()
{
    const int current = m_list->currentRow();
    if (m_showing || current < 0)
        return;
    LayoutChart &chart = m_charts[static_cast<std::size_t>(current)];
    chart.kind = chartWords().value(m_kind->currentIndex());
    chart.title = m_title->text();
    chart.category = m_category->text().trimmed();
    chart.series = m_series->text().trimmed();
    chart.values.clear();
    for (const QString &value : m_values->text().split(u';'))
        if (!value.trimmed().isEmpty())
            chart.values << value.trimmed();
    chart.categoryTitle = m_categoryTitle->text();
    chart.valueTitle = m_valueTitle->text();
    chart.top = m_top->value();
    chart.other = m_other->isChecked();
    m_list->currentItem()->setText(nameOf(chart));
    Q_EMIT changed();
}

void LayoutChartPage::show(const ReportLayout &layout)
{
    m_charts = layout.charts;
    list(m_charts.empty() ? -1 : 0);
    m_figures->setText(figuresText(layout.figures));
    m_topField->setText(layout.top.field);
    m_topValue->setText(layout.top.field.isEmpty() ? QString() : aggregatesText({{layout.top.value, layout.top.function}}));
    m_topCaption->setText(layout.top.caption);
    m_topMost->setValue(layout.top.most);
}

void LayoutChartPage::store(ReportLayout &layout) const
{
    layout.charts = m_charts;
    layout.figures = readFigures(m_figures->text());
    const std::vector<LayoutAggregate> values = readAggregates(m_topValue->text());
    const LayoutAggregate value = values.empty() ? LayoutAggregate{{}, Aggregate::Count} : values.front();
    layout.top = {m_topField->text().trimmed(), value.field, value.function, m_topCaption->text(), m_topMost->value()};
}

} // namespace qm
