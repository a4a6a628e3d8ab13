// quillmark-import on CSV: what arrives, what is refused and where, and that whatever goes wrong leaves the old data whole.

#include "importing/EventImport.h"
#include "importing/ImportError.h"
#include "support/System.h"
#include "support/ToolRun.h"

#include <QTemporaryDir>

#include <csignal>

using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// Fails one flush of the database's log of changes, or all from that one on; everything else is the system's own.
class FailingDisk final
{
public:
    FailingDisk(int failingSync, bool forGood)
    {
        s_left = failingSync;
        s_forGood = forGood;
        s_system = sqlite3_vfs_find(nullptr);
        m_vfs = *s_system;
        m_vfs.zName = "failing";
        m_vfs.xOpen = [](sqlite3_vfs *, sqlite3_filename name, sqlite3_file *file, int flags, int *given) {
            const int code = s_system->xOpen(s_system, name, file, flags, given);
            if (code == SQLITE_OK && (flags & SQLITE_OPEN_WAL) != 0) {
                s_systemFile = file->pMethods;
                s_file = *s_systemFile;
                s_file.xSync = [](sqlite3_file *log, int how) {
                    return --s_left == 0 || (s_left < 0 && s_forGood) ? SQLITE_IOERR_FSYNC : s_systemFile->xSync(log, how);
                };
                file->pMethods = &s_file;
            }
            return code;
        };
        sqlite3_vfs_register(&m_vfs, 1);
    }
    ~FailingDisk()
    {
        sqlite3_vfs_unregister(&m_vfs);
        sqlite3_vfs_register(s_system, 1);
    }
    FailingDisk(const FailingDisk &) = delete;
    FailingDisk &operator=(const FailingDisk &) = delete;

private:
    static inline int s_left = 0;
    static inline bool s_forGood = false;
    static inline sqlite3_vfs *s_system = nullptr;
    static inline const sqlite3_io_methods *s_systemFile = nullptr;
    static inline sqlite3_io_methods s_file{};
    sqlite3_vfs m_vfs{};
};

} // namespace

class ToolsImportTest final : public QObject
{
    Q_OBJECT

private:
    [[nodiscard]] QString path(const char *name) const { return m_folder->filePath(QString::fromLatin1(name)); }
    [[nodiscard]] QStringList arguments(const char *kind, const QStringList &inputs) const
    {
        return QStringList{u"--database"_s, path("log.db"), u"--kind"_s, QString::fromLatin1(kind)} + inputs;
    }
    [[nodiscard]] ToolResult import(const char *kind, const QByteArray &csv) const
    {
        writeFile(path("in.csv"), csv);
        return runTool("quillmark-import", arguments(kind, {path("in.csv")}));
    }
    [[nodiscard]] QStringList rows(const char *sql) const { return rowsOf(path("log.db"), QString::fromLatin1(sql)); }

