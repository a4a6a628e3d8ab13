/// \file
/// A report by e-mail.
#pragma once

#include "engine/outputs/FileOutput.h"
#include "engine/outputs/MailDelivery.h"
#include "platform/TemporaryFiles.h"

#include <optional>

namespace qm {

/// Attaches the report's file to a message, sends it, and keeps it for sending again where it did not reach everybody.
class MailOutput final : public ReportOutput
{
public:
    explicit MailOutput(const OutputContext &context);

    [[nodiscard]] QString type() const override { return outputTypeWord(static_cast<int>(OutputKind::Email)); }
    [[nodiscard]] std::optional<ReportFormat> format() const override { return m_context.format; }
    void check(const QMap<QString, QString> &fields) override;
    [[nodiscard]] ReportWriter &open(const DocumentFacts &facts) override;
    void close(const ReportTail &tail) override;

private:
    void recordOutcome(const MailOutcome &outcome);
    /// \throws RuntimeError that tells who lacks the message, when anybody does.
    void requireDelivered(const MailOutcome &outcome);

    OutputContext m_context;
    DocumentFacts m_facts;
    std::optional<MailDelivery> m_mail;
    std::optional<WorkFolder> m_folder;
    std::optional<FileOutput> m_document;
};

} // namespace qm
