#include "reporting/editor/frmQueryEditor.h"

#include "core/Clock.h"
#include "core/DataSourcePrefix.h"
#include "core/Prompts.h"
#include "core/RuntimeError.h"
#include "engine/sql/SqlParameters.h"
#include "reporting/common/Icons.h"
#include "reporting/common/NoticeStrip.h"
#include "reporting/common/PeriodPicker.h"
#include "reporting/common/ReportDesk.h"
#include "reporting/common/ReportingUiServices.h"
#include "reporting/common/UiSettings.h"
#include "reporting/common/frmReportParameters.h"
#include "reporting/editor/LayoutEditor.h"
#include "reporting/editor/OutputPage.h"
#include "reporting/editor/ParameterTable.h"
#include "reporting/editor/PreviewPane.h"
#include "reporting/editor/SchemaBrowser.h"
#include "reporting/editor/SqlCheck.h"
#include "reporting/editor/SqlEdit.h"
#include "reporting/editor/SqlPage.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTabWidget>
#include <QVBoxLayout>

namespace qm {

namespace {

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

    m_check = new SqlCheck(this);
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
    for (const QString &key : m_services.host.dataSourceKeys())
        m_source->addItem(key, key);
    m_source->addItem(tr("ODBC connection…"), QString::fromLatin1(kOdbcPrefix));
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
    connect(&m_sql->schema(), &SchemaBrowser::connectRequested, this, &frmQueryEditor::connectSource);
    connect(m_check, &SqlCheck::due, this, &frmQueryEditor::checkSql);
    connect(m_check, &SqlCheck::ended, m_sql, &SqlPage::showError);
    connect(m_preview, &PreviewPane::succeeded, this, [this] {
        m_sql->showError({});
        m_layout->setResultColumns(m_preview->columns());
    });
    connect(m_preview, &PreviewPane::failed, this, [this](const QString &words) {
        if (placeInError(words).line > 0)
            m_sql->showError(words);
    });
}

frmQueryEditor::~frmQueryEditor()
{
    uiSettings()->setValue(QStringLiteral("editor/size"), size());
}

void frmQueryEditor::showSaved()
{
    m_showing = true;
    const Query &query = m_edited.saved().query;
    m_description->setText(query.Description);
    const auto connection = odbcConnection(query.dataSource);
    int source = m_source->findData(connection ? QString::fromLatin1(kOdbcPrefix) : query.dataSource);
    if (source < 0) {
        m_source->addItem(tr("%1 (not among the saved data sources)").arg(query.dataSource), query.dataSource);
        source = m_source->count() - 1;
    }
    m_source->setCurrentIndex(source);
    m_connection->setText(connection.value_or(QString()));
    m_usePeriod->setChecked(query.period.used);
    if (!query.period.range.isEmpty())
        m_period->setPhrase(query.period.range);
    m_sql->edit().setPlainText(query.sql);
    m_parameters->model().setParameters(query.parameters);
    m_layout->show(query.ReportFile, m_edited.saved().layout);
    m_output->show(query);
    m_showing = false;
    sourceEdited();
    sqlEdited();
    m_baseline = fingerprint(draft());
    edited();
    if (!m_edited.layoutProblem().isEmpty())
        showProblem(tr("The layout cannot be read and is shown empty: %1").arg(m_edited.layoutProblem()));
}

QString frmQueryEditor::dataSource() const
{
    const QString chosen = m_source->currentData().toString();
    return chosen == QLatin1StringView(kOdbcPrefix) ? chosen + m_connection->text().trimmed() : chosen;
}

SqlDialect frmQueryEditor::dialect() const
{
    return dialectOf(dataSource(), m_edited.home());
}

bool frmQueryEditor::mayConnect() const
{
    return !odbcConnection(dataSource()) || dataSource() == m_connected;
}

void frmQueryEditor::connectSource()
{
    m_connected = dataSource();
    sourceEdited();
}

QueryDraft frmQueryEditor::draft() const
{
    QueryDraft draft{m_edited.saved().query, m_edited.saved().layout, {}};
    Query &query = draft.query;
    query.Description = m_description->text().trimmed();
    query.dataSource = dataSource();
    query.sql = m_sql->edit().toPlainText();
    query.period.used = m_usePeriod->isChecked();
    if (query.period.used)
        query.period.range = m_period->phrase();
    query.parameters = m_parameters->model().parameters();
    query.ReportFile = m_layout->reportFile();
    m_output->store(query);
    if (query.ReportFile.isEmpty())
        return draft;
    try {
        draft.layout = m_layout->layout();
    } catch (const RuntimeError &error) {
        draft.unreadableLayout = error.description();
    }
    return draft;
}

bool frmQueryEditor::differsFromSaved(const QueryDraft &draft) const
{
    // What cannot be read was certainly changed.
    return !draft.unreadableLayout.isEmpty() || fingerprint(draft) != m_baseline;
}

bool frmQueryEditor::isDirty() const
{
    return differsFromSaved(draft());
}

void frmQueryEditor::edited()
{
    if (m_showing)
        return;
    const QueryDraft shown = draft();
    const QString &description = shown.query.Description;
    setWindowModified(differsFromSaved(shown));
    m_problem->hide();
    const bool takesPeriod = mayTakePeriod(shown.query, dialect());
    m_period->setTaken(takesPeriod);
    m_period->setEnabled(m_usePeriod->isChecked() && takesPeriod);
    m_output->setSubject(description, m_period->isEnabled() ? m_period->phrase() : QString());
    if (shown.query.ReportFile.isEmpty())
        m_layout->suggestName(m_edited.freeLayoutName(description));
}

void frmQueryEditor::sqlEdited()
{
    if (m_showing)
        return;
    QStringList names = parameterNames(m_sql->edit().toPlainText(), dialect());
    if (m_usePeriod->isChecked())
        for (const char *ofPeriod : {kDateFrom, kDateTo})
            names.removeIf([ofPeriod](const QString &name) { return name.compare(QLatin1String(ofPeriod), Qt::CaseInsensitive) == 0; });
    m_parameters->model().setNamesInSql(names);
    m_sql->showError({});
    m_check->schedule();
    edited();
}

void frmQueryEditor::sourceEdited()
{
    m_connection->setVisible(odbcConnection(dataSource()).has_value());
    if (m_showing)
        return;
    m_sql->edit().setDialect(dialect());
    if (mayConnect())
        m_sql->schema().load(dataSource(), m_edited.home().database, m_edited.home().installPath);
    else
        m_sql->schema().offer();
    sqlEdited();
}

ProbeRequest frmQueryEditor::probeRequest() const
{
    return {std::make_shared<const Query>(draft().query), m_edited.home(), {}, m_services.clock};
}

void frmQueryEditor::checkSql()
{
    const ProbeRequest request = probeRequest();
    if (mayConnect() && firstStatementOffset(request.query->sql, 0, dialect()) >= 0)
        m_check->start(request);
}

void frmQueryEditor::preview()
{
    m_tabs->setCurrentIndex(0);
    ProbeRequest request = probeRequest();
    try {
        const LocatedQuery located = locateQuery(request.query, request.home, std::nullopt);
        const QString key = QStringLiteral("editor:") + m_edited.path();
        if (asksForValues(located)) {
            frmReportParameters dialog(located, m_services.desk.lastValues(key), m_services.clock, this);
            if (dialog.exec() != QDialog::Accepted)
                return;
            m_services.desk.rememberValues(key, dialog.values());
            dialog.apply(request.choices);
        }
    } catch (const RuntimeError &error) {
        showProblem(error.description(), m_source);
        return;
    }
    if (!mayConnect())
        connectSource();
    m_preview->run(request);
}

QWidget *frmQueryEditor::widgetOf(DraftField field) const
{
    switch (field) {
    case DraftField::Description:
        return m_description;
    case DraftField::Connection:
        return m_connection;
    case DraftField::Sql:
        return &m_sql->edit();
    case DraftField::Period:
        return m_usePeriod;
    case DraftField::Parameters:
        return m_parameters;
    case DraftField::Layout:
        return m_layout;
    case DraftField::Output:
        return m_output;
    }
    return nullptr;
}

void frmQueryEditor::showProblem(const QString &problem, QWidget *where)
{
    m_problem->show(problem);
    for (int i = 0; where && i < m_tabs->count(); ++i)
        if (m_tabs->widget(i) == where || m_tabs->widget(i)->isAncestorOf(where))
            m_tabs->setCurrentIndex(i);
    if (where)
        where->setFocus();
}

bool frmQueryEditor::save()
{
    // A table cell that is still being edited is taken over first.
    if (QWidget *focus = focusWidget(); focus && focus != m_description)
        m_description->setFocus();
    const QueryDraft wanted = draft();
    const DraftContext context{m_edited.home(), m_edited.saved().query.dataSource, m_edited.isNew(), m_services.clock.wallNow()};
    if (const auto problem = findProblem(wanted, context)) {
        showProblem(problem->text, widgetOf(problem->field));
        return false;
    }
    try {
        m_edited.save(wanted);
    } catch (const RuntimeError &error) {
        showProblem(tr("Not saved: %1").arg(error.description()));
        return false;
    }
    m_baseline = fingerprint(wanted);
    edited();
    return true;
}

void frmQueryEditor::openLayout()
{
    FileDialogRequest request;
    request.title = tr("Open layout");
    request.folder = m_edited.home().packageFolder + QStringLiteral("Layouts");
    request.filter = tr("Report layouts (*.rpt)|*.rpt");
    const auto chosen = m_services.prompts.chooseOpenFile(request);
    if (!chosen)
        return;
    const QString package = QDir::fromNativeSeparators(m_edited.home().packageFolder);
    QString path = QDir::cleanPath(QDir::fromNativeSeparators(*chosen));
    if (!package.isEmpty() && path.startsWith(package))
        path.remove(0, package.size());
    try {
        m_layout->show(path, m_edited.readLayout(path));
        edited();
    } catch (const RuntimeError &error) {
        showProblem(error.description(), m_layout);
    }
}

void frmQueryEditor::reject()
{
    if (isDirty()) {
        const int answer = m_services.prompts.messageBox(
            tr("Save the changes to \"%1\"?")
                .arg(m_description->text().trimmed().isEmpty() ? tr("New query") : m_description->text().trimmed()),
            box::yesNoCancel | box::question, QString::fromLatin1(kApplicationTitle));
        if (answer == box::idCancel || (answer == box::idYes && !save()))
            return;
    }
    QDialog::reject();
}

} // namespace qm
