/// \file
/// One run of one report query, from its file to its output.
#pragma once

#include "reporting/engine/FileDelivery.h"
#include "reporting/engine/MailDelivery.h"
#include "reporting/engine/ReportEngine.h"
#include "reporting/engine/ReportPlan.h"
#include "reporting/engine/RowSources.h"
#include "reporting/engine/RunLedger.h"

namespace qm {

/// Made for one run and used once.
class ReportRun final
{
public:
    ReportRun(const EngineServices &services, const QString &queryFile, const RunOptions &options);

    /// \throws RuntimeError; ledger and log have it then.
    RunResult execute();

private:
    enum class Target { Nothing, Screen, ExactFile, NamedFile, Mail, Printer };

    void prepare();
    void chooseTarget();
    /// \throws RuntimeError reportFailed when \p target is a file that the run reads, or the installation's and no report.
    void spareInputs(const QString &target) const;
    void choosePeriod(const QStringList &used);
    void chooseSource();
    void produce();
    void passRows(RowSource &source, const RowSample &sample, const ReportPlan &plan, ReportWriter &writer);
    void deliver(RowSource &source, const RowSample &sample, const ReportPlan &plan);
    void checkDelivery();
    /// Fills the file of \p delivery and puts it in its place.
    FileDelivery::Delivered makeFile(FileDelivery &delivery, RowSource &source, const RowSample &sample, const ReportPlan &plan);
    void mail(RowSource &source, const RowSample &sample, const ReportPlan &plan);
    void print(RowSource &source, const RowSample &sample, const ReportPlan &plan);
    void endMail(const MailOutcome &outcome);
    void tellStage(RunStage stage) const;
    void noteChanges(const WriterNotes &notes);
    [[nodiscard]] OutputName nameOutput() const;

    void addNote(const QString &text);
    void logStart();
    void end(const QString &status, const QString &error);
    void logEnd();

    const EngineServices &m_services;
    const RunOptions &m_options;
    QString m_queryFile;
    std::shared_ptr<Query> m_query;
    QString m_packageFolder, m_database, m_sql;
    Target m_target = Target::NamedFile;
    QString m_format;
    SourceDescription m_source;
    std::optional<PeriodRange> m_period;
    std::optional<MailDelivery> m_mail;
    RunFacts m_facts;
    RunLimits m_limits;
    ReportTail m_tail;
    RunLedger m_ledger;
    LedgerEntry m_entry;
    RunResult m_result;
};

} // namespace qm
