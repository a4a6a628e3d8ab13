// A save leaves the old file or the new one, whole, whatever happens; and no one else gets to read a secret.

#include "platform/ApplicationLog.h"
#include "platform/FileRights.h"
#include "platform/Files.h"
#include "platform/InstallationFolder.h"
#include "platform/LogFile.h"
#include "platform/TemporaryFiles.h"
#include "support/ErrorOf.h"

#include <QtTest>

#include <csignal>
#include <functional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace qm;
using files::Privacy;
using qm::test::errorOf;
using qm::test::numberOf;

namespace {

/// The error with which locking a folder fails, as on some network's disks; 0: none.
int folderLockError = 0;
/// Runs before each rename.
std::function<void()> beforeRename;

} // namespace

// In place of the C library's.
extern "C" int flock(int file, int operation) noexcept
{
    struct stat status
    {
    };
    if (folderLockError == 0 || ::fstat(file, &status) != 0 || !S_ISDIR(status.st_mode))
        return static_cast<int>(::syscall(SYS_flock, file, operation));
    errno = folderLockError;
    return -1;
}
extern "C" int rename(const char *from, const char *to) noexcept
{
    if (beforeRename)
        beforeRename();
    return ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}

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
        QFile large(m_at + u"large.rqn"_qs);
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(qint64{3} << 30)); // takes no room
        QCOMPARE(numberOf([&] { (void)files::readAll(large.fileName()); }), 321);
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
        QVERIFY(QFile::remove(elsewhere.path() + u"/real.cfg"_qs)); // nothing is there yet
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, "three");
        QCOMPARE(files::readAll(elsewhere.path() + u"/real.cfg"_qs), QByteArray("three"));
        QVERIFY(QFileInfo(m_at + u"Jobs.cfg"_qs).isSymLink());
        QCOMPARE(::symlink("circle", native("circle").constData()), 0);
        QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"circle"_qs, "x"); }), 52);
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
        ::chmod(native("shared").constData(), 0644);
        files::saveAtomically(m_at + u"shared"_qs, "a secret in place of an open file", Privacy::Secret);
        QCOMPARE(status("shared").st_mode & 0777U, 0640U);
    }

    void what_several_users_share_has_the_rights_of_its_folder()
    {
        const QString install = m_at + u"App/"_qs;
        QVERIFY(QDir().mkdir(install));
        QVERIFY(!makeInstallationFolder(install, u"Logs"_qs)); // no installation
        files::saveAtomically(install + u"Packages.ini"_qs, "");
        const auto made = [&](mode_t folder) {
            QDir(install + u"Logs"_qs).removeRecursively();
            ::chmod(QFile::encodeName(install).constData(), folder);
            const bool there = makeInstallationFolder(install, u"Logs"_qs);
            files::makeShared(install + u"Logs/a.db"_qs);
            return there ? (status("App/Logs").st_mode & 07777U) << 12U | (status("App/Logs/a.db").st_mode & 07777U) : 0U;
        };
        QCOMPARE(made(0700), (0700U << 12U | 0600U));
        QCOMPARE(made(0755), (0750U << 12U | 0640U));
        QCOMPARE(made(0775), (02770U << 12U | 0660U));
        // As an earlier version made it; what somebody chose stays.
        ::chmod(native("App/Logs/a.db").constData(), 0644);
        files::makeShared(install + u"Logs/a.db"_qs);
        QCOMPARE(status("App/Logs/a.db").st_mode & 0777U, 0660U);
        ::chmod(native("App/Logs/a.db").constData(), 0600);
        files::makeShared(install + u"Logs/a.db"_qs);
        QCOMPARE(status("App/Logs/a.db").st_mode & 0777U, 0600U);
    }

    void only_what_others_cannot_change_is_trusted()
    {
        files::saveAtomically(m_at + u"file"_qs, "x");
        QVERIFY(files::isTrusted(m_at) && files::isTrusted(m_at + u"file"_qs) && !files::isTrusted(m_at + u"none"_qs));
        ::chmod(native("file").constData(), 0646);
        QVERIFY(!files::isTrusted(m_at + u"file"_qs));
        ::chmod(native("file").constData(), 0640);
        if (::chown(native("file").constData(), 65534, 65534) != 0)
            QSKIP("the rest needs to give files away");
        QVERIFY(!files::isTrusted(m_at + u"file"_qs));
    }

    void a_log_that_is_no_file_is_left_alone()
    {
        QVERIFY(QDir().mkdir(m_at + u"Logs"_qs));
        QCOMPARE(::mkfifo(native("Logs/pipe.log").constData(), 0600), 0);
        ApplicationLog(m_at, u"pipe"_qs).info(u"nobody reads it"_qs); // and nobody waits
        files::saveAtomically(m_at + u"own"_qs, "");
        QVERIFY(QFile::link(m_at + u"own"_qs, m_at + u"Logs/link.log"_qs));
        ApplicationLog(m_at, u"link"_qs).info(u"as its owner wishes"_qs);
        QCOMPARE(files::readAll(m_at + u"own"_qs).count('\n'), 1);
        if (::lchown(native("Logs/link.log").constData(), 65534, 65534) != 0)
            QSKIP("the rest needs to give files away");
        ApplicationLog(m_at, u"link"_qs).info(u"into somebody's file"_qs);
        QCOMPARE(files::readAll(m_at + u"own"_qs).count('\n'), 1);
    }

    void a_log_stays_whole_on_a_full_disk_and_is_moved_on_where_folders_cannot_be_locked()
    {
        LogFile log(m_at + u"a.log"_qs, 100, 1);
        const std::string line = std::string(59, 'x') + '\n';
        QVERIFY(log.append(line));
        const auto back = std::signal(SIGXFSZ, SIG_IGN);
        rlimit most{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &most), 0);
        const rlimit small{90, most.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        QVERIFY(LogFile(m_at + u"a.log"_qs, 1000, 1).append(line));
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &most), 0);
        std::signal(SIGXFSZ, back);
        QCOMPARE(files::readAll(m_at + u"a.log"_qs), QByteArray::fromStdString(line));
        folderLockError = EBADF;
        const auto lockable = qScopeGuard([] { folderLockError = 0; });
        QVERIFY(log.append(line));
        QCOMPARE(files::readAll(m_at + u"a.1.log"_qs), QByteArray::fromStdString(line));
    }

    void what_killed_programs_left_is_swept_and_nothing_else()
    {
        const auto make = [&](const QString &name, qint64 age = 3600) {
            QVERIFY(QDir().mkpath(QFileInfo(m_at + name).path()));
            QFile file(m_at + name);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-age), QFileDevice::FileModificationTime));
        };
        const QStringList stay{u".quillmark-names.lock"_qs, u".profile"_qs,       u"Jobs.cfg"_qs,          u"Config/.quillmark-new0.tmp"_qs,
                               u".quillmark-held.tmp"_qs,   u"x.tmp-abcdefgh"_qs, u".notes.tmp-backup"_qs, u".qm-2abc.tmp"_qs};
        for (const QString &name : stay)
            make(name, name.contains(u"new0"_qs) ? 0 : 3600);
        for (const QString &name : {u".quillmark-1abc.tmp"_qs, u"Reports/2026/.quillmark-0f0f.pdf"_qs, u".qm-1abc.tmp"_qs,
                                    u"Reports/.Logons.pdf.tmp-1kx2qbn4w9zu"_qs, u"Reports/"_qs + temporaryName()})
            make(name, 90000);
        make(u".else.tmp-abcdefgh"_qs, 90000);
        const bool isElses = ::chown(native(".else.tmp-abcdefgh").constData(), 65534, 65534) == 0;
        QVERIFY(QFile::link(m_at + u"Jobs.cfg"_qs, m_at + u".quillmark-link.tmp"_qs));
        QFile held(m_at + u".quillmark-held.tmp"_qs);
        QVERIFY(held.open(QIODevice::ReadOnly));
        holdTemporary(held.handle());
        QCOMPARE(sweepTemporaries(m_at), isElses ? 5 : 6);
        for (const QString &name : stay)
            QVERIFY2(QFileInfo::exists(m_at + name), qPrintable(name));
        QVERIFY(QFileInfo(m_at + u".quillmark-link.tmp"_qs).isSymLink());
        held.close();
        QCOMPARE(sweepTemporaries(m_at), 1);
        // A copy has its source's time while it still waits for its name.
        make(u"old.rqn"_qs);
        int swept = -1;
        beforeRename = [&] { swept = sweepTemporaries(m_at); };
        const auto noMore = qScopeGuard([] { beforeRename = nullptr; });
        files::copy(m_at + u"old.rqn"_qs, m_at + u"copy.rqn"_qs);
        QVERIFY(swept == 0 && QFileInfo::exists(m_at + u"copy.rqn"_qs));
    }

    void a_dead_programs_work_folder_is_swept_and_a_living_ones_stays()
    {
        const QByteArray cache = qgetenv("XDG_CACHE_HOME");
        const auto back = qScopeGuard([&] { cache.isEmpty() ? qunsetenv("XDG_CACHE_HOME") : qputenv("XDG_CACHE_HOME", cache); });
        qputenv("XDG_CACHE_HOME", m_folder->path().toUtf8());
        const pid_t child = ::fork();
        if (child == 0) {
            const WorkFolder work;
            QFile(work.path() + u"message.eml"_qs).open(QIODevice::WriteOnly);
            ::kill(::getpid(), SIGKILL);
        }
        int state = 0;
        ::waitpid(child, &state, 0);
        const auto alive = std::make_unique<WorkFolder>();
        QCOMPARE(QFileInfo(alive->path()).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
        const QDir place(m_at + u"quillmark"_qs);
        QCOMPARE(place.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 2);
        // What others may write to is not touched, and no pipe in it waited for.
        QVERIFY(place.mkdir(u"quillmark-work-open"_qs) && place.mkdir(u"quillmark-work-pipe"_qs));
        ::chmod(native("quillmark/quillmark-work-open").constData(), 0777);
        ::chmod(native("quillmark/quillmark-work-pipe").constData(), 0700);
        QCOMPARE(::mkfifo(native("quillmark/quillmark-work-pipe/held.lock").constData(), 0600), 0);
        QCOMPARE(sweepWorkFolders(), 0); // both are new
        const timespec old[2] = {{1, 0}, {1, 0}};
        for (const QString &name : place.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            ::utimensat(AT_FDCWD, QFile::encodeName(place.filePath(name)).constData(), old, 0);
        QCOMPARE(sweepWorkFolders(), 1);
        QVERIFY(QFileInfo::exists(alive->path()));
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
