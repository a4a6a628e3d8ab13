#include "reporting/ui/frmQueryEditor.h"

#include "core/Prompts.h"
#include "core/RuntimeError.h"
#include "reporting/engine/SqlParameters.h"
#include "reporting/ui/LayoutEditor.h"
#include "reporting/ui/NoticeStrip.h"
#include "reporting/ui/OutputPage.h"
#include "reporting/ui/PackageReportInterface.h"
#include "reporting/ui/ParameterTable.h"
#include "reporting/ui/PeriodPicker.h"
#include "reporting/ui/PreviewPane.h"
#include "reporting/ui/ReportDesk.h"
#include "reporting/ui/SchemaBrowser.h"
#include "reporting/ui/SqlEdit.h"
#include "reporting/ui/SqlPage.h"
#include "reporting/ui/UiSettings.h"
#include "reporting/ui/frmReportParameters.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QTabWidget>
#include <QTimer>

namespace qm {

namespace {
const QString kOdbc = QStringLiteral("ODBC::");
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
    const bool isOdbc = query.dataSource.startsWith(kOdbc, Qt::CaseInsensitive);
    int source = m_source->findData(isOdbc ? kOdbc : query.dataSource);
    if (source < 0) {
        m_source->addItem(tr("%1 (not among the saved data sources)").arg(query.dataSource), query.dataSource);
        source = m_source->count() - 1;
    }
    m_source->setCurrentIndex(source);
    m_connection->setText(isOdbc ? query.dataSource.mid(kOdbc.size()) : QString());
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
        showProblem({tr("The layout cannot be read and is shown empty: %1").arg(m_edited.layoutProblem()), nullptr});
}

QString frmQueryEditor::dataSource() const
{
    const QString chosen = m_source->currentData().toString();
    return chosen == kOdbc ? kOdbc + m_connection->text().trimmed() : chosen;
}

SqlDialect frmQueryEditor::dialect() const
{
    try {
        return describeSource(dataSource(), m_edited.home().database, m_edited.home().installPath).dialect;
    } catch (const RuntimeError &) {
        return SqlDialect::Standard;
    }
}

QueryDraft frmQueryEditor::draft() const
{
    QueryDraft draft = m_edited.saved();
    Query &query = draft.query;
    query.Description = m_description->text().trimmed();
    query.dataSource = dataSource();
    query.sql = m_sql->edit().toPlainText();
    query.period.used = m_usePeriod->isChecked();
    if (query.period.used)
        query.period.range = m_period->phrase();
    query.parameters = m_parameters->model().parameters();
    query.ReportFile = m_layout->reportFile();
    if (!query.ReportFile.isEmpty())
        draft.layout = m_layout->layout();
    m_output->store(query);
    return draft;
}

bool frmQueryEditor::isDirty() const
{
    try {
        return fingerprint(draft()) != m_baseline;
    } catch (const RuntimeError &) {
        return true; // a field that cannot be read was certainly changed
    }
}

void frmQueryEditor::edited()
{
    if (m_showing)
        return;
    setWindowModified(isDirty());
    m_problem->hide();
    m_output->setSubject(m_description->text().trimmed(), m_usePeriod->isChecked() ? m_period->phrase() : QString());
    m_period->setEnabled(m_usePeriod->isChecked());
    if (m_layout->reportFile().isEmpty())
        m_layout->suggestName(m_edited.freeLayoutName(m_description->text().trimmed()));
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
    m_checkSoon->start();
    edited();
}

void frmQueryEditor::sourceEdited()
{
    m_connection->setVisible(m_source->currentData().toString() == kOdbc);
    if (m_showing)
        return;
    m_sql->edit().setDialect(dialect());
    m_schemaSoon->start();
    sqlEdited();
}

ProbeRequest frmQueryEditor::probeRequest() const
{
    ProbeRequest request;
    request.query.sql = m_sql->edit().toPlainText();
    request.query.sqlFor = m_edited.saved().query.sqlFor;
    request.query.dataSource = dataSource();
    request.query.Description = m_description->text();
    request.query.parameters = m_parameters->model().parameters();
    request.query.period = {m_usePeriod->isChecked(), m_period->phrase()};
    request.database = m_edited.home().database;
    request.installPath = m_edited.home().installPath;
    request.today = m_services.clock.wallNow().date;
    return request;
}

void frmQueryEditor::startCheck()
{
    if (m_check) {
        m_checkAgain = true;
        return;
    }
    const ProbeRequest request = probeRequest();
    if (firstStatementOffset(request.query.sql, 0, dialect()) < 0)
        return;
    const auto cancel = std::make_shared<CancelFlag>();
    m_check = std::make_unique<BackgroundTask>([request, cancel](CancelFlag &) { checkSql(request, cancel); }, cancel);
    connect(m_check.get(), &BackgroundTask::finished, this, &frmQueryEditor::checkEnded);
    m_check->start();
}

void frmQueryEditor::checkEnded()
{
    m_check->wait();
    const auto check = std::move(m_check);
    if (m_checkAgain || m_checkSoon->isActive()) {
        m_checkAgain = false;
        m_checkSoon->start();
        return;
    }
    m_sql->showError(check->failed() ? check->failure().description() : QString());
}

void frmQueryEditor::preview()
{
    m_tabs->setCurrentIndex(0);
    ProbeRequest request = probeRequest();
    try {
        if (request.query.period.used)
            request.period = resolvePeriod(request.query.period.range, m_services.clock);
    } catch (const RuntimeError &error) {
        showProblem({error.description(), m_period});
        return;
    }
    const QString key = QStringLiteral("editor:") + m_edited.path();
    if (frmReportParameters::isNeeded(request.query)) {
        frmReportParameters dialog(request.query, m_services.desk.lastValues(key), m_services.clock, this);
        if (dialog.exec() != QDialog::Accepted)
            return;
        m_services.desk.rememberValues(key, dialog.values());
        RunOptions options;
        dialog.apply(options);
        request.values = options.parameters;
        if (options.period)
            request.period = resolvePeriod(*options.period, m_services.clock);
        else if (options.from.isValid())
            request.period = periodBetween(options.from, options.to, m_services.clock);
    }
    m_preview->run(request);
}

QString frmQueryEditor::parameterProblem() const
{
    static const QRegularExpression name(QStringLiteral("^[^\\W\\d]\\w*$"), QRegularExpression::UseUnicodePropertiesOption);
    QStringList seen;
    for (const QueryParameter &parameter : m_parameters->model().parameters()) {
        if (!name.match(parameter.name).hasMatch())
            return tr("A parameter's name is a word of letters, digits and \"_\", as the SQL writes it after the colon; \"%1\" is not.")
                .arg(parameter.name);
        if (seen.contains(parameter.name, Qt::CaseInsensitive))
            return tr("There are two parameters \"%1\".").arg(parameter.name);
        seen << parameter.name;
        if (parameter.type == ParameterType::List && parameter.values.isEmpty())
            return tr("The list parameter \"%1\" has no choices.").arg(parameter.name);
        if (!parameter.hasDefault)
            continue;
        try {
            static_cast<void>(readParameterValue(parameter, parameter.defaultValue, m_services.clock.wallNow().date));
        } catch (const RuntimeError &error) {
            return error.description();
        }
    }
    return {};
}

frmQueryEditor::Problem frmQueryEditor::findProblem() const
{
    const QString description = m_description->text().trimmed();
    if (description.isEmpty())
        return {tr("Give the query a description: the list and the report's title show it."), m_description};
    if (m_source->currentData().toString() == kOdbc && m_connection->text().trimmed().isEmpty())
        return {tr("Give the ODBC connection string, for example \"DSN=Events\"."), m_connection};
    if (dataSource() != m_edited.saved().query.dataSource && redacted(dataSource()) != dataSource())
        return {
            tr("Leave the password out of the query: keep it in a saved data source or a DSN, where readers of the query do not see it."),
            m_connection};
    if (firstStatementOffset(m_sql->edit().toPlainText(), 0, dialect()) < 0)
        return {tr("Write the SQL that selects the report's rows."), &m_sql->edit()};
    if (!m_usePeriod->isChecked()) {
        const auto names = parameterNames(m_sql->edit().toPlainText(), dialect());
        const auto known = m_parameters->model().parameters();
        for (const char *ofPeriod : {kDateFrom, kDateTo})
            for (const QueryParameter &parameter : known)
                if (parameter.name.compare(QLatin1String(ofPeriod), Qt::CaseInsensitive) == 0 && !parameter.hasDefault &&
                    m_edited.isNew() && names.contains(parameter.name))
                    return {tr("The SQL uses :%1, which a period gives. Switch \"Period\" on, or give the parameter a default.")
                                .arg(parameter.name),
                            m_usePeriod};
    }
    if (const QString problem = parameterProblem(); !problem.isEmpty())
        return {problem, m_parameters};
    if (!m_layout->reportFile().isEmpty()) {
        if (const QString why = m_edited.whyNotALayout(m_layout->reportFile()); !why.isEmpty())
            return {tr("The layout file \"%1\" cannot be used: %2.").arg(m_layout->reportFile(), why), m_layout};
        try {
            static_cast<void>(m_layout->layout());
        } catch (const RuntimeError &error) {
            return {error.description(), m_layout};
        }
    }
    if (const QString problem = m_output->problem(); !problem.isEmpty())
        return {problem, m_output};
    return {};
}

void frmQueryEditor::showProblem(const Problem &problem)
{
    m_problem->show(problem.text);
    for (int i = 0; problem.where && i < m_tabs->count(); ++i)
        if (m_tabs->widget(i) == problem.where || m_tabs->widget(i)->isAncestorOf(problem.where))
            m_tabs->setCurrentIndex(i);
    if (problem.where)
        problem.where->setFocus();
}

bool frmQueryEditor::save()
{
    // A table cell that is still being edited is taken over first.
    if (QWidget *focus = focusWidget(); focus && focus != m_description)
        m_description->setFocus();
    if (const Problem problem = findProblem(); !problem.text.isEmpty()) {
        showProblem(problem);
        return false;
    }
    const QueryDraft wanted = draft();
    try {
        m_edited.save(wanted);
    } catch (const RuntimeError &error) {
        showProblem({tr("Not saved: %1").arg(error.description()), nullptr});
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
        showProblem({error.description(), m_layout});
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
