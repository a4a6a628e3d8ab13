#include "core/LocalZone.h"
#include "engine/sql/Period.h"
#include "support/ErrorOf.h"
#include "support/System.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

using qm::PeriodRange;

/// Stands at one instant; the wall shows the zone of the process.
class InstantClock final : public qm::Clock
{
public:
    explicit InstantClock(const char *utc)
        : m_now(std::chrono::seconds(QDateTime::fromString(QString::fromLatin1(utc) + u'Z', Qt::ISODate).toSecsSinceEpoch()))
    {
    }
    [[nodiscard]] std::chrono::system_clock::time_point now() const override { return m_now; }
    [[nodiscard]] qm::WallTime wallNow() const override { return qm::toLocalWallTime(m_now); }

private:
    std::chrono::system_clock::time_point m_now;
};

void useZone(const char *zone)
{
    qputenv("TZ", zone);
    qm::zone::refresh();
}

qint64 hoursOf(const PeriodRange &range)
{
    const auto at = [](const QString &text) { return QDateTime::fromString(QString(text).replace(u' ', u'T') + u'Z', Qt::ISODate); };
    return at(range.fromUtc).secsTo(at(range.toUtc)) / 3600;
}

} // namespace

class EnginePeriodTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { useZone("Europe/Berlin"); }

    void every_phrase_names_its_range_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QByteArray>("now");
        QTest::addColumn<QString>("phrase");
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        const auto row = [](const char *zone, const char *now, const char *phrase, const char *from, const char *to) {
            QTest::newRow(qPrintable(u"%1 at %2"_s.arg(QLatin1String(phrase), QLatin1String(now))))
                << QByteArray(zone) << QByteArray(now) << QString::fromLatin1(phrase) << QString::fromLatin1(from)
                << QString::fromLatin1(to);
        };
        // 21 November 2026 is a Saturday; Berlin is one hour ahead of UTC then, two in summer.
        const char *saturday = "2026-11-21T11:30:15";
        row("Europe/Berlin", saturday, "today", "2026-11-20 23:00:00", "2026-11-21 23:00:00");
        row("Europe/Berlin", saturday, "  YESTERDAY ", "2026-11-19 23:00:00", "2026-11-20 23:00:00");
        row("Europe/Berlin", saturday, "last day", "2026-11-19 23:00:00", "2026-11-20 23:00:00");
        row("Europe/Berlin", saturday, "Last  7 Days", "2026-11-13 23:00:00", "2026-11-20 23:00:00");
        row("Europe/Berlin", saturday, "last 4 weeks", "2026-10-23 22:00:00", "2026-11-20 23:00:00");
        row("Europe/Berlin", saturday, "last month", "2026-10-20 22:00:00", "2026-11-20 23:00:00");
        row("Europe/Berlin", saturday, "last 2 hours", "2026-11-21 09:30:15", "2026-11-21 11:30:15");
        row("Europe/Berlin", saturday, "this week", "2026-11-15 23:00:00", "2026-11-22 23:00:00");
        row("Europe/Berlin", saturday, "previous week", "2026-11-08 23:00:00", "2026-11-15 23:00:00");
        row("Europe/Berlin", saturday, "previous day", "2026-11-19 23:00:00", "2026-11-20 23:00:00");
        row("Europe/Berlin", saturday, "previous month", "2026-09-30 22:00:00", "2026-10-31 23:00:00");
        row("Europe/Berlin", saturday, "previous quarter", "2026-06-30 22:00:00", "2026-09-30 22:00:00");
        row("Europe/Berlin", saturday, "previous year", "2024-12-31 23:00:00", "2025-12-31 23:00:00");
        row("Europe/Berlin", saturday, "all time", "0001-01-01 00:00:00", "9999-12-31 23:59:59");
        row("Europe/Berlin", "2026-11-16T08:00:00", "previous week", "2026-11-08 23:00:00", "2026-11-15 23:00:00"); // a Monday
        row("Europe/Berlin", "2026-11-15T08:00:00", "previous week", "2026-11-01 23:00:00", "2026-11-08 23:00:00"); // the Sunday before
        row("Europe/Berlin", "2026-01-10T08:00:00", "previous quarter", "2025-09-30 22:00:00", "2025-12-31 23:00:00");
        for (const char *now : {"2026-01-01T12:00:00", "2026-02-28T12:00:00", "2026-03-31T12:00:00"})
            row("UTC", now, "this quarter", "2026-01-01 00:00:00", "2026-04-01 00:00:00");
        row("UTC", "2026-06-01T12:00:00", "this quarter", "2026-04-01 00:00:00", "2026-07-01 00:00:00");
        row("UTC", "2026-09-30T12:00:00", "this quarter", "2026-07-01 00:00:00", "2026-10-01 00:00:00");
        row("UTC", "2026-12-31T12:00:00", "this quarter", "2026-10-01 00:00:00", "2027-01-01 00:00:00");
        row("UTC", "2026-12-31T12:00:00", "this month", "2026-12-01 00:00:00", "2027-01-01 00:00:00");
        row("UTC", "2026-12-31T12:00:00", "this year", "2026-01-01 00:00:00", "2027-01-01 00:00:00");
        row("Europe/Berlin", "2026-05-31T08:00:00", "last 3 months", "2026-02-27 23:00:00", "2026-05-30 22:00:00");
        row("Europe/Berlin", "2028-03-01T08:00:00", "yesterday", "2028-02-28 23:00:00", "2028-02-29 23:00:00");
        // Half past midnight in Berlin is still the day before in UTC.
        row("Europe/Berlin", "2026-11-20T23:30:00", "today", "2026-11-20 23:00:00", "2026-11-21 23:00:00");
        // The clock goes forward, back, and forward at midnight itself.
        row("Europe/Berlin", "2026-03-30T08:00:00", "yesterday", "2026-03-28 23:00:00", "2026-03-29 22:00:00");
        row("Europe/Berlin", "2026-10-26T08:00:00", "yesterday", "2026-10-24 22:00:00", "2026-10-25 23:00:00");
        row("America/Santiago", "2026-09-06T12:00:00", "today", "2026-09-06 04:00:00", "2026-09-07 03:00:00");
        row("Australia/Lord_Howe", "2026-04-05T08:00:00", "today", "2026-04-04 13:00:00", "2026-04-05 13:30:00"); // half an hour back
    }
    void every_phrase_names_its_range()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QByteArray, now);
        QFETCH(QString, phrase);
        QFETCH(QString, from);
        QFETCH(QString, to);
        if (!qm::test::canBeInZone(zone))
            QSKIP("this machine is in another zone");
        useZone(zone.constData());
        const PeriodRange range = qm::resolvePeriod(phrase, InstantClock(now.constData()));
        QCOMPARE(range.fromUtc, from);
        QCOMPARE(range.toUtc, to);
    }

    /// An event at any second lies in exactly one daily report, whatever the clocks do.
    void days_follow_one_another_without_gap()
    {
        for (const char *zone : {"Europe/Berlin", "America/New_York", "America/Santiago", "Australia/Lord_Howe", "Africa/Cairo"}) {
            if (!qm::test::canBeInZone(zone))
                continue;
            useZone(zone);
            const InstantClock clock("2026-01-01T12:00:00");
            qint64 hours = 0;
            QString end = qm::periodBetween(QDate(2026, 1, 1), QDate(2026, 1, 1), clock).fromUtc;
            for (QDate day(2026, 1, 1); day.year() == 2026; day = day.addDays(1)) {
                const PeriodRange range = qm::periodBetween(day, day, clock);
                QCOMPARE(range.fromUtc, end);
                end = range.toUtc;
                hours += hoursOf(range);
            }
            QVERIFY2(hours >= 365 * 24 - 1 && hours <= 365 * 24, zone);
        }
    }

    void dates_are_whole_days_and_may_be_open()
    {
        const InstantClock clock("2026-11-21T11:30:15");
        const PeriodRange both = qm::periodBetween(QDate(2026, 3, 29), QDate(2026, 3, 29), clock);
        QCOMPARE(hoursOf(both), qint64{23});
        QString words = both.words;
        if (qm::test::underWine()) // which guesses the zone's name by its rules, as of one of its neighbours
            words.replace(QRegularExpression(u"\\(Europe/\\w+"_s), u"(Europe/Berlin"_s);
        QCOMPARE(words, u"from 2026-03-29 00:00 to before 2026-03-30 00:00 (Europe/Berlin, UTC+01:00, later UTC+02:00)"_s);
        QCOMPARE(qm::periodBetween(QDate(2026, 3, 1), {}, clock).toUtc, u"9999-12-31 23:59:59"_s);
        QCOMPARE(qm::periodBetween({}, QDate(2026, 3, 1), clock).toUtc, u"2026-03-01 23:00:00"_s);
        QVERIFY(qm::periodBetween({}, {}, clock).allTime);
        QVERIFY_THROWS_EXCEPTION(qm::RuntimeError, qm::periodBetween(QDate(2026, 3, 2), QDate(2026, 3, 1), clock));
    }

    void what_is_no_phrase_is_refused_with_the_list()
    {
        const InstantClock clock("2026-11-21T11:30:15");
        for (const char *phrase : {"", "last", "last 0 days", "last -1 days", "last 7", "last x days", "previous hour", "previous 2 weeks",
                                   "this days", "next week", "last quarter", "last 1e3 days", "last 99999 days", "all", "today today"}) {
            const auto error = qm::test::errorOf([&] { static_cast<void>(qm::resolvePeriod(QString::fromLatin1(phrase), clock)); });
            QVERIFY2(error.number() == qm::err::reportFailed, phrase);
            QVERIFY(error.description().contains(u"last [N] hours|days|weeks|months"_s));
        }
    }
};

QTEST_APPLESS_MAIN(EnginePeriodTest)
#include "engine_period_test.moc"
