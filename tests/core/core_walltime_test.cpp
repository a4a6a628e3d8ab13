// The fixed date and time texts, their parser, and what a wall time means in zones that change their offset.

#include "core/Clock.h"
#include "support/ErrorOf.h"
#include "support/System.h"

#include <QLocale>
#include <QtTest>

#include <ctime>

using namespace qm;
using qm::test::numberOf;

namespace {

/// Runs the process in another zone for the life of this object.
class Zone final
{
public:
    explicit Zone(const QByteArray &name) : m_before(qgetenv("TZ"))
    {
        qputenv("TZ", name);
        ::tzset();
    }
    ~Zone()
    {
        qputenv("TZ", m_before);
        ::tzset();
    }
    Q_DISABLE_COPY_MOVE(Zone)

private:
    QByteArray m_before;
};

/// Seconds since the Unix epoch of "yyyy-MM-ddTHH:mm:ssZ".
std::int64_t utc(const char *iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate).toSecsSinceEpoch();
}

} // namespace

class CoreWallTimeTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void texts_are_the_same_in_every_locale()
    {
        const auto restore = qScopeGuard([] { QLocale::setDefault(QLocale::c()); });
        for (const QLocale &locale : {QLocale(QLocale::German, QLocale::Germany), QLocale(QLocale::Arabic, QLocale::Egypt)}) {
            QLocale::setDefault(locale);
            const QDate march(2026, 3, 5);
            QCOMPARE(tableDateText(march), QStringLiteral("Mar 05,2026"));
            QCOMPARE(dialogDateText(march), QStringLiteral("Mar 05, 2026"));
            QCOMPARE(shortDateText(march), QStringLiteral("3/5/2026"));
            QCOMPARE(shortDateText(QDate(2026, 11, 21)), QStringLiteral("11/21/2026"));
            QCOMPARE(tableDateText(QDate(100, 12, 31)), QStringLiteral("Dec 31,0100"));
            QCOMPARE(time24Text(50737), QStringLiteral("14:05:37"));
            QCOMPARE(time12Text(50737), QStringLiteral("02:05:37 PM"));
            QCOMPARE(time12Text(0), QStringLiteral("12:00:00 AM"));
            QCOMPARE(time12Text(43200), QStringLiteral("12:00:00 PM"));
            QCOMPARE(time12Text(43199), QStringLiteral("11:59:59 AM"));
            QCOMPARE(time12Text(86399), QStringLiteral("11:59:59 PM"));
            QCOMPARE(parseDate(u"nov 21, 2026"), QDate(2026, 11, 21));
        }
    }

    void every_written_text_reads_back()
    {
        for (const int year : {1, 100, 1900, 2000, 2026, 9999})
            for (int day = 0; day < 366; ++day) {
                const QDate date = QDate(year, 1, 1).addDays(day);
                if (date.year() != year)
                    continue;
                QCOMPARE(parseDate(tableDateText(date)), date);
                QCOMPARE(parseDate(dialogDateText(date)), date);
                QCOMPARE(parseDate(shortDateText(date)), date);
            }
        for (int second = 0; second < 86400; ++second)
            if (parseTime(time24Text(second)) != second || parseTime(time12Text(second)) != second)
                QFAIL(qPrintable(time12Text(second)));
        const WallTime job{QDate(2026, 3, 29), 9000};
        QCOMPARE(parseWallTime(u"Mar 29,2026 02:30:00 AM"), job);
        QCOMPARE(parseWallTime(u"Mar 29, 2026 02:30:00"), job);
        QCOMPARE(parseWallTime(u"3/29/2026 02:30"), job);
    }

    void anything_else_is_a_type_mismatch()
    {
        for (const char *text : {"", " ", "2/30/2026", "13/1/2026", "Nov 21, 26", "Nov 21,  2026", "Nov 21, 2026 ", "Nov 31, 2026",
                                 "November 21, 2026", "Nov21,2026", "2026-11-21", "1/1/0000", "-1/1/2026", "\331\241/1/2026"}) {
            QVERIFY2(numberOf([&] { (void)parseDate(QString::fromUtf8(text)); }) == 13, text);
            QVERIFY2(numberOf([&] { (void)parseWallTime(QString::fromUtf8(text) + QStringLiteral(" 12:00:00")); }) == 13, text);
        }
    }

    void odd_times_are_a_type_mismatch()
    {
        for (const char *text : {"", "24:00:00", "12:60:00", "12:00:60", "13:00:00 PM", "00:00:00 AM", "1:00:00", "12:00 PM", "12:00:00PM",
                                 "12:00:00 PM ", "12:00:00 XM", "12", "12:00:", "12:00:00.5"})
            QCOMPARE(numberOf([&] { (void)parseTime(QString::fromLatin1(text)); }), 13);
        QCOMPARE(numberOf([] { (void)parseWallTime(u"Nov 21,2026"); }), 13);
        QCOMPARE(numberOf([] { (void)parseWallTime(u"14:05:37"); }), 13);
        QCOMPARE(numberOf([] { (void)parseWallTime(u"Nov 21,202614:05:37"); }), 13);
    }

    void a_due_time_is_the_first_instant_that_shows_it_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QString>("wall");
        QTest::addColumn<qint64>("instant");
        const auto row = [](const char *name, const char *zone, const char *wall, const char *instant) {
            QTest::newRow(name) << QByteArray(zone) << QString::fromLatin1(wall) << static_cast<qint64>(utc(instant));
        };
        row("in the gap", "Europe/Berlin", "3/29/2026 02:30:00", "2026-03-29T01:00:00Z");
        row("second before the gap", "Europe/Berlin", "3/29/2026 01:59:59", "2026-03-29T00:59:59Z");
        row("in the fold", "Europe/Berlin", "10/25/2026 02:30:00", "2026-10-25T00:30:00Z");
        row("southern gap", "America/Santiago", "9/6/2026 00:15:00", "2026-09-06T04:00:00Z");
        row("half-hour gap", "Australia/Lord_Howe", "10/4/2026 02:15:00", "2026-10-03T15:30:00Z");
        row("a law dropped a whole day", "Pacific/Apia", "12/30/2011 12:00:00", "2011-12-30T10:00:00Z");
        row("a law moved the zone", "Asia/Pyongyang", "5/4/2018 23:45:00", "2018-05-04T15:00:00Z");
        row("east of everything", "Pacific/Kiritimati", "1/1/2026 00:00:00", "2025-12-31T10:00:00Z");
        row("year 9999", "Europe/Berlin", "12/31/9999 23:59:59", "9999-12-31T22:59:59Z");
        row("year 100", "UTC", "1/1/0100 00:00:00", "0100-01-01T00:00:00Z");
    }
    void a_due_time_is_the_first_instant_that_shows_it()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QString, wall);
        if (!zone.startsWith("UTC") && !QFile::exists(QStringLiteral("/usr/share/zoneinfo/") + QString::fromLatin1(zone)))
            QSKIP("the zone database of this machine lacks the zone");
        if (!test::canBeInZone(zone))
            QSKIP("this machine is in another zone");
        const Zone there(zone);
        QTEST(static_cast<qint64>(firstUnixSecondAt(parseWallTime(wall))), "instant");
    }

    void no_earlier_instant_shows_the_due_time_or_later()
    {
        if (!test::canBeInZone("Europe/Berlin"))
            QSKIP("this machine is in another zone");
        const Zone there("Europe/Berlin");
        using namespace std::chrono;
        for (int minute = 0; minute < 26 * 60; minute += 7) // across the autumn change
        {
            const WallTime due{QDate(2026, 10, 24).addDays(minute / 1440), minute % 1440 * 60 + 1};
            const auto instant = firstInstantAt(due);
            QVERIFY(toLocalWallTime(instant) >= due);
            for (int back = 1; back < 12 * 3600; back += 61)
                QVERIFY(toLocalWallTime(instant - seconds(back)) < due);
        }
    }

    void instants_and_walls_at_the_ends()
    {
        using namespace std::chrono;
        if (!test::canBeInZone("UTC"))
            QSKIP("this machine is in another zone");
        const Zone there("UTC");
        QCOMPARE(firstInstantAt({QDate(9999, 12, 31), 86399}), system_clock::time_point::max());
        QCOMPARE(numberOf([] { (void)firstInstantAt({}); }), 5);
        QCOMPARE(toLocalWallTime(system_clock::time_point(milliseconds(-1))), (WallTime{QDate(1969, 12, 31), 86399}));
        QCOMPARE(toLocalWallTime(system_clock::time_point(milliseconds(1999))), (WallTime{QDate(1970, 1, 1), 1}));
    }

    void now_follows_a_change_of_the_zone()
    {
        if (!test::canBeInZone("Pacific/Kiritimati"))
            QSKIP("this machine is in another zone");
        const SystemClock clock;
        qputenv("TZ", "UTC");
        const WallTime before = clock.wallNow();
        qputenv("TZ", "Pacific/Kiritimati");
        const auto moved = clock.wallNow().secondsSince(before);
        qputenv("TZ", "Europe/Berlin");
        QVERIFY2(moved >= 14 * 3600 && moved <= 14 * 3600 + 5, qPrintable(QString::number(moved)));
    }
};

QTEST_GUILESS_MAIN(CoreWallTimeTest)
#include "core_walltime_test.moc"
