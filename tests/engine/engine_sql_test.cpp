#include "core/ConnectionString.h"
#include "engine/rows/RowSources.h"
#include "engine/sql/SqlLexer.h"
#include "engine/sql/SqlParameters.h"
#include "support/ErrorOf.h"

#include <QtTest>

using namespace Qt::StringLiterals;

using qm::SqlDialect;

namespace {

QString failureOf(const std::function<void()> &body)
{
    return qm::test::errorOf(body).description();
}

qm::QueryParameter parameter(const char *name, qm::ParameterType type)
{
    qm::QueryParameter made;
    made.name = QString::fromLatin1(name);
    made.type = type;
    return made;
}

} // namespace

class EngineSqlTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parameters_are_found_where_they_are_parameters_data()
    {
        QTest::addColumn<SqlDialect>("dialect");
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("names");
        const auto row = [](const char *what, SqlDialect dialect, const char *sql, const char *names) {
            QTest::newRow(what) << dialect << QString::fromUtf8(sql) << QString::fromUtf8(names);
        };
        const auto lite = SqlDialect::Sqlite, ms = SqlDialect::MsSql, ora = SqlDialect::Oracle, pg = SqlDialect::PostgreSql;
        row("plain", lite, "SELECT a FROM t WHERE x >= :date_from AND x<:date_to", "date_from date_to");
        row("repeated in other case", lite, "SELECT :a, :A, :b", "a b");
        row("in a string with a doubled quote", lite, "SELECT 'it''s :no', :yes", "yes");
        row("in a name", lite, "SELECT \"a:no\", [b:no], `c:no`, :yes", "yes");
        row("in a line comment", lite, "SELECT 1 -- :no 'open\n, :yes", "yes");
        row("in a block comment, which does not nest", lite, "SELECT /* :no /* */ :yes /* */", "yes");
        row("marks of SQLite", lite, "SELECT @a, $b, :c, ?", "a b c");
        row("time texts and numbers", lite, "SELECT '12:30:15', 12, x'3a61', 1.5e+3, :y", "y");
        row("unended string", lite, "SELECT :yes, 'a :no", "yes");
        row("non-ASCII name", lite, "SELECT :größe, :数", "größe 数");
        row("cast", pg, "SELECT a::text, b :: int, :yes::date", "yes");
        row("dollar quotes", pg, "SELECT $$ :no $$, $tag$ :no $$ $tag$, :yes", "yes");
        row("escaped string", pg, "SELECT E'it\\'s :no', '\\', :yes", "yes");
        row("nested comment", pg, "SELECT /* /* :no */ :no */ :yes", "yes");
        row("operators and array slices", pg, "SELECT a @> b, c[1:2], x := 3, @y, :yes", "yes");
        row("server variables and names with ]]", ms, "SELECT @@rowcount, [a]]:no], @from, :to, N':no'", "from to");
        row("nested comment on the server", ms, "SELECT /* /* */ @no */ @yes", "yes");
        row("q-quotes", ora, "SELECT q'[it's :no]', nq'!:no!', q'{a}b}', :yes FROM t@link", "yes");
        row("assignment", ora, "BEGIN x := :yes; END;", "yes");
        row("standard keeps to the standard", SqlDialect::Standard, "SELECT [:yes], @no, \":no\", a::no", "yes");
    }
    void parameters_are_found_where_they_are_parameters()
    {
        QFETCH(SqlDialect, dialect);
        QFETCH(QString, sql);
        QFETCH(QString, names);
        QCOMPARE(qm::parameterNames(sql, dialect).join(u' '), names);
        qsizetype at = 0;
        for (const auto &token : qm::lexSql(sql, dialect)) {
            QCOMPARE(token.offset, at);
            QVERIFY(token.length > 0);
            at += token.length;
        }
        QCOMPARE(at, sql.size());
    }

    void places_are_told_by_line_and_column()
    {
        const QString sql = u"SELECT a,\r\n  b\rFROM \U0001F600 t\n"_s;
        const auto at = [&](const char *text) {
            const auto position = qm::sqlPosition(sql, sql.indexOf(QLatin1String(text)));
            return u"%1:%2"_s.arg(position.line).arg(position.column);
        };
        QCOMPARE(at("SELECT"), u"1:1"_s);
        QCOMPARE(at("b"), u"2:3"_s);
        QCOMPARE(at("FROM"), u"3:1"_s);
        QCOMPARE(at("t\n"), u"3:8"_s);
        QCOMPARE(qm::firstStatementOffset(u" ; -- x\n/* y */ ;", 0, SqlDialect::Sqlite), qsizetype{-1});
        QCOMPARE(qm::firstStatementOffset(u"a; b", 1, SqlDialect::Sqlite), qsizetype{3});
    }

    void values_are_bound_by_type_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("bound"); // empty: refused
        using Type = qm::ParameterType;
        const auto row = [](Type type, const char *text, const char *bound) {
            QTest::newRow(qPrintable(u"%1 %2"_s.arg(int(type)).arg(QLatin1String(text))))
                << int(type) << QString::fromUtf8(text) << QString::fromUtf8(bound);
        };
        row(Type::Integer, " 4625 ", "integer 4625");
        row(Type::Integer, "-9223372036854775808", "integer -9223372036854775808");
        row(Type::Number, "2.5", "real 2.5");
        row(Type::Number, "1e3", "real 1000");
        row(Type::Date, "2026-02-28", "text 2026-02-28");
        row(Type::Date, "Yesterday", "text 2026-11-20");
        row(Type::Date, "TODAY", "text 2026-11-21");
        row(Type::Date, "tomorrow", "text 2026-11-22");
        row(Type::Time, "07:30", "text 07:30:00");
        row(Type::Boolean, "Yes", "integer 1");
        row(Type::Boolean, "0", "integer 0");
        for (const char *text : {"9223372036854775808", "4,625", "+-5", "1.0"})
            row(Type::Integer, text, "");
        for (const char *text : {"2,5", "nan", "inf"})
            row(Type::Number, text, "");
        for (const char *text : {"2026-02-30", "28.02.2026"})
            row(Type::Date, text, "");
        for (const char *text : {"7:30", "24:00"})
            row(Type::Time, text, "");
        row(Type::Boolean, "maybe", "");
        row(Type::Text, " '; DROP TABLE t; -- ", "text  '; DROP TABLE t; -- ");
    }
    void values_are_bound_by_type()
    {
        QFETCH(int, type);
        QFETCH(QString, text);
        QFETCH(QString, bound);
        const auto asked = parameter("p", static_cast<qm::ParameterType>(type));
        QString got;
        const QString failure = failureOf([&] {
            const qm::SqlValue value = qm::readParameterValue(asked, text, QDate(2026, 11, 21));
            if (const auto *integer = std::get_if<std::int64_t>(&value))
                got = u"integer %1"_s.arg(*integer);
            else if (const auto *real = std::get_if<double>(&value))
                got = u"real %1"_s.arg(*real);
            else
                got = u"text "_s + QString::fromUtf8(std::get<QByteArray>(value));
        });
        QCOMPARE(got, bound);
        if (bound.isEmpty())
            QVERIFY2(failure.contains(u"\"p\""_s) && failure.contains(qm::expectedForm(asked)), qPrintable(failure));
    }

    void all_missing_and_unknown_parameters_are_named()
    {
        qm::Query query;
        query.Description = u"Logons"_s;
        query.parameters = {parameter("account", qm::ParameterType::Text), parameter("least", qm::ParameterType::Integer),
                            parameter("kind", qm::ParameterType::List)};
        query.parameters[2].values = QStringList{u"a"_s, u"b"_s};
        query.parameters[2].hasDefault = true;
        query.parameters[2].defaultValue = u"b"_s;
        const QStringList used{u"account"_s, u"least"_s, u"kind"_s, u"date_from"_s};
        const QDate today(2026, 11, 21);
        const QString missing = failureOf([&] { static_cast<void>(qm::bindParameters(query, used, {}, std::nullopt, today)); });
        for (const char *part : {"account (a text)", "least (a whole number", "date_from (a period"})
            QVERIFY2(missing.contains(QLatin1String(part)), qPrintable(missing));
        QVERIFY(!missing.contains(u"kind"_s));

        const QMap<QString, QString> unknown{{u"acount"_s, u"x"_s}};
        const QString refused = failureOf([&] { static_cast<void>(qm::bindParameters(query, used, unknown, std::nullopt, today)); });
        QVERIFY2(refused.contains(u"no parameter \"acount\""_s) && refused.contains(u"account, least, kind, date_from"_s),
                 qPrintable(refused));

        const QMap<QString, QString> given{{u"ACCOUNT"_s, u"%"_s}, {u"least"_s, u"3"_s}};
        const qm::PeriodRange period{u"2026-01-01 00:00:00"_s, u"2026-02-01 00:00:00"_s, {}, false};
        const auto bound = qm::bindParameters(query, used, given, period, today);
        QCOMPARE(bound.size(), std::size_t{4});
        QCOMPARE(std::get<QByteArray>(bound[0].value), QByteArray("%"));
        QCOMPARE(std::get<QByteArray>(bound[2].value), QByteArray("b"));
        QCOMPARE(std::get<QByteArray>(bound[3].value), QByteArray("2026-01-01 00:00:00"));
        const QMap<QString, QString> dated{{u"account"_s, u"%"_s}, {u"least"_s, u"3"_s}, {u"Date_From"_s, u"2026-01-15"_s}};
        const auto own = qm::bindParameters(query, used, dated, period, today);
        QCOMPARE(std::get<QByteArray>(own[3].value), QByteArray("2026-01-15"));
        QVERIFY(!own[3].ofPeriod);
        const QMap<QString, QString> outside{{u"kind"_s, u"c"_s}};
        QVERIFY(failureOf([&] { static_cast<void>(qm::bindParameters(query, used, outside, period, today)); }).contains(u"one of: a, b"_s));
    }

    void passwords_are_never_shown_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char *text, const char *shown) {
            QTest::newRow(text) << QString::fromLatin1(text) << QString::fromLatin1(shown);
        };
        row("MSSQL::Payroll.dsf", "MSSQL::Payroll.dsf");
        row("ODBC::Driver=x;UID=me;PWD=s3;DB=y", "ODBC::Driver=x;UID=me;PWD=***;DB=y");
        row("ODBC::PWD={s3;c={r}}et};DB=y", "ODBC::PWD=***;DB=y");
        row("ODBC::PWD={s3;c={r}et};DB=y", "ODBC::PWD=***;DB=y");
        row("odbc:: Pwd = \"a;b\" ;DB=y", "ODBC::Pwd=***;DB=y");
        row("ODBC::DB=y;Password=s=3", "ODBC::DB=y;Password=***");
        row("ODBC::PWD={never closed;DB=y", "ODBC::PWD=***");
        row("ODBC::DSN;PWD=x;", "ODBC::PWD=***");
        row("ODBC::APP=\"x;PWD=geheim", "ODBC::APP={\"x};PWD=***");
        row("ODBC::APP='x;PWD=geheim;Server=h'", "ODBC::APP={'x};PWD=***;Server={h'}");
        row("ODBC::Server={a;b};AccessToken=x", "ODBC::Server={a;b};AccessToken=***");
        row("ODBC::x={sslmode=require password=geheim}", "ODBC::x=***");
        row("Server=x;PWD=geheim", "Server=x;PWD=***");
    }
    void passwords_are_never_shown()
    {
        QFETCH(QString, text);
        QFETCH(QString, shown);
        QCOMPARE(qm::redacted(text), shown);
    }
};

QTEST_APPLESS_MAIN(EngineSqlTest)
#include "engine_sql_test.moc"
