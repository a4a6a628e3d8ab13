#include "odbc/Connection.h"
#include "reporting/engine/OdbcSql.h"
#include "reporting/engine/OdbcValues.h"
#include "reporting/engine/RowSources.h"
#include "support/ErrorOf.h"

#include <QtTest>

using namespace qm;
using namespace qm::odbc;
using namespace Qt::StringLiterals;

/// What is worked out before and after a driver is called.
class OdbcStringsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ado_strings_are_read_by_ados_rules_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("password");
        const auto row = [](const char *text, const char *password) {
            QTest::newRow(text) << QString::fromUtf8(text) << QString::fromUtf8(password);
        };
        row("Password=plain;User ID=x", "plain");
        row("password = outer blanks go ;x=1", "outer blanks go");
        row("Password=\" kept; all \";x=1", " kept; all ");
        row("Password='it''s;';x=1", "it's;");
        row("Password=\"say \"\"x\"\"\"", "say \"x\"");
        row("Password=a=b={c};x=1", "a=b={c}");
        row("Password={a;b};x=1", "{a"); // braces mean nothing
        row("Password=first;Password=last", "last");
        row("Pass==word=x;Password=", "");
        row("Password=\"never closed;x=1", "never closed;x=1");
        row("nonsense;Password=x;", "x");
    }
    void ado_strings_are_read_by_ados_rules()
    {
        QFETCH(QString, text);
        QTEST(parseAdo(text).value(u"Password"), "password");
    }

    void the_first_provider_counts_and_a_doubled_equals_sign_belongs_to_the_key()
    {
        const Properties properties = parseAdo(u"Provider=SQLOLEDB.1;Provider=MSDAORA.1;a==b=c"_s);
        QCOMPARE(properties.value(u"provider"), u"SQLOLEDB.1"_s);
        QCOMPARE(properties.value(u"A=B"), u"c"_s);
    }

    void each_driver_is_given_values_in_its_own_spelling_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("bare");
        QTest::addColumn<QString>("doubled");
        const auto row = [](const char *value, const char *bare, const char *doubled) {
            QTest::newRow(value) << QString::fromUtf8(value) << QString::fromUtf8(bare) << QString::fromUtf8(doubled);
        };
        row("pw", "pw", "pw");
        row("s3;c={r}et", "{s3;c={r}et}", "{s3;c={r}}et}");
        row("a}b", "a}b", "{a}}b}");
        row("{a", "{{a}", "{{a}");
        row(" a ", " a ", "{ a }");
        row("a'\"b", "a'\"b", "{a'\"b}");
        row("a};b", "(impossible)", "{a}};b}");
        row("Żółć日本", "Żółć日本", "Żółć日本");
    }
    void each_driver_is_given_values_in_its_own_spelling()
    {
        QFETCH(QString, value);
        QTEST(escaped(value, Escaping::Bare).value_or(u"(impossible)"_s), "bare");
        QTEST(escaped(value, Escaping::Doubled).value_or(u"(impossible)"_s), "doubled");
        QCOMPARE(parseOdbc(u"PWD=%1;x=1"_s.arg(*escaped(value, Escaping::Doubled))).value(u"pwd"), value);
    }

    void server_names_are_taken_apart_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("parts");
        QTest::newRow("host") << u"h"_s << u"h||0"_s;
        QTest::newRow("port") << u"tcp:h , 1444"_s << u"h||1444"_s;
        QTest::newRow("instance") << u"h\\inst"_s << u"h|inst|0"_s;
        QTest::newRow("instance and port") << u"h\\inst,1444"_s << u"h|inst|1444"_s;
        QTest::newRow("default instance") << u"h\\MSSQLSERVER"_s << u"h||0"_s;
        QTest::newRow("this machine") << u"(local)\\x"_s << u"127.0.0.1|x|0"_s;
        QTest::newRow("dot") << u"."_s << u"127.0.0.1||0"_s;
    }
    void server_names_are_taken_apart()
    {
        QFETCH(QString, server);
        const ServerAddress address = ServerAddress::of(server);
        QTEST(u"%1|%2|%3"_s.arg(address.host, address.instance).arg(address.port), "parts");
    }

    void drivers_are_chosen_in_order_of_preference()
    {
        const QStringList installed{u"FREETDS"_s, u"Some oracle thing"_s, u"ODBC Driver 17 for SQL Server"_s, u"Oracle 19 ODBC driver"_s};
        QCOMPARE(sqlServerDriver(installed), u"ODBC Driver 17 for SQL Server"_s);
        QCOMPARE(sqlServerDriver({u"FREETDS"_s}), u"FREETDS"_s);
        QCOMPARE(oracleDriver(installed), u"Oracle 19 ODBC driver"_s);
        QCOMPARE(oracleDriver({u"Some oracle thing"_s}), u"Some oracle thing"_s);
        QCOMPARE(oracleDriver({u"FreeTDS"_s}), QString());
    }

    void a_report_sends_one_reading_statement_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<SqlDialect>("dialect");
        QTest::addColumn<QString>("refused"); // empty: passes
        const auto row = [](const char *sql, SqlDialect dialect, const char *refused) {
            QTest::newRow(sql) << QString::fromUtf8(sql) << dialect << QString::fromUtf8(refused);
        };
        using enum SqlDialect;
        row("select 1; -- done\n ;", PostgreSql, "");
        row("select 1;\n delete from t", PostgreSql, "line 2, column 2");
        row("(select 1) union select 2", Standard, "");
        row("/* x */ drop table t", Oracle, "\"drop\" begins no query");
        row("select 1 delete from t", MsSql, "line 1, column 10");
        row("select * into copy from t", MsSql, "\"into\" writes");
        row("select [delete], \"drop\", 'update' from t -- insert", MsSql, "");
        row("select * from a inner merge join b on 1=1 option (merge union)", MsSql, "");
        row("select 1 from t option (use hint ('FORCE_LEGACY_CARDINALITY_ESTIMATION'))", MsSql, "");
        row("select 1 use master", MsSql, "\"use\" writes");
        row("select $$;$$, 'a;b', ';' as \";\"", PostgreSql, "");
        row("exec dbo.report :a", MsSql, "");
        row(" ;; ", Standard, "no SQL statement");
    }
    void a_report_sends_one_reading_statement()
    {
        QFETCH(QString, sql);
        QFETCH(SqlDialect, dialect);
        QFETCH(QString, refused);
        const RuntimeError error = test::errorOf([&] { requireOneReadingStatement(sql, dialect); });
        if (refused.isEmpty())
            QCOMPARE(error.description(), QString());
        else
            QVERIFY2(error.number() == err::reportFailed && error.description().contains(refused), qPrintable(error.description()));
    }

    void parameters_become_marks_in_order_and_lines_stay()
    {
        const auto value = [](const char *name, std::int64_t number) {
            BoundParameter parameter;
            parameter.name = QString::fromLatin1(name);
            parameter.value = number;
            return parameter;
        };
        const std::vector<BoundParameter> values{value("a", 1), value("B", 2)};
        const OdbcSql sql =
            withPositionalMarks(u"select ':a', x::text -- :a\nfrom t where b=:b\nand a=:A and b2=:b ;\n"_s, SqlDialect::PostgreSql, values);
        QCOMPARE(sql.text, u"select ':a', x::text -- :a\nfrom t where b=?\nand a=? and b2=?"_s);
        QCOMPARE(sql.values.size(), std::size_t{3});
        QCOMPARE(sql.values[0].name, u"B"_s);
        QCOMPARE(sql.values[1].name, u"a"_s);
        const auto refusal = [&](const char *text) {
            return test::errorOf([&] { static_cast<void>(withPositionalMarks(QString::fromLatin1(text), SqlDialect::Standard, values)); })
                .description();
        };
        QVERIFY(refusal("select ?").contains(u"has no name"_s));
        QVERIFY(refusal("select :c").contains(u"\"c\" has no value"_s));
    }

    void decimals_stay_exact_data()
    {
        QTest::addColumn<QByteArray>("digits");
        QTest::addColumn<Value::Kind>("kind"); // Null: stays text
        using Kind = Value::Kind;
        QTest::newRow("integer") << QByteArray("9223372036854775807") << Kind::Integer;
        QTest::newRow("beyond 64 bits") << QByteArray("9223372036854775808") << Kind::Null;
        QTest::newRow("16 digits") << QByteArray("12345678901234.56") << Kind::Null;
        QTest::newRow("small") << QByteArray("0.00000123456789012345") << Kind::Real;
        QTest::newRow("no leading zero") << QByteArray(".5") << Kind::Real;
        QTest::newRow("not a number") << QByteArray("NaN.") << Kind::Null;
    }
    void decimals_stay_exact()
    {
        QFETCH(QByteArray, digits);
        const auto number = odbc_values::exactNumber({digits.constData(), static_cast<std::size_t>(digits.size())});
        QTEST(number ? number->kind : Value::Kind::Null, "kind");
    }

    void a_data_source_that_cannot_be_meant_is_refused()
    {
        const auto told = [](const char *source) {
            return test::errorOf([&] { static_cast<void>(describeSource(QString::fromLatin1(source), {}, u"/nowhere/"_s)); });
        };
        QVERIFY(told("MSSQL::../x.dsf").description().contains(u"cannot be a file"_s));
        QVERIFY(told("Payroll.dsf").description().contains(u"no known kind"_s));
        QVERIFY(told("ODBC::Server=x;PWD=geheim").description().contains(u"names neither a driver"_s));
        QVERIFY(!told("ODBC::Server=x;PWD=geheim").description().contains(u"geheim"_s));
        QCOMPARE(told("Oracle::none.dsf").number(), err::fileNotFound);
    }
};

QTEST_GUILESS_MAIN(OdbcStringsTest)
#include "odbc_strings_test.moc"
