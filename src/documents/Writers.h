/// \file
/// Makes the writer of each file format.
#pragma once

#include "documents/OutputFile.h"
#include "documents/ReportWriter.h"
#include "framework/ReportFormat.h"

#include <memory>

namespace qm {

struct CsvOptions
{
    bool byteOrderMark = false;
    bool guardFormulas = false;
};

/// What single formats want to know beyond the report.
struct WriterOptions
{
    CsvOptions csv = {};
    QString fontFolder = {}; ///< the folder with the shipped fonts (PDF)
};

/// The writer of \p format. It keeps a reference to \p file, which must outlive it; the caller commits the file after end().
[[nodiscard]] std::unique_ptr<ReportWriter> makeWriter(ReportFormat format, OutputFile &file, const WriterOptions &options);

#define QM_MAKER(name, ...) [[nodiscard]] std::unique_ptr<ReportWriter> make##name##Writer(OutputFile &file, const WriterOptions &options);
QM_REPORT_FORMATS(QM_MAKER)
#undef QM_MAKER

} // namespace qm
