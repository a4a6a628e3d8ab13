/// \file
/// The formats that a report file can have: the one list of them.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// One line for each format, in the order in which they are offered:
/// name (documents has its make<Name>Writer), word in query files and file suffix, another suffix in use ("": none), media type (IANA),
/// label, whether the file itself states the report's facts. Readers, lists, menus, mails and makeWriter all follow from this list.
#define QM_REPORT_FORMATS(FORMAT)                                                                                                          \
    FORMAT(Pdf, "pdf", "", "application/pdf", QT_TRANSLATE_NOOP("ReportFormat", "PDF document"), true)                                     \
    FORMAT(Html, "html", "htm", "text/html; charset=UTF-8", QT_TRANSLATE_NOOP("ReportFormat", "HTML page"), true)                          \
    FORMAT(Xlsx, "xlsx", "", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet",                                          \
           QT_TRANSLATE_NOOP("ReportFormat", "Excel workbook"), true)                                                                      \
    FORMAT(Csv, "csv", "", "text/csv; charset=UTF-8; header=present", QT_TRANSLATE_NOOP("ReportFormat", "CSV file"), false)

namespace qm {

#define QM_ENUMERATOR(name, ...) name,
enum class ReportFormat { QM_REPORT_FORMATS(QM_ENUMERATOR) };
#undef QM_ENUMERATOR

[[nodiscard]] const QList<ReportFormat> &reportFormats();

/// As query files and the command line say it; also the suffix of such files.
[[nodiscard]] QString formatWord(ReportFormat format);
[[nodiscard]] QString formatLabel(ReportFormat format);
[[nodiscard]] QByteArray formatMediaType(ReportFormat format);
/// Whether such a file states the report's facts (package, period, a row limit that cut) itself.
[[nodiscard]] bool formatStatesFacts(ReportFormat format);

/// In the order of reportFormats().
[[nodiscard]] QStringList formatWords();
/// "pdf, html, xlsx or csv", for messages.
[[nodiscard]] QString formatChoices();
/// The letter case of \p word does not matter.
[[nodiscard]] std::optional<ReportFormat> formatOfWord(QStringView word);
/// The format that a file name's suffix says; nullopt for another suffix.
[[nodiscard]] std::optional<ReportFormat> formatOfFile(const QString &path);

} // namespace qm
