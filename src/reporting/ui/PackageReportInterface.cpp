#include "reporting/ui/PackageReportInterface.h"

#include "core/Prompts.h"
#include "core/RuntimeError.h"
#include "reporting/ui/BackgroundTask.h"
#include "reporting/ui/InputGate.h"
#include "reporting/ui/ReportDesk.h"
#include "reporting/ui/Spool.h"
#include "reporting/ui/frmQueryEditor.h"
#include "reporting/ui/frmReportDone.h"
#include "reporting/ui/frmReportParameters.h"
#include "reporting/ui/frmReportProgress.h"
#include "reporting/ui/frmReportViewer.h"

#include <QApplication>
#include <QEventLoop>

#include <atomic>

namespace qm {

namespace {

class PackageReportInterface final : public ReportInterface
{
public:
    explicit PackageReportInterface(ReportingUiServices &services) : m_services(services) {}

    void EditQuery(const QString &target) override
    {
        frmQueryEditor editor(m_services, target, window());
        editor.exec();
    }

    void GenerateReport(const QString &queryFile, int reserved, bool interactive, bool flag) override;

private:
    [[nodiscard]] QWidget *window() const { return m_services.window ? m_services.window() : nullptr; }
    void askParameters(const Query &query, const QString &queryFile, RunOptions &options);
    [[nodiscard]] RunResult produce(const QString &queryFile, const QString &description, RunOptions &options, bool interactive);
    void showReport(SpoolWriter &rows, const QString &queryFile, const QString &note, bool interactive);

    ReportingUiServices &m_services;
};

void PackageReportInterface::GenerateReport(const QString &queryFile, int, bool interactive, bool)
{
    if (m_services.desk.isProducingRows())
        raise(err::reportFailed,
              QStringLiteral("another report is being made; wait for its end or cancel it, then generate \"%1\" again").arg(queryFile),
              kFrameworkSource);
    RunOptions options;
    options.trigger = interactive ? QStringLiteral("operator") : QStringLiteral("schedule");
    QString description;
    if (interactive) {
        const auto query = m_services.engine.readQuery(queryFile);
        description = query->Description;
        askParameters(*query, queryFile, options);
    }
    SpoolWriter rows;
    options.screen = &rows;
    const RunResult result = produce(queryFile, description, options, interactive);
    if (rows.isComplete()) {
        showReport(rows, queryFile, result.note, interactive);
    } else if (interactive && !(result.outputFile.isEmpty() && result.delivered.isEmpty())) {
        auto done = new frmReportDone(description, result);
        m_services.desk.addViewer(done);
        done->show();
    }
}

void PackageReportInterface::askParameters(const Query &query, const QString &queryFile, RunOptions &options)
{
    if (!frmReportParameters::isNeeded(query))
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

RunResult PackageReportInterface::produce(const QString &queryFile, const QString &description, RunOptions &options, bool interactive)
{
    const auto cancel = std::make_shared<CancelFlag>();
    std::atomic<std::int64_t> rows{0};
    std::atomic<RunStage> stage{RunStage::Rows};
    options.cancel = cancel;
    options.progress = [&rows](std::int64_t count) { rows.store(count, std::memory_order_relaxed); };
    options.stage = [&stage](RunStage now) { stage.store(now, std::memory_order_relaxed); };
    RunResult result;
    BackgroundTask task([&](CancelFlag &) { result = m_services.engine.run(queryFile, options); }, cancel);

    {
        const ReportDesk::Producing producing(m_services.desk, cancel);
        InputGate gate([&cancel] { cancel->cancel(); });
        std::unique_ptr<frmReportProgress> progress;
        if (interactive) {
            progress = std::make_unique<frmReportProgress>(description, rows, window());
            progress->watchStage(stage);
            QObject::connect(progress.get(), &frmReportProgress::cancelRequested, &task, &BackgroundTask::cancel);
            gate.allow(progress.get());
        }
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

void PackageReportInterface::showReport(SpoolWriter &rows, const QString &queryFile, const QString &note, bool interactive)
{
    auto viewer = new frmReportViewer(m_services, rows.take(), queryFile, note);
    m_services.desk.addViewer(viewer);
    viewer->setAttribute(Qt::WA_ShowWithoutActivating, !interactive);
    viewer->show();
    if (interactive) {
        viewer->raise();
        viewer->activateWindow();
    }
}

} // namespace

std::unique_ptr<ReportInterface> makePackageReportInterface(ReportingUiServices &services)
{
    return std::make_unique<PackageReportInterface>(services);
}

} // namespace qm
