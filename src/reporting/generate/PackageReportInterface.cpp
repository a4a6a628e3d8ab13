#include "reporting/generate/PackageReportInterface.h"

#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "core/RuntimeError.h"
#include "engine/rows/Spool.h"
#include "engine/run/ReportEngine.h"
#include "reporting/common/BackgroundTask.h"
#include "reporting/common/InputGate.h"
#include "reporting/common/ReportDesk.h"
#include "reporting/common/ReportingUiServices.h"
#include "reporting/common/frmReportDone.h"
#include "reporting/common/frmReportParameters.h"
#include "reporting/editor/frmQueryEditor.h"
#include "reporting/generate/RunProgress.h"
#include "reporting/generate/ShownReport.h"
#include "reporting/generate/UnattendedRun.h"
#include "reporting/generate/frmReportProgress.h"

#include <QApplication>
#include <QEventLoop>

namespace qm {

namespace {

class PackageReportInterface final : public ReportInterface, public BackgroundReports
{
public:
    explicit PackageReportInterface(ReportingUiServices &services) : m_services(services) {}

    void EditQuery(const QString &target) override
    {
        frmQueryEditor editor(m_services, target, window());
        editor.exec();
    }
    void GenerateReport(const QString &queryFile, int reserved, bool interactive, bool flag) override;

    void beginReport(const QString &queryFile, std::function<void(std::optional<RuntimeError>)> ended) override
    {
        m_unattended = std::make_unique<UnattendedRun>(m_services, queryFile, std::move(ended));
    }
    void cancelReport() override
    {
        if (m_unattended)
            m_unattended->cancel();
    }
    [[nodiscard]] ReportProgress progress() const override { return m_unattended ? m_unattended->progress() : ReportProgress(); }

private:
    [[nodiscard]] QWidget *window() const { return m_services.host.window(); }
    void generateUnattended(const QString &queryFile);
    /// \throws RuntimeError when the run cannot begin, which is written down then.
    [[nodiscard]] LocatedQuery locate(const QString &queryFile);
    void askParameters(const LocatedQuery &query, const QString &queryFile, RunOptions &options);
    [[nodiscard]] RunResult produce(const QString &queryFile, const QString &description, RunOptions &options);

    ReportingUiServices &m_services;
    std::unique_ptr<UnattendedRun> m_unattended;
};

void PackageReportInterface::GenerateReport(const QString &queryFile, int, bool interactive, bool)
{
    if (!interactive) {
        generateUnattended(queryFile);
        return;
    }
    const LocatedQuery located = locate(queryFile);
    const QString description = located.query->Description;
    RunOptions options;
    options.query = located.query;
    options.trigger = RunTrigger::Operator;
    askParameters(located, queryFile, options);
    SpoolWriter rows;
    options.screen = &rows;
    const RunResult result = produce(queryFile, description, options);
    if (rows.isComplete()) {
        showReport(m_services, rows, queryFile, result, true);
    } else if (!(result.outputFile.isEmpty() && result.delivered.isEmpty())) {
        auto done = new frmReportDone(description, result);
        m_services.desk.addViewer(done);
        done->show();
    }
}

void PackageReportInterface::generateUnattended(const QString &queryFile)
{
    QEventLoop loop;
    bool ended = false;
    std::optional<RuntimeError> failure;
    beginReport(queryFile, [&](std::optional<RuntimeError> why) {
        ended = true;
        failure = std::move(why);
        loop.quit();
    });
    loop.exec();
    m_unattended.reset(); // the loop also ends when the program is told to quit
    if (!ended)
        raise(err::cancelledByOperator, {}, kFrameworkSource);
    if (failure)
        throw *failure;
}

LocatedQuery PackageReportInterface::locate(const QString &queryFile)
{
    try {
        if (m_services.desk.isProducingRows())
            raise(err::reportFailed,
                  QCoreApplication::translate("qm::PackageReportInterface",
                                              "another report is being made; wait for its end or cancel it, then generate \"%1\" again")
                      .arg(queryFile),
                  kFrameworkSource);
        return m_services.engine.locate(queryFile);
    } catch (...) {
        m_services.host.refused(queryFile, true, currentError().description());
        throw;
    }
}

void PackageReportInterface::askParameters(const LocatedQuery &query, const QString &queryFile, RunOptions &options)
{
    if (!asksForValues(query))
        return;
    frmReportParameters dialog(query, m_services.desk.lastValues(queryFile), m_services.clock, window());
    const bool hourglass = QApplication::overrideCursor() != nullptr;
    m_services.prompts.pointer(0);
    if (dialog.exec() != QDialog::Accepted)
        raise(err::cancelledByOperator, {}, kFrameworkSource);
    if (hourglass)
        m_services.prompts.pointer(11);
    m_services.desk.rememberValues(queryFile, dialog.values());
    dialog.apply(options);
}

RunResult PackageReportInterface::produce(const QString &queryFile, const QString &description, RunOptions &options)
{
    const auto cancel = std::make_shared<CancelFlag>();
    RunProgress run;
    run.follow(options);
    options.cancel = cancel;
    RunResult result;
    BackgroundTask task([&](CancelFlag &) { result = m_services.engine.run(queryFile, options); }, cancel);

    {
        const ReportDesk::Producing producing(m_services.desk);
        InputGate gate(window());
        QObject::connect(&gate, &InputGate::mainWindowClosed, &task, &BackgroundTask::cancel);
        frmReportProgress progress(description, run, window());
        QObject::connect(&progress, &frmReportProgress::cancelRequested, &task, &BackgroundTask::cancel);
        gate.allow(&progress);
        QEventLoop loop;
        QObject::connect(&task, &BackgroundTask::finished, &loop, &QEventLoop::quit);
        task.start();
        loop.exec();
        // The loop also ends when the program is told to quit.
        if (!task.hasEnded())
            task.cancel();
        task.wait();
    }
    task.rethrow();
    return result;
}

} // namespace

std::unique_ptr<ReportInterface> makePackageReportInterface(ReportingUiServices &services)
{
    return std::make_unique<PackageReportInterface>(services);
}

} // namespace qm
