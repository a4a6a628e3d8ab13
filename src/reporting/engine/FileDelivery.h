/// \file
/// A report on its way into a file.
#pragma once

#include "framework/Query.h"
#include "reporting/engine/OutputNaming.h"
#include "reporting/writers/OutputFile.h"
#include "reporting/writers/ReportWriter.h"

#include <memory>
#include <optional>

namespace qm {

/// The formats a report file can have: pdf, html, xlsx, csv.
[[nodiscard]] bool isKnownFormat(const QString &format);
/// The format that a file name's suffix says; nullopt for another suffix.
[[nodiscard]] std::optional<QString> formatOfFile(const QString &path);

/// Holds the unfinished file and its writer. Destroyed before finish() it leaves nothing behind.
class FileDelivery final
{
public:
    /// Replaces exactly \p path when finished. \throws RuntimeError as OutputFile.
    FileDelivery(const QString &path, const QString &format, const OutputSettings &settings, const QString &fontFolder);
    /// Takes a free name by \p name when finished.
    FileDelivery(const OutputName &name, const QString &format, const OutputSettings &settings, const QString &fontFolder);
    ~FileDelivery();

    [[nodiscard]] ReportWriter &writer() { return *m_writer; }

    struct Delivered
    {
        QString path;
        std::uint64_t bytes = 0;
        QString sha256;
    };
    /// Puts the whole file in its place. A CSV file whose rows were cut says so in its name (unless that was given exactly) and in a text
    /// file beside it, made of \p head and \p tail.
    Delivered finish(const ReportHead &head, const ReportTail &tail);

private:
    FileDelivery(const QString &target, std::optional<OutputName> name, const QString &format, const OutputSettings &settings,
                 const QString &fontFolder);

    std::optional<OutputName> m_name;
    bool m_isCsv;
    OutputFile m_file;
    std::unique_ptr<ReportWriter> m_writer;
};

} // namespace qm
