#include "OdbcRows.h"
#include "support/DatabaseServers.h"
#include "support/ErrorOf.h"
#include "support/SilentServer.h"

#include <QtTest>

#include <thread>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// One row of every type, and one of nothing. Longer names first: the order of short and long columns is mixed on purpose.
constexpr char kServerTypes[] = R"sql(
CREATE TABLE types(memo "nvarchar(max)", id int, small smallint, tiny tinyint, big bigint, flag bit, score float, born date, seen datetime,
  exact datetime2, balance decimal(18,2), wide decimal(38,10), price money, name nvarchar(40), city varchar(30), guid uniqueidentifier,
  pic "varbinary(max)", sign varbinary(8), last int);
INSERT INTO types VALUES(printf('%.*c', 34000, 'x') || 'Żółć', 1, -32768, 255, 9223372036854775807, 1, 3.5, '1980-02-29',
  '2024-05-06 07:08:09.123', '2024-05-06 07:08:09.123456', '-1234567890123.45', CAST('1234567890123456789012345678.1234567891' AS BLOB), '19.99',
  'Zoë Żółć 日本 😀', 'Malmö', '6F9619FF-8B86-D011-B42D-00C04FC964FF', zeroblob(100000), x'0001ff', 7);
INSERT INTO types(id) VALUES(2);
INSERT INTO types(memo, id, name, pic, seen) VALUES('', 3, '', x'', '1900-01-01');
CREATE TABLE many(id int, name nvarchar(40));
WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 20000) INSERT INTO many SELECT x, 'Kunde Ä ' || x FROM c;
)sql";

constexpr char kPostgresTypes[] = R"sql(
CREATE TABLE types(doc text, id int, small smallint, big bigint, flag boolean, score float8, weight real, born date, at time, seen timestamp,
  zoned timestamptz, balance numeric(18,2), free numeric, name varchar(40), endless varchar, code char(5), guid uuid, pic bytea, j json,
  price money, last int);
INSERT INTO types VALUES(repeat('x', 5000000) || 'Ż', 1, -32768, 9223372036854775807, true, -1e300, 0.1, '1980-02-29', '12:30:00.5',
  '2024-05-06 07:08:09.123456', '2024-05-06 07:08:09+02', -1234567890123.45, 12345678901234567890.1234567891, 'Zoë Żółć 日本 😀',
  repeat('é', 34000), 'ab', '6F9619FF-8B86-D011-B42D-00C04FC964FF', '\x0001ff', '{"a":1}', 12.5, 7);
INSERT INTO types(id) VALUES(2);
INSERT INTO types(doc, id, name, pic) VALUES('', 3, '', '');
CREATE TABLE many AS SELECT g AS id, 'Kunde ' || g AS name FROM generate_series(1, 300000) g;
)sql";

constexpr char kEndlessOnServer[] = "with recursive c(x) as (select 1 union all select x + 1 from c) select x from c";

qint64 residentKb()
{
    QFile status(u"/proc/self/statm"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    return status.readAll().split(' ').value(1).toLongLong() * 4;
}

} // namespace

