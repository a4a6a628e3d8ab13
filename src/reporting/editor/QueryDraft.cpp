#include "reporting/editor/QueryDraft.h"

#include "core/ConnectionString.h"
#include "core/DataSourcePrefix.h"
#include "core/RuntimeError.h"
#include "delivery/MailAddress.h"
#include "engine/outputs/OutputNaming.h"
#include "engine/rows/RowSources.h"
#include "engine/run/PreparedQuery.h"
#include "engine/run/ReportFields.h"
#include "engine/sql/SqlParameters.h"
#include "framework/SqlName.h"
#include "platform/Files.h"
#include "reporting/editor/LayoutCellText.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QIODevice>
#include <QRegularExpression>

namespace qm {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("qm::QueryDraft", text);
}

QDataStream &operator<<(QDataStream &out, const QueryParameter &parameter)
{
    return out << parameter.name << parameter.label << static_cast<int>(parameter.type) << parameter.defaultValue << parameter.hasDefault
               << parameter.values;
}

QDataStream &operator<<(QDataStream &out, const LayoutAggregate &aggregate)
{
    return out << aggregate.field << static_cast<int>(aggregate.function) << aggregate.caption;
}

QDataStream &operator<<(QDataStream &out, const LayoutBand &band)
{
    return out << band.left << band.centre << band.right;
}

void write(QDataStream &out, const ReportLayout &layout)
{
    out << layout.title << layout.subtitle << (layout.page.size ? static_cast<int>(*layout.page.size) : -1)
        << static_cast<int>(layout.page.orientation) << layout.page.marginMm << layout.page.allowA3 << layout.note << layout.header
        << layout.footer << layout.onlyListed;
    for (const LayoutColumn &column : layout.columns)
        out << column.field << column.caption << column.widthMm << static_cast<int>(column.alignment) << column.format << column.visible
            << column.wrap << column.nullText << wordsText(column.words) << rulesText(column.rules);
    for (const LayoutGroup &group : layout.groups) {
        out << group.field << group.newPage << static_cast<int>(group.order) << group.heading << group.keepTogether << group.suppressRepeats
            << static_cast<qint64>(group.subtotals.size());
        for (const LayoutAggregate &subtotal : group.subtotals)
            out << subtotal;
    }
    for (const LayoutAggregate &total : layout.totals)
        out << total;
    for (const LayoutChart &chart : layout.charts)
        out << chart.kind << chart.title << chart.category << chart.series << chart.values << chart.categoryTitle << chart.valueTitle
            << chart.top << chart.other;
    for (const LayoutFigure &figure : layout.figures)
        out << figure.caption << figure.field << static_cast<int>(figure.function) << figure.format;
    // Without a column there is no list.
    if (const LayoutTop &top = layout.top; !top.field.isEmpty())
        out << top.field << top.value << static_cast<int>(top.function) << top.caption << top.most;
}

/// The values that {fields} would have.
QMap<QString, QString> fields(const Query &query, const QString &periodPhrase, const QueryHome &home, const WallTime &now)
{
    RunFacts facts;
    facts.description = query.Description.isEmpty() ? tr("New report") : query.Description;
    facts.package = home.package;
    facts.group = home.group;
    facts.periodPhrase = periodPhrase;
    facts.madeLocal = now.date.toString(Qt::ISODate) + u' ' + time24Text(now.secondOfDay);
    facts.madeUtc = facts.dateFrom = facts.dateTo = facts.madeLocal;
    facts.format = formatWord(query.OutputSettings.format);
    return fieldValues(facts);
}

QString sourceProblem(const QString &dataSource, const QString &savedSource)
{
    const auto connection = odbcConnection(dataSource);
    if (connection && connection->trimmed().isEmpty())
        return tr("Give the ODBC connection string, for example \"DSN=Events\".");
    if (dataSource != savedSource && holdsSecret(dataSource))
        return tr(
            "Leave the password out of the query: keep it in a saved data source or a DSN, where readers of the query do not see it.");
    return {};
}

