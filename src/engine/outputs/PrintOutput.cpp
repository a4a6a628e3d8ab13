#include "engine/outputs/PrintOutput.h"

#include "core/Failure.h"
#include "delivery/PrintQueue.h"
#include "engine/sql/Period.h"

namespace qm {

namespace {

QString stateWord(PrintOutcome::State state)
{
    switch (state) {
    case PrintOutcome::State::Printed:
        return QStringLiteral("printed");
    case PrintOutcome::State::Taken:
        return QStringLiteral("taken");
    case PrintOutcome::State::Failed:
        break;
    }
    return QStringLiteral("failed");
}

} // namespace

PrintOutput::PrintOutput(const OutputContext &context) : m_context(context)
{
    m_context.format = ReportFormat::Pdf;
}

void PrintOutput::check(const QMap<QString, QString> &)
{
    if (const QString why = whyNotPrintable(m_context.settings.printer.name); !why.isEmpty())
        failReport(why);
}

ReportWriter &PrintOutput::open(const DocumentFacts &facts)
{
    m_head = facts.head;
    m_document.reset();
    m_folder.emplace();
    m_document.emplace(m_context, m_folder->path() + QStringLiteral("report.pdf"));
    return m_document->open(facts);
}

void PrintOutput::close(const ReportTail &tail)
{
    m_document->close(tail);
    m_result = m_document->result();
    const QString file = std::exchange(m_result.file, {});
    m_context.host.enter(RunStage::Printing);
    const PrinterOutput &printer = m_context.settings.printer;
    const PrintOutcome outcome = printDocument({.queue = printer.name,
                                                .file = file,
                                                .title = QString::fromStdString(m_head.title),
                                                .copies = printer.copies,
                                                .pageWidthMm = m_head.page.widthMm,
                                                .pageHeightMm = m_head.page.heightMm},
                                               [this] { return m_context.limits.reached(); });
    m_context.host.record({{outcome.queue, {}, stateWord(outcome.state), outcome.words, utcText(m_context.clock.now())}});
    if (outcome.state == PrintOutcome::State::Failed) {
        m_context.limits.check();
        failReport(outcome.words);
    }
    m_result.delivered = outcome.words;
}

} // namespace qm
