#include "reporting/editor/LayoutEditor.h"

#include "engine/run/LayoutCells.h"
#include "reporting/common/Icons.h"
#include "reporting/common/NoticeStrip.h"
#include "reporting/editor/LayoutChartPage.h"
#include "reporting/editor/LayoutColumnsPage.h"
#include "reporting/editor/LayoutGroupsPage.h"
#include "reporting/editor/LayoutTitlePage.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace qm {

LayoutEditor::LayoutEditor(QWidget *parent)
    : QWidget(parent), m_automatic(new QRadioButton(tr("&Automatic: columns, captions and widths from the result"), this)),
      m_own(new QRadioButton(tr("&Layout file:"), this)), m_path(new QLineEdit(this)), m_warnings(new NoticeStrip("layoutWarnings", this)),
      m_tabs(new QTabWidget(this)), m_columns(new LayoutColumnsPage), m_title(new LayoutTitlePage), m_groups(new LayoutGroupsPage),
      m_chart(new LayoutChartPage)
{
    m_automatic->setObjectName(QStringLiteral("layoutAutomatic"));
    m_own->setObjectName(QStringLiteral("layoutOwn"));
    m_path->setObjectName(QStringLiteral("layoutPath"));
    m_path->setAccessibleName(tr("Layout file"));
    auto open = new QPushButton(uiIcon("open"), tr("&Open…"), this);
    open->setAutoDefault(false);
    connect(open, &QPushButton::clicked, this, &LayoutEditor::openRequested);
    m_tabs->addTab(m_columns, tr("Columns"));
    m_tabs->addTab(m_title, tr("Title and page"));
    m_tabs->addTab(m_groups, tr("Groups and totals"));
    m_tabs->addTab(m_chart, tr("Charts and first page"));
    auto row = new QHBoxLayout;
    row->addWidget(m_own);
    row->addWidget(m_path, 1);
    row->addWidget(open);
    auto layout = new QVBoxLayout(this);
    layout->addWidget(m_automatic);
    layout->addLayout(row);
    layout->addWidget(m_warnings);
    layout->addWidget(m_tabs, 1);

    connect(m_own, &QRadioButton::toggled, this, [this](bool own) {
        if (own && m_path->text().isEmpty())
            m_path->setText(m_suggested);
        refresh();
        Q_EMIT changed();
    });
    connect(m_path, &QLineEdit::textChanged, this, &LayoutEditor::changed);
    connect(m_columns, &LayoutColumnsPage::changed, this, &LayoutEditor::changed);
    connect(m_columns, &LayoutColumnsPage::columnsRequested, this, &LayoutEditor::columnsRequested);
    connect(m_title, &LayoutTitlePage::changed, this, &LayoutEditor::changed);
    connect(m_groups, &LayoutGroupsPage::changed, this, &LayoutEditor::changed);
    connect(m_chart, &LayoutChartPage::changed, this, &LayoutEditor::changed);
    connect(this, &LayoutEditor::changed, this, &LayoutEditor::tellWarnings);
    refresh();
}

void LayoutEditor::show(const QString &reportFile, const ReportLayout &layout)
{
    m_shown = layout;
    m_columns->show(layout);
    m_title->show(layout);
    m_groups->show(layout);
    m_chart->show(layout);
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
    m_columns->store(layout);
    m_title->store(layout);
    m_groups->store(layout);
    m_chart->store(layout);
    return layout;
}

void LayoutEditor::setResultColumns(const QStringList &columns)
{
    m_columns->setResultColumns(columns, m_own->isChecked() && isVisible());
}

void LayoutEditor::refresh()
{
    m_path->setEnabled(m_own->isChecked());
    m_tabs->setEnabled(m_own->isChecked());
    tellWarnings();
}

void LayoutEditor::tellWarnings()
{
    ReportLayout seen;
    seen.warnings = m_shown.warnings;
    m_columns->store(seen);
    m_warnings->show(m_own->isChecked() ? layoutWarnings(seen).join(u'\n') : QString());
}

} // namespace qm
