// The platform on Windows where it differs: paths in both spellings, access lists, the machine-wide registry, threads.

#include "platform/DetachedThread.h"
#include "platform/Files.h"
#include "platform/Registry.h"
#include "platform/Sha256.h"
#include "platform/SystemFileWindows.h"
#include "support/ErrorOf.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <aclapi.h>
#include <sddl.h>

using namespace qm;
using test::errorOf;
using test::numberOf;

class PlatformWindowsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
        m_at = QDir::toNativeSeparators(m_folder->path()) + kSep;
    }

    void a_listing_takes_what_the_mask_names_in_one_order()
    {
        for (const char *name : {"b.rqn", "A.RQN", "10.rqn", "9.rqn", "x.rqnold", "secret.rqn", "inner.rqn\\"})
            make(QString::fromLatin1(name));
        make(u"\u00e9\u4e2d.rqn"_qs);
        SetFileAttributesW(win::native(m_at + u"secret.rqn"_qs).c_str(), FILE_ATTRIBUTE_HIDDEN);
        files::setFileAttributes(m_at + u"9.rqn"_qs, attr::readOnly);

        const QStringList shown{u"10.rqn"_qs, u"9.rqn"_qs, u"A.RQN"_qs, u"b.rqn"_qs, u"\u00e9\u4e2d.rqn"_qs};
        QCOMPARE(files::list(m_at, u"*.rqn"_qs, attr::normal), shown);
        QCOMPARE(files::list(m_folder->path(), u"*.rqn"_qs, attr::normal), shown);
        QVERIFY(files::list(m_at, u"*"_qs, attr::hidden).contains(u"secret.rqn"_qs));
        QVERIFY(files::list(m_at, u"*"_qs, attr::directory).contains(u"inner.rqn"_qs));
        QCOMPARE(files::list(m_at + u"nowhere"_qs, u"*"_qs, 63), QStringList());
        QCOMPARE(files::list(m_at + u"b.rqn"_qs, u"*"_qs, 63), QStringList());
        QCOMPARE(files::fileAttributes(m_at + u"9.rqn"_qs) & attr::readOnly, int{attr::readOnly});
    }

    void names_are_found_in_any_letter_case_and_without_wildcards()
    {
        make(u"Logons.rqn"_qs);
        QCOMPARE(files::existingSpelling(m_at + u"LOGONS.RQN"_qs), m_at + u"Logons.rqn"_qs);
        QVERIFY(files::fileExists(m_folder->path() + u"/logons.rqn"_qs));
        QVERIFY(!files::fileExists(m_at + u"*.rqn"_qs));
        QVERIFY(!files::entryExists(m_at + u"Logon?.rqn"_qs));
        QVERIFY(!files::fileExists(m_at) && files::entryExists(m_at));
        QVERIFY(files::sameFile(m_at + u"Logons.rqn"_qs, m_folder->path() + u"/LOGONS.RQN"_qs));
        QVERIFY(files::entryExists(u"C:\\"_qs));
    }

    void operations_fail_with_the_classic_numbers()
    {
        make(u"a.rqn"_qs);
        make(u"b.rqn"_qs);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"a.rqn"_qs, m_at + u"B.RQN"_qs); }), 58);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"none"_qs, m_at + u"c"_qs); }), 53);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"a.rqn"_qs, m_at + u"no\\c.rqn"_qs); }), 76);
        QCOMPARE(numberOf([&] { files::rename(m_at + u"a.rqn"_qs, m_at + u"a?b"_qs); }), 52);
        QCOMPARE(numberOf([&] { files::copy(m_at + u"none"_qs, m_at + u"c"_qs); }), 53);
        QCOMPARE(numberOf([&] { files::kill(m_folder->path()); }), 75);
        QCOMPARE(numberOf([&] { files::makeFolder(m_at + u"no\\deep"_qs); }), 76);
        QCOMPARE(numberOf([&] { files::removeFolder(m_at + u"none"_qs); }), 76);
        QCOMPARE(numberOf([&] { (void)files::readAll(m_at + u"none"_qs); }), 53);
        QCOMPARE(numberOf([&] { (void)files::readAll(m_at); }), 75);
        files::makeFolder(m_at + u"Daily"_qs);
        QCOMPARE(numberOf([&] { files::makeFolder(m_at + u"DAILY\\"_qs); }), 75);
        make(u"Daily\\x"_qs);
        const RuntimeError notEmpty = errorOf([&] { files::removeFolder(m_at + u"Daily"_qs); });
        QCOMPARE(notEmpty.number(), 75);
        QVERIFY2(notEmpty.description().contains(u"not empty"), notEmpty.what());
        QCOMPARE(numberOf([&] { files::setCurrentFolder(m_at + u"none"_qs); }), 76);
    }

    void renaming_may_change_the_letter_case_only()
    {
        make(u"logons.rqn"_qs, "text");
        files::rename(m_at + u"logons.rqn"_qs, m_at + u"Logons.rqn"_qs);
        QCOMPARE(files::list(m_at, u"*"_qs, attr::normal), QStringList{u"Logons.rqn"_qs});
        files::rename(m_folder->path() + u"/Logons.rqn"_qs, m_at + u"other.rqn"_qs);
        QCOMPARE(files::readAll(m_at + u"other.rqn"_qs), QByteArray("text"));
    }

    void read_only_files_are_neither_deleted_nor_replaced()
    {
        make(u"a.rqn"_qs, "old");
        make(u"b.rqn"_qs, "new");
        files::setFileAttributes(m_at + u"a.rqn"_qs, attr::readOnly);
        QCOMPARE(numberOf([&] { files::kill(m_at + u"a.rqn"_qs); }), 75);
        QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"a.rqn"_qs, "new"); }), 75);
        QCOMPARE(numberOf([&] { files::copy(m_at + u"b.rqn"_qs, m_at + u"A.RQN"_qs); }), 75);
        QCOMPARE(files::readAll(m_at + u"a.rqn"_qs), QByteArray("old"));
        files::setFileAttributes(m_at + u"a.rqn"_qs, attr::normal);
        files::copy(m_at + u"b.rqn"_qs, m_at + u"A.RQN"_qs);
        QCOMPARE(files::list(m_at, u"*"_qs, attr::normal), (QStringList{u"a.rqn"_qs, u"b.rqn"_qs}));
        QCOMPARE(files::readAll(m_at + u"a.rqn"_qs), QByteArray("new"));
    }

    void a_save_is_whole_and_leaves_no_temporary_file()
    {
        const QByteArray bytes(3'000'000, 'q');
        files::saveAtomically(m_at + u"Jobs.cfg"_qs, bytes);
        files::saveAtomically(m_folder->path() + u"/JOBS.CFG"_qs, "short");
        QCOMPARE(files::readAll(m_at + u"Jobs.cfg"_qs), QByteArray("short"));
        QCOMPARE(files::list(m_at, u"*"_qs, 63), QStringList{u"Jobs.cfg"_qs});
        QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"no\\x.cfg"_qs, "x"); }), 76);
        QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"CON"_qs, "x"); }), 52);
        // A program that keeps the file open for itself stops the save, and the file stays as it was.
        {
            const win::Handle other(
                CreateFileW(win::native(m_at + u"Jobs.cfg"_qs).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            QVERIFY(other.isOpen());
            QCOMPARE(numberOf([&] { files::saveAtomically(m_at + u"Jobs.cfg"_qs, "next"); }), 75);
        }
        QCOMPARE(files::readAll(m_at + u"Jobs.cfg"_qs), QByteArray("short"));
        QCOMPARE(files::setAside(m_at + u"Jobs.cfg"_qs), m_at + u"Jobs.cfg.unreadable-1"_qs);
    }

    void a_secret_file_lets_in_nobody_in_general()
    {
        files::saveAtomically(m_at + u"open.cfg"_qs, "x");
        files::saveAtomically(m_at + u"secret.cfg"_qs, "x", files::Privacy::Secret);
        QVERIFY(!everybodyMayRead(m_at + u"secret.cfg"_qs));
        files::saveAtomically(m_at + u"secret.cfg"_qs, "y", files::Privacy::Secret);
        QVERIFY(!everybodyMayRead(m_at + u"secret.cfg"_qs));
        files::saveAtomically(m_at + u"open.cfg"_qs, "x", files::Privacy::Secret); // equal bytes, but secret from now on
        QVERIFY(!everybodyMayRead(m_at + u"open.cfg"_qs));
        QCOMPARE(files::readAll(m_at + u"secret.cfg"_qs), QByteArray("y"));
    }

    void paths_may_be_longer_than_260_characters()
    {
        QString deep = m_at;
        for (int i = 0; i < 4; ++i) {
            deep += QString(80, u'd') + kSep;
            files::makeFolder(deep);
        }
        files::saveAtomically(deep + u"x.rqn"_qs, "deep");
        QCOMPARE(files::readAll(deep + u"X.rqn"_qs), QByteArray("deep"));
        QCOMPARE(files::list(deep, u"*.rqn"_qs, 0), QStringList{u"x.rqn"_qs});
        files::kill(deep + u"x.rqn"_qs);
    }

    void the_registry_is_the_machines()
    {
        const QString key = u"SOFTWARE\\Tarrowind\\Quillmark test"_qs;
        setRegistryString(key, u"InstallPath"_qs, u"C:\\Data \u00e9\u4e2d\\"_qs);
        QCOMPARE(registryString(key, u"installpath"_qs), u"C:\\Data \u00e9\u4e2d\\"_qs);
        const RuntimeError missing = errorOf([&] { (void)registryString(key, u"Other"_qs); });
        QCOMPARE(missing.number(), 53);
        QVERIFY2(missing.description().contains(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Tarrowind"), missing.what());
        const DWORD number = 3;
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, win::wide(key), L"Level", REG_DWORD, &number, sizeof number);
        QCOMPARE(numberOf([&] { (void)registryString(key, u"Level"_qs); }), 13);
        // The user's own value counts only where the machine has none.
        const std::wstring own = L"C:\\Own\\";
        RegSetKeyValueW(HKEY_CURRENT_USER, win::wide(key), L"InstallPath", REG_SZ, own.c_str(), static_cast<DWORD>((own.size() + 1) * 2));
        QCOMPARE(registryString(key, u"InstallPath"_qs), u"C:\\Data \u00e9\u4e2d\\"_qs);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, win::wide(key));
        QCOMPARE(registryString(key, u"InstallPath"_qs), u"C:\\Own\\"_qs);
        RegDeleteTreeW(HKEY_CURRENT_USER, win::wide(key));
        QCOMPARE(numberOf([&] { (void)registryString(key, u"InstallPath"_qs); }), 53);
    }

    void a_short_profile_value_is_the_systems_whatever_the_file_is_written_in()
    {
        const QString text =
            u"[Other]\r\nVersion=no\r\n[Framework]\r\nVersion = \" 8.50 Gr\u00f6\u00dfe \u2013\" \r\nversion=second\r\nLong="_qs +
            QString(300, u'x') + u"\r\n"_qs;
        const QString value = u" 8.50 Gr\u00f6\u00dfe \u2013"_qs;
        const QByteArray utf16(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
        const std::pair<const char *, QByteArray> files[] = {{"utf8", text.toUtf8()},
                                                             {"codepage", text.toLocal8Bit()},
                                                             {"utf16", "\xff\xfe" + utf16},
                                                             {"utf8mark", "\xef\xbb\xbf" + text.mid(text.indexOf(u"[Framework")).toUtf8()}};
        for (const auto &[name, bytes] : files) {
            const QString file = m_at + QLatin1StringView(name) + u"\u6f22.ini"_qs, plain = m_at + QLatin1StringView(name) + u".ini"_qs;
            make(file.mid(m_at.size()), bytes); // a name that the code page does not hold
            make(plain.mid(m_at.size()), bytes);
            for (const QString &path : {file, plain}) {
                QCOMPARE(shortProfileString(path, u"FRAMEWORK"_qs, u"version"_qs), value);
                QCOMPARE(shortProfileString(path, u"Framework"_qs, u"Build"_qs), QString());
                QCOMPARE(shortProfileString(path, u"Framework"_qs, u"Long"_qs), QString(254, u'x'));
            }
        }
        // What is written next is what is read next, by a relative name too.
        setPrivateProfileString(m_at + u"utf8.ini"_qs, u"Framework"_qs, u"Version"_qs, u"9"_qs);
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(m_at));
        const QString relative = shortProfileString(u"utf8.ini"_qs, u"Framework"_qs, u"Version"_qs);
        QDir::setCurrent(before);
        QCOMPARE(relative, u"9"_qs);
        QCOMPARE(shortProfileString(m_at + u"none.ini"_qs, u"Framework"_qs, u"Version"_qs), QString());
    }

    void every_detached_thread_runs()
    {
        struct Shared
        {
            std::mutex mutex;
            std::condition_variable ran;
            bool hasRun = false;
        };
        std::atomic<int> lost = 0;
        // Each begins while another's threads end: what was lost, was lost there.
        const auto beginThreads = [&] {
            for (int i = 0; i < 2000 && lost == 0; ++i) {
                const auto shared = std::make_shared<Shared>();
                runDetached([shared] {
                    const std::lock_guard lock(shared->mutex);
                    shared->hasRun = true;
                    shared->ran.notify_one();
                });
                std::unique_lock lock(shared->mutex);
                if (!shared->ran.wait_for(lock, std::chrono::seconds(20), [&] { return shared->hasRun; }))
                    ++lost;
            }
        };
        std::thread other(beginThreads);
        beginThreads();
        other.join();
        QCOMPARE(lost.load(), 0);
    }

    void checksums()
    {
        Sha256 sum;
        sum.update("a");
        QVERIFY(sum.hex() != u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_qs);
        sum.update("bc");
        QCOMPARE(sum.hex(), u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_qs);
    }

private:
    void make(const QString &name, const QByteArray &bytes = "x") const
    {
        if (name.endsWith(kSep)) {
            QVERIFY(QDir().mkpath(m_at + name));
            return;
        }
        QFile file(m_at + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    /// Whether the access list of \p path gives anything to everybody or to the users in general.
    static bool everybodyMayRead(const QString &path)
    {
        PACL list = nullptr;
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        if (GetNamedSecurityInfoW(win::native(path).c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr,
                                  &descriptor) != ERROR_SUCCESS ||
            list == nullptr)
            return true;
        bool open = false;
        for (DWORD i = 0; i < list->AceCount; ++i) {
            void *ace = nullptr;
            if (!GetAce(list, i, &ace) || static_cast<ACE_HEADER *>(ace)->AceType != ACCESS_ALLOWED_ACE_TYPE)
                continue;
            PSID sid = &static_cast<ACCESS_ALLOWED_ACE *>(ace)->SidStart;
            open = open || IsWellKnownSid(sid, WinWorldSid) || IsWellKnownSid(sid, WinBuiltinUsersSid) ||
                   IsWellKnownSid(sid, WinAuthenticatedUserSid);
        }
        LocalFree(descriptor);
        return open;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_at;
};

QTEST_MAIN(PlatformWindowsTest)
#include "platform_windows_test.moc"
