/// \file
/// A report query as a query file (.rqn) holds it.
#pragma once

#include "framework/ReportFormat.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace qm {

/// Where a report goes: the codes of the list's "Output" column.
enum class OutputKind : int { Screen = 0, Printer = 1, File = 2, Email = 3 };
/// "screen", "printer", "file", "email" as written in query files; empty for another code.
[[nodiscard]] QString outputTypeWord(int code);

/// How a parameter's value is entered and bound.
enum class ParameterType { Text, Integer, Number, Date, Time, Boolean, List };

struct QueryParameter
{
    QString name; ///< without the colon
    QString label;
    ParameterType type = ParameterType::Text;
    QString defaultValue; ///< empty and !hasDefault: a value must be given
    bool hasDefault = false;
    QStringList values; ///< choices of a list parameter
};

/// The report's period, which gives :date_from (inclusive) and :date_to (exclusive).
struct QueryPeriod
{
    bool used = false;
    QString range; ///< a period phrase ("last week"); see parsePeriod
};

struct EmailOutput
{
    QString from;
    QStringList to, cc, bcc;
    QString subject, body;
};

struct PrinterOutput
{
    QString name; ///< the print queue's; empty: the default printer
    int copies = 1;
};

struct OutputSettings
{
    int OutputType = 0; ///< code of an OutputKind; other codes are kept
    ReportFormat format = ReportFormat::Pdf;
    QString file; ///< name pattern with {fields}; relative to the installation's "Reports" folder, or absolute
    bool csvByteOrderMark = false;
    bool csvGuardFormulas = false; ///< always on for e-mailed CSV
    EmailOutput email;
    PrinterOutput printer;
};

/// One report query. `QueryFile` is never stored: the reader sets it to the path it read.
struct Query
{
    QString Description;
    QString QueryFile;
    QString ReportFile; ///< layout path as written: relative to the package's folder, or absolute; empty: automatic layout
    qm::OutputSettings OutputSettings;

    QString dataSource; ///< "" the package's own database, a data source key, or "ODBC::" + connection string
    QString sql;
    QMap<QString, QString> sqlFor; ///< variants by engine ("oracle", "mssql", "postgresql")
    QueryPeriod period;
    std::vector<QueryParameter> parameters;
    qint64 rowLimit = 0;    ///< rows after which the report is cut, 0: none
    int timeoutSeconds = 0; ///< 0: the engine's default

    /// The file as it was read, so that keys this version does not know are kept when it is rewritten. May be null.
    std::shared_ptr<const class QueryFileText> original;
};

} // namespace qm