    std::unique_ptr<QTemporaryDir> m_folder;

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
    }

    void tricky_csv_arrives_as_it_was_written()
    {
        const ToolResult result = import("server", "\xEF\xBB\xBF"
                                                   "id,Time_Generated,level,type,channel,computer,message,colour,event_id,user_name\r\n"
                                                   "7,2026-11-20T10:00:00.123Z,Error,Error,,,\"two \"\"quoted\"\" words,\r\nand a\nsecond "
                                                   "line\",red,4625,Ünïcode 用户 🙂\r\n"
                                                   "9,2026-11-20 12:30:00+02:00,Warning,Warning,System,PC,\"\",,,\n"
                                                   "8,\"2026-11-20\",Information,Audit Success,Security,\" PC \",\t,\"\"\"\",-5,O'Brien");
        QCOMPARE(result.err.trimmed(), u"quillmark-import: %1: column \"colour\" is not known and is skipped"_s.arg(path("in.csv")));
        QCOMPARE(result.code, 0);
        QCOMPARE(rows("SELECT id,time_generated,level,channel,computer,message,event_id,user_name FROM server_events ORDER BY id"),
                 (QStringList{u"1|2026-11-20 10:00:00.123|Error|Unknown|(unknown)|two \"quoted\" words,\r\nand a\nsecond "
                              "line|4625|Ünïcode 用户 🙂"_s,
                              u"2|2026-11-20 10:30:00.000|Warning|System|PC|~|~|~"_s,
                              u"3|2026-11-20 00:00:00.000|Information|Security| PC |\t|-5|O'Brien"_s}));
        QCOMPARE(rows("SELECT typeof(event_id) FROM server_events WHERE id=1"), QStringList{u"integer"_s});
        QCOMPARE(rows("PRAGMA journal_mode"), QStringList{u"wal"_s});
        QCOMPARE(rows("SELECT title FROM event_types WHERE event_id=4625"), QStringList{u"Failed logon"_s});
        // Row ids go on after the largest one, whatever the file says.
        QCOMPARE(import("server", "id,time_generated,level,type\n1,2026-11-21,Error,Error\n").code, 0);
        QCOMPARE(rows("SELECT max(id) FROM server_events"), QStringList{u"4"_s});
    }

    void derived_columns_are_computed()
    {
        QCOMPARE(
            import("mail", "time,event,sender,recipient,sender_domain\n2026-11-20,FAIL,\"\"\"a@b\"\"@EXAMPLE.Org>\",nobody,wrong.example\n")
                .code,
            0);
        QCOMPARE(rows("SELECT sender_domain,recipient_domain FROM mail_events"), QStringList{u"example.org|~"_s});
        QVERIFY(QFile::remove(path("log.db")));
        const QByteArray head = "time,server,operation,result,path\n";
        QByteArray csv = head;
        for (const char *file : {"C:\\Data\\a.TXT", "C:\\root.ini", "\\\\srv\\share\\x\\y.tar.gz", "C:\\no.longextension", "plain",
                                 "/srv/data/.profile", "C:\\folder\\"})
            csv += QByteArray("2026-11-20,S,READ,SUCCESS,") + file + '\n';
        QCOMPARE(import("file", csv).code, 0);
        QCOMPARE(rows("SELECT folder,file_ext FROM file_events ORDER BY id"),
                 (QStringList{u"C:\\Data|txt"_s, u"C:\\|ini"_s, u"\\\\srv\\share\\x|gz"_s, u"C:\\|~"_s, u"~|~"_s, u"/srv/data|profile"_s,
                              u"C:\\folder|~"_s}));
    }

    void values_that_no_look_up_table_lists_are_told()
    {
        const ToolResult result = import("file", "time,server,operation,result\n2026-11-20,S,TELEPORT,SUCCESS\n");
        QCOMPARE(result.code, 0);
        QVERIFY2(result.err.contains(u"\"TELEPORT\" in column \"operation\" is not listed in file_operations"_s), qPrintable(result.err));
    }

    void a_fault_is_told_with_its_line_and_nothing_is_imported_data()
    {
        QTest::addColumn<QByteArray>("csv");
        QTest::addColumn<QString>("expected");
        const QByteArray head = "time_generated,level,type,event_id,message\n", good = "2026-11-20,Error,Error,1,text\n";
        const auto row = [](const char *name, const QByteArray &csv, const char *expected) {
            QTest::newRow(name) << csv << QString::fromUtf8(expected);
        };
        row("empty file", "", "line 1: the file is empty");
        row("no known column", "a,b\n1,2\n", "line 1: the first line names no column of server_events");
        row("required column missing", "time_generated,level\n",
            "line 1: the first line lacks what every row of server_events needs: type");
        row("column twice", "level,type,time_generated,LEVEL\n", "line 1: the first line names the column \"LEVEL\" twice");
        row("too few fields", head + good + "2026-11-20,Error,Error,1\n",
            "line 3: the record has 4 fields, but the first line names 5 columns");
        row("blank line", head + good + "\n" + good, "line 3: the line is empty");
        row("quote in a bare field", head + good + "2026-11-20,Error,Error,1,say \"hi\"\n",
            "line 3: a quotation mark stands inside a field");
        row("text after a quoted field", head + "2026-11-20,Error,Error,1,\"say\" hi\n", "line 2: text follows the closing quotation mark");
        row("never closed", head + good + "2026-11-20,Error,Error,1,\"say\nand\nso on\n",
            "line 3: the quotation mark that begins a field on this line is never closed");
        row("lines of a quoted field count", head + "2026-11-20,Error,Error,1,\"a\nb\nc\"\n2026-11-20,Error,Error,x1,d\n",
            "line 5: column \"event_id\" holds \"x1\"");
        row("lone carriage return", head + good + "2026-11-20,Error,Error,1,a\r2026-11-20,Error,Error,1,b\n",
            "line 3: a carriage return that ends no line");
        row("number too large", head + "2026-11-20,Error,Error,99999999999999999999,d\n", "line 2: column \"event_id\" holds");
        row("no such day", head + good + "2026-02-29,Error,Error,1,d\n",
            "line 3: column \"time_generated\" holds \"2026-02-29\", which is not a time");
        row("time empty", head + good + ",Error,Error,1,d\n", "line 3: column \"time_generated\" is empty");
        row("not UTF-8", head + good + "2026-11-20,Error,Error,1,caf\xE9\n", "line 3: the record holds bytes that are not UTF-8");
        row("NUL", head + good + QByteArray("2026-11-20,Error,Error,1,a\0b\n", 29), "line 3: the record holds a NUL character");
        row("binary event log", QByteArray("ElfFile\0\0", 9), "line 1: this is a binary Windows event log; export it as XML");
        row("compressed", "\x1F\x8B\x08", "line 1: this file is compressed");
    }
    void a_fault_is_told_with_its_line_and_nothing_is_imported()
    {
        QFETCH(QByteArray, csv);
        QFETCH(QString, expected);
        QCOMPARE(import("server", "time_generated,level,type\n2026-11-19,Error,Error\n").code, 0);
        const QByteArray before = readFile(path("log.db"));
        writeFile(path("good.csv"), "time_generated,level,type\n2026-11-18,Error,Error\n");
        writeFile(path("bad.csv"), csv);
        const ToolResult result = runTool("quillmark-import", arguments("server", {path("good.csv"), path("bad.csv")}));
        QCOMPARE(result.code, 1);
        QVERIFY2(result.err.contains(path("bad.csv") + u", "_s + expected), qPrintable(result.err));
        QVERIFY2(result.err.contains(u"nothing was imported"_s), qPrintable(result.err));
        QCOMPARE(rows("SELECT id,time_generated FROM server_events"), QStringList{u"1|2026-11-19 00:00:00.000"_s});
        QCOMPARE(readFile(path("log.db")), before);
    }

    void an_import_whose_last_step_fails_says_what_is_there()
    {
        writeFile(path("in.csv"), "time_generated,level,type\n2026-11-18,Error,Error\n2026-11-19,Error,Error\n");
        const qm::ImportRequest request{.database = path("log.db"), .kind = qm::EventKind::Server, .inputs = {path("in.csv")}};
        qm::importEvents(request, {});
        const auto count = [&] { return rows("SELECT count(*) FROM server_events").value(0).toInt(); };
        for (const bool forGood : {false, true}) {
            QString outcomes;
            for (int failingSync = 1; !outcomes.endsWith(u"arrived"_s) && failingSync < 20; ++failingSync) {
                const int before = count();
                // A report that reads meanwhile keeps the log where it is, and its sudden end has the next program recover what it holds.
                sqlite3 *reader = nullptr;
                QCOMPARE(sqlite3_open(path("log.db").toUtf8().constData(), &reader), SQLITE_OK);
                sqlite3_exec(reader, "SELECT count(*) FROM sqlite_schema", nullptr, nullptr, nullptr);
                QByteArray said;
                try {
                    const FailingDisk disk(failingSync, forGood);
                    qm::importEvents(request, {});
                    outcomes += u" arrived"_s;
                } catch (const qm::UncertainImport &error) {
                    outcomes += u" uncertain"_s;
                    said = error.what();
                } catch (const qm::RuntimeError &) {
                    outcomes += u" nothing"_s;
                }
                QFile::remove(path("copy.db"));
                QFile::remove(path("copy.db-wal"));
                QVERIFY(QFile::copy(path("log.db"), path("copy.db")));
                QFile::copy(path("log.db-wal"), path("copy.db-wal"));
                sqlite3_close(reader);
                const int recovered = rowsOf(path("copy.db"), u"SELECT count(*) FROM server_events"_s).value(0).toInt();
                if (outcomes.endsWith(u"uncertain"_s))
                    QVERIFY2(said.contains("Whether the rows are there is not known"), said.constData());
                else
                    QCOMPARE(recovered, before + (outcomes.endsWith(u"arrived"_s) ? 2 : 0));
            }
            QVERIFY2(outcomes.endsWith(u"arrived"_s), qPrintable(outcomes));
            QVERIFY2(outcomes.contains(forGood ? u"uncertain"_s : u"nothing"_s), qPrintable(outcomes));
        }
    }

    void databases_that_are_not_ours_stay_as_they_are()
    {
        const QByteArray csv = "time_generated,level,type\n2026-11-20,Error,Error\n";
        const auto refused = [&](const char *kind, const char *why) {
            const QByteArray before = readFile(path("log.db"));
            const ToolResult result = import(kind, csv);
            return result.code == 1 && result.err.contains(QString::fromUtf8(why)) && readFile(path("log.db")) == before
                       ? QString()
                       : u"%1: %2"_s.arg(result.code).arg(result.err);
        };
        writeFile(path("log.db"), QByteArray(4096, 'x'));
        QCOMPARE(refused("server", "is not an SQLite database"), QString());
        QVERIFY(QFile::remove(path("log.db")));
        sqlite3 *other = nullptr;
        QCOMPARE(sqlite3_open(path("log.db").toUtf8().constData(), &other), SQLITE_OK);
        QCOMPARE(sqlite3_exec(other, "CREATE TABLE accounts(a); INSERT INTO accounts VALUES(1)", nullptr, nullptr, nullptr), SQLITE_OK);
        QCOMPARE(refused("server", "is a database of something else: it has tables, but no table \"server_events\""), QString());
        QCOMPARE(sqlite3_exec(other, "CREATE TABLE server_events(id, level)", nullptr, nullptr, nullptr), SQLITE_OK);
        QCOMPARE(refused("server", "lacks the columns time_generated, record_id"), QString());
        sqlite3_close(other);
        QVERIFY(QFile::remove(path("log.db")));
        QCOMPARE(import("server", csv).code, 0);
        QVERIFY(QFile::setPermissions(path("log.db"), QFile::ReadOwner | QFile::ReadGroup));
        QCOMPARE(refused("server", "is read-only"), QString());
        const ToolResult lost =
            runTool("quillmark-import", {u"--database"_s, path("no/such/log.db"), u"--kind"_s, u"server"_s, path("in.csv")});
        QCOMPARE(lost.code, 1);
        QVERIFY2(lost.err.contains(u"its folder does not exist"_s), qPrintable(lost.err));
    }

    void wrong_usage_ends_with_2()
    {
        const QString input = path("in.csv");
        for (const QStringList &wrong :
             {QStringList{}, QStringList{u"--kind"_s, u"server"_s, input}, arguments("disk", {input}), arguments("server", {}),
              arguments("mail", {u"--format"_s, u"syslog"_s, input}), arguments("server", {u"--format"_s, u"pdf"_s, input}),
              arguments("server", {u"--colour"_s, input})}) {
            const ToolResult result = runTool("quillmark-import", wrong);
            QVERIFY2(result.code == 2 && result.err.contains(u"usage:"_s), qPrintable(wrong.join(u' ')));
        }
        const ToolResult missing = runTool("quillmark-import", arguments("server", {path("none.csv")}));
        QCOMPARE(missing.code, 1);
        QVERIFY2(missing.err.contains(u"there is no such file"_s), qPrintable(missing.err));
        QVERIFY(!QFile::exists(path("log.db")));
        QCOMPARE(runTool("quillmark-import", {u"--help"_s}).code, 0);
    }

    void a_killed_import_leaves_the_old_data_whole()
    {
        QCOMPARE(import("server", "time_generated,level,type\n2026-11-19,Error,Error\n").code, 0);
        constexpr int kRows = 60'000;
        QByteArray csv = "time_generated,level,type,message\n";
        for (int i = 0; i < kRows; ++i)
            csv += "2026-11-20,Error,Error,\"row " + QByteArray::number(i) + " of an import that does not end well\"\n";
        writeFile(path("long.csv"), csv);
        qint64 expected = 1;
        for (const int delayMs : {30, 90, 150, 220, 300, 400, 600}) {
            QProcess process;
            process.start(toolPath("quillmark-import"), arguments("server", {path("long.csv")}));
            if (!process.waitForFinished(delayMs))
                process.kill();
            process.waitForFinished();
            const qint64 count = rows("SELECT count(*) FROM server_events").value(0).toLongLong();
            QVERIFY2(count == expected || count == expected + kRows, qPrintable(QString::number(count)));
            expected = count;
            QCOMPARE(rows("PRAGMA integrity_check"), QStringList{u"ok"_s});
        }
        QCOMPARE(runTool("quillmark-import", arguments("server", {path("long.csv")})).code, 0);
        QCOMPARE(rows("SELECT count(*) FROM server_events"), QStringList{QString::number(expected + kRows)});
    }

    void a_second_importer_waits_and_readers_see_all_or_nothing()
    {
        const QByteArray head = "time_generated,level,type,message\n", row = "2026-11-20,Error,Error," + QByteArray(200, 'm') + '\n';
        constexpr int kRows = 10'000;
        QProcess first; // holds the database until its standard input ends
        first.start(toolPath("quillmark-import"), arguments("server", {u"-"_s}));
        QVERIFY(first.waitForStarted());
        first.write(head + row.repeated(kRows / 2));
        const auto journal = path("log.db-wal");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(journal), 10'000);
        QTest::qWait(500);
        writeFile(path("second.csv"), head + row);
        const ToolResult impatient =
            runTool("quillmark-import", QStringList{u"--wait"_s, u"1"_s} + arguments("server", {path("second.csv")}));
        QCOMPARE(impatient.code, 1);
        QVERIFY2(impatient.err.contains(u"is in use by another program that writes to it; waited 1 seconds"_s), qPrintable(impatient.err));
        QProcess second;
        second.start(toolPath("quillmark-import"), arguments("server", {path("second.csv")}));
        QVERIFY(!second.waitForFinished(1000));
        QCOMPARE(rows("SELECT count(*) FROM sqlite_schema"), QStringList{u"0"_s});
        first.write(row.repeated(kRows / 2));
        first.closeWriteChannel();
        QVERIFY(first.waitForFinished(60'000));
        QVERIFY2(first.exitCode() == 0, first.readAllStandardError().constData());
        QVERIFY(second.waitForFinished(60'000));
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(rows("SELECT count(*), max(id) FROM server_events"), QStringList{u"%1|%1"_s.arg(kRows + 1)});
    }

    void an_interrupted_import_says_so()
    {
        QProcess process;
        process.start(toolPath("quillmark-import"), arguments("server", {u"-"_s}));
        QVERIFY(process.waitForStarted());
        const QByteArray row = "2026-11-20,Error,Error\n";
        process.write("time_generated,level,type\n" + row.repeated(30'000));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path("log.db-wal")), 10'000);
        if (!interrupt(process, SIGTERM)) {
            process.kill();
            process.waitForFinished();
            QSKIP("a program without a console cannot be interrupted on Windows");
        }
        process.write(row.repeated(30'000));
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished(30'000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(process.readAllStandardError().contains("interrupted"));
        QCOMPARE(rows("SELECT count(*) FROM sqlite_schema"), QStringList{u"0"_s});
    }

    void real_events_arrive_row_for_row()
    {
        const QString data = qEnvironmentVariable("QM_SOURCE_DIR") + u"/../shared/data/"_s;
        if (!QFile::exists(data + u"build_db.py"_s))
            QSKIP("the shared event data is not on this machine");
        if (runHost(u"python3"_s, {data + u"build_db.py"_s, data, path("reference")}).code != 0)
            QSKIP("python3 is not on this machine");
        const QMap<QString, QString> tables{{u"server"_s, u"event_types,logon_types,server_events"_s},
                                            {u"mail"_s, u"mail_event_types,mail_status,mail_events"_s},
                                            {u"file"_s, u"file_operations,file_events"_s}};
        for (auto i = tables.begin(); i != tables.end(); ++i) {
            const QString database = m_folder->filePath(i.key() + u".db"_s);
            const QString reference = m_folder->filePath(u"reference/"_s + i.key() + u".db"_s);
            const ToolResult result =
                runTool("quillmark-import", {u"--database"_s, database, u"--kind"_s, i.key(), data + i.key() + u"_events.csv"_s});
            QVERIFY2(result.code == 0, qPrintable(result.err));
            for (const QString &table : i.value().split(u',')) {
                const QStringList all = rowsOf(reference, u"SELECT name FROM pragma_table_info('%1') WHERE name<>'id'"_s.arg(table));
                const QString columns = all.join(u',');
                const QString sql = u"SELECT %1 FROM %2 ORDER BY %1"_s.arg(columns, table);
                const QStringList expected = rowsOf(reference, sql);
                QVERIFY2(expected.size() > 5, qPrintable(table));
                QVERIFY2(rowsOf(database, sql) == expected, qPrintable(table));
            }
            const QString schema = u"SELECT type, name FROM sqlite_schema ORDER BY name"_s;
            QCOMPARE(rowsOf(database, schema), rowsOf(reference, schema));
        }
    }
};

QTEST_GUILESS_MAIN(ToolsImportTest)
#include "tools_import_test.moc"
