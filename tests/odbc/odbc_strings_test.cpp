#include "odbc/Connection.h"
#include "reporting/engine/OdbcSql.h"
#include "reporting/engine/OdbcValues.h"
#include "reporting/engine/RowSources.h"
#include "support/ErrorOf.h"

#include <QtTest>

using namespace qm;
using namespace qm::odbc;

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
        const Properties properties = parseAdo(QStringLiteral("Provider=SQLOLEDB.1;Provider=MSDAORA.1;a==b=c"));
        QCOMPARE(properties.value(u"provider"), QStringLiteral("SQLOLEDB.1"));
        QCOMPARE(properties.value(u"A=B"), QStringLiteral("c"));
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
        QTEST(escaped(value, Escaping::Bare).value_or(QStringLiteral("(impossible)")), "bare");
        QTEST(escaped(value, Escaping::Doubled).value_or(QStringLiteral("(impossible)")), "doubled");
        QCOMPARE(parseOdbc(QStringLiteral("PWD=%1;x=1").arg(*escaped(value, Escaping::Doubled))).value(u"pwd"), value);
    }

    void server_names_are_taken_apart_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("parts");
        QTest::newRow("host") << QStringLiteral("h") << QStringLiteral("h||0");
        QTest::newRow("port") << QStringLiteral("tcp:h , 1444") << QStringLiteral("h||1444");
        QTest::newRow("instance") << QStringLiteral("h\\inst") << QStringLiteral("h|inst|0");
        QTest::newRow("instance and port") << QStringLiteral("h\\inst,1444") << QStringLiteral("h|inst|1444");
        QTest::newRow("default instance") << QStringLiteral("h\\MSSQLSERVER") << QStringLiteral("h||0");
        QTest::newRow("this machine") << QStringLiteral("(local)\\x") << QStringLiteral("127.0.0.1|x|0");
        QTest::newRow("dot") << QStringLiteral(".") << QStringLiteral("127.0.0.1||0");
    }
    void server_names_are_taken_apart()
    {
        QFETCH(QString, server);
        const ServerAddress address = ServerAddress::of(server);
        QTEST(QStringLiteral("%1|%2|%3").arg(address.host, address.instance).arg(address.port), "parts");
    }

    void drivers_are_chosen_in_order_of_preference()
    {
        const QStringList installed{QStringLiteral("FREETDS"), QStringLiteral("Some oracle thing"),
                                    QStringLiteral("ODBC Driver 17 for SQL Server"), QStringLiteral("Oracle 19 ODBC driver")};
        QCOMPARE(sqlServerDriver(installed), QStringLiteral("ODBC Driver 17 for SQL Server"));
        QCOMPARE(sqlServerDriver({QStringLiteral("FREETDS")}), QStringLiteral("FREETDS"));
        QCOMPARE(oracleDriver(installed), QStringLiteral("Oracle 19 ODBC driver"));
        QCOMPARE(oracleDriver({QStringLiteral("Some oracle thing")}), QStringLiteral("Some oracle thing"));
        QCOMPARE(oracleDriver({QStringLiteral("FreeTDS")}), QString());
    }

    void the_record_that_says_most_comes_first()
    {
        // As the driver for SQL Server gives them when the database may not be opened.
        const ConnectFailure failure =
            judgeConnecting({{QStringLiteral("42000"), 18456, QStringLiteral("Login failed for user 'plain'."), 0},
                             {QStringLiteral("42000"), 4060, QStringLiteral("Cannot open database \"none\" requested by the login."), 0},
                             {QStringLiteral("08001"), 0, QStringLiteral("Unable to connect to data source"), 0}});
        QCOMPARE(failure.stage, Stage::Database);
        const QString text = explain(failure, QStringLiteral("FreeTDS"));
        QVERIFY2(text.startsWith(QStringLiteral("Database: Cannot open database \"none\" requested by the login. [native error 4060, ")),
                 qPrintable(text));
        QVERIFY(text.indexOf(QStringLiteral("18456")) > text.indexOf(QStringLiteral("Check the database's name")));
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
        row("with x as (select 1) select * from x", MsSql, "");
        row("delete from t", Standard, "begins no query");
        row("/* x */ drop table t", Oracle, "\"drop\" begins no query");
        row("select 1 delete from t", MsSql, "line 1, column 10");
        row("select * into copy from t", MsSql, "\"into\" writes");
        row("select [delete], \"drop\", 'update' from t -- insert", MsSql, "");
        row("select * from a inner merge join b on 1=1 option (merge union)", MsSql, "");
        row("select 1 from t option (use hint ('FORCE_LEGACY_CARDINALITY_ESTIMATION'))", MsSql, "");
        row("select 1 use master", MsSql, "\"use\" writes");
        row("select 1; waitfor delay '0'", MsSql, "a second one begins");
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
        const OdbcSql sql = withPositionalMarks(QStringLiteral("select ':a', x::text -- :a\nfrom t where b=:b\nand a=:A and b2=:b ;\n"),
                                                SqlDialect::PostgreSql, values);
        QCOMPARE(sql.text, QStringLiteral("select ':a', x::text -- :a\nfrom t where b=?\nand a=? and b2=?"));
        QCOMPARE(sql.values.size(), std::size_t{3});
        QCOMPARE(sql.values[0].name, QStringLiteral("B"));
        QCOMPARE(sql.values[1].name, QStringLiteral("a"));
        const auto refusal = [&](const char *text) {
            return test::errorOf([&] { static_cast<void>(withPositionalMarks(QString::fromLatin1(text), SqlDialect::Standard, values)); })
                .description();
        };
        QVERIFY(refusal("select ?").contains(QStringLiteral("has no name")));
        QVERIFY(refusal("select :c").contains(QStringLiteral("\"c\" has no value")));
    }

    void decimals_stay_exact_data()
    {
        QTest::addColumn<QByteArray>("digits");
        QTest::addColumn<Value::Kind>("kind"); // Null: stays text
        using Kind = Value::Kind;
        QTest::newRow("integer") << QByteArray("9223372036854775807") << Kind::Integer;
        QTest::newRow("beyond 64 bits") << QByteArray("9223372036854775808") << Kind::Null;
        QTest::newRow("15 digits") << QByteArray("-1234567890123.45") << Kind::Real;
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
            return test::errorOf([&] { static_cast<void>(describeSource(QString::fromLatin1(source), {}, QStringLiteral("/nowhere/"))); });
        };
        QVERIFY(told("MSSQL::../x.dsf").description().contains(QStringLiteral("cannot be a file")));
        QVERIFY(told("Payroll.dsf").description().contains(QStringLiteral("no known kind")));
        QVERIFY(told("ODBC::Server=x;PWD=geheim").description().contains(QStringLiteral("names neither a driver")));
        QVERIFY(!told("ODBC::Server=x;PWD=geheim").description().contains(QStringLiteral("geheim")));
        QCOMPARE(told("Oracle::none.dsf").number(), err::fileNotFound);
    }
};

QTEST_GUILESS_MAIN(OdbcStringsTest)
#include "odbc_strings_test.moc"
