/// \file
/// A report into a file.
#pragma once

#include "documents/OutputFile.h"
#include "engine/outputs/OutputNaming.h"
#include "engine/outputs/ReportOutput.h"

#include <memory>
#include <optional>

namespace qm {

/// A file's name that is not chosen yet: filled and made free of others when the document is opened and closed.
struct OutputPattern
{
    QString pattern; ///< with {fields}
    QString folder;  ///< where a relative one lies; with trailing separator

    /// The query's own pattern in the installation's "Reports" folder.
    [[nodiscard]] static OutputPattern inReports(const OutputContext &context);
    /// Its last part alone, in \p folder.
    [[nodiscard]] static OutputPattern inFolder(const OutputContext &context, const QString &folder);
};

/// Writes beside the target and puts the whole file in its place on close. A file that cannot state its facts itself, and whose rows were
/// cut, says so in its name (unless that was given exactly) and in a text file beside it.
class FileOutput final : public ReportOutput
{
public:
    /// Replaces exactly \p path (absolute).
    FileOutput(const OutputContext &context, const QString &path);
    /// Never takes the place of another file.
    FileOutput(const OutputContext &context, const OutputPattern &pattern);
    ~FileOutput() override;

    [[nodiscard]] QString type() const override { return outputTypeWord(static_cast<int>(OutputKind::File)); }
    [[nodiscard]] std::optional<ReportFormat> format() const override { return m_context.format; }
    void check(const QMap<QString, QString> &fields) override;
    [[nodiscard]] ReportWriter &open(const DocumentFacts &facts) override;
    void close(const ReportTail &tail) override;

    /// The text file that close() put beside a cut report; empty when there is none.
    [[nodiscard]] const QString &factsFile() const { return m_factsFile; }
    /// Formulas in CSV become texts, whatever the query says.
    void guardFormulas() { m_guardFormulas = true; }

private:
    void placeFile(bool isCut, const ReportTail &tail);
    void takeNotes(const WriterNotes &notes);

    OutputContext m_context;
    QString m_path; ///< empty: named by the pattern
    OutputPattern m_pattern;
    bool m_guardFormulas = false;
    std::optional<OutputName> m_name;
    ReportHead m_head;
    std::optional<OutputFile> m_file;
    std::unique_ptr<ReportWriter> m_writer;
    QString m_factsFile;
};

} // namespace qm
