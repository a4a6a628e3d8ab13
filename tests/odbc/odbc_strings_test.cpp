#include "OdbcRows.h"
#include "core/ConnectionString.h"
#include "engine/rows/OdbcSql.h"
#include "engine/rows/OdbcValues.h"
#include "engine/rows/RowSources.h"
#include "odbc/Connection.h"
#include "sqlite/Sqlite.h"
#include "support/ErrorOf.h"
#include "support/System.h"

#include <QtTest>

using namespace qm;
using namespace qm::odbc;
using namespace Qt::StringLiterals;

namespace {

/// What this computer lists while the test runs. No driver is loaded; the last one is SQLite's under another name.
constexpr char kDrivers[] = "[FreeTDS]\nDriver=libtdsodbc.so\n[PostgreSQL Unicode]\nDriver=psqlodbcw.so\n"
                            "[ODBC Driver 18 for SQL Server]\nDriver=libmsodbcsql.so\n[Oracle 21 ODBC driver]\nDriver=libsqora.so\n"
                            "[SQLite3]\nDriver=libsqlite3odbc.so\n[Other engine]\nDriver=libother.so\n"
                            "[Ledger reader]\nDriver=libsqlite3odbc.so\n";
constexpr char kDsns[] = "[events]\nDriver=PostgreSQL Unicode\nFetch=10\n[ledger]\nDriver=Ledger reader\nDatabase=%1/outside.db\n";

} // namespace

/// What is worked out before and after a driver is called.
class OdbcStringsTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    [[nodiscard]] QString installation() const { return m_folder.filePath(u"installation/"_s); }
    [[nodiscard]] SourceDescription source(const QString &connection) const
    {
        return describeSource(u"ODBC::"_s + connection, {}, installation());
    }
    static void write(const QString &path, const QByteArray &text)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
    }