QString periodProblem(const Query &query, bool isNew, SqlDialect dialect)
{
    if (query.period.used || !isNew)
        return {};
    const auto names = parameterNames(query.sql, dialect);
    for (const char *ofPeriod : {kDateFrom, kDateTo})
        for (const QueryParameter &parameter : query.parameters)
            if (parameter.name.compare(QLatin1String(ofPeriod), Qt::CaseInsensitive) == 0 && !parameter.hasDefault &&
                names.contains(parameter.name))
                return tr("The SQL uses :%1, which a period gives. Switch \"Period\" on, or give the parameter a default.")
                    .arg(parameter.name);
    return {};
}

QString parameterProblem(const std::vector<QueryParameter> &parameters, QDate today)
{
    QStringList seen;
    for (const QueryParameter &parameter : parameters) {
        if (!isSqlName(parameter.name))
            return tr("A parameter's name is a word of letters, digits and \"_\", as the SQL writes it after the colon; \"%1\" is not.")
                .arg(parameter.name);
        if (seen.contains(parameter.name, Qt::CaseInsensitive))
            return tr("There are two parameters \"%1\".").arg(parameter.name);
        seen << parameter.name;
        if (parameter.type == ParameterType::List && parameter.values.isEmpty())
            return tr("The list parameter \"%1\" has no choices.").arg(parameter.name);
        if (!parameter.hasDefault)
            continue;
        try {
            static_cast<void>(readParameterValue(parameter, parameter.defaultValue, today));
        } catch (const RuntimeError &error) {
            return error.description();
        }
    }
    return {};
}

/// Why \p reportFile cannot be the layout of a query in \p home; empty when it can.
QString whyNotALayout(const QString &reportFile, const QueryHome &home)
{
    const QString path = QDir::cleanPath(QDir::fromNativeSeparators(layoutPath(reportFile, home.packageFolder)));
    if (!reportFile.endsWith(QStringLiteral(".rpt"), Qt::CaseInsensitive))
        return QStringLiteral("a layout file's name ends in \".rpt\"");
    if (const QString why = files::whyNotAName(files::lastPart(path)); !why.isEmpty())
        return QStringLiteral("its name ") + why;
    if (QFileInfo(reportFile).isRelative() && home.packageFolder.isEmpty())
        return QStringLiteral("this query lies in no package; give the layout's whole path");
    const QString package = QDir::cleanPath(QDir::fromNativeSeparators(home.packageFolder)) + u'/';
    if (QFileInfo(reportFile).isRelative() && !path.startsWith(package))
        return QStringLiteral("it leads out of the package's folder");
    // A group's folder is copied and deleted with its queries; a layout in it would go with the first group that is deleted.
    if (!home.packageFolder.isEmpty() && path.startsWith(package + QStringLiteral("Query Groups/"), Qt::CaseInsensitive))
        return QStringLiteral("it lies in a report group; put it into the package's \"Layouts\" folder");
    return {};
}

QString layoutProblem(const QueryDraft &draft, const QueryHome &home)
{
    const QString &reportFile = draft.query.ReportFile;
    if (reportFile.isEmpty())
        return {};
    const QString why = whyNotALayout(reportFile, home);
    return why.isEmpty() ? draft.unreadableLayout : tr("The layout file \"%1\" cannot be used: %2.").arg(reportFile, why);
}

QString mailProblem(const EmailOutput &email, QMap<QString, QString> values)
{
    values.insert(QStringLiteral("rows"), QStringLiteral("1"));
    QStringList addresses = email.to + email.cc + email.bcc;
    if (addresses.isEmpty())
        return tr("Give at least one address that the e-mail goes to.");
    if (!email.from.isEmpty())
        addresses << email.from;
    for (const QString &address : addresses)
        if (const QString why = whyNotAMailAddress(fillFields(address, values, tr("An address"))); !why.isEmpty())
            return why + u'.';
    static_cast<void>(fillFields(email.subject, values, tr("The e-mail's subject")));
    static_cast<void>(fillFields(email.body, values, tr("The e-mail's text")));
    return {};
}

