// What the engine reads: SQL, parameters, periods, connection strings, values of drivers, names of output files.

#include "fuzz/Fuzz.h"

#include "engine/outputs/OutputNaming.h"
#include "engine/rows/OdbcSql.h"
#include "engine/rows/OdbcValues.h"
#include "engine/rows/RowSources.h"
#include "engine/sql/Period.h"
#include "engine/sql/SqlLexer.h"
#include "engine/sql/SqlParameters.h"
#include "odbc/Endpoint.h"

#include "core/ConnectionString.h"
#include "core/RuntimeError.h"

#include <QRegularExpression>
#include <QSet>

#include <sqlite3.h>

#include <cmath>
#include <cstring>

namespace qm::fuzz {

namespace {

class FixedClock final : public Clock
{
public:
    [[nodiscard]] std::chrono::system_clock::time_point now() const override
    {
        return std::chrono::system_clock::time_point(std::chrono::seconds(1795000000));
    }
    [[nodiscard]] WallTime wallNow() const override { return toLocalWallTime(now()); }
};

void tokens(const QString &text, SqlDialect dialect)
{
    qsizetype end = 0;
    for (const SqlToken &token : lexSql(text, dialect)) {
        PROMISE(token.offset == end && token.length > 0);
        end += token.length;
    }
    PROMISE(end == text.size());
    for (const SqlParameterMark &mark : findParameters(text, dialect))
        PROMISE(!mark.name.isEmpty() && text.mid(mark.offset, mark.length).endsWith(mark.name));
    try {
        requireOneReadingStatement(text, dialect);
    } catch (const RuntimeError &) { // refused
    }
}

sqlite3 *database()
{
    static sqlite3 *const opened = [] {
        sqlite3 *made = nullptr;
        sqlite3_open(":memory:", &made);
        sqlite3_exec(made, "create table t(a,b,c)", nullptr, nullptr, nullptr);
        return made;
    }();
    return opened;
}

/// Whether SQLite finds another statement, right or wrong, in \p text; blanks, comments and semicolons prepare to nothing.
bool holdsStatement(const char *text, const char *end)
{
    while (text < end) {
        sqlite3_stmt *statement = nullptr;
        const char *rest = text;
        const bool found =
            sqlite3_prepare_v2(database(), text, static_cast<int>(end - text + 1), &statement, &rest) != SQLITE_OK || statement != nullptr;
        sqlite3_finalize(statement);
        if (found)
            return true;
        if (rest == text)
            return false;
        text = rest;
    }
    return false;
}

/// SQLite itself says what it takes for parameters, and where its first statement ends.
void asSqliteReads(const QByteArray &bytes, const QString &text)
{
    static const QRegularExpression plainName(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
    sqlite3_stmt *statement = nullptr;
    const char *rest = nullptr;
    const bool prepared =
        sqlite3_prepare_v2(database(), bytes.constData(), static_cast<int>(bytes.size() + 1), &statement, &rest) == SQLITE_OK;
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt *)> owner(statement, &sqlite3_finalize);
    if (!prepared || statement == nullptr)
        return;
    const QString first = QString::fromUtf8(bytes.left(rest - bytes.constData()));
    QSet<QString> theirs, ours;
    bool named = true; // other marks are refused when they are bound
    for (int i = 1; i <= sqlite3_bind_parameter_count(statement); ++i) {
        const char *name = sqlite3_bind_parameter_name(statement, i);
        named = named && name != nullptr && *name != '?' && QString::fromUtf8(name + 1).contains(plainName);
        if (name != nullptr)
            theirs.insert(QString::fromUtf8(name + 1).toLower());
    }
    for (const QString &name : parameterNames(first, SqlDialect::Sqlite))
        ours.insert(name.toLower());
    if (named && !text.contains(u'\r')) // SQLite ends a line comment at LF only, the others and the lexer also at CR
        PROMISE(ours == theirs);
    if (holdsStatement(rest, bytes.cend()))
        PROMISE(firstStatementOffset(text, first.size(), SqlDialect::Sqlite) >= 0); // a second statement is never overlooked
}

void sql(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    for (const SqlDialect dialect :
         {SqlDialect::Standard, SqlDialect::Sqlite, SqlDialect::MsSql, SqlDialect::Oracle, SqlDialect::PostgreSql})
        tokens(text, dialect);
    PROMISE(sqlPosition(text, text.size() / 2).line > 0);
    if (!text.contains(QChar(0)) && text.toUtf8() == bytes)
        asSqliteReads(bytes, text);
}

/// The type in the first byte, then the value.
void parameters(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return;
    QueryParameter parameter;
    parameter.name = QStringLiteral("p");
    parameter.type = static_cast<ParameterType>(static_cast<unsigned char>(bytes[0]) % 7);
    parameter.values = {QStringLiteral("a"), QStringLiteral("b")};
    const SqlValue value = readParameterValue(parameter, QString::fromUtf8(bytes.mid(1)), QDate(2026, 11, 21));
    if (parameter.type == ParameterType::Date)
        PROMISE(QDate::fromString(QString::fromUtf8(std::get<QByteArray>(value)), QStringLiteral("yyyy-MM-dd")).isValid());
    if (const double *number = std::get_if<double>(&value))
        PROMISE(std::isfinite(*number));
}

void period(const QByteArray &bytes)
{
    const PeriodRange range = resolvePeriod(QString::fromUtf8(bytes), FixedClock());
    PROMISE(range.fromUtc < range.toUtc && range.fromUtc.size() >= 10 && !range.words.isEmpty());
}

void connection(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    (void)parseAdo(text);
    (void)odbc::ServerAddress::of(text);
    (void)odbc::Endpoint::ofAdo(text);
    // No value becomes another key.
    const auto value = escaped(text, Escaping::Doubled);
    if (value && text == text.trimmed() && !text.isEmpty()) {
        const Properties back = parseOdbc(QStringLiteral("A=1;UID=%1;Z=2;").arg(*value));
        PROMISE(back.value(u"UID") == text && back.entries().size() == 3);
    }
    // No password is shown.
    const QString shown = redacted(text);
    const Properties properties = parseOdbc(text);
    for (const auto &[key, secret] : properties.entries()) {
        const bool isSecret = key.compare(u"PWD", Qt::CaseInsensitive) == 0 || key.compare(u"Password", Qt::CaseInsensitive) == 0;
        if (isSecret && secret.size() > 6 && text.count(secret) == 1)
            PROMISE(!shown.contains(secret));
    }
}

/// Numbers and times as drivers give them.
void driverValues(const QByteArray &bytes)
{
    const std::string_view view(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    (void)odbc_values::exactNumber(view);
    PROMISE(view.starts_with(odbc_values::withoutTrailingZeros(view)));
    SQL_TIMESTAMP_STRUCT time{};
    std::memcpy(&time, bytes.constData(), std::min(sizeof time, view.size()));
    std::array<char, odbc_values::kRoom> out{};
    const char *end = odbc_values::write(time, out.data());
    PROMISE(end - out.data() >= 19 && end - out.data() <= static_cast<std::ptrdiff_t>(out.size()));
}

/// A pattern, a line feed, and the value of its field.
void naming(const QByteArray &bytes)
{
    const qsizetype cut = bytes.indexOf('\n');
    const QString pattern = QString::fromUtf8(bytes.left(cut)), value = QString::fromUtf8(bytes.mid(cut + 1));
    const QString name = sanitizedName(value);
    PROMISE(name.toUtf8().size() <= 182 && !name.contains(u'/') && !name.contains(u'\\') && name != QStringLiteral("..") &&
            name != QStringLiteral("."));
    // Absolute names are allowed, but would make folders all over this machine. known: ":x" counts as one.
    if (QStringLiteral("/\\:").contains(pattern.left(1)) || pattern.count(u'/') + pattern.count(u'\\') > 3)
        return;
    const QString folder = scratch("Reports/");
    const OutputName made =
        outputName(pattern, {{QStringLiteral("description"), value}, {QStringLiteral("date"), QStringLiteral("2026-11-21")}},
                   ReportFormat::Csv, folder);
    PROMISE(made.folder.startsWith(folder) && !made.folder.contains(QStringLiteral("/../")) && !made.stem.contains(u'/'));
}

} // namespace

Targets engineTargets()
{
    return {{"sql", sql},      {"parameters", parameters}, {"period", period}, {"connection", connection}, {"driver-values", driverValues},
            {"naming", naming}};
}

} // namespace qm::fuzz
