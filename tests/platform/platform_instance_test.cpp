// One window per installation, with real second processes.

#include "platform/InstanceLock.h"
#include "support/HostProgram.h"
#include "support/SecondProcess.h"
#include "support/System.h"
#include "support/TempInstallation.h"

#include <QtTest>

using namespace qm;
using Result = InstanceLock::Result;

namespace {

/// The second process: "hold" takes the lock and waits to be killed; "start" tries, asks, and ends with the result.
int runAsChild(const QString &role, const QString &installPath)
{
    InstanceLock lock(installPath);
    const Result result = lock.acquire();
    if (role == u"start"_qs) {
        if (result == Result::HeldBySameUser)
            lock.askHolderToRaise();
        return 10 + static_cast<int>(result);
    }
    if (result == Result::Acquired)
        test::SecondProcess::sayReady();
    test::SecondProcess::waitForGo();
    return 0;
}

} // namespace

class PlatformInstanceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_installation = std::make_unique<test::TempInstallation>(); }

    void a_second_start_of_the_same_user_raises_the_first()
    {
        InstanceLock lock(path());
        QSignalSpy raised(&lock, &InstanceLock::raiseRequested);
        QCOMPARE(lock.acquire(), Result::Acquired);
        QCOMPARE(start(), Result::HeldBySameUser);
        QVERIFY(raised.wait(10'000));
        QCOMPARE(start(), Result::HeldBySameUser);
        QVERIFY(raised.wait(10'000));
        QCOMPARE(raised.size(), 2);
        QVERIFY2(lock.holder().startsWith(u"the user \""_qs) &&
                     lock.holder().contains(QString::number(QCoreApplication::applicationPid())) &&
                     lock.holder().contains(QSysInfo::machineHostName(), Qt::CaseInsensitive),
                 qPrintable(lock.holder()));
    }

    void the_lock_is_free_again_after_its_holder_went()
    {
        auto lock = std::make_unique<InstanceLock>(path());
        QCOMPARE(lock->acquire(), Result::Acquired);
        lock.reset();
        QCOMPARE(start(), Result::Acquired);
        QCOMPARE(start(), Result::Acquired);
        InstanceLock next(path());
        next.askHolderToRaise(); // nobody listens, nothing happens
    }

    void a_killed_holder_does_not_block()
    {
        test::SecondProcess holder({u"hold"_qs, path()});
        QVERIFY(holder.isReady());
        InstanceLock lock(path());
        QCOMPARE(lock.acquire(), Result::HeldBySameUser);
        holder.kill();
        QVERIFY(QFile::exists(lockFile())); // it was left behind
        QCOMPARE(lock.acquire(), Result::Acquired);
        QSignalSpy raised(&lock, &InstanceLock::raiseRequested);
        QCOMPARE(start(), Result::HeldBySameUser); // the pipe it left behind does not block either
        QVERIFY(raised.wait(10'000));
    }

    void a_lock_file_that_a_crash_left_empty_does_not_block()
    {
        QFile empty(lockFile());
        QVERIFY(empty.open(QIODevice::WriteOnly));
        QVERIFY(empty.setFileTime(QDateTime::currentDateTime().addSecs(-3600), QFileDevice::FileModificationTime));
        empty.close();
        InstanceLock lock(path());
        QCOMPARE(lock.acquire(), Result::Acquired);
    }

    void another_user_or_computer_is_told_apart()
    {
        if (!canBeNobody())
            QSKIP("needs to give the lock file to another user");
        test::SecondProcess holder({u"hold"_qs, path()});
        QVERIFY(holder.isReady());
        QVERIFY(!test::outputOf(u"chown"_qs, {u"65534:65534"_qs, lockFile()}).isNull());
        InstanceLock lock(path());
        QCOMPARE(lock.acquire(), Result::HeldByOther);
        QVERIFY2(lock.holder().contains(u"nobody"_qs), qPrintable(lock.holder()));
        holder.kill();
        QFile file(lockFile());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("1\nquillmark\nelsewhere\n\n\n");
        file.close();
        QVERIFY(!test::outputOf(u"chown"_qs, {u"0:0"_qs, lockFile()}).isNull());
        QCOMPARE(lock.acquire(), Result::HeldByOther); // whether it lives cannot be known from here
        QVERIFY2(lock.holder().contains(u"elsewhere"_qs), qPrintable(lock.holder()));
    }

    void two_installations_do_not_meet()
    {
        const test::TempInstallation other;
        InstanceLock lock(path());
        InstanceLock second(other.path());
        QCOMPARE(lock.acquire(), Result::Acquired);
        QCOMPARE(second.acquire(), Result::Acquired);
    }

    void a_folder_that_cannot_be_written_does_not_stop_the_program()
    {
        InstanceLock missing(path() + u"gone/"_qs);
        QCOMPARE(missing.acquire(), Result::NotLockable);
        if (!test::onWindows() && !test::outputOf(u"mkfifo"_qs, {lockFile()}).isNull()) { // reading it would never end
            QCOMPARE(InstanceLock(path()).acquire(), Result::NotLockable);
            QVERIFY(QFile::remove(lockFile()));
        }
        if (!canBeNobody())
            QSKIP("the rest needs to change the user");
        for (const QString &folder : {path() + u".."_qs, path(), path() + u"Config"_qs})
            QVERIFY(QFile::setPermissions(folder, QFile::permissions(folder) | QFile::ReadOther | QFile::ExeOther));
        QCOMPARE(test::asNobody([&] { return static_cast<int>(InstanceLock(path()).acquire()); }), static_cast<int>(Result::NotLockable));
    }

private:
    [[nodiscard]] static bool canBeNobody()
    {
        return test::asNobody([] { return 0; }) == 0;
    }
    [[nodiscard]] QString path() const { return m_installation->path(); }
    [[nodiscard]] QString lockFile() const { return path() + u"Config/quillmark.lock"_qs; }
    [[nodiscard]] Result start() const { return static_cast<Result>(test::SecondProcess({u"start"_qs, path()}).end() - 10); }

    std::unique_ptr<test::TempInstallation> m_installation;
};

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    if (const QStringList part = test::SecondProcess::part(); !part.isEmpty())
        return runAsChild(part.value(0), part.value(1));
    const QTemporaryDir runtimeFolder; // for this run's pipes, seen by the child processes too
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder.path()));
    PlatformInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "platform_instance_test.moc"