/// Rows through real drivers from real servers.
class OdbcRowsTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TdsServer> m_tds;
    std::unique_ptr<PostgresServer> m_postgres;

    [[nodiscard]] SourceDescription tds() const { return odbcSource(m_tds->connection()); }
    [[nodiscard]] SourceDescription postgres() const { return odbcSource(m_postgres->connection()); }

    /// Runs of a thousand and more equal characters as "<34000 x>".
    static QString shortened(const QString &row)
    {
        QString result;
        for (qsizetype at = 0, end = 0; at < row.size(); at = end) {
            while (end < row.size() && row[end] == row[at])
                ++end;
            result += end - at < 1000 ? row.mid(at, end - at) : u"<%1 %2>"_s.arg(end - at).arg(row[at]);
        }
        return result;
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const char *driver : {"FreeTDS", "PostgreSQL Unicode"})
            if (const QString missing = missingDriver(QString::fromLatin1(driver)); !missing.isEmpty())
                QSKIP(qPrintable(missing));
        m_tds = std::make_unique<TdsServer>(kServerTypes);
        QVERIFY2(m_tds->problem().isEmpty(), qPrintable(m_tds->problem()));
        m_postgres = std::make_unique<PostgresServer>();
        if (!m_postgres->problem().isEmpty())
            QSKIP(qPrintable(m_postgres->problem()));
        QVERIFY(!m_postgres->run(QString::fromUtf8(kPostgresTypes)).isNull());
    }

    void every_type_arrives_whole_and_null_stays_null_data()
    {
        QTest::addColumn<bool>("onPostgres");
        QTest::addColumn<QString>("full");      // every column filled in
        QTest::addColumn<QStringList>("empty"); // pieces of the row of empty texts
        QTest::newRow("sql server") << false
                                    << u"t:<34000 x>Żółć | i:1 | i:-32768 | i:255 | i:9223372036854775807 | i:1 | r:3.5 | t:1980-02-29 | "
                                       "t:2024-05-06 07:08:09.123 | t:2024-05-06 07:08:09.123456 | r:-1234567890123.45 | "
                                       "t:1234567890123456789012345678.1234567891 | r:19.99 | t:Zoë Żółć 日本 😀 | t:Malmö | "
                                       "t:6F9619FF-8B86-D011-B42D-00C04FC964FF | b:<200000 0> | b:0001ff | i:7"_s
                                    << QStringList{u"t: | i:3 | NULL"_s, u"t:1900-01-01 00:00:00 |"_s, u" | b: | NULL"_s};
        QTest::newRow("postgresql")
            << true
            << QStringLiteral("t:<5000000 x>Ż | i:1 | i:-32768 | i:9223372036854775807 | i:1 | r:-1e+300 | r:0.1 | t:1980-02-29 | "
                              "t:12:30:00.5 | t:2024-05-06 07:08:09.123456 | t:2024-05-06 05:08:09 | r:-1234567890123.45 | "
                              "t:12345678901234567890.1234567891 | t:Zoë Żółć 日本 😀 | t:<34000 é> | t:ab    | "
                              "t:6F9619FF-8B86-D011-B42D-00C04FC964FF | b:0001ff | t:{\"a\":1} | t:$12.50 | i:7")
            << QStringList{u"t: | i:3 |"_s, u" | b: | "_s};
    }
    void every_type_arrives_whole_and_null_stays_null()
    {
        QFETCH(bool, onPostgres);
        QFETCH(QString, full);
        QFETCH(QStringList, empty);
        const QStringList rows = rowsOf(onPostgres ? postgres() : tds(), u"select * from types order by id"_s);
        QCOMPARE(rows.size(), 3);
        QCOMPARE(shortened(rows[0]).split(u" | "_s).join(u'\n'), full.split(u" | "_s).join(u'\n'));
        QCOMPARE(rows[1], u"NULL | i:2"_s + u" | NULL"_s.repeated(full.count(u" | "_s) - 1));
        QVERIFY(rows[2].startsWith(empty.first()));
        for (const QString &piece : empty)
            QVERIFY2(rows[2].contains(piece), qPrintable(rows[2]));
    }

    void declared_types_name_what_the_columns_hold()
    {
        const auto declared = [](const SourceDescription &source, const char *columns) {
            const auto rows = openRowSource(source, u"select %1 from types"_s.arg(QString::fromLatin1(columns)), {}, noLimits());
            QStringList types;
            for (const ResultColumn &column : rows->columns())
                types << QString::fromStdString(column.name + ' ' + column.declaredType);
            return types.join(u',');
        };
        QCOMPARE(declared(postgres(), "id, flag, score, born, at, zoned, balance, doc, pic, count(*) over() as n"),
                 u"id INTEGER,flag BOOLEAN,score REAL,born DATE,at TIME,zoned TIMESTAMP,balance DECIMAL,doc VARCHAR,pic BLOB,"
                 "n INTEGER"_s);
        QCOMPARE(declared(tds(), "id, flag, score, born, seen, balance, memo, pic"),
                 u"id INTEGER,flag BOOLEAN,score REAL,born DATE,seen TIMESTAMP,balance DECIMAL,memo VARCHAR,pic BLOB"_s);
    }

    void parameters_travel_typed_and_in_any_script()
    {
        const QByteArray name = "Zoë Żółć 日本 😀";
        const std::vector<BoundParameter> values{
            parameter("name", name),
            parameter("id", std::int64_t{1}),
            parameter("score", -1e299),
            parameter("born", QByteArray("1980-02-29"), ParameterType::Date),
            parameter("flag", std::int64_t{1}, ParameterType::Boolean),
            parameter("date_from", QByteArray("2024-05-06 00:00:00"), ParameterType::Text, true),
            parameter("date_to", QByteArray("2024-05-07 00:00:00"), ParameterType::Text, true),
            parameter("long", QByteArray("x").repeated(9000)),
        };
        const QString where = u" from types where name = :name and id = :ID and born = :born and flag = :flag and seen >= :date_from "
                              "and seen < :date_to and :name <> :long"_s;
        std::vector<BoundParameter> withTime = values;
        withTime.push_back(parameter("at", QByteArray("12:30:01"), ParameterType::Time));
        QCOMPARE(rowsOf(postgres(), u"select id, name, :name::text"_s + where + u" and score < :score and at < :at"_s, withTime),
                 QStringList{QString::fromUtf8("i:1 | t:" + name + " | t:" + name)});
        QCOMPARE(rowsOf(tds(), u"select id, name"_s + where + u" and score > :score"_s, values),
                 QStringList{QString::fromUtf8("i:1 | t:" + name)});
        // An injected text stays a text.
        QCOMPARE(rowsOf(postgres(), u"select id from types where name = :n"_s, {parameter("n", QByteArray("' or ''='"))}), QStringList());
    }

    void a_procedure_may_count_rows_before_it_selects_and_fail_behind_them()
    {
        QCOMPARE(rowsOf(tds(), u"exec counts_first"_s), (QStringList{u"i:1"_s, u"i:2"_s, u"i:3"_s}));
        const QString late = errorOf([&] { rowsOf(tds(), u"exec fails_late"_s); }).description();
        QVERIFY2(late.contains(u"The check behind the rows failed."_s), qPrintable(late));
    }

    void the_servers_words_number_and_line_are_told()
    {
        const QString unknown = u"select id\nfrom types\njoin nosuch on 1=1"_s;
        const QString onServer = errorOf([&] { rowsOf(tds(), unknown); }).description();
        QVERIFY2(onServer.contains(u"in line 3, column 6: Invalid object name 'nosuch'. [native error 208"_s), qPrintable(onServer));
        const QString onPostgres = errorOf([&] { rowsOf(postgres(), unknown); }).description();
        QVERIFY2(onPostgres.contains(u"in line 3, column 6:"_s) && onPostgres.contains(u"relation \"nosuch\" does not exist"_s) &&
                     onPostgres.contains(u"42P01"_s),
                 qPrintable(onPostgres));
        const QString late = errorOf([&] { rowsOf(postgres(), u"select 1 / (2000 - id) from many"_s); }).description();
        QVERIFY2(late.contains(u"division by zero"_s), qPrintable(late));
        const QString between = errorOf([&] {
                                    rowsOf(tds(), u"select id, abs(case when id = 15000 then -9223372036854775807 - 1 "
                                                  "else id end) from many"_s);
                                }).description();
        QVERIFY2(between.contains(u"failed while giving rows"_s), qPrintable(between));
        const QString none = errorOf([&] { rowsOf(postgres(), u"show nosuch"_s); }).description();
        QVERIFY2(none.contains(u"nosuch"_s), qPrintable(none));
    }

    void nothing_is_written_whatever_the_sql_says()
    {
        const auto told = [&](const SourceDescription &source, const char *sql) {
            return errorOf([&] { rowsOf(source, QString::fromLatin1(sql)); }).description();
        };
        QVERIFY(told(tds(), "select 1; delete from types").contains(u"a second one begins"_s));
        const QString behind = told(postgres(), "with gone as (delete from types returning id) select * from gone");
        QVERIFY2(behind.contains(u"data-modifying"_s), qPrintable(behind));
        const QString undeclared = told(odbcSource(m_postgres->connection() + u";UseDeclareFetch=0"_s),
                                        "with gone as (delete from types returning id) select * from gone");
        QVERIFY2(undeclared.contains(u"read-only transaction"_s), qPrintable(undeclared));
        QVERIFY(told(postgres(), "select nextval('s'), set_config('transaction_read_only', 'off', false)").contains(u"\"s\""_s));
        QCOMPARE(m_postgres->run(u"select count(*) from types"_s).trimmed(), QByteArray("3"));
        QCOMPARE(rowsOf(tds(), u"select count(*) from types"_s), QStringList{u"i:3"_s});
    }

    void memory_does_not_grow_with_the_rows()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("the sanitizer keeps freed memory");