private Q_SLOTS:
    void initTestCase()
    {
        write(m_folder.filePath(u"odbcinst.ini"_s), kDrivers);
        write(m_folder.filePath(u"odbc.ini"_s), QString::fromLatin1(kDsns).arg(m_folder.path()).toUtf8());
        qputenv("ODBCSYSINI", m_folder.path().toLocal8Bit());
        qputenv("ODBCINI", m_folder.filePath(u"none.ini"_s).toLocal8Bit());
        QVERIFY(QDir().mkpath(installation()));
        for (const char *name : {"installation/inside.db", "outside.db"}) {
            int code = SQLITE_OK;
            const auto made = sqlite::open(m_folder.filePath(QString::fromLatin1(name)), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
            QCOMPARE(sqlite::execute(made.get(), "CREATE TABLE t(a); INSERT INTO t VALUES(7)"), SQLITE_OK);
        }
    }

    void a_query_may_choose_neither_code_nor_files_data()
    {
        QTest::addColumn<QString>("connection");
        QTest::addColumn<QString>("refused"); // empty: it passes
        const auto row = [](const char *name, const char *connection, const char *refused) {
            QTest::newRow(name) << QString::fromUtf8(connection) << QString::fromUtf8(refused);
        };
        constexpr char kFile[] = "not a database's name", kOutside[] = "lies outside the installation";
        row("library", "Driver=/tmp/evil.so;Database=x", "no ODBC driver named \"/tmp/evil.so\" is installed");
        row("library in braces", " dRiVeR = {/tmp/evil.so}", "no ODBC driver named \"/tmp/evil.so\" is installed");
        row("library's name", "Driver=libtdsodbc.so", "no ODBC driver named \"libtdsodbc.so\" is installed");
        row("first of two drivers", "Driver=/tmp/evil.so;Driver=FreeTDS", "no ODBC driver named \"/tmp/evil.so\"");
        row("DSN that nobody listed", "DSN=default;Server=h", "no ODBC data source name \"default\". It has: events, ledger.");
        row("driver and DSN", "DSN=events;Driver=FreeTDS", "both a driver and a data source name");
        row("file DSN", "FILEDSN=/tmp/evil.dsn", "names neither a driver");
        row("file DSN beside a driver", "Driver=FreeTDS;FILEDSN=/tmp/evil.dsn", "may not set \"FILEDSN\" for FreeTDS");
        row("file that is written", "Driver=FreeTDS;SaveFile=/tmp/x", "may not set \"SaveFile\"");
        row("behind a quote", "Driver=FreeTDS;APP=\"x;SAVEFILE=/tmp/x;WSID=\"", "may not set \"SAVEFILE\"");
        row("dump", "Driver=FreeTDS;DumpFile=/tmp/x", "may not set \"DumpFile\"");
        row("library's options", "Driver=PostgreSQL Unicode;pqopt={sslkey=/tmp/k}", "may not set \"pqopt\"");
        row("SQL at connecting", "DSN=events;ConnSettings=COPY+t+TO+PROGRAM+'x'", "may not set \"ConnSettings\"");
        row("driver's log", "Driver=PostgreSQL Unicode;CommLog=1", "may not set \"CommLog\"");
        row("connection in a name", "Driver=PostgreSQL Unicode;Database={host=/tmp passfile=/tmp/p}", kFile);
        row("query log", "Driver=ODBC Driver 18 for SQL Server;QueryLogFile=/tmp/x", "may not set \"QueryLogFile\"");
        row("program in a descriptor", "Driver=Oracle 21 ODBC driver;DBQ=(ADDRESS=(PROTOCOL=BEQ)(PROGRAM=/bin/sh))", "may start programs");
        row("file of an unknown engine", "Driver=Other engine;Database=/home/x/secret.db", kFile);
        row("library of an unknown engine", "Driver=Other engine;PLUGIN_DIR=/tmp", "may not set \"PLUGIN_DIR\"");
        row("line end", "Driver=FreeTDS;Server=a\nb", "control character");
        row("extension", "Driver=SQLite3;Database=inside.db;LoadExt=/tmp/evil.so", "may not set \"LoadExt\"");
        row("extension of a DSN", "DSN=ledger;loadext=/tmp/evil.so", "may not set \"loadext\"");
        row("SQLite file", "Driver=SQLite3;Database=/etc/hostname", kOutside);
        row("SQLite file above", "Driver=SQLite3;Database=../outside.db", kOutside);
        row("SQLite under another name", "Driver=Ledger reader;Database=/etc/hostname", kOutside);
        row("SQLite without a file", "Driver=SQLite3", "names no database file");
        row("SQLite in the installation", "Driver=SQLite3;Database=inside.db;Timeout=100", "");
        row("SQLite of a DSN", "DSN=ledger", "");
        row("SQLite file beside a DSN", "DSN=ledger;Database=/etc/hostname", "may not set \"Database\" beside a DSN");
        row("options of a service", "Driver=Oracle 21 ODBC driver;DBQ=tcps://h/s?wallet_location=/tmp", "open files");
        for (const char *server : {"(LocalDB)\\x", "np:h", "lpc:h", "\\\\h\\pipe\\x", "{ np:h}"})
            row(server, (QByteArray("Driver=ODBC Driver 18 for SQL Server;Server=") + server).constData(), "open a pipe");
        row("bare name for an unknown engine", "Driver=Other engine;Database=secret", kFile);
        row("server", "Driver={freetds};Server=h;Port=1;UID=u;PWD={p;w};Database=sales;TDS_Version=7.3", "");
        row("DSN", "DSN=EVENTS;UID=u", "");
    }
    void a_query_may_choose_neither_code_nor_files()
    {
        if (test::onWindows())
            QSKIP("drivers are registered for the computer on Windows; the variables of a process change nothing");
        QFETCH(QString, connection);
        QFETCH(QString, refused);
        const QString told = test::errorOf([&] { static_cast<void>(source(connection)); }).description();
        if (refused.isEmpty())
            QCOMPARE(told, QString());
        else
            QVERIFY2(told.startsWith(u"The data source ODBC::"_s) && told.contains(refused), qPrintable(told));
        // The connection test and whoever else connects takes the same road.
        if (!refused.isEmpty() && refused != QStringLiteral("lies outside the installation"))
            QVERIFY(routeTo(Endpoint::ofOdbc(connection), std::chrono::milliseconds(1)).route.strings.empty());
    }

    void sqlite_is_read_by_the_embedded_reader_whatever_driver_is_named()
    {
        if (test::onWindows())
            QSKIP("drivers are registered for the computer on Windows; the variables of a process change nothing");
        for (const char *connection : {"DSN=ledger", "Driver=Ledger reader;Database=inside.db"}) {
            const SourceDescription description = source(QString::fromLatin1(connection));
            QVERIFY(!description.endpoint && description.dialect == SqlDialect::Sqlite);
            QCOMPARE(test::rowsOf(description, u"SELECT a FROM t"_s), QStringList(u"i:7"_s));
            const auto told = [&](const char *sql) {
                return test::errorOf([&] { test::rowsOf(description, QString::fromLatin1(sql)); }).description();
            };
            QVERIFY2(told("SELECT load_extension('/tmp/evil.so')").contains(u"Refused: the function load_extension"_s), connection);
            QVERIFY2(told("ATTACH '/tmp/made.db' AS x").contains(u"Refused: ATTACH"_s), connection);
        }
        QCOMPARE(test::numberOf([&] { test::rowsOf(source(u"Driver=SQLite3;Database=none.db"_s), u"SELECT 1"_s); }), err::fileNotFound);
        QVERIFY(!QFile::exists(installation() + u"none.db"_s));
    }

    void a_driver_reads_the_entries_that_were_looked_at_and_no_others_data()
    {
        QTest::addColumn<QString>("connection");
        QTest::addColumn<QStringList>("strings");
        QTest::newRow("doubled keys and quotes")
            << u" server=h; Server=other;Driver=freetds;APP=\"x;nothing;UID=u;PWD={s3;c={r}}et}"_s
            << QStringList{u"server=h;Driver={freetds};APP=\"x;UID=u;PWD={s3;c={r}et};TDS_Version=7.4;"_s,
                           u"server=h;Driver={freetds};APP={\"x};UID=u;PWD={s3;c={r}}et};TDS_Version=7.4;"_s};
        // U+013B, U+013D, U+017B and U+017D are ; = { } to whoever cuts characters to a byte.
        QTest::newRow("cut to bytes") << u"Driver=FreeTDS;APP=a\u013BDriver\u013D/x.so\u013Bx;WSID=\u017Bw;UID=\u017D"_s
                                      << QStringList(u"Driver={FreeTDS};APP={a\u013BDriver\u013D/x.so\u013Bx};WSID={\u017Bw};UID=\u017D;"
                                                     "TDS_Version=7.4;"_s);
        QTest::newRow("cut to bytes in braces") << u"Driver=FreeTDS;PWD={;\u017D\u013BDriver\u013D/x.so\u013Bx}"_s << QStringList();
        QTest::newRow("brace and blank") << u"Driver=FreeTDS;PWD={a}} ;Driver=/x.so;y}"_s
                                         << QStringList(u"Driver={FreeTDS};PWD={a}} ;Driver=/x.so;y};TDS_Version=7.4;"_s);
        QTest::newRow("what the DSN sets stays")
            << u"DSN=events;BoolsAsChar=1"_s
            << QStringList(u"DSN=events;BoolsAsChar=1;UseDeclareFetch=1;KeepaliveTime=30;KeepaliveInterval=10;"_s);
    }
    void a_driver_reads_the_entries_that_were_looked_at_and_no_others()
    {
        if (test::onWindows())
            QSKIP("drivers are registered for the computer on Windows; the variables of a process change nothing");
        QFETCH(QString, connection);
        const std::vector<QString> strings = routeTo(Endpoint::ofOdbc(connection), std::chrono::milliseconds(1)).route.strings;
        QTEST(QStringList(strings.begin(), strings.end()), "strings");
    }

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
        if (const auto text = escaped(value, Escaping::Bare); text && value == value.trimmed())
            QCOMPARE(parseOdbc(u"PWD=%1 ;x=1"_s.arg(*text)).value(u"pwd"), value);
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
        const Engine &server = engineOf(SqlDialect::MsSql), &oracle = engineOf(SqlDialect::Oracle);
        QCOMPARE(chooseDriver(server, installed), u"ODBC Driver 17 for SQL Server"_s);
        QCOMPARE(chooseDriver(server, {u"FREETDS"_s}), u"FREETDS"_s);
        QCOMPARE(chooseDriver(oracle, installed), u"Oracle 19 ODBC driver"_s);
        QCOMPARE(chooseDriver(oracle, {u"Some oracle thing"_s}), u"Some oracle thing"_s);
        QCOMPARE(chooseDriver(oracle, {u"FreeTDS"_s}), QString());
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
