// How the query editor is put together.
#include "reporting/ui/frmQueryEditor.h"

#include "reporting/ui/Icons.h"
#include "reporting/ui/LayoutEditor.h"
#include "reporting/ui/NoticeStrip.h"
#include "reporting/ui/OutputPage.h"
#include "reporting/ui/PackageReportInterface.h"
#include "reporting/ui/ParameterTable.h"
#include "reporting/ui/PeriodPicker.h"
#include "reporting/ui/PreviewPane.h"
#include "reporting/ui/SchemaBrowser.h"
#include "reporting/ui/SqlEdit.h"
#include "reporting/ui/SqlPage.h"
#include "reporting/ui/UiSettings.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr int kCheckAfterMs = 600;

QScrollArea *scrolled(QWidget *page)
{
    auto area = new QScrollArea;
    area->setWidget(page);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus); // its fields take the focus
    return area;
}

} // namespace

frmQueryEditor::frmQueryEditor(ReportingUiServices &services, const QString &target, QWidget *parent)
    : QDialog(parent), m_services(services), m_edited(services, target)
{
    setObjectName(QStringLiteral("frmQueryEditor"));
    setWindowTitle((m_edited.isNew() ? tr("New Report Query") : tr("Report Query")) + QStringLiteral("[*]"));
    setWindowIcon(uiIcon("query"));
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    setSizeGripEnabled(true);

    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("pages"));
    auto query = new QSplitter(Qt::Vertical);
    m_sql = new SqlPage(query);
    m_preview = new PreviewPane(query);
    query->addWidget(m_sql);
    query->addWidget(m_preview);
    query->setStretchFactor(0, 3);
    query->setStretchFactor(1, 2);
    query->setChildrenCollapsible(false);
    query->setSizes({400, 220});
    m_parameters = new ParameterTable;
    m_layout = new LayoutEditor;
    m_output = new OutputPage(services.clock, m_edited.home());
    m_tabs->addTab(query, uiIcon("query"), tr("&SQL"));
    m_tabs->addTab(m_parameters, uiIcon("filter"), tr("&Parameters"));
    m_tabs->addTab(m_layout, uiIcon("table"), tr("&Layout"));
    m_tabs->addTab(scrolled(m_output), uiIcon("export"), tr("&Output"));

    auto layout = new QVBoxLayout(this);
    layout->addWidget(buildHead());
    layout->addWidget(m_tabs, 1);
    m_problem = new NoticeStrip("problem", this);
    layout->addWidget(m_problem);
    buildButtons(layout);

    m_checkSoon = new QTimer(this);
    m_checkSoon->setSingleShot(true);
    m_checkSoon->setInterval(kCheckAfterMs);
    connect(m_checkSoon, &QTimer::timeout, this, &frmQueryEditor::startCheck);
    m_schemaSoon = new QTimer(this);
    m_schemaSoon->setSingleShot(true);
    m_schemaSoon->setInterval(kCheckAfterMs);
    connect(m_schemaSoon, &QTimer::timeout, this,
            [this] { m_sql->schema().load(dataSource(), m_edited.home().database, m_edited.home().installPath); });
    connectChanges();
    resize(uiSettings()->value(QStringLiteral("editor/size"), QSize(1060, 780)).toSize());
    showSaved();
    if (m_edited.isNew())
        m_description->setFocus();
    else
        m_sql->edit().setFocus();
}

QWidget *frmQueryEditor::buildHead()
{
    auto head = new QWidget(this);
    m_description = new QLineEdit(head);
    m_description->setObjectName(QStringLiteral("description"));
    m_description->setMaxLength(200);
    m_description->setPlaceholderText(tr("What the report shows, for example: Failed logons by account"));
    m_source = new QComboBox(head);
    m_source->setObjectName(QStringLiteral("dataSource"));
    m_source->addItem(uiIcon("query"), tr("The package's own event database"), QString());
    if (m_services.dataSourceKeys)
        for (const QString &key : m_services.dataSourceKeys())
            m_source->addItem(key, key);
    m_source->addItem(tr("ODBC connection…"), QStringLiteral("ODBC::"));
    m_connection = new QLineEdit(head);
    m_connection->setObjectName(QStringLiteral("connection"));
    m_connection->setPlaceholderText(QStringLiteral("DSN=Events;UID=auditor"));
    m_connection->setAccessibleName(tr("ODBC connection string"));
    m_usePeriod = new QCheckBox(tr("P&eriod:"), head);
    m_usePeriod->setObjectName(QStringLiteral("usePeriod"));
    m_usePeriod->setToolTip(tr("Gives the SQL the parameters :date_from and :date_to"));
    m_period = new PeriodPicker(m_services.clock, PeriodPicker::Dates::NotOffered, head);
    auto source = new QHBoxLayout;
    source->addWidget(m_source, 1);
    source->addWidget(m_connection, 1);
    auto form = new QFormLayout(head);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(tr("&Description:"), m_description);
    form->addRow(tr("D&ata source:"), source);
    form->addRow(m_usePeriod, m_period);
    if (auto label = qobject_cast<QLabel *>(form->labelForField(source)))
        label->setBuddy(m_source);
    return head;
}

