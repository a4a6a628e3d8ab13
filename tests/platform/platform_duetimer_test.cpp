// The due-time timer against the real clock.

#include "platform/SystemDueTimer.h"
#include "support/ErrorOf.h"
#include "support/System.h"

#include <QtTest>

#include <algorithm>
#include <array>
#include <ctime>

using namespace qm;
using namespace std::chrono;

namespace {

/// The wall time \p ahead whole seconds after the current second.
WallTime wallAfter(int ahead)
{
    return toLocalWallTime(system_clock::now() + seconds(ahead));
}

} // namespace

class PlatformDueTimerTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        qputenv("TZ", "Europe/Berlin");
        ::tzset();
    }

    void it_fires_once_and_usually_within_50_ms_of_its_second()
    {
        SystemDueTimer timer;
        std::array<microseconds, 5> lateness{};
        for (microseconds &late : lateness) {
            const WallTime due = wallAfter(1);
            system_clock::time_point fired;
            const auto connection = connect(&timer, &DueTimer::Mature, this, [&] { fired = system_clock::now(); });
            QSignalSpy mature(&timer, &DueTimer::Mature);
            timer.SetDueTime(due);
            QVERIFY(mature.wait(10'000));
            disconnect(connection);
            late = duration_cast<microseconds>(fired - firstInstantAt(due));
            QVERIFY2(late >= 0us, qPrintable(QString::number(late.count())));
            QVERIFY(toLocalWallTime(fired) >= due);
            QTest::qWait(20);
            QCOMPARE(mature.size(), 1);
        }
        // A machine that stands still for a moment is late once.
        std::ranges::sort(lateness);
        qInfo("lateness: median %lld us, worst %lld us", static_cast<long long>(lateness[2].count()),
              static_cast<long long>(lateness[4].count()));
        QVERIFY(lateness[2] < 50ms);
    }

    void a_due_time_in_the_past_comes_at_once_but_through_the_loop()
    {
        SystemDueTimer timer;
        QSignalSpy mature(&timer, &DueTimer::Mature);
        for (const WallTime &due : {wallAfter(0), wallAfter(-3600), WallTime{QDate(1899, 12, 30), 0}}) {
            mature.clear();
            timer.SetDueTime(due);
            QCOMPARE(mature.size(), 0);
            QVERIFY(mature.wait(10'000));
            QTest::qWait(30);
            QCOMPARE(mature.size(), 1);
        }
    }

    void far_due_times_arm_without_firing()
    {
        SystemDueTimer timer;
        QSignalSpy mature(&timer, &DueTimer::Mature);
        for (const WallTime &due :
             {WallTime{wallAfter(0).date.addDays(60), 0}, WallTime{QDate(2101, 1, 1), 0}, WallTime{QDate(9999, 12, 31), 86399}}) {
            timer.SetDueTime(due);
            QVERIFY(!mature.wait(300));
        }
    }

    void it_sleeps_again_until_the_time_has_come()
    {
        SystemDueTimer timer(nullptr, 1s); // the real one looks at the clock once a minute
        QSignalSpy mature(&timer, &DueTimer::Mature);
        const WallTime due = wallAfter(3);
        timer.SetDueTime(due);
        QVERIFY(mature.wait(10'000));
        QVERIFY(toLocalWallTime(system_clock::now()) >= due);
        QTest::qWait(1100);
        QCOMPARE(mature.size(), 1);
    }

    void arming_again_replaces_the_pending_due_time()
    {
        SystemDueTimer timer;
        QSignalSpy mature(&timer, &DueTimer::Mature);
        timer.SetDueTime(wallAfter(-5)); // already expired, not yet delivered
        timer.SetDueTime(wallAfter(3600));
        QVERIFY(!mature.wait(300));
        QCOMPARE(test::numberOf([&] { timer.SetDueTime({}); }), 5);
        timer.SetDueTime(wallAfter(-5));
        QVERIFY(mature.wait(10'000));
    }

    void a_changed_zone_moves_the_due_instant()
    {
        if (!test::canBeInZone("UTC"))
            QSKIP("this machine is in another zone");
        qputenv("TZ", "UTC");
        ::tzset();
        const WallTime soon = wallAfter(2);
        SystemDueTimer timer;
        QSignalSpy mature(&timer, &DueTimer::Mature);
        timer.SetDueTime(soon);
        qputenv("TZ", "Etc/GMT+5"); // the wall goes back five hours before the due second
        QVERIFY(!mature.wait(3500));
        timer.SetDueTime(soon);
        QVERIFY(!mature.wait(100));
        qputenv("TZ", "Etc/GMT-5"); // and forth ten
        timer.SetDueTime(soon);
        QVERIFY(mature.wait(10'000));
        QCOMPARE(mature.size(), 1);
    }

    void a_changed_zone_counts_at_the_next_look_at_the_clock()
    {
        if (!test::canBeInZone("UTC"))
            QSKIP("this machine is in another zone");
        qputenv("TZ", "UTC");
        ::tzset();
        SystemDueTimer timer(nullptr, 1s);
        QSignalSpy mature(&timer, &DueTimer::Mature);
        timer.SetDueTime(wallAfter(3600));
        qputenv("TZ", "Etc/GMT-2");
        QVERIFY(mature.wait(10'000));
        QCOMPARE(mature.size(), 1);
    }

    void a_clock_that_is_set_counts_at_once()
    {
        if (!qEnvironmentVariableIsSet("QM_TESTS_SET_CLOCK"))
            QSKIP("sets the machine's clock for a moment; set QM_TESTS_SET_CLOCK to run it");
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        timespec ahead = now;
        ahead.tv_sec += 3600;
        SystemDueTimer timer;
        QSignalSpy mature(&timer, &DueTimer::Mature);
        timer.SetDueTime(wallAfter(1800));
        if (::clock_settime(CLOCK_REALTIME, &ahead) != 0)
            QSKIP("this machine's clock cannot be set");
        const bool came = mature.wait(1000);
        ::clock_gettime(CLOCK_REALTIME, &now);
        now.tv_sec -= 3600;
        ::clock_settime(CLOCK_REALTIME, &now);
        QVERIFY(came);
        QVERIFY(!mature.wait(500));
        QCOMPARE(mature.size(), 1);
    }
};

QTEST_GUILESS_MAIN(PlatformDueTimerTest)
#include "platform_duetimer_test.moc"
