#include "reporting/ui/LayoutEditor.h"

#include "reporting/ui/ChoiceDelegate.h"
#include "reporting/ui/Icons.h"
#include "reporting/ui/LayoutColumnModel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableView>
#include <QTableWidget>
#include <QVBoxLayout>

namespace qm {

namespace {

const QStringList kChartKinds{QString(),
                              QStringLiteral("bar"),
                              QStringLiteral("column"),
                              QStringLiteral("stacked-bar"),
                              QStringLiteral("stacked-column"),
                              QStringLiteral("line"),
                              QStringLiteral("pie")};

QLabel *hint(const QString &text, QWidget *parent)
{
    auto label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace

LayoutEditor::LayoutEditor(QWidget *parent)
    : QWidget(parent), m_automatic(new QRadioButton(tr("&Automatic: columns, captions and widths from the result"), this)),
      m_own(new QRadioButton(tr("&Layout file:"), this)), m_path(new QLineEdit(this)), m_tabs(new QTabWidget(this)),
      m_columns(new LayoutColumnModel(this))
{
    m_automatic->setObjectName(QStringLiteral("layoutAutomatic"));
    m_own->setObjectName(QStringLiteral("layoutOwn"));
    m_path->setObjectName(QStringLiteral("layoutPath"));
    m_path->setAccessibleName(tr("Layout file"));
    auto open = new QPushButton(uiIcon("open"), tr("&Open…"), this);
    open->setAutoDefault(false);
    connect(open, &QPushButton::clicked, this, &LayoutEditor::openRequested);
    m_tabs->addTab(buildColumns(), tr("Columns"));
    m_tabs->addTab(buildPage(), tr("Title and page"));
    m_tabs->addTab(buildTotals(), tr("Groups and totals"));
    m_tabs->addTab(buildChart(), tr("Chart"));
    auto row = new QHBoxLayout;
    row->addWidget(m_own);
    row->addWidget(m_path, 1);
    row->addWidget(open);
    auto layout = new QVBoxLayout(this);
    layout->addWidget(m_automatic);
    layout->addLayout(row);
    layout->addWidget(m_tabs, 1);

    connect(m_own, &QRadioButton::toggled, this, [this](bool own) {
        if (own && m_path->text().isEmpty())
            m_path->setText(m_suggested);
        refresh();
        Q_EMIT changed();
    });
    connect(m_path, &QLineEdit::textChanged, this, &LayoutEditor::changed);
    for (const auto &signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(m_columns, signal, this, &LayoutEditor::changed);
    connect(m_columns, &QAbstractItemModel::dataChanged, this, &LayoutEditor::changed);
    connect(m_columns, &QAbstractItemModel::rowsMoved, this, &LayoutEditor::changed);
    refresh();
}

QLineEdit *LayoutEditor::edit(QWidget *parent, const char *name, const QString &label)
{
    auto line = new QLineEdit(parent);
    line->setObjectName(QLatin1String(name));
    line->setAccessibleName(label);
    connect(line, &QLineEdit::textChanged, this, &LayoutEditor::changed);
    return line;
}

QWidget *LayoutEditor::buildColumns()
{
    auto page = new QWidget;
    m_table = new QTableView(page);
    m_table->setModel(m_columns);
    m_table->setObjectName(QStringLiteral("layoutColumns"));
    m_table->setAccessibleName(tr("Columns of the report"));
    m_table->setItemDelegateForColumn(LayoutColumnModel::Align, new ChoiceDelegate(alignmentWords(), false, m_table));
    m_table->setItemDelegateForColumn(LayoutColumnModel::Format, new ChoiceDelegate(columnFormats(), true, m_table));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false); // Tab leads out of the table
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setColumnWidth(LayoutColumnModel::Field, 150);
    m_table->setColumnWidth(LayoutColumnModel::Caption, 190);
    m_table->setColumnWidth(LayoutColumnModel::Width, 90);
    m_table->setColumnWidth(LayoutColumnModel::Format, 120);
    m_onlyListed = new QCheckBox(tr("Only these columns (others of the result follow otherwise)"), page);
    m_onlyListed->setObjectName(QStringLiteral("onlyListed"));
    connect(m_onlyListed, &QCheckBox::toggled, this, &LayoutEditor::changed);

    auto buttons = new QHBoxLayout;
    const auto button = [&](const char *icon, const QString &text, auto &&run) {
        auto made = new QPushButton(uiIcon(icon), text, page);
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
    auto layout = new QVBoxLayout(page);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttons);
    layout->addWidget(m_onlyListed);
    return page;
}

QWidget *LayoutEditor::buildPage()
{
    auto page = new QWidget;
    m_title = edit(page, "layoutTitle", tr("Title"));
    m_title->setPlaceholderText(tr("the query's description"));
    m_subtitle = edit(page, "layoutSubtitle", tr("Subtitle"));
    m_size = new QComboBox(page);
    m_size->addItems({QStringLiteral("A4"), QStringLiteral("A3"), QStringLiteral("A5"), QStringLiteral("Letter"), QStringLiteral("Legal")});
    m_size->setObjectName(QStringLiteral("pageSize"));
    m_orientation = new QComboBox(page);
    m_orientation->addItems({tr("Portrait"), tr("Landscape")});
    m_orientation->setObjectName(QStringLiteral("pageOrientation"));
    m_margin = new QDoubleSpinBox(page);
    m_margin->setRange(0, 60);
    m_margin->setDecimals(1);
    m_margin->setSuffix(tr(" mm"));
    connect(m_size, &QComboBox::currentIndexChanged, this, &LayoutEditor::changed);
    connect(m_orientation, &QComboBox::currentIndexChanged, this, &LayoutEditor::changed);
    connect(m_margin, &QDoubleSpinBox::valueChanged, this, &LayoutEditor::changed);
    auto bands = new QGridLayout;
    const QString rows[] = {tr("Header:"), tr("Footer:")}, places[] = {tr("Left"), tr("Centre"), tr("Right")};
    for (int i = 0; i < 6; ++i) {
        m_bands[i] = edit(page, "band", rows[i / 3] + u' ' + places[i % 3]);
        m_bands[i]->setPlaceholderText(places[i % 3]);
        bands->addWidget(m_bands[i], i / 3, i % 3 + 1);
    }
    bands->addWidget(new QLabel(rows[0], page), 0, 0);
    bands->addWidget(new QLabel(rows[1], page), 1, 0);
    auto form = new QFormLayout;
    form->addRow(tr("Title:"), m_title);
    form->addRow(tr("Subtitle:"), m_subtitle);
    form->addRow(tr("Page:"), m_size);
    form->addRow(tr("Orientation:"), m_orientation);
    form->addRow(tr("Margin:"), m_margin);
    auto layout = new QVBoxLayout(page);
    layout->addLayout(form);
    layout->addLayout(bands);
    layout->addWidget(hint(tr("Fields: {title} {description} {package} {group} {period} {date} {time} {made} {page} {pages}"), page));
    layout->addStretch();
    return page;
}

QWidget *LayoutEditor::buildTotals()
{
    auto page = new QWidget;
    m_groups = new QTableWidget(0, 3, page);
    m_groups->setTabKeyNavigation(false);
    m_groups->setObjectName(QStringLiteral("layoutGroups"));
    m_groups->setAccessibleName(tr("Groups"));
    m_groups->setHorizontalHeaderLabels({tr("Group by column"), tr("New page"), tr("Subtotals")});
    m_groups->horizontalHeader()->setStretchLastSection(true);
    m_groups->setColumnWidth(0, 180);
    connect(m_groups, &QTableWidget::cellChanged, this, &LayoutEditor::changed);
    auto add = new QPushButton(uiIcon("add"), tr("A&dd group"), page);
    auto remove = new QPushButton(uiIcon("remove"), tr("Re&move group"), page);
    for (QPushButton *button : {add, remove})
        button->setAutoDefault(false);
    connect(add, &QPushButton::clicked, this, [this] {
        std::vector<LayoutGroup> groups(1);
        showGroups(groups);
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
    m_totals = edit(page, "layoutTotals", tr("Totals"));
    m_totals->setPlaceholderText(QStringLiteral("sum(attempts); count"));
    auto form = new QFormLayout;
    form->addRow(tr("Totals of the report:"), m_totals);
    auto layout = new QVBoxLayout(page);
    layout->addWidget(hint(tr("Groups and totals are kept in the layout file. Reports do not show them yet."), page));
    layout->addWidget(m_groups, 1);
    layout->addLayout(buttons);
    layout->addLayout(form);
    layout->addWidget(hint(tr("Totals: count, sum(column), average(column), minimum(column), maximum(column), each with \"as caption\" if "
                              "wanted, separated by semicolons."),
                           page));
    return page;
}

QWidget *LayoutEditor::buildChart()
{
    auto page = new QWidget;
    m_chartKind = new QComboBox(page);
    m_chartKind->addItems({tr("No chart"), tr("Bars"), tr("Columns"), tr("Stacked bars"), tr("Stacked columns"), tr("Line"), tr("Pie")});
    m_chartKind->setObjectName(QStringLiteral("chartKind"));
    connect(m_chartKind, &QComboBox::currentIndexChanged, this, &LayoutEditor::changed);
    m_chartTitle = edit(page, "chartTitle", tr("Chart title"));
    m_category = edit(page, "chartCategory", tr("Category column"));
    m_values = edit(page, "chartValues", tr("Value columns"));
    m_values->setPlaceholderText(tr("one or several columns separated by ;"));
    m_series = edit(page, "chartSeries", tr("Series column"));
    m_series->setPlaceholderText(tr("none: one series for each value column"));
    m_top = new QSpinBox(page);
    m_top->setRange(0, 1000);
    m_top->setSpecialValueText(tr("all"));
    connect(m_top, &QSpinBox::valueChanged, this, &LayoutEditor::changed);
    m_other = new QCheckBox(tr("Sum the rest as \"Other\""), page);
    connect(m_other, &QCheckBox::toggled, this, &LayoutEditor::changed);
    auto form = new QFormLayout(page);
    form->addRow(hint(tr("A chart is kept in the layout file. Reports do not show it yet."), page));
    form->addRow(tr("Chart:"), m_chartKind);
    form->addRow(tr("Title:"), m_chartTitle);
    form->addRow(tr("Categories:"), m_category);
    form->addRow(tr("Values:"), m_values);
    form->addRow(tr("Series:"), m_series);
    form->addRow(tr("Largest categories:"), m_top);
    form->addRow(QString(), m_other);
    return page;
}

void LayoutEditor::showGroups(const std::vector<LayoutGroup> &groups)
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

void LayoutEditor::show(const QString &reportFile, const ReportLayout &layout)
{
    m_shown = layout;
    m_columns->setColumns(layout.columns);
    m_onlyListed->setChecked(layout.onlyListed);
    m_title->setText(layout.title);
    m_subtitle->setText(layout.subtitle);
    m_size->setCurrentIndex(static_cast<int>(layout.page.size));
    m_orientation->setCurrentIndex(static_cast<int>(layout.page.orientation));
    m_margin->setValue(layout.page.marginMm);
    const QString bands[] = {layout.header.left, layout.header.centre, layout.header.right,
                             layout.footer.left, layout.footer.centre, layout.footer.right};
    for (int i = 0; i < 6; ++i)
        m_bands[i]->setText(bands[i]);
    m_groups->setRowCount(0);
    showGroups(layout.groups);
    m_totals->setText(aggregatesText(layout.totals));
    m_chartKind->setCurrentIndex(static_cast<int>(std::max<qsizetype>(0, kChartKinds.indexOf(layout.chart.kind))));
    m_chartTitle->setText(layout.chart.title);
    m_category->setText(layout.chart.category);
    m_series->setText(layout.chart.series);
    m_values->setText(layout.chart.values.join(QStringLiteral("; ")));
    m_top->setValue(layout.chart.top);
    m_other->setChecked(layout.chart.other);
    m_path->setText(reportFile);
    (reportFile.isEmpty() ? m_automatic : m_own)->setChecked(true);
    refresh();
}

QString LayoutEditor::reportFile() const
{
    return m_own->isChecked() ? m_path->text().trimmed() : QString();
}

ReportLayout LayoutEditor::layout() const
{
    ReportLayout layout = m_shown;
    layout.columns = m_columns->columns();
    layout.onlyListed = m_onlyListed->isChecked();
    layout.title = m_title->text();
    layout.subtitle = m_subtitle->text();
    layout.page = {static_cast<PageSize>(m_size->currentIndex()), static_cast<PageOrientation>(m_orientation->currentIndex()),
                   m_margin->value()};
    layout.header = {m_bands[0]->text(), m_bands[1]->text(), m_bands[2]->text()};
    layout.footer = {m_bands[3]->text(), m_bands[4]->text(), m_bands[5]->text()};
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
    layout.chart.kind = kChartKinds.value(m_chartKind->currentIndex());
    layout.chart.title = m_chartTitle->text();
    layout.chart.category = m_category->text().trimmed();
    layout.chart.series = m_series->text().trimmed();
    layout.chart.values.clear();
    for (const QString &value : m_values->text().split(u';'))
        if (!value.trimmed().isEmpty())
            layout.chart.values << value.trimmed();
    layout.chart.top = m_top->value();
    layout.chart.other = m_other->isChecked();
    return layout;
}

void LayoutEditor::setResultColumns(const QStringList &columns)
{
    const bool wanted = m_resultColumns.isEmpty() && m_own->isChecked() && m_columns->rowCount() == 0 && isVisible();
    m_resultColumns = columns;
    if (wanted)
        m_columns->addFields(columns);
}

void LayoutEditor::refresh()
{
    m_path->setEnabled(m_own->isChecked());
    m_tabs->setEnabled(m_own->isChecked());
}

} // namespace qm
