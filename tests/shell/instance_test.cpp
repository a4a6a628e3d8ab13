// The finished program: one window per installation.

#include "support/TempInstallation.h"

#include <QFile>
#include <QProcess>
#include <QtTest>

using namespace qm::test;
using namespace Qt::StringLiterals;

class InstanceTest final : public QObject
{
    Q_OBJECT

    static constexpr int kStartMs = 20000;

    static void start(QProcess &process)
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(qEnvironmentVariable("QM_BIN_DIR") + u"/quillmark"_s, QStringList());
        QVERIFY(process.waitForStarted(kStartMs));
    }

private Q_SLOTS:
    void a_second_start_ends_and_a_killed_one_does_not_block()
    {
        const TempInstallation installation;
        const QByteArray jobs = "# kept as it is\n";
        installation.write(u"Config/Jobs.cfg"_s, jobs);
        const QString lock = installation.path() + u"Config/quillmark.lock"_s;

        QProcess first;
        start(first);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(lock), kStartMs);
        QTest::qWait(2500); // past the splash

        QProcess second;
        start(second);
        QVERIFY(second.waitForFinished(kStartMs));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(first.state(), QProcess::Running);
        QCOMPARE(installation.read(u"Config/Jobs.cfg"_s), jobs);

        first.kill();
        QVERIFY(first.waitForFinished(kStartMs));
        QProcess third;
        start(third);
        // It takes the lock over although the file is still there, and stays open.
        QTRY_COMPARE_WITH_TIMEOUT(installation.read(u"Config/quillmark.lock"_s).split('\n').front().toLongLong(), third.processId(),
                                  kStartMs);
        QVERIFY(!third.waitForFinished(2000));
        third.kill();
        QVERIFY(third.waitForFinished(kStartMs));
    }
};

QTEST_GUILESS_MAIN(InstanceTest)
#include "instance_test.moc"
