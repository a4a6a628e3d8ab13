// Listing, finding, renaming, copying and deleting: the classic error numbers, and letter case that never makes two names.

#include "platform/Files.h"
#include "support/ErrorOf.h"
#include "support/System.h"

#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace qm;
using qm::test::errorOf;
using qm::test::numberOf;

class PlatformFilesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_at = m_folder->path() + QLatin1Char('/');
    }

    void a_listing_takes_what_the_mask_names_in_one_order()
    {
        for (const char *name :
             {"b.rqn", "A.RQN", "a.rqn", "10.rqn", "9.rqn", "\303\251.rqn", "\344\270\255.rqn", "x.rqnold", ".hidden.rqn"})
            make(QString::fromUtf8(name));
        QDir().mkpath(m_at + QStringLiteral("folder.rqn"));
        QDir().mkpath(m_at + QStringLiteral(".dark.rqn"));
        link("dead.rqn", "/nowhere/at/all");
        link("to-folder.rqn", m_folder->path().toUtf8());
        QCOMPARE(::mkfifo(native("pipe.rqn").constData(), 0600), 0);
        ::chmod(native("9.rqn").constData(), 0444);

        const QStringList files{u"10.rqn"_qs,
                                u"9.rqn"_qs,
                                u"A.RQN"_qs,
                                u"a.rqn"_qs,
                                u"b.rqn"_qs,
                                u"dead.rqn"_qs,
                                u"to-folder.rqn"_qs,
                                QString::fromUtf8("\303\251.rqn"),
                                QString::fromUtf8("\344\270\255.rqn")};
        QCOMPARE(files::list(m_at, u"*.rqn"_qs, attr::normal), files);
        QCOMPARE(files::list(m_at, u"*.RQN"_qs, attr::archive), files);
        const QStringList everything = files::list(m_at, u"*"_qs, attr::hidden | attr::directory | attr::archive);
        QCOMPARE(everything.size(), files.size() + 4); // .hidden, .dark, folder, x.rqnold
        QCOMPARE(everything.first(), u".dark.rqn"_qs);
        QVERIFY(files::list(m_at, u"*"_qs, attr::directory).contains(u"folder.rqn"_qs));
        QVERIFY(!files::list(m_at, u"*"_qs, attr::directory).contains(u".dark.rqn"_qs));
        QCOMPARE(files::list(m_at, u"pipe.rqn"_qs, attr::system), QStringList{u"pipe.rqn"_qs});
        for (qsizetype i = 1; i < everything.size(); ++i)
            QVERIFY(files::orderedBefore(everything[i - 1], everything[i]));
        QVERIFY(files::list(m_at + u"missing"_qs, u"*"_qs, 0).isEmpty());
        QVERIFY(files::list(m_at + u"b.rqn"_qs, u"*"_qs, 0).isEmpty());
        QVERIFY(files::list({}, u"*"_qs, 16).isEmpty());
    }

    void existence_ignores_letter_case_and_knows_no_wildcards()
    {
        make(u"Logons.rqn"_qs);
        QDir().mkpath(m_at + u"Daily"_qs);
        link("dead.rqn", "/nowhere/at/all");
        QVERIFY(files::fileExists(m_at + u"LOGONS.rqn"_qs));
        QCOMPARE(files::existingSpelling(m_at + u"logons.RQN"_qs), m_at + u"Logons.rqn"_qs);
        QCOMPARE(files::existingSpelling(m_at + u"none.rqn"_qs), m_at + u"none.rqn"_qs);
        QVERIFY(!files::fileExists(m_at + u"Daily"_qs)); // a folder is no file
        QVERIFY(files::entryExists(m_at + u"daily"_qs));
        QVERIFY(files::entryExists(m_at + u"Daily/"_qs));
        for (const char *name : {"*.rqn", "Logon?.rqn", "Da*"})
            QVERIFY(!files::entryExists(m_at + QString::fromLatin1(name)));
        QVERIFY(!files::fileExists({}));
        QVERIFY(!files::fileExists(m_at + QChar(u'\0') + u"x"_qs));
        QVERIFY(!files::fileExists(m_at + u"dead.rqn"_qs)); // nothing to read there
        QVERIFY(files::entryExists(m_at + u"Dead.rqn"_qs)); // but the name is taken
        QVERIFY(files::sameFile(m_at + u"logons.rqn"_qs, m_folder->path() + u"//Logons.rqn"_qs));
        QVERIFY(!files::sameFile(m_at + u"logons.rqn"_qs, m_at + u"dead.rqn"_qs));
    }

    void renaming_never_takes_another_entrys_place()
    {
        make(u"a.rqn"_qs, "one");
        make(u"b.rqn"_qs, "two");
        QDir().mkpath(m_at + u"sub"_qs);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"a.rqn"_qs, m_at + u"B.RQN"_qs); }), 58);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"a.rqn"_qs, m_at + u"SUB"_qs); }), 58);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"c.rqn"_qs, m_at + u"d.rqn"_qs); }), 53);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"a.rqn"_qs, m_at + u"gone/d.rqn"_qs); }), 76);
        for (const char *bad : {"a:b", "CON", "con.rqn", "x?", "end.", "blank ", "a\tb", "LPT1.txt"})
            QCOMPARE(numberOf([&] { files::rename(m_at + u"a.rqn"_qs, m_at + QString::fromLatin1(bad)); }), 52);
        QCOMPARE(content(u"a.rqn"_qs), QByteArray("one"));
        QCOMPARE(content(u"b.rqn"_qs), QByteArray("two"));
        files::rename(m_at + u"A.rqn"_qs, m_at + u"A.RQN"_qs);
        QCOMPARE(names(), (QStringList{u"A.RQN"_qs, u"b.rqn"_qs, u"sub"_qs}));
        files::rename(m_at + u"sub"_qs, m_at + u"Sub 2"_qs);
        files::rename(m_at + u"A.RQN"_qs, m_at + u"Sub 2/A.RQN"_qs);
        QCOMPARE(names(), (QStringList{u"b.rqn"_qs, u"Sub 2"_qs}));
    }

    void a_rename_to_another_drive_moves_the_whole_file()
    {
        const auto drive = [](const QString &folder) {
            struct stat status
            {
            };
            return ::stat(QFile::encodeName(folder).constData(), &status) == 0 ? status.st_dev : dev_t{};
        };
        QString elsewhere = u"/dev/shm"_qs;
        if (drive(elsewhere) == drive(m_at))
            elsewhere = qEnvironmentVariable("QM_BIN_DIR");
        if (drive(elsewhere) == drive(m_at))
            QSKIP("no second file system to write to");
        QTemporaryDir other(elsewhere + u"/qmXXXXXX"_qs);
        QVERIFY(other.isValid());
        make(u"a.rqn"_qs, QByteArray(300000, 'q'));
        files::rename(m_at + u"a.rqn"_qs, other.path() + u"/a.rqn"_qs);
        QVERIFY(names().isEmpty());
        QCOMPARE(files::readAll(other.path() + u"/a.rqn"_qs), QByteArray(300000, 'q'));
        QDir().mkpath(m_at + u"sub"_qs);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"sub"_qs, other.path() + u"/sub"_qs); }), 75);
        QVERIFY(QFile::exists(m_at + u"sub"_qs));
    }

    void copying_replaces_the_entry_of_that_name_in_its_spelling()
    {
        make(u"Logons.rqn"_qs, "old");
        make(u"new.rqn"_qs, "new");
        files::copy(m_at + u"NEW.rqn"_qs, m_at + u"logons.RQN"_qs);
        QCOMPARE(names(), (QStringList{u"Logons.rqn"_qs, u"new.rqn"_qs}));
        QCOMPARE(content(u"Logons.rqn"_qs), QByteArray("new"));
        QCOMPARE(numberOf([&] { files::copy(m_at + u"x"_qs, m_at + u"y"_qs); }), 53);
        QCOMPARE(numberOf([&] { files::copy(m_at + u"new.rqn"_qs, m_at + u"gone/y"_qs); }), 76);
        QCOMPARE(numberOf([&] { files::copy(m_at + u"new.rqn"_qs, m_at + u"New.RQN"_qs); }), 75);
        QCOMPARE(numberOf([&] { files::copy(m_folder->path(), m_at + u"y"_qs); }), 75);
        ::chmod(native("new.rqn").constData(), 0444);
        files::copy(m_at + u"new.rqn"_qs, m_at + u"kept.rqn"_qs);
        QVERIFY(files::fileAttributes(m_at + u"kept.rqn"_qs) & attr::readOnly);
    }

    void read_only_files_are_neither_deleted_nor_replaced()
    {
        make(u"a.rqn"_qs, "one");
        make(u"b.rqn"_qs, "two");
        files::setFileAttributes(m_at + u"a.rqn"_qs, attr::readOnly);
        QCOMPARE(files::fileAttributes(m_at + u"A.rqn"_qs), attr::readOnly);
        const RuntimeError error = errorOf([&] { files::kill(m_at + u"a.rqn"_qs); });
        QCOMPARE(error.number(), 75);
        QVERIFY2(error.description().contains(m_at + u"a.rqn"_qs), error.what());
        QCOMPARE(numberOf([&] { files::copy(m_at + u"b.rqn"_qs, m_at + u"a.rqn"_qs); }), 75);
        QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"a.rqn"_qs, "x"); }), 75);
        QCOMPARE(content(u"a.rqn"_qs), QByteArray("one"));
        files::setFileAttributes(m_at + u"a.rqn"_qs, attr::normal);
        files::kill(m_at + u"A.RQN"_qs);
        QCOMPARE(names(), QStringList{u"b.rqn"_qs});
        QCOMPARE(numberOf([&] { files::kill(m_at + u"a.rqn"_qs); }), 53);
        QCOMPARE(numberOf([&] { files::kill(m_folder->path()); }), 75);
        QCOMPARE(numberOf([&] { (void)files::fileAttributes(m_at + u"a.rqn"_qs); }), 53);
    }

    void what_another_user_may_not_write_is_error_75()
    {
        if (::geteuid() != 0)
            QSKIP("needs to change the user");
        const auto asOther = [](const auto &body) { return test::asNobody([&] { return numberOf(body); }); };
        make(u"a.rqn"_qs, "one");
        ::chmod(native("a.rqn").constData(), 0644);
        ::chmod(native("").constData(), 0777);
        QCOMPARE(asOther([&] { files::kill(m_at + u"a.rqn"_qs); }), 75);
        QCOMPARE(asOther([&] { files::saveAtomically(m_at + u"a.rqn"_qs, "x"); }), 75);
        ::chmod(native("").constData(), 0700);
        QCOMPARE(asOther([&] { (void)files::list(m_at, u"*"_qs, 0); }), 75);
    }

    void a_link_is_deleted_and_its_target_survives()
    {
        QTemporaryDir elsewhere;
        const QString kept = elsewhere.path() + u"/kept"_qs;
        QFile file(kept);
        QVERIFY(file.open(QIODevice::WriteOnly));
        link("to-folder", elsewhere.path().toUtf8());
        link("to-file", kept.toUtf8());
        QVERIFY(!(files::fileAttributes(m_at + u"to-folder"_qs) & attr::directory));
        QCOMPARE(numberOf([&] { files::removeFolder(m_at + u"to-folder"_qs); }), 75);
        for (const QString &name : files::list(m_at, u"*"_qs, attr::hidden | attr::directory))
            files::kill(m_at + name);
        QVERIFY(names().isEmpty());
        QVERIFY(QFile::exists(kept));
    }

    void folders_are_made_and_removed_with_the_classic_numbers()
    {
        files::makeFolder(m_at + u"Daily"_qs);
        QCOMPARE(numberOf([&] { files::makeFolder(m_at + u"daily"_qs); }), 75);
        QCOMPARE(numberOf([&] { files::makeFolder(m_at + u"no/daily"_qs); }), 76);
        QCOMPARE(numberOf([&] { files::makeFolder(m_at + u"a*"_qs); }), 52);
        QCOMPARE(numberOf([&] { files::makeFolder(m_at + QString(101, QChar(0x4E2D))); }), 52);
        make(u"Daily/x"_qs);
        QCOMPARE(numberOf([&] { files::removeFolder(m_at + u"Daily"_qs); }), 75);
        files::kill(m_at + u"Daily/x"_qs);
        files::removeFolder(m_at + u"DAILY/"_qs);
        QCOMPARE(numberOf([&] { files::removeFolder(m_at + u"Daily"_qs); }), 76);
        const QString before = files::currentFolder();
        files::setCurrentFolder(m_folder->path());
        QCOMPARE(QDir(files::currentFolder()).canonicalPath(), QDir(m_folder->path()).canonicalPath());
        QCOMPARE(numberOf([&] { files::setCurrentFolder(m_at + u"gone"_qs); }), 76);
        files::setCurrentFolder(before);
    }

    void names_are_judged_the_same_on_every_platform()
    {
        for (const char *good : {"Logons.rqn", ".rqn", "console", "COM0", "com10", "a'b", "\344\270\255", "a..b"})
            QVERIFY2(files::whyNotAName(QString::fromUtf8(good)).isEmpty(), good);
        for (const char *bad :
             {"", ".", "..", "a/b", "a\\b", "a:b", "a|b", "a\"b", "<a", "NUL", "com1.rqn", "Aux .x", "COM\302\271", "a\177"})
            QVERIFY2(!files::whyNotAName(QString::fromUtf8(bad)).isEmpty(), bad);
        QVERIFY(files::whyNotAName(QString(255, u'a')).isEmpty());
        QVERIFY(!files::whyNotAName(QString(256, u'a')).isEmpty());
        QVERIFY(!files::whyNotAName(QString(QChar(0xD800))).isEmpty());
        QVERIFY(files::whyNotAName(u"Da*"_qs).contains(u"'*'"_qs));
        QCOMPARE(files::lastPart(u"C:\\a/b\\c.rqn"_qs), u"c.rqn"_qs);
        QCOMPARE(files::lastPart(u"/a\\b/c"_qs), u"c"_qs);
    }

    void a_folder_of_100000_files_lists_in_order()
    {
        constexpr int count = 100000;
        for (int i = 0; i < count; ++i) {
            const int file = ::creat((native("") + "Query number " + QByteArray::number(i * 7919 % count) + ".rqn").constData(), 0600);
            QVERIFY(file >= 0);
            ::close(file);
        }
        const QStringList names = files::list(m_at, u"*.rqn"_qs, attr::normal);
        QVERIFY(!files::fileExists(m_at + u"not there.rqn"_qs));
        QCOMPARE(names.size(), count);
        QVERIFY(std::is_sorted(names.begin(), names.end(), [](const QString &a, const QString &b) { return files::orderedBefore(a, b); }));
    }

private:
    [[nodiscard]] QByteArray native(const char *name) const { return QFile::encodeName(m_at) + name; }
    void make(const QString &name, const QByteArray &bytes = "x") const
    {
        QFile file(m_at + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }
    void link(const char *name, const QByteArray &target) const { QCOMPARE(::symlink(target.constData(), native(name).constData()), 0); }
    [[nodiscard]] QByteArray content(const QString &name) const { return files::readAll(m_at + name); }
    [[nodiscard]] QStringList names() const { return files::list(m_at, u"*"_qs, attr::hidden | attr::directory); }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_at;
};

QTEST_GUILESS_MAIN(PlatformFilesTest)
#include "platform_files_test.moc"
