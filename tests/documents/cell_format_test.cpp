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
        row("", QByteArray("a\0b\xFF", 4), "a\u2400b\uFFFD");
    }

    void textsAreShownByTheirFormat()
    {
        QFETCH(QString, format);
        QFETCH(QByteArray, given);
        QFETCH(QString, text);
        QCOMPARE(shown(format, Value::ofText({given.constData(), static_cast<std::size_t>(given.size())})), text);
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
