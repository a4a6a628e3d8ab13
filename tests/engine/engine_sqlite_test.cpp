#include "engine/rows/CancelFlag.h"
#include "engine/rows/RowSample.h"
#include "engine/rows/RowSources.h"
#include "engine/rows/SqliteRowSource.h"
#include "support/ErrorOf.h"
#include "support/SecondProcess.h"
#include "support/System.h"

#include <QtTest>

#include <random>
#include <thread>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using qm::test::errorOf;
using qm::test::SecondProcess;

namespace {

constexpr char kEndless[] = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n WHERE i < 0";
constexpr char kCounting[] = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n";

qm::RunLimits noLimits()
{
    return {nullptr, 0s};
}

qm::sqlite::Connection openWritable(const QString &path)
{
    int code = SQLITE_OK;
    auto connection = qm::sqlite::open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
    if (code != SQLITE_OK)
        qFatal("cannot open %s", qPrintable(path));
    return connection;
}

void run(sqlite3 *connection, const char *sql)
{
    if (qm::sqlite::execute(connection, sql) != SQLITE_OK)
        qFatal("%s: %s", sql, sqlite3_errmsg(connection));
}

std::int64_t countRows(qm::RowSource &source)
{
    std::vector<qm::Value> row(source.columns().size());
    std::int64_t rows = 0;
    while (source.next(row))
        ++rows;
    return rows;
}

std::int64_t countRows(const QString &path, const char *sql = "SELECT * FROM t")
{
    qm::SqliteRowSource source(path, QString::fromUtf8(sql), {}, noLimits());
    return countRows(source);
}

/// A writer that committed once and is in its second transaction, with pages of it on the disk.
int write(const QString &path)
{
    const auto connection = openWritable(path);
    run(connection.get(), "PRAGMA cache_size=5");
    run(connection.get(), "INSERT INTO t VALUES(-1, 'committed')");
    run(connection.get(), "BEGIN");
    run(connection.get(), "UPDATE t SET b = 'lost'");
    SecondProcess::sayReady();
    SecondProcess::waitForGo();
    return 1; // it should not have lived to see that
}

/// Reads a database and says what there was.
int read(const QString &path)
{
    const auto error = errorOf(
        [&] { printf("%lld rows; %s\n", static_cast<long long>(countRows(path)), qPrintable(qm::describeSource({}, path, {}).shown)); });
    printf("%s", error.what());
    return 0;
}

} // namespace

class EngineSqliteTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;

    /// \p rows rows of t(a, b) in \p mode.
    void makeDatabase(const char *mode, int rows)
    {
        const auto connection = openWritable(m_path);
        run(connection.get(), qPrintable(u"PRAGMA journal_mode=%1"_s.arg(QLatin1String(mode))));
        run(connection.get(), "CREATE TABLE t(a INTEGER, b TEXT)");
        run(connection.get(), qPrintable(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT %1) "
                                         "INSERT INTO t SELECT i, hex(randomblob(200)) FROM n"_s.arg(rows)));
    }

    /// A writer in the middle of a transaction dies.
    void killWriter()
    {
        SecondProcess writer({m_path});
        QVERIFY(writer.isReady());
        writer.kill();
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(u"EventLog.db"_s);
    }

    void values_keep_their_types()
    {
        makeDatabase("WAL", 1);
        run(openWritable(m_path).get(), "CREATE TABLE v(i BIGINT, d datetime, x)");
        qm::BoundParameter parameter{u"P"_s, QByteArray("a'b\0c", 5), {}, {}, false};
        qm::SqliteRowSource source(m_path,
                                   u"SELECT -9223372036854775808 i, 1e999 r, :p t, x'00ff' b, NULL n, '' e, 2.5 h UNION ALL "
                                   "SELECT i, d, x, 0, 0, 0, 0 FROM v"_s,
                                   {parameter}, noLimits());
        QCOMPARE(source.columns().size(), std::size_t{7});
        std::vector<qm::Value> row(7);
        QVERIFY(source.next(row));
        QCOMPARE(row[0].integer, std::numeric_limits<std::int64_t>::min());
        QVERIFY(row[1].kind == qm::Value::Kind::Real && std::isinf(row[1].real));
        QVERIFY(row[2].text() == std::string_view("a'b\0c", 5));
        QVERIFY(row[3].kind == qm::Value::Kind::Blob && row[3].text() == std::string_view("\0\xff", 2));
        QVERIFY(row[4].isNull());
        QVERIFY(row[5].kind == qm::Value::Kind::Text && row[5].size == 0);
        QCOMPARE(row[6].real, 2.5);
        QVERIFY(!source.next(row));
        qm::SqliteRowSource typed(m_path, u"SELECT i, d, x, i + 1 FROM v"_s, {}, noLimits());
        QCOMPARE(typed.columns()[1].declaredType, std::string("DATETIME"));
        QCOMPARE(typed.columns()[3].declaredType, std::string());
    }

    void reading_is_permitted_data()
    {
        QTest::addColumn<QByteArray>("sql");
        for (const char *sql :
             {"SELECT count(*) OVER (ORDER BY a) FROM t", "SELECT value FROM json_each('[1,2]')", "SELECT name FROM pragma_table_info('t')",
              "PRAGMA table_info(t)", "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i < 9) SELECT * FROM n",
              "SELECT * FROM v", "SELECT * FROM f WHERE f MATCH 'word'", "VALUES (1), (2)", "EXPLAIN QUERY PLAN SELECT * FROM t",
              "; ;SELECT 1; -- done ;", "SELECT sql FROM sqlite_schema", "SELECT group_concat(b), sum(a), strftime('%H', a) FROM t"})
            QTest::newRow(sql) << QByteArray(sql);
    }
    void reading_is_permitted()
    {
        QFETCH(QByteArray, sql);
        makeDatabase("WAL", 3);
        run(openWritable(m_path).get(),
            "CREATE VIEW v AS SELECT a FROM t; CREATE VIRTUAL TABLE f USING fts5(x); INSERT INTO f VALUES('a word')");
        QVERIFY(countRows(m_path, sql.constData()) > 0);
    }

    void everything_else_is_refused_data()
    {
        QTest::addColumn<QByteArray>("sql");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char *sql, const char *reason) { QTest::newRow(sql) << QByteArray(sql) << QString::fromLatin1(reason); };
        row("DELETE FROM t", "DELETE t");
        row("INSERT INTO t VALUES(1,2)", "INSERT t");
        row("INSERT INTO t VALUES(1,2) RETURNING a", "INSERT t");
        row("UPDATE t SET a=1", "UPDATE t");
        row("UPDATE sqlite_master SET sql=''", "sqlite_master");
        row("CREATE TABLE x(a)", "only read");
        row("CREATE TEMP TABLE x(a)", "only read");
        row("DROP TABLE t", "only read");
        row("ALTER TABLE t ADD c", "ALTER TABLE");
        row("ATTACH '/tmp/quillmark-attached.db' AS x", "ATTACH");
        row("VACUUM", "this statement writes");
        row("VACUUM INTO 'copy.db'", "this statement writes");
        row("DETACH main", "DETACH");
        row("PRAGMA writable_schema=1", "PRAGMA writable_schema");
        row("PRAGMA journal_mode=DELETE", "PRAGMA journal_mode");
        row("PRAGMA query_only=0", "PRAGMA query_only");
        row("SELECT * FROM pragma_journal_mode", "journal_mode");
        row("BEGIN", "BEGIN");
        row("COMMIT", "BEGIN, COMMIT");
        row("SAVEPOINT s", "SAVEPOINT");
        row("REINDEX", "gives no columns");
        row("ANALYZE", "only read");
        row("SELECT load_extension('x')", "load_extension");
        row("SELECT fts3_tokenizer('simple')", "fts3_tokenizer");
        row("SELECT 1; DELETE FROM t", "line 1, column 11");
        row("SELECT 1;\n/* x */ SELECT 2", "line 2, column 9");
        row("SELECT a,\n  b FROM t WHERE\n   nosuch = 1", "line 3, column 4: no such column: nosuch");
        row("SELECT 'gr\xc3\xb6\xc3\x9f' AND FROM t", "line 1, column 19");
        row("SELECT a FROM", "incomplete input");
        row("", "no SQL statement");
        row(" -- nothing", "no SQL statement");
        row("SELECT ?", "Write parameters as :name");
        row("SELECT :x", "\"x\" has no value");
        row("SELECT json_extract('{', '$')", "malformed JSON");
        row("SELECT hex(zeroblob(9000000))", "longer than 16 MB");
    }
    void everything_else_is_refused()
    {
        QFETCH(QByteArray, sql);
        QFETCH(QString, reason);
        makeDatabase("WAL", 3);
        const QStringList before = QDir(m_folder->path()).entryList(QDir::Files);
        const auto error = errorOf([&] { countRows(m_path, sql.constData()); });
        QCOMPARE(error.number(), qm::err::reportFailed);
        QVERIFY2(error.description().contains(reason), error.what());
        QCOMPARE(countRows(m_path), std::int64_t{3});
        QVERIFY(!QFile::exists(u"/tmp/quillmark-attached.db"_s));
        QVERIFY(!QFile::exists(m_folder->filePath(u"copy.db"_s)) && !QFile::exists(u"copy.db"_s));
    }

    void what_is_no_database_is_told()
    {
        const auto tell = [&](const QString &path) { return errorOf([&] { countRows(path); }); };
        QCOMPARE(tell(m_path).number(), qm::err::fileNotFound);
        QCOMPARE(tell(m_folder->path()).number(), qm::err::pathFileAccess);
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(5000, 'x'));
        file.close();
        QVERIFY(tell(m_path).description().contains(u"is not an event database"_s));
        QVERIFY(!QFile::exists(m_path + u"-wal"_s));
    }

    void a_full_disk_beside_the_database_is_told()
    {
        if (!qm::test::SmallDisk::isPossible())
            QSKIP("this system limits no program's files");
        makeDatabase("WAL", 3);
        int number = 0;
        {
            const qm::test::SmallDisk disk(16);
            number = errorOf([&] { countRows(m_path); }).number();
        }
        QCOMPARE(number, int{qm::err::diskFull});
    }

    /// An import goes on while the report is read: the report holds what was there when it began.
    void one_run_sees_one_moment()
    {
        makeDatabase("WAL", 5000);
        std::atomic<bool> stop = false;
        std::atomic<int> commits = 0;
        std::thread importer([&] {
            const auto connection = openWritable(m_path);
            sqlite3_busy_timeout(connection.get(), 5000);
            while (!stop) {
                run(connection.get(), "BEGIN; INSERT INTO t SELECT a + 1, b FROM t LIMIT 50; DELETE FROM t WHERE rowid % 97 = 0; COMMIT");
                ++commits;
            }
        });
        for (int i = 0; i < 30; ++i) {
            qm::SqliteRowSource source(m_path, u"SELECT (SELECT count(*) FROM t) AS stated FROM t"_s, {}, noLimits());
            std::vector<qm::Value> row(1);
            QVERIFY(source.next(row));
            const std::int64_t stated = row[0].integer;
            const int before = commits;
            while (commits < before + 3)
                std::this_thread::sleep_for(1ms);
            QCOMPARE(countRows(source) + 1, stated);
        }
        stop = true;
        importer.join();
    }

    void a_killed_import_leaves_a_readable_database_data()
    {
        QTest::addColumn<QByteArray>("mode");
        QTest::newRow("write-ahead log") << QByteArray("WAL");
        QTest::newRow("rollback journal") << QByteArray("DELETE");
    }
    void a_killed_import_leaves_a_readable_database()
    {
        QFETCH(QByteArray, mode);
        makeDatabase(mode.constData(), 2000);
        killWriter();
        QVERIFY(QFile::exists(m_path + (mode == "WAL" ? u"-wal"_s : u"-journal"_s)));
        QCOMPARE(countRows(m_path, "SELECT * FROM t WHERE b <> 'lost'"), std::int64_t{2001});
        QCOMPARE(countRows(m_path, "SELECT * FROM t WHERE b <> 'lost'"), std::int64_t{2001});
    }

    /// A user who may read the file, but not write its folder.
    void another_user_reads_or_is_told_what_to_do()
    {
        if (qm::test::asNobody([] { return 0; }) != 0)
            QSKIP("needs to become another user");
        constexpr QFile::Permissions kOwner = QFile::ReadOwner | QFile::WriteOwner, kAll = kOwner | QFile::ExeOwner | QFile::ReadGroup |
                                                                                           QFile::ExeGroup | QFile::ReadOther |
                                                                                           QFile::ExeOther;
        QVERIFY(QFile::setPermissions(m_folder->path(), kAll));
        const auto asNobody = [&](const char *expected) {
            return qm::test::asNobody([&] {
                const auto error = errorOf([&] { countRows(m_path); });
                if (error.number() != 0)
                    fprintf(stderr, "%s\n", error.what());
                return error.number() == 0 ? 0 : error.description().contains(QLatin1String(expected)) ? 1 : 2;
            });
        };
        makeDatabase("WAL", 10);
        {
            const auto importer = openWritable(m_path);
            run(importer.get(), "INSERT INTO t VALUES(1, 'x')");
            QCOMPARE(asNobody(""), 0);
        }
        QCOMPARE(asNobody("give this user the right to write there"), 1);
        run(openWritable(m_path).get(), "PRAGMA journal_mode=DELETE; INSERT INTO t SELECT x.a, x.b FROM t x, t y, t z");
        QCOMPARE(asNobody(""), 0);
        killWriter();
        QCOMPARE(asNobody("Open it once as a user who may write"), 1);
        QVERIFY(QFile::setPermissions(m_path, kOwner));
        QCOMPARE(asNobody("not readable for this user"), 1);
    }

    void a_locked_database_is_waited_for()
    {
        makeDatabase("DELETE", 10);
        const auto writer = openWritable(m_path);
        run(writer.get(), "BEGIN EXCLUSIVE");
        std::thread release([&] {
            std::this_thread::sleep_for(300ms);
            run(writer.get(), "COMMIT");
        });
        QCOMPARE(countRows(m_path), std::int64_t{10});
        release.join();

        run(writer.get(), "BEGIN EXCLUSIVE");
        const auto cancel = std::make_shared<qm::CancelFlag>();
        std::thread operatorThread([&] {
            std::this_thread::sleep_for(200ms);
            cancel->cancel();
        });
        const QElapsedTimer timer = [] {
            QElapsedTimer started;
            started.start();
            return started;
        }();
        const auto cancelled = errorOf([&] { qm::SqliteRowSource(m_path, u"SELECT * FROM t"_s, {}, {cancel, 0s}); });
        QCOMPARE(cancelled.number(), qm::err::cancelledByOperator);
        QVERIFY(timer.elapsed() < 8000);
        operatorThread.join();
        const auto locked = errorOf([&] { countRows(m_path); });
        QVERIFY2(locked.description().contains(u"locked by another program for 10 seconds"_s), locked.what());
        QVERIFY(timer.elapsed() > 10000);
    }

    void a_cancel_is_never_lost()
    {
        makeDatabase("WAL", 100);
        std::mt19937 random(20261121);
        std::uniform_int_distribution<int> delay(0, 3000);
        for (int i = 0; i < 500; ++i) {
            const auto cancel = std::make_shared<qm::CancelFlag>();
            const int microseconds = i == 0 ? 0 : delay(random);
            std::thread operatorThread([&] {
                std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
                cancel->cancel();
            });
            if (i % 50 == 0)
                cancel->cancel(); // before the run begins
            const auto error = errorOf([&] {
                qm::SqliteRowSource source(m_path, QString::fromLatin1(i % 2 ? kEndless : kCounting), {}, {cancel, 0s});
                countRows(source);
            });
            operatorThread.join();
            QVERIFY2(error.number() == qm::err::cancelledByOperator, error.what());
        }
    }

    void a_time_out_or_a_cancel_ends_the_run_without_another_row_data()
    {
        QTest::addColumn<QByteArray>("sql");
        QTest::addColumn<bool>("isCancelled");
        // One step of the statement may take long by itself, with few looks at the clock between its steps.
        const QByteArray expensive("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT 4000) "
                                   "SELECT max(length(hex(zeroblob(4000000 + i)))) FROM n");
        QTest::newRow("endless") << QByteArray(kEndless) << false;
        QTest::newRow("expensive functions") << expensive << false;
        QTest::newRow("expensive functions, cancelled") << expensive << true;
        QTest::newRow("one huge row") << "SELECT " + QByteArray("length(hex(zeroblob(8000000))) + ").repeated(500) + "1" << false;
    }
    void a_time_out_or_a_cancel_ends_the_run_without_another_row()
    {
        QFETCH(QByteArray, sql);
        QFETCH(bool, isCancelled);
        makeDatabase("WAL", 1);
        QElapsedTimer timer;
        timer.start();
        const auto cancel = std::make_shared<qm::CancelFlag>();
        std::jthread operatorThread([&] {
            std::this_thread::sleep_for(isCancelled ? 1s : 0s);
            if (isCancelled)
                cancel->cancel();
        });
        const auto error = errorOf([&] {
            qm::SqliteRowSource source(m_path, QString::fromLatin1(sql), {}, {cancel, isCancelled ? 0s : 1s});
            countRows(source);
        });
        QCOMPARE(error.number(), isCancelled ? qm::err::cancelledByOperator : qm::err::reportFailed);
        QVERIFY2(isCancelled || error.description().contains(u"time-out of 1 seconds"_s), error.what());
        QVERIFY2(timer.elapsed() >= 1000 && timer.elapsed() < 8000, qPrintable(QString::number(timer.elapsed())));
    }

    void memory_has_a_bound()
    {
        makeDatabase("WAL", 1);
        QCOMPARE(countRows(m_path), std::int64_t{1});
        const sqlite3_int64 bound = sqlite3_hard_heap_limit64(-1);
        QVERIFY(bound > 0 && bound <= sqlite3_int64{1} << 30);
        sqlite3_hard_heap_limit64(sqlite3_int64{40} << 20);
        const int number =
            errorOf([&] { countRows(m_path, "SELECT hex(zeroblob(8000000)), hex(zeroblob(8000001)), hex(zeroblob(8000002))"); }).number();
        sqlite3_hard_heap_limit64(bound);
        QCOMPARE(number, int{qm::err::outOfMemory});
    }

    void a_medium_that_cannot_be_written_is_read_as_it_stands_data()
    {
        QTest::addColumn<QByteArray>("mode");
        QTest::addColumn<bool>("closed"); // nothing stands in the log alone
        QTest::addColumn<QByteArray>("said");
        QTest::newRow("closed log") << QByteArray("WAL") << true
                                    << QByteArray("10 rows; event database EventLog.db (on a read-only medium, read as it stands there)");
        QTest::newRow("rows in the log") << QByteArray("WAL") << false << QByteArray("stand only in the log beside it");
        QTest::newRow("rollback journal") << QByteArray("DELETE") << true << QByteArray("10 rows; event database EventLog.db\n");
    }
    void a_medium_that_cannot_be_written_is_read_as_it_stands()
    {
        QFETCH(QByteArray, mode);
        QFETCH(bool, closed);
        QFETCH(QByteArray, said);
        if (qm::test::onWindows())
            QSKIP("needs to mount a folder without the right to write");
        // The name is one that a URI would take apart.
        const QString medium = m_folder->filePath(u"med?ium #1%20"_s);
        QVERIFY(QDir().mkpath(medium));
        makeDatabase(mode.constData(), 10);
        const auto writer = closed ? qm::sqlite::Connection() : openWritable(m_path);
        if (writer)
            run(writer.get(), "INSERT INTO t VALUES(11, 'in the log')");
        for (const char *suffix : {"", "-wal"})
            QFile::copy(m_path + QLatin1StringView(suffix), medium + u"/EventLog.db"_s + QLatin1StringView(suffix));
        QProcess reader;
        reader.start(u"unshare"_s, {u"-m"_s, u"sh"_s, u"-c"_s,
                                    u"mount --bind \"$1\" \"$1\" && mount -o remount,ro,bind \"$1\" || exit 125;"
                                    "exec \"$0\" --child read \"$1/EventLog.db\""_s,
                                    QCoreApplication::applicationFilePath(), medium});
        if (!reader.waitForFinished() || reader.exitCode() == 125)
            QSKIP("needs to mount a folder without the right to write");
        const QByteArray out = reader.readAllStandardOutput();
        QVERIFY2(out.contains(said), out + reader.readAllStandardError());
    }

    void a_sample_keeps_its_rows()
    {
        makeDatabase("WAL", 300);
        qm::SqliteRowSource source(m_path, u"SELECT a, 'x' || a, NULL, x'' FROM t ORDER BY a"_s, {}, noLimits());
        const qm::RowSample sample(source);
        QCOMPARE(sample.rows(), qm::RowSample::kRows);
        QVERIFY(!sample.isWhole());
        QCOMPARE(countRows(source), std::int64_t{100});
        for (std::size_t i = 0; i < sample.rows(); ++i) {
            QCOMPARE(sample.row(i)[0].integer, static_cast<std::int64_t>(i + 1));
            QVERIFY(sample.row(i)[1].text() == "x" + std::to_string(i + 1));
        }
        qm::SqliteRowSource large(m_path, u"SELECT zeroblob(3000000) FROM t"_s, {}, noLimits());
        QCOMPARE(qm::RowSample(large).rows(), std::size_t{2});
        qm::SqliteRowSource none(m_path, u"SELECT * FROM t WHERE 0"_s, {}, noLimits());
        QVERIFY(qm::RowSample(none).isWhole());
    }
};

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (const QStringList part = SecondProcess::part(); !part.isEmpty())
        return part[0] == u"read"_s ? read(part[1]) : write(part[0]);
    EngineSqliteTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "engine_sqlite_test.moc"