#endif
        const QString sql = u"select * from many"_s;
        rowsOf(postgres(), sql + u" limit 1000"_s);
        const auto rows = openRowSource(postgres(), sql, {}, noLimits());
        std::vector<Value> row(rows->columns().size());
        std::int64_t count = 0, sum = 0;
        qint64 early = 0;
        while (rows->next(row)) {
            sum += row[0].integer;
            if (++count == 50'000)
                early = residentKb();
        }
        QCOMPARE(count, std::int64_t{300'000});
        QCOMPARE(sum, std::int64_t{300'000} * 300'001 / 2);
        QVERIFY2(residentKb() - early < 4096, qPrintable(QString::number(residentKb() - early)));
    }

    void a_run_ends_at_its_time_out_data()
    {
        QTest::addColumn<bool>("onPostgres");
        QTest::addColumn<QString>("sql");
        QTest::newRow("postgresql, before the first row") << true << u"select pg_sleep(60)"_s;
        QTest::newRow("postgresql, between rows") << true << u"select id, case when id > 3000 then pg_sleep(0.2) end from many"_s;
        QTest::newRow("sql server") << false << u"with recursive c(x) as (select 1 union all select x+1 from c) select count(*) from c"_s;
    }
    void a_run_ends_at_its_time_out()
    {
        QFETCH(bool, onPostgres);
        QFETCH(QString, sql);
        QElapsedTimer elapsed;
        elapsed.start();
        const RunLimits limits(nullptr, std::chrono::seconds(1));
        const RuntimeError error = errorOf([&] { rowsOf(onPostgres ? postgres() : tds(), sql, {}, limits); });
        QVERIFY2(error.description().contains(u"time-out of 1 seconds"_s), qPrintable(error.description()));
        QVERIFY2(elapsed.elapsed() < 10'000, qPrintable(QString::number(elapsed.elapsed())));
    }

    void a_cancel_at_any_moment_ends_the_run_data()
    {
        QTest::addColumn<bool>("onPostgres");
        QTest::newRow("postgresql") << true;
        QTest::newRow("sql server") << false;
    }
    void a_cancel_at_any_moment_ends_the_run()
    {
        QFETCH(bool, onPostgres);
        const QString sql = onPostgres ? u"select * from generate_series(1, 1000000000)"_s : QString::fromLatin1(kEndlessOnServer);
        for (int i = 0; i < 12; ++i) {
            const auto cancel = std::make_shared<CancelFlag>();
            QElapsedTimer sinceCancel;
            std::jthread canceller([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(i * i * 2));
                sinceCancel.start();
                cancel->cancel();
            });
            const int number =
                numberOf([&] { rowsOf(onPostgres ? postgres() : tds(), sql, {}, RunLimits(cancel, std::chrono::seconds(0))); });
            canceller.join();
            QCOMPARE(number, err::cancelledByOperator);
            QVERIFY2(sinceCancel.elapsed() < 5000, qPrintable(QString::number(sinceCancel.elapsed())));
        }
        // Nothing is left running in the server.
        if (onPostgres)
            QTRY_COMPARE_WITH_TIMEOUT(m_postgres
                                          ->run(u"select count(*) from pg_stat_activity where query like "
                                                "'%generate_series(1, 1000000000)%' and pid <> pg_backend_pid()"_s)
                                          .trimmed(),
                                      QByteArray("0"), 5000);
    }

    void a_server_that_falls_silent_does_not_hold_the_run()
    {
        const auto cancel = std::make_shared<CancelFlag>();
        QElapsedTimer elapsed;
        std::jthread operatorThread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(700));
            m_postgres->freeze(true);
            elapsed.start();
            cancel->cancel();
        });
        const int number =
            numberOf([&] { rowsOf(postgres(), u"select pg_sleep(0.001) from many"_s, {}, RunLimits(cancel, std::chrono::seconds(0))); });
        operatorThread.join();
        m_postgres->freeze(false);
        QCOMPARE(number, err::cancelledByOperator);
        QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));

        const TdsServer stalling(kServerTypes, {u"--stall-after"_s, u"5000"_s});
        elapsed.restart();
        const RuntimeError error = errorOf(
            [&] { rowsOf(odbcSource(stalling.connection()), u"select * from many"_s, {}, RunLimits(nullptr, std::chrono::seconds(1))); });
        QVERIFY2(error.description().contains(u"time-out"_s), qPrintable(error.description()));
        QVERIFY2(elapsed.elapsed() < 6000, qPrintable(QString::number(elapsed.elapsed())));
    }

    void neither_a_cancel_nor_a_time_out_waits_for_a_server_that_is_silent_from_the_start()
    {
        const SilentServer silent;
        QVERIFY2(silent.problem().isEmpty(), qPrintable(silent.problem()));
        const auto cancel = std::make_shared<CancelFlag>();
        std::jthread canceller([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            cancel->cancel();
        });
        QElapsedTimer elapsed;
        elapsed.start();
        const QString connection = u"Driver=FreeTDS;Server=127.0.0.1;Port=%1;UID=a;PWD=b;Database=c"_s.arg(silent.port());
        QCOMPARE(numberOf([&] { rowsOf(odbcSource(connection), u"select 1"_s, {}, RunLimits(cancel, std::chrono::seconds(0))); }),
                 err::cancelledByOperator);
        QVERIFY2(elapsed.elapsed() < 8000, qPrintable(QString::number(elapsed.elapsed())));
        const QString late =
            errorOf([&] { rowsOf(odbcSource(connection), u"select 1"_s, {}, RunLimits(nullptr, std::chrono::seconds(1))); }).description();
        QVERIFY2(late.contains(u"cannot be reached. Network: the server did not answer within 1 seconds"_s), qPrintable(late));
    }

    void a_connection_cut_between_rows_is_no_end_of_the_rows()
    {
        const TdsServer dropping(kServerTypes, {u"--drop-after"_s, u"5000"_s});
        const QString onServer = errorOf([&] { rowsOf(odbcSource(dropping.connection()), u"select * from many"_s); }).description();
        QVERIFY2(onServer.contains(u"Unexpected EOF from the server"_s) && onServer.contains(u"connection is lost"_s),
                 qPrintable(onServer));

        const auto rows = openRowSource(postgres(), u"select * from many"_s, {}, noLimits());
        std::vector<Value> row(2);
        QVERIFY(rows->next(row));
        QVERIFY(!m_postgres
                     ->run(u"select pg_terminate_backend(pid) from pg_stat_activity where datname = 'sales' and pid <> pg_backend_pid()"_s)
                     .isNull());
        const QString onPostgres = errorOf([&] {
                                       while (rows->next(row)) {
                                       }
                                   }).description();
        QVERIFY2(onPostgres.contains(u"connection is lost"_s), qPrintable(onPostgres));
    }

    void a_server_that_was_restarted_serves_the_next_run()
    {
        TdsServer server(kServerTypes);
        const SourceDescription source = odbcSource(server.connection());
        const QString sql = u"select count(*) from many"_s;
        const QStringList expected{u"i:20000"_s};
        QCOMPARE(rowsOf(source, sql), expected);
        server.stop();
        const QString down = errorOf([&] { rowsOf(source, sql); }).description();
        QVERIFY2(down.contains(u"cannot be reached. Network: Unable to connect"_s) && !down.contains(u"PWD=pw"_s), qPrintable(down));
        server.restart();
        QCOMPARE(rowsOf(source, sql), expected);
    }
};

QTEST_GUILESS_MAIN(OdbcRowsTest)
#include "odbc_rows_test.moc"
