#include "scheduler/NextRun.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace qm;
using namespace Qt::StringLiterals;

/// How far a due job moves: month ends, leap years, whole periods, and every frequency over twenty years.
class NextRunTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void moves_to_the_first_date_after_today_data()
    {
        QTest::addColumn<QString>("frequency");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QDate>("expected");
        QTest::addColumn<int>("periods");
        const auto row = [](const char *name, const char *frequency, QDate date, QDate today, QDate expected, int periods) {
            QTest::newRow(name) << QString::fromLatin1(frequency) << date << today << expected << periods;
        };
        row("daily, three days late, one run", "Daily", {2026, 11, 18}, {2026, 11, 21}, {2026, 11, 22}, 4);
        row("daily, due later today, moves all the same", "Daily", {2026, 11, 21}, {2026, 11, 21}, {2026, 11, 22}, 1);
        row("daily, tomorrow, stays", "Daily", {2026, 11, 22}, {2026, 11, 21}, {2026, 11, 22}, 0);
        row("weekly, due today", "Weekly", {2026, 11, 21}, {2026, 11, 21}, {2026, 11, 28}, 1);
        row("weekly, twenty days late", "Weekly", {2026, 11, 1}, {2026, 11, 21}, {2026, 11, 22}, 3);
        row("monthly, 31st to a short February", "Monthly", {2026, 1, 31}, {2026, 1, 31}, {2026, 2, 28}, 1);
        row("monthly, 31st to a leap February", "Monthly", {2028, 1, 31}, {2028, 1, 31}, {2028, 2, 29}, 1);
        row("monthly, the shortened day stays short", "Monthly", {2026, 2, 28}, {2026, 2, 28}, {2026, 3, 28}, 1);
        row("monthly, over two months at once", "Monthly", {2026, 1, 31}, {2026, 3, 28}, {2026, 4, 28}, 3);
        row("monthly, over the year", "Monthly", {2026, 12, 31}, {2026, 12, 31}, {2027, 1, 31}, 1);
        row("unknown frequency, stays", "weekly", {2026, 1, 1}, {2026, 11, 21}, {2026, 1, 1}, 0);
        row("empty frequency, stays", "", {2026, 1, 1}, {2026, 11, 21}, {2026, 1, 1}, 0);
    }
    void moves_to_the_first_date_after_today()
    {
        QFETCH(QString, frequency);
        QFETCH(QDate, date);
        QFETCH(QDate, today);
        const Advance advance = advancePast(today, date, frequency);
        QTEST(advance.date, "expected");
        QTEST(advance.periods, "periods");
        QVERIFY(!advance.retired);
    }

    void a_one_time_job_retires_only_when_due()
    {
        QVERIFY(advancePast({2026, 11, 21}, {2026, 11, 21}, u"Single").retired);
        QVERIFY(advancePast({2026, 11, 21}, {2020, 1, 1}, u"Single").retired);
        QVERIFY(!advancePast({2026, 11, 21}, {2026, 11, 22}, u"Single").retired);
    }

    void over_twenty_years_every_run_lies_after_today_and_within_one_period()
    {
        QRandomGenerator random(20261121);
        const QStringList frequencies{u"Daily"_s, u"Weekly"_s, u"Monthly"_s};
        const int longest[] = {1, 7, 31};
        for (int round = 0; round < 20'000; ++round) {
            const int which = static_cast<int>(random.bounded(3U));
            const QDate date = QDate(2020, 1, 1).addDays(random.bounded(7305));
            const QDate today = date.addDays(random.bounded(-40, 900));
            const Advance advance = advancePast(today, date, frequencies[which]);
            QVERIFY(advance.date > today);
            if (advance.periods == 0) {
                QCOMPARE(advance.date, date);
                continue;
            }
            QVERIFY2(today.daysTo(advance.date) <= longest[which], qPrintable(date.toString(Qt::ISODate)));
            if (which == 1)
                QCOMPARE(advance.date.dayOfWeek(), date.dayOfWeek());
            if (which == 2)
                QVERIFY(advance.date.day() <= date.day());
        }
    }
};

QTEST_GUILESS_MAIN(NextRunTest)
#include "next_run_test.moc"
