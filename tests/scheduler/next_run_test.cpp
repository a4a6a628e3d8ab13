#include "scheduler/NextRun.h"

#include <QtTest>

using namespace qm;
using namespace Qt::StringLiterals;

/// How far a due job moves: month ends, leap years, whole periods.
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
        row("weekly, twenty days late", "Weekly", {2026, 11, 1}, {2026, 11, 21}, {2026, 11, 22}, 3);
        row("monthly, 31st to a short February", "Monthly", {2026, 1, 31}, {2026, 1, 31}, {2026, 2, 28}, 1);
        row("monthly, 31st to a leap February", "Monthly", {2028, 1, 31}, {2028, 1, 31}, {2028, 2, 29}, 1);
        row("monthly, the shortened day stays short", "Monthly", {2026, 2, 28}, {2026, 2, 28}, {2026, 3, 28}, 1);
        row("monthly, over two months at once", "Monthly", {2026, 1, 31}, {2026, 3, 28}, {2026, 4, 28}, 3);
        row("monthly, over the year", "Monthly", {2026, 12, 31}, {2026, 12, 31}, {2027, 1, 31}, 1);
        row("single, tomorrow, stays", "Single", {2026, 11, 22}, {2026, 11, 21}, {2026, 11, 22}, 0);
        row("unknown frequency, stays", "weekly", {2026, 1, 1}, {2026, 11, 21}, {2026, 1, 1}, 0);
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

    void codes_of_the_record_have_their_texts_and_others_have_none()
    {
        QStringList texts;
        for (int code = -1; code <= 4; ++code)
            texts.append(frequencyText(code));
        QCOMPARE(texts, QStringList({QString(), u"Single"_s, u"Daily"_s, u"Weekly"_s, u"Monthly"_s, QString()}));
        for (int code = 0; code < 4; ++code)
            QCOMPARE(frequencyCode(frequencyText(code)), std::optional(code));
        QCOMPARE(frequencyCode(u"single"), std::nullopt);
        QVERIFY(advancePast({2026, 11, 21}, {2026, 11, 21}, u"Single").retired);
    }
};

QTEST_GUILESS_MAIN(NextRunTest)
#include "next_run_test.moc"