void frmQueryEditor::buildButtons(QVBoxLayout *layout)
{
    auto buttons = new QDialogButtonBox(this);
    auto previewButton = buttons->addButton(tr("P&review"), QDialogButtonBox::ActionRole);
    previewButton->setIcon(uiIcon("run"));
    previewButton->setShortcut(Qt::Key_F5);
    previewButton->setObjectName(QStringLiteral("cmdPreview"));
    auto saveAndPreview = buttons->addButton(tr("Save and Pre&view"), QDialogButtonBox::ActionRole);
    saveAndPreview->setObjectName(QStringLiteral("cmdSavePreview"));
    auto saveButton = buttons->addButton(QDialogButtonBox::Save);
    saveButton->setIcon(uiIcon("save"));
    saveButton->setShortcut(QKeySequence::Save);
    saveButton->setObjectName(QStringLiteral("cmdSave"));
    auto cancelButton = buttons->addButton(QDialogButtonBox::Cancel);
    cancelButton->setIcon(uiIcon("cancel"));
    cancelButton->setObjectName(QStringLiteral("cmdCancel"));
    // Enter in a field must not save and close.
    for (QPushButton *button : {previewButton, saveAndPreview, saveButton, cancelButton})
        button->setAutoDefault(false);
    connect(previewButton, &QPushButton::clicked, this, &frmQueryEditor::preview);
    connect(saveAndPreview, &QPushButton::clicked, this, [this] {
        if (save())
            preview();
    });
    connect(saveButton, &QPushButton::clicked, this, [this] {
        if (save())
            accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &frmQueryEditor::reject);
    layout->addWidget(buttons);
}

void frmQueryEditor::connectChanges()
{
    connect(m_description, &QLineEdit::textChanged, this, &frmQueryEditor::edited);
    connect(m_source, &QComboBox::currentIndexChanged, this, &frmQueryEditor::sourceEdited);
    connect(m_connection, &QLineEdit::textChanged, this, &frmQueryEditor::sourceEdited);
    connect(m_usePeriod, &QCheckBox::toggled, this, &frmQueryEditor::sqlEdited);
    connect(m_period, &PeriodPicker::changed, this, &frmQueryEditor::edited);
    connect(&m_sql->edit(), &QPlainTextEdit::textChanged, this, &frmQueryEditor::sqlEdited);
    const ParameterModel *parameters = &m_parameters->model();
    connect(parameters, &QAbstractItemModel::dataChanged, this, &frmQueryEditor::edited);
    connect(parameters, &QAbstractItemModel::rowsInserted, this, &frmQueryEditor::edited);
    connect(parameters, &QAbstractItemModel::rowsRemoved, this, &frmQueryEditor::edited);
    connect(m_layout, &LayoutEditor::changed, this, &frmQueryEditor::edited);
    connect(m_layout, &LayoutEditor::openRequested, this, &frmQueryEditor::openLayout);
    connect(m_layout, &LayoutEditor::columnsRequested, this, &frmQueryEditor::preview);
    connect(m_output, &OutputPage::changed, this, &frmQueryEditor::edited);
    connect(m_preview, &PreviewPane::succeeded, this, [this] {
        m_sql->showError({});
        m_layout->setResultColumns(m_preview->columns());
    });
    connect(m_preview, &PreviewPane::failed, this, [this](const QString &words) {
        if (placeInError(words).line > 0)
            m_sql->showError(words);
    });
}

} // namespace qm
