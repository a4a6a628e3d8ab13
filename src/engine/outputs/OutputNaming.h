/// \file
/// Names of report files: from a pattern with {fields}, safe on every file system, never taking the place of another file.
#pragma once

#include "framework/ReportFormat.h"

#include <QDateTime>
#include <QMap>
#include <QString>

namespace qm {

/// The name of report files whose query gives none.
inline constexpr char kDefaultFilePattern[] = "{description} {date}.{format}";

/// Replaces {field} by its value; names compare without letter case. Fields in \p kept stay as written.
/// \throws RuntimeError reportFailed for an unknown field, listing those there are, with \p where telling whose text it is.
[[nodiscard]] QString fillFields(const QString &text, const QMap<QString, QString> &values, const QString &where,
                                 const QStringList &kept = {});

/// \p text as one part of a file name: separators, characters that a file system refuses and controls become "_"; outer blanks and trailing
/// dots go; reserved device names get a "_"; cut to \p maxBytes bytes of UTF-8 between characters. May be empty.
[[nodiscard]] QString sanitizedName(const QString &text, int maxBytes = 180);

/// A report file's name before its counter is known.
struct OutputName
{
    QString folder; ///< absolute, with trailing separator; exists
    QString stem;   ///< may hold "{counter}"
    QString suffix; ///< with its dot
};

/// Works \p pattern out: its fields are filled with sanitised values, a relative one lies below \p reportsFolder (both are created).
/// A pattern without the format's suffix gets it.
/// \throws RuntimeError 52 for a pattern that leaves the folder or names no file, 75 or 76 when the folder cannot be made.
[[nodiscard]] OutputName outputName(const QString &pattern, const QMap<QString, QString> &values, ReportFormat format,
                                    const QString &reportsFolder);

/// Finds what is wrong with \p pattern without making a folder. \throws RuntimeError 52 as outputName.
void checkOutputName(const QString &pattern, const QMap<QString, QString> &values, ReportFormat format);

/// Puts the finished file \p from under \p name: the first counter whose name is free ("Logons.pdf", "Logons (2).pdf", ...; {counter}
/// begins at 1). \p mark is added to the stem. Processes that name at the same time get different names. \returns the path. \throws
/// RuntimeError 70 when no name could be taken, and as files::rename does.
[[nodiscard]] QString takeName(const QString &from, const OutputName &name, const QString &mark);

} // namespace qm
