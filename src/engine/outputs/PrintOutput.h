/// \file
/// A report on paper.
#pragma once

#include "engine/outputs/FileOutput.h"
#include "platform/TemporaryFiles.h"

#include <optional>

namespace qm {

/// Hands a PDF to a print queue: the pages are those of the file.
class PrintOutput final : public ReportOutput
{
public:
    explicit PrintOutput(const OutputContext &context);

    [[nodiscard]] QString type() const override { return outputTypeWord(static_cast<int>(OutputKind::Printer)); }
    [[nodiscard]] std::optional<ReportFormat> format() const override { return m_context.format; }
    void check(const QMap<QString, QString> &fields) override;
    [[nodiscard]] ReportWriter &open(const DocumentFacts &facts) override;
    void close(const ReportTail &tail) override;

private:
    OutputContext m_context;
    ReportHead m_head;
    std::optional<WorkFolder> m_folder;
    std::optional<FileOutput> m_document;
};

} // namespace qm
