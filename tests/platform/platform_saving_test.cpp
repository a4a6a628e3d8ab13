// A save leaves the old file or the new one, whole, whatever happens; and no one else gets to read a secret.

#include "platform/Files.h"
#include "support/ErrorOf.h"

#include <QtTest>

#include <random>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace qm;
using files::Privacy;
using qm::test::errorOf;
using qm::test::numberOf;

class PlatformSavingTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_at = m_folder->path() + u'/';
        ::umask(022);
    }

    void a_save_replaces_the_file_of_that_name_and_says_why_it_cannot()
    {
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, "one");
        files::saveAtomically(m_at + u"JOBS.cfg"_qs, "two");
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{u"Jobs.cfg"_qs});
        QCOMPARE(files::readAll(m_at + u"jobs.cfg"_qs), QByteArray("two"));
        QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"no/Jobs.cfg"_qs, "x"); }), 76);
        QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"a:b"_qs, "x"); }), 52);
        QCOMPARE(numberOf([&] { files::saveAtomically({}, "x"); }), 52);
        QCOMPARE(numberOf([&] { files::saveAtomically(m_folder->path(), "x"); }), 75);
        QCOMPARE(numberOf([&] { (void)files::readAll(m_at + u"gone"_qs); }), 53);
        QCOMPARE(numberOf([&] { (void)files::readAll(m_folder->path()); }), 75);
        QCOMPARE(::mkfifo(native("pipe").constData(), 0600), 0);
        QCOMPARE(numberOf([&] { (void)files::readAll(m_at + u"pipe"_qs); }), 75); // and does not wait
        const RuntimeError error = errorOf([&] { files::saveAtomically(u"/proc/Jobs.cfg"_qs, "x"); });
        QVERIFY2(error.number() == 76 || error.number() == 75, error.what());
        QVERIFY2(error.description().contains(u"/proc/Jobs.cfg"_qs), error.what());
    }

    void equal_bytes_are_not_written_again()
    {
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, "same");
        const auto before = status("Jobs.cfg");
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, "same");
        QCOMPARE(status("Jobs.cfg").st_ino, before.st_ino);
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, "samE");
        QVERIFY(status("Jobs.cfg").st_ino != before.st_ino);
    }

    void a_link_keeps_its_place_and_its_target_gets_the_bytes()
    {
        QTemporaryDir elsewhere;
        files::saveAtomically(elsewhere.path() + u"/real.cfg"_qs, "one");
        QCOMPARE(::symlink(QFile::encodeName(elsewhere.path() + u"/real.cfg"_qs).constData(), native("Jobs.cfg").constData()), 0);
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, "two");
        QCOMPARE(files::readAll(elsewhere.path() + u"/real.cfg"_qs), QByteArray("two"));
        QVERIFY(QFileInfo(m_at + u"Jobs.cfg"_qs).isSymLink());
    }

    void permissions_of_normal_and_secret_files()
    {
        files::saveAtomically(m_at + u"open"_qs, "x");
        QCOMPARE(status("open").st_mode & 0777U, 0644U);
        ::chmod(native("open").constData(), 0660);
        files::saveAtomically(m_at + u"open"_qs, "y");
        QCOMPARE(status("open").st_mode & 0777U, 0660U);

        ::chmod(native("").constData(), 0700);
        files::saveAtomically(m_at + u"own"_qs, "x", Privacy::Secret);
        QCOMPARE(status("own").st_mode & 0777U, 0600U);
        ::chmod(native("").constData(), 0775);
        files::saveAtomically(m_at + u"shared"_qs, "x", Privacy::Secret);
        QCOMPARE(status("shared").st_mode & 0777U, 0660U);
        QCOMPARE(status("shared").st_gid, status("").st_gid);

        ::chmod(native("shared").constData(), 0644);
        files::saveAtomically(m_at + u"shared"_qs, "x", Privacy::Secret); // the same bytes, but not open to others any more
        QCOMPARE(status("shared").st_mode & 0777U, 0640U);
        files::saveAtomically(m_at + u"shared"_qs, "y", Privacy::Secret);
        QCOMPARE(status("shared").st_mode & 0777U, 0640U);
    }

    void a_rewrite_keeps_owner_and_group()
    {
        if (::geteuid() != 0)
            QSKIP("needs to give files away");
        files::saveAtomically(m_at + u"Email.cfg"_qs, "x", Privacy::Secret);
        QCOMPARE(::chown(native("Email.cfg").constData(), 65534, 65534), 0);
        ::chmod(native("Email.cfg").constData(), 0640);
        files::saveAtomically(m_at + u"Email.cfg"_qs, "y", Privacy::Secret);
        const auto now = status("Email.cfg");
        QCOMPARE(now.st_uid, 65534U);
        QCOMPARE(now.st_gid, 65534U);
        QCOMPARE(now.st_mode & 0777U, 0640U);
    }

    void a_full_disk_leaves_the_old_file_whole()
    {
        if (::mount("tmpfs", native("").constData(), "tmpfs", 0, "size=256k") != 0)
            QSKIP("a small file system cannot be mounted here");
        const auto unmount = qScopeGuard([&] { ::umount2(native("").constData(), MNT_DETACH); });
        const QByteArray old(100000, 'o');
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, old);
        files::saveAtomically(m_at + u"other.rqn"_qs, "x");
        const RuntimeError error = errorOf([&] { files::saveAtomically(m_at + u"Jobs.cfg"_qs, QByteArray(200000, 'n')); });
        QCOMPARE(error.number(), 61);
        QVERIFY2(error.description().contains(u"Jobs.cfg"_qs), error.what());
        QTemporaryDir elsewhere;
        files::saveAtomically(elsewhere.path() + u"/big.rqn"_qs, QByteArray(400000, 'b'));
        QCOMPARE(numberOf([&] { files::copy(elsewhere.path() + u"/big.rqn"_qs, m_at + u"other.rqn"_qs); }), 61);
        QCOMPARE(numberOf([&] { files::rename(elsewhere.path() + u"/big.rqn"_qs, m_at + u"big.rqn"_qs); }), 61);
        QCOMPARE(files::readAll(m_at + u"Jobs.cfg"_qs), old);
        QCOMPARE(files::readAll(m_at + u"other.rqn"_qs), QByteArray("x"));
        QCOMPARE(files::list(m_at, u"*"_qs, attr::hidden | attr::directory), (QStringList{u"Jobs.cfg"_qs, u"other.rqn"_qs}));
        QCOMPARE(QFileInfo(elsewhere.path() + u"/big.rqn"_qs).size(), 400000);
    }

    void a_process_killed_at_any_moment_leaves_the_old_or_the_new_file()
    {
        const QString path = m_at + u"Jobs.cfg"_qs;
        const QByteArray contents[] = {QByteArray(180000, 'a'), QByteArray(250000, 'b')};
        files::saveAtomically(path, contents[0]);
        std::mt19937 random(20261121);
        std::uniform_int_distribution<useconds_t> lifetime(100, 6000);
        int kills = 0;
        int seen[2] = {0, 0};
        for (; kills < 400; ++kills) {
            const pid_t child = ::fork();
            QVERIFY(child >= 0);
            if (child == 0) {
                for (int round = kills;; ++round)
                    files::saveAtomically(path, contents[round % 2]);
            }
            ::usleep(lifetime(random));
            ::kill(child, SIGKILL);
            int state = 0;
            ::waitpid(child, &state, 0);
            QVERIFY(WIFSIGNALED(state)); // it was at work until then
            const QByteArray left = files::readAll(path);
            QVERIFY2(left == contents[0] || left == contents[1], "a torn file");
            ++seen[left == contents[1] ? 1 : 0];
        }
        qsizetype litter = 0;
        for (const QString &name : files::list(m_at, u"*"_qs, attr::hidden | attr::directory)) {
            QVERIFY2(name == u"Jobs.cfg"_qs || (name.startsWith(u".quillmark-"_qs) && name.endsWith(u".tmp"_qs)), qPrintable(name));
            litter += name == u"Jobs.cfg"_qs ? 0 : 1;
        }
        qInfo("%d kills: old %d, new %d; %lld in the middle of a save", kills, seen[0], seen[1], static_cast<long long>(litter));
        QVERIFY(litter > 0); // otherwise no kill met a save
        QVERIFY(seen[0] > 0 && seen[1] > 0);
    }

private:
    [[nodiscard]] QByteArray native(const char *name) const { return QFile::encodeName(m_at) + name; }
    [[nodiscard]] struct stat status(const char *name) const
    {
        struct stat result
        {
        };
        if (::stat(native(name).constData(), &result) != 0)
            QTest::qFail(name, __FILE__, __LINE__);
        return result;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_at;
};

QTEST_GUILESS_MAIN(PlatformSavingTest)
#include "platform_saving_test.moc"
