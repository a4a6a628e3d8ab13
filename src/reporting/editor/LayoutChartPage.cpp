#include "reporting/editor/LayoutChartPage.h"

#include "framework/LayoutWords.h"
#include "reporting/editor/LayoutFields.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>

#include <algorithm>

namespace qm {

LayoutChartPage::LayoutChartPage(QWidget *parent)
    : QWidget(parent), m_kind(new QComboBox(this)), m_title(layoutField(this, "chartTitle", tr("Chart title"))),
      m_category(layoutField(this, "chartCategory", tr("Category column"))),
      m_values(layoutField(this, "chartValues", tr("Value columns"))), m_series(layoutField(this, "chartSeries", tr("Series column"))),
      m_top(new QSpinBox(this)), m_other(new QCheckBox(tr("Sum the rest as \"Other\""), this))
{
    m_kind->addItems(chartLabels());
    m_kind->setObjectName(QStringLiteral("chartKind"));
    connect(m_kind, &QComboBox::currentIndexChanged, this, &LayoutChartPage::changed);
    m_values->setPlaceholderText(tr("one or several columns separated by ;"));
    m_series->setPlaceholderText(tr("none: one series for each value column"));
    m_top->setRange(0, 1000);
    m_top->setSpecialValueText(tr("all"));
    connect(m_top, &QSpinBox::valueChanged, this, &LayoutChartPage::changed);
    connect(m_other, &QCheckBox::toggled, this, &LayoutChartPage::changed);
    auto form = new QFormLayout(this);
    form->addRow(layoutHint(tr("A chart is kept in the layout file. Reports do not show it yet."), this));
    form->addRow(tr("Chart:"), m_kind);
    form->addRow(tr("Title:"), m_title);
    form->addRow(tr("Categories:"), m_category);
    form->addRow(tr("Values:"), m_values);
    form->addRow(tr("Series:"), m_series);
    form->addRow(tr("Largest categories:"), m_top);
    form->addRow(QString(), m_other);
    for (QLineEdit *line : {m_title, m_category, m_values, m_series})
        connect(line, &QLineEdit::textChanged, this, &LayoutChartPage::changed);
}

void LayoutChartPage::show(const ReportLayout &layout)
{
    const LayoutChart chart = layout.charts.empty() ? LayoutChart{} : layout.charts.front();
    m_kind->setCurrentIndex(static_cast<int>(std::max<qsizetype>(0, chartWords().indexOf(chart.kind))));
    m_title->setText(chart.title);
    m_category->setText(chart.category);
    m_series->setText(chart.series);
    m_values->setText(chart.values.join(QStringLiteral("; ")));
    m_top->setValue(chart.top);
    m_other->setChecked(chart.other);
}

void LayoutChartPage::store(ReportLayout &layout) const
{
    if (layout.charts.empty() && m_kind->currentIndex() <= 0)
        return;
    if (layout.charts.empty())
        layout.charts.emplace_back();
    LayoutChart &chart = layout.charts.front();
    chart.kind = chartWords().value(m_kind->currentIndex());
    chart.title = m_title->text();
    chart.category = m_category->text().trimmed();
    chart.series = m_series->text().trimmed();
    chart.values.clear();
    for (const QString &value : m_values->text().split(u';'))
        if (!value.trimmed().isEmpty())
            chart.values << value.trimmed();
    chart.top = m_top->value();
    chart.other = m_other->isChecked();
}

} // namespace qm
