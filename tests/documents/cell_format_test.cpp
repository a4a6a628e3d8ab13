// What a reader sees of a cell.
#include "documents/CellFormat.h"

#include <QtTest>

#include <cmath>
#include <limits>

using namespace qm;
using namespace Qt::StringLiterals;

class CellFormatTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void numbersAreShownByTheirPattern_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<double>("number");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *format, double number, const char *text) {
            QTest::addRow("%s of %.17g", format, number) << QString::fromUtf8(format) << number << QString::fromUtf8(text);
        };
        row("", 0.1, "0.1");
        row("", 1e21, "1e+21");
        row("", std::nan(""), "NaN");
        row("", -std::numeric_limits<double>::infinity(), "-Infinity");
        row("#,##0.00", 1234567.891, "1,234,567.89");
        row("#,##0.00", 999.995, "1,000.00");
        row("#,##0.00", -0.001, "0.00");
        row("#,##0.00", std::nan(""), "NaN");
        row("0", 0.4999, "0");
        row("0.0##", 2.12345, "2.123");
        row("0.00", 2.675, "2.68");
        row("0.00", 1.005, "1.01");
        row("0.00", 1e22, "10000000000000000000000.00");
        row("0.00", 1e-300, "0.00");
        row("0.00 \"EUR\"", 3, "3.00 EUR");
        row("$#,##0", 12345, "$12,345");
        row("nothing", 1.5, "1.5");
        row("percent", 0.285, "28.5%");
        row("percent", 0.00049, "0.0%");
        row("0%", 0.285, "29%");
        row("bytes", 0, "0 B");
        row("bytes", 1023, "1,023 B");
        row("bytes", 1048575, "1.0 MB");
        row("bytes", 1610612736, "1.5 GB");
        row("boolean", 0, "No");
        row("boolean", 2, "Yes");
        row("date", 1.5, "1.5");
        row("duration", 0, "0 s");
        row("duration", 0.25, "250 ms");
        row("duration", 4.25, "4.3 s");
        row("duration", 42, "42 s");
        row("duration", 59.6, "1 min 00 s");
        row("duration", 307, "5 min 07 s");
        row("duration", 3599.6, "1 h 00 min");
        row("duration", 7384, "2 h 03 min");
        row("duration", 86399, "1 d 0 h");
        row("duration", 100800, "1 d 4 h");
        row("duration", -307, "-5 min 07 s");
        row("duration", 1e8, "1,157 d 10 h");
        row("duration", 1e300, "1e+300");
        row("durations", 42, "42");
    }

    void numbersAreShownByTheirPattern()
    {
        QFETCH(QString, format);
        QFETCH(double, number);
        QFETCH(QString, text);
        QCOMPARE(shown(format, Value::of(number)), text);
        if (std::nearbyint(number) == number && std::fabs(number) < 1e15)
            QCOMPARE(shown(format, Value::of(static_cast<std::int64_t>(number))), text);
    }

    void integersKeepEveryDigit()
    {
        const Value least = Value::of(std::numeric_limits<std::int64_t>::min());
        QCOMPARE(shown(QString(), least), u"-9223372036854775808"_s);
        QCOMPARE(shown(u"#,##0.0"_s, least), u"-9,223,372,036,854,775,808.0"_s);
        QCOMPARE(shown(u"0"_s, Value::ofNull()), QString());
    }

    void textsAreShownByTheirFormat_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QByteArray>("given");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *format, const QByteArray &given, const char *text) {
            QTest::addRow("%s of %s", format, given.constData()) << QString::fromUtf8(format) << given << QString::fromUtf8(text);
        };
        row("datetime", "2026-03-05T14:05:37.987Z", "2026-03-05 14:05:37");
        row("datetime", "2026-03-05 14:05", "2026-03-05 14:05:00");
        row("datetime", "2026-03-05", "2026-03-05");
        row("datetime-ms", "2026-03-05 14:05:37.9", "2026-03-05 14:05:37.900");
        row("datetime-ms", "2026-03-05 14:05:37.1239999", "2026-03-05 14:05:37.123");
        row("date", "2026-03-05 14:05:37", "2026-03-05");
        row("date", "2023-02-29", "2023-02-29");
        row("time", "2026-03-05 14:05:37", "14:05:37");
        row("time", "07:08", "07:08:00");
        // What is not quite a time stays as it came.
        row("time", "24:00:00", "24:00:00");
        for (const char *text : {"2026-13-05 14:05:37", "2026-03-05 14:05:37+02:00", "2026-03-05 14:05:37 or so", ""})
            row("datetime", text, text);
        row("boolean", "true", "Yes");
        row("boolean", "perhaps", "perhaps");
        row("#,##0.00", "n/a", "n/a");
        row("duration", "7384", "2 h 03 min");
        row("duration", "soon", "soon");
        row("", QByteArray("a\0b\xFF", 4), "a\u2400b\uFFFD");
    }

    void textsAreShownByTheirFormat()
    {
        QFETCH(QString, format);
        QFETCH(QByteArray, given);
        QFETCH(QString, text);
        QCOMPARE(shown(format, Value::ofText({given.constData(), static_cast<std::size_t>(given.size())})), text);
    }

    void timesInUtcAreShownOnTheLocalClockWithTheirDistance()
    {
        if (QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows)
            QSKIP("the zone of a process is the machine's there");
        const QByteArray before = qgetenv("TZ");
        const auto put = qScopeGuard([&] { before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before); });
        const auto local = [](const char *text) { return shown(u"local"_s, Value::ofText(text)); };
        qputenv("TZ", "Europe/Berlin");
        QCOMPARE(local("2026-07-01T22:30:05.9Z"), u"2026-07-02 00:30:05 +02:00"_s);
        // The clock is put forward, and back: the same reading twice is two moments.
        QCOMPARE(local("2026-03-29 00:59:59"), u"2026-03-29 01:59:59 +01:00"_s);
        QCOMPARE(local("2026-03-29 01:00:00"), u"2026-03-29 03:00:00 +02:00"_s);
        QCOMPARE(local("2026-10-25 00:30:00"), u"2026-10-25 02:30:00 +02:00"_s);
        QCOMPARE(local("2026-10-25 01:30:00"), u"2026-10-25 02:30:00 +01:00"_s);
        qputenv("TZ", "America/St_Johns");
        QCOMPARE(local("2026-01-01 01:00:00"), u"2025-12-31 21:30:00 -03:30"_s);
        // What is no moment stays as it came.
        for (const char *text : {"2026-01-01", "01:00:00", "2026-01-01 01:00:00+02:00", "9999-12-31 23:59:59Z or so", "0000-01-01 01:00"})
            QCOMPARE(local(text), QString::fromLatin1(text));
    }

    void wordsStandInPlaceOfCodes()
    {
        ReportColumn column;
        column.words = {{"2", "at the desk"}, {"0xC000006A", "wrong\tpassword"}, {"ok", "small"}, {"OK", "large"}, {"", "nothing"}};
        column.nullText = "none";
        const auto said = [&](const Value &value) {
            std::string out = "<";
            CellFormatter(column).append(value, out);
            return QString::fromStdString(out + '>');
        };
        QCOMPARE(said(Value::of(std::int64_t{2})), u"<at the desk>"_s);
        QCOMPARE(said(Value::of(2.0)), u"<at the desk>"_s);
        QCOMPARE(said(Value::ofText("2")), u"<at the desk>"_s);
        QCOMPARE(said(Value::ofText("0xc000006a")), u"<wrong\tpassword>"_s);
        QCOMPARE(said(Value::ofText("OK")), u"<large>"_s);
        QCOMPARE(said(Value::ofText("Ok")), u"<small>"_s);
        QCOMPARE(said(Value::ofText("")), u"<nothing>"_s);
        QCOMPARE(said(Value::ofNull()), u"<none>"_s);
        QCOMPARE(said(Value::of(std::int64_t{22})), u"<22>"_s);
        QCOMPARE(said(Value::ofBlob("2")), u"<0x32>"_s);
        QCOMPARE(CellFormatter(column).style(), CellFormatter::Style::Words);
        column.format = "#,##0.0";
        QCOMPARE(said(Value::of(std::int64_t{1234})), u"<1,234.0>"_s);
        QCOMPARE(said(Value::of(std::int64_t{2})), u"<at the desk>"_s);
        QVERIFY(!CellFormatter(column).hasRules());
    }

    void theFirstRuleThatHoldsCounts_data()
    {
        using Test = CellRule::Test;
        QTest::addColumn<int>("test");
        QTest::addColumn<QByteArray>("operand");
        QTest::addColumn<QByteArrayList>("hit");
        QTest::addColumn<QByteArrayList>("missed");
        const auto row = [](const char *name, Test test, const char *operand, const QByteArrayList &hit, const QByteArrayList &missed) {
            QTest::newRow(name) << static_cast<int>(test) << QByteArray(operand) << hit << missed;
        };
        row("equal numbers", Test::Equal, "10", {"i10", "r10", "t10", "t10.0"}, {"i11", "t10 or so", "null"});
        row("equal texts", Test::Equal, "F\xC3\xA9hler", {"tF\xC3\x89HLER"}, {"tF\xC3\xA9hle", "i0", "null"});
        row("not equal", Test::NotEqual, "10", {"i9", "tten"}, {"i10", "t10", "null"});
        row("less", Test::Less, "10", {"i9", "r9.5", "t9"}, {"i10", "i9223372036854775807", "null"});
        row("at most, beyond a double", Test::LessOrEqual, "9223372036854775806", {"i9223372036854775806"}, {"i9223372036854775807"});
        row("greater times", Test::Greater, "2026-11-20", {"t2026-11-20 00:00:01", "t2026-12-01"}, {"t2026-11-19", "null"});
        row("at least", Test::GreaterOrEqual, "0.5", {"r0.5", "i1"}, {"r0.4999", "rnan"});
        row("contains", Test::Contains, "fail", {"tLogon FAILED", "tfail"}, {"tfai", "null"});
        row("contains in a number", Test::Contains, "62", {"i4625"}, {"i46"});
        row("null", Test::Null, "", {"null"}, {"t", "i0"});
    }

    void theFirstRuleThatHoldsCounts()
    {
        QFETCH(int, test);
        QFETCH(QByteArray, operand);
        QFETCH(QByteArrayList, hit);
        QFETCH(QByteArrayList, missed);
        ReportColumn column;
        column.rules = {{static_cast<CellRule::Test>(test), operand.toStdString(), Emphasis::Alarm},
                        {CellRule::Test::Contains, "", Emphasis::Strong}};
        const CellFormatter formatter(column);
        QVERIFY(formatter.hasRules());
        QCOMPARE(formatter.style(), CellFormatter::Style::Plain);
        const auto emphasisOf = [&](const QByteArray &cell) {
            const std::string text = cell.mid(1).toStdString();
            return formatter.emphasisOf(cell == "null"      ? Value::ofNull()
                                        : cell.at(0) == 'i' ? Value::of(static_cast<std::int64_t>(std::stoll(text)))
                                        : cell.at(0) == 'r' ? Value::of(std::stod(text))
                                                            : Value::ofText(text));
        };
        for (const QByteArray &cell : hit)
            QVERIFY2(emphasisOf(cell) == Emphasis::Alarm, cell.constData());
        for (const QByteArray &cell : missed)
            QVERIFY2(emphasisOf(cell) == (cell == "null" ? Emphasis::None : Emphasis::Strong), cell.constData());
    }

    void formatsAreKnownByNameOrPattern()
    {
        for (const char *known : {"", "date", "local", "duration", "#,##0", "0 \"EUR\"", "0%"})
            QVERIFY2(isFormat(known), known);
        for (const char *unknown : {"Date", "datum", "yyyy-MM-dd", "durations", "#;", " "})
            QCOMPARE(isFormat(unknown), QByteArray(unknown) == "#;");
    }

    void blobsAreShownShort()
    {
        QCOMPARE(shown(QString(), Value::ofBlob("\x01\xAB")), u"0x01ab"_s);
        QCOMPARE(shown(QString(), Value::ofBlob(std::string(32, '\x11'))), u"0x"_s + u"11"_s.repeated(32));
        QCOMPARE(shown(QString(), Value::ofBlob(std::string(34000, '\x11'))), u"0x"_s + u"11"_s.repeated(32) + u"\u2026 (34,000 bytes)"_s);
    }

private:
    static QString shown(const QString &format, const Value &value)
    {
        ReportColumn column;
        column.format = format.toStdString();
        std::string out;
        CellFormatter(column).append(value, out);
        return QString::fromStdString(out);
    }
};

QTEST_GUILESS_MAIN(CellFormatTest)
#include "cell_format_test.moc"
