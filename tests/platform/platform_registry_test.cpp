// Private profiles, the registry file, and the application log.

#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "platform/Registry.h"
#include "support/ErrorOf.h"
#include "support/System.h"
#include "support/TempInstallation.h"

#include <QtTest>

#include <thread>

using namespace qm;
using qm::test::errorOf;
using qm::test::numberOf;

class PlatformRegistryTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values_come_back_verbatim_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("value");
        const QByteArray section("[Section]\n");
        QTest::newRow("backslash at the end") << section + "Key=C:\\App\\new\\\n[x]\nKey=no\n" << u"C:\\App\\new\\"_qs;
        QTest::newRow("outer blanks") << section + " kEY \t=  a b \t\r\n" << u"a b"_qs;
        QTest::newRow("one pair of quotes") << section + "Key=\" a \"\n" << u" a "_qs;
        QTest::newRow("lone quote") << section + "Key=\"\n" << u"\""_qs;
        QTest::newRow("equals signs") << section + "Key=a=b;c\n" << u"a=b;c"_qs;
        QTest::newRow("empty") << section + "Key=\n" << u""_qs;
        QTest::newRow("percent and escapes") << section + "Key=%41\\x41\\n\n" << u"%41\\x41\\n"_qs;
        QTest::newRow("first key and section count") << section + "Key=1\nKey=2\n[SECTION]\nKey=3\n" << u"1"_qs;
        QTest::newRow("comment") << section + ";Key=1\n#Key=2\nKey=3" << u"3"_qs;
        QTest::newRow("mark of UTF-8") << QByteArray("\357\273\277[section]\r\nKey=\303\251\r\n") << QString::fromUtf8("\303\251");
        QTest::newRow("Latin-1") << section + "Key=\351\n" << QString::fromUtf8("\303\251");
        const QString wide = u"\uFEFF[Section]\r\nKey=中\r\n"_qs;
        QTest::newRow("UTF-16") << QByteArray(reinterpret_cast<const char *>(wide.utf16()), wide.size() * 2) << u"中"_qs;
        QTest::newRow("key of another section") << section + "[x]\nKey=1\n" << QString();
    }
    void values_come_back_verbatim()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, value);
        const QTemporaryDir folder;
        const QString path = folder.path() + u"/a.ini"_qs;
        files::saveAtomically(path, file);
        const auto read = privateProfileString(path, u"section"_qs, u"KEY"_qs);
        QCOMPARE(read.has_value(), !value.isNull());
        QCOMPARE(read.value_or(QString()), value);
    }

    void writing_one_value_keeps_every_other_line()
    {
        const QTemporaryDir folder;
        const QString path = folder.path() + u"/a.ini"_qs;
        files::saveAtomically(path, "; made by hand\n[A]\nx=1\n\n[B]\nx = 2\ny=3\n");
        setPrivateProfileString(path, u"b"_qs, u"X"_qs, u" C:\\new\\ "_qs);
        setPrivateProfileString(path, u"A"_qs, u"z"_qs, u"\"9\""_qs);
        setPrivateProfileString(path, u"C"_qs, u"x"_qs, u"4"_qs);
        QCOMPARE(files::readAll(path), QByteArray("; made by hand\n[A]\nx=1\nz=\"\"9\"\"\n\n[B]\nX=\" C:\\new\\ \"\ny=3\n\n[C]\nx=4\n"));
        QCOMPARE(privateProfileString(path, u"B"_qs, u"x"_qs), u" C:\\new\\ "_qs);
        QCOMPARE(privateProfileString(path, u"A"_qs, u"z"_qs), u"\"9\""_qs);
        QCOMPARE(privateProfileSections(path), (QStringList{u"A"_qs, u"B"_qs, u"C"_qs}));
        QCOMPARE(numberOf([&] { setPrivateProfileString(path, u"A"_qs, u"x"_qs, u"1\n[B]"_qs); }), 5);
        QVERIFY(!privateProfileString(folder.path() + u"/none.ini"_qs, u"A"_qs, u"x"_qs));
    }

    void the_installation_is_found_in_the_users_then_the_systems_folder()
    {
        const test::TempInstallation installation;
        QCOMPARE(GetInstallPath(), installation.path());
        QCOMPARE(privateProfileString(installation.path() + u"Packages.ini"_qs, u"Framework"_qs, u"ServicePack"_qs), u"4"_qs);

        if (test::onWindows())
            QSKIP("the registry of Windows has one place for the machine; platform_windows_test looks at it");
        const QTemporaryDir system;
        QVERIFY(QDir().mkpath(system.path() + u"/tarrowind"_qs));
        const QString hive = system.path() + u"/tarrowind/registry.ini"_qs;
        files::saveAtomically(hive, "[SOFTWARE\\Tarrowind\\Quillmark\\Report Framework\\8.50.000]\nInstallPath=C:\\App\n");
        qputenv("XDG_CONFIG_DIRS", "relative:" + QFile::encodeName(system.path()));
        QCOMPARE(GetInstallPath(), installation.path());
        installation.removeRegistryEntry();
        QCOMPARE(GetInstallPath(), u"C:\\App"_qs); // unchanged: no separator is added

        files::saveAtomically(hive, "[SOFTWARE\\Tarrowind\\Quillmark\\Report Framework\\8.50.000]\nInstallPath=\n");
        QCOMPARE(numberOf([] { (void)GetInstallPath(); }), 13);
        files::kill(hive);
        const RuntimeError error = errorOf([] { (void)GetInstallPath(); });
        QCOMPARE(error.number(), 53);
        QVERIFY2(error.description().contains(hive) && error.description().contains(u"InstallPath"_qs), error.what());
    }

    void a_fact_is_one_line_in_the_log()
    {
        const test::TempInstallation installation;
        {
            ApplicationLog log(installation.path(), u"quillmark"_qs);
            log.info(u"report \"x\"\r\n2026-01-01 forged\u2028line\u001b[31m\u202Egnp {} %s\u200B\U000E0041"_qs);
            log.error(QString::fromUtf8("caf\303\251"));
        }
        const QList<QByteArray> lines = installation.read(u"Logs/quillmark.log"_qs).replace("\r\n", "\n").split('\n');
        QCOMPARE(lines.size(), 3);
        QVERIFY2(lines[0].endsWith(" info: report \"x\"\\r\\n2026-01-01 forged\\u2028line\\u001b[31m\\u202egnp {} %s\\u200b\\U000e0041"),
                 lines[0].constData());
        QVERIFY2(lines[1].endsWith(" error: caf\303\251"), lines[1].constData());
        QVERIFY(QRegularExpression(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}[+-]\\d\\d:\\d\\d \\d+ info: "_qs)
                    .match(QString::fromUtf8(lines[0]))
                    .hasMatch());
    }

    void programs_that_fill_a_log_at_once_lose_none_of_it()
    {
        const test::TempInstallation installation;
        constexpr int writers = 8, each = 250;
        const QString text(10'000, u'x');
        std::vector<std::thread> threads;
        for (int writer = 0; writer < writers; ++writer)
            threads.emplace_back([&, writer] {
                ApplicationLog log(installation.path(), u"quillmark"_qs); // takes turns with the others as another program's would
                for (int i = 0; i < each; ++i)
                    log.info(QStringLiteral("<%1 %2> %3").arg(writer).arg(i).arg(text));
            });
        for (std::thread &thread : threads)
            thread.join();
        const QDir logs(installation.path() + u"Logs"_qs);
        QCOMPARE(logs.entryList(QDir::Files | QDir::Hidden).size(), 4);
        QByteArray all;
        for (const QString &name : logs.entryList(QDir::Files)) {
            QVERIFY2(QFileInfo(logs.filePath(name)).size() <= (5 << 20), qPrintable(name));
            all += installation.read(logs.filePath(name));
        }
        QCOMPARE(all.count('\n'), writers * each);
        for (int writer = 0; writer < writers; ++writer)
            for (int i = 0; i < each; i += 7)
                QCOMPARE(all.count('<' + QByteArray::number(writer) + ' ' + QByteArray::number(i) + '>'), 1);
    }

    void a_log_is_not_made_where_the_installation_was()
    {
        const test::TempInstallation installation;
        ApplicationLog log(installation.path(), u"quillmark"_qs);
        log.info(u"first"_qs);
        const QString here = installation.path().chopped(1), away = here + u" away"_qs;
        QVERIFY(QDir().rename(here, away) && QDir().mkdir(here)); // as the folder under a disk that is gone
        log.info(u"lost"_qs);
        QCOMPARE(QDir(here).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
        QVERIFY(QDir().rmdir(here) && QDir().rename(away, here));
        QVERIFY(QDir(here + u"/Logs"_qs).removeRecursively());
        log.info(u"second"_qs);
        QVERIFY(installation.read(u"Logs/quillmark.log"_qs).contains("info: second"));
    }

    void a_log_that_cannot_be_written_stays_silent()
    {
        const QTemporaryDir folder;
        ApplicationLog nowhere(folder.path() + u"/gone/"_qs, u"quillmark"_qs);
        nowhere.info(u"x"_qs);
        QVERIFY(!QFile::exists(folder.path() + u"/gone"_qs));
        files::saveAtomically(folder.path() + u"/Logs"_qs, "a file where the folder should be");
        ApplicationLog blocked(folder.path() + u'/', u"quillmark"_qs);
        blocked.error(u"x"_qs);
        ApplicationLog unset({}, u"quillmark"_qs);
        unset.error(u"x"_qs);
        QVERIFY(!QFile::exists(u"Logs"_qs));
    }
};

QTEST_GUILESS_MAIN(PlatformRegistryTest)
#include "platform_registry_test.moc"