QString outputProblem(const Query &query, const QString &periodPhrase, const DraftContext &context)
{
    const OutputSettings &output = query.OutputSettings;
    const bool isMail = output.OutputType == static_cast<int>(OutputKind::Email);
    if (!isMail && output.OutputType != static_cast<int>(OutputKind::File))
        return {};
    static const QRegularExpression leaves(QStringLiteral("(^|[/\\\\])\\.\\.([/\\\\]|$)"));
    try {
        static_cast<void>(exampleFileName(query, periodPhrase, context.home, context.now));
        if (output.file.contains(leaves))
            return tr("The file name may not lead out of its folder (\"..\").");
        return isMail ? mailProblem(output.email, fields(query, periodPhrase, context.home, context.now)) : QString();
    } catch (const RuntimeError &error) {
        return error.description();
    }
}

} // namespace

std::optional<DraftProblem> findProblem(const QueryDraft &draft, const DraftContext &context)
{
    const Query &query = draft.query;
    if (query.Description.isEmpty())
        return DraftProblem{DraftField::Description, tr("Give the query a description: the list and the report's title show it.")};
    if (const QString problem = sourceProblem(query.dataSource, context.savedSource); !problem.isEmpty())
        return DraftProblem{DraftField::Connection, problem};
    const SqlDialect dialect = dialectOf(query.dataSource, context.home);
    if (firstStatementOffset(query.sql, 0, dialect) < 0)
        return DraftProblem{DraftField::Sql, tr("Write the SQL that selects the report's rows.")};
    if (const QString problem = periodProblem(query, context.isNew, dialect); !problem.isEmpty())
        return DraftProblem{DraftField::Period, problem};
    if (const QString problem = parameterProblem(query.parameters, context.now.date); !problem.isEmpty())
        return DraftProblem{DraftField::Parameters, problem};
    if (const QString problem = layoutProblem(draft, context.home); !problem.isEmpty())
        return DraftProblem{DraftField::Layout, problem};
    const bool hasPeriod = query.period.used && mayTakePeriod(query, dialect);
    if (const QString problem = outputProblem(query, hasPeriod ? query.period.range : QString(), context); !problem.isEmpty())
        return DraftProblem{DraftField::Output, problem};
    return std::nullopt;
}

QByteArray fingerprint(const QueryDraft &draft)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    const Query &query = draft.query;
    out << query.Description << query.ReportFile << query.dataSource << query.sql << query.sqlFor << query.period.used << query.period.range
        << query.rowLimit << query.timeoutSeconds;
    for (const QueryParameter &parameter : query.parameters)
        out << parameter;
    const OutputSettings &output = query.OutputSettings;
    out << output.OutputType << output.format << output.file << output.csvByteOrderMark << output.csvGuardFormulas << output.email.from
        << output.email.to << output.email.cc << output.email.bcc << output.email.subject << output.email.body << output.printer.name
        << output.printer.copies;
    if (!query.ReportFile.isEmpty())
        write(out, draft.layout);
    return bytes;
}

SqlDialect dialectOf(const QString &dataSource, const QueryHome &home)
{
    try {
        return describeSource(dataSource, home.database, home.installPath).dialect;
    } catch (const RuntimeError &) {
        return SqlDialect::Standard;
    }
}

bool mayTakePeriod(const Query &query, SqlDialect dialect)
{
    if (firstStatementOffset(query.sql, 0, dialect) < 0)
        return true;
    QStringList names = parameterNames(query.sql, dialect);
    for (const QString &variant : query.sqlFor)
        names += parameterNames(variant, SqlDialect::Standard);
    return takesPeriod(query, names);
}

QString exampleFileName(const Query &query, const QString &periodPhrase, const QueryHome &home, const WallTime &now)
{
    auto values = fields(query, periodPhrase, home, now);
    values.insert(QStringLiteral("counter"), QStringLiteral("1"));
    for (QString &value : values)
        value = sanitizedName(value);
    const QString &pattern = query.OutputSettings.file;
    QString name =
        fillFields(pattern.trimmed().isEmpty() ? QString::fromLatin1(kDefaultFilePattern) : pattern, values, tr("The file name"));
    const QString suffix = u'.' + formatWord(query.OutputSettings.format);
    if (!name.endsWith(suffix, Qt::CaseInsensitive))
        name += suffix;
    return name;
}

} // namespace qm
