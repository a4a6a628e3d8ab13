/// \file
/// Makes the writer of each file format.
#pragma once

#include "reporting/writers/OutputFile.h"
#include "reporting/writers/ReportWriter.h"

#include <memory>

namespace qm {

struct CsvOptions
{
    bool byteOrderMark = false;
    bool guardFormulas = false;
};

/// The writers keep a reference to \p file, which must outlive them; the caller commits it after end().
[[nodiscard]] std::unique_ptr<ReportWriter> makeCsvWriter(OutputFile &file, const CsvOptions &options);
[[nodiscard]] std::unique_ptr<ReportWriter> makeHtmlWriter(OutputFile &file);
[[nodiscard]] std::unique_ptr<ReportWriter> makeXlsxWriter(OutputFile &file);
/// \p fontFolder: the folder with the shipped fonts.
[[nodiscard]] std::unique_ptr<ReportWriter> makePdfWriter(OutputFile &file, const QString &fontFolder);

} // namespace qm
