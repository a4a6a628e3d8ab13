// Charts: what layoutChart() makes of figures, and the same shapes in a report page and in a PDF file.
#include "documents/ChartSamples.h"
#include "documents/PdfReadBack.h"
#include "documents/Writers.h"
#include "documents/charts/ChartPicture.h"
#include "documents/html/ChartSvg.h"
#include "documents/pdf/ChartForm.h"
#include "documents/pdf/FontEmbedder.h"
#include "documents/pdf/PageGeometry.h"
#include "documents/pdf/PdfSyntax.h"

#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// Half the letter size for every byte: easy to reckon with.
double evenWidth(std::string_view text, double size, bool)
{
    return static_cast<double>(text.size()) * size / 2;
}

template <typename Shape>
std::vector<Shape> shapesOf(const ChartPicture &picture)
{
    std::vector<Shape> found;
    for (const ChartShape &shape : picture.shapes)
        if (const auto *const one = std::get_if<Shape>(&shape))
            found.push_back(*one);
    return found;
}

QStringList textsOf(const ChartPicture &picture, ChartText::Part part)
{
    QStringList texts;
    for (const ChartText &text : shapesOf<ChartText>(picture))
        if (text.part == part)
            texts << QString::fromStdString(text.text);
    return texts;
}

struct Box
{
    double left = 0, top = 0, right = 0, bottom = 0;
    [[nodiscard]] bool overlaps(const Box &other) const
    {
        constexpr double kTouch = 0.01;
        return left < other.right - kTouch && other.left < right - kTouch && top < other.bottom - kTouch && other.top < bottom - kTouch;
    }
};

/// What a shape covers, without half the width of its lines.
struct Boxes
{
    ChartTextWidth textWidth;

    Box operator()(const ChartRect &rect) const { return {rect.x, rect.y, rect.x + rect.width, rect.y + rect.height}; }
    Box operator()(const ChartPath &path) const
    {
        constexpr double kMost = std::numeric_limits<double>::max();
        Box box{kMost, kMost, -kMost, -kMost};
        for (const auto &part : path.parts)
            for (const ChartPoint &point : part)
                box = {std::min(box.left, point.x), std::min(box.top, point.y), std::max(box.right, point.x),
                       std::max(box.bottom, point.y)};
        return path.parts.empty() ? Box{} : box;
    }
    Box operator()(const ChartSlice &slice) const
    {
        return {slice.centre.x - slice.radius, slice.centre.y - slice.radius, slice.centre.x + slice.radius, slice.centre.y + slice.radius};
    }
    Box operator()(const ChartText &text) const
    {
        const double width = textWidth(text.text, text.size, text.bold);
        const double left = text.anchor == ChartText::Anchor::End      ? text.at.x - width
                            : text.anchor == ChartText::Anchor::Middle ? text.at.x - width / 2
                                                                       : text.at.x;
        return {left, text.at.y - text.size * 0.75, left + width, text.at.y + text.size * 0.2};
    }
};

/// Why \p picture is none that may be drawn; empty when it may.
QString faultOf(const ChartPicture &picture, const ChartTextWidth &textWidth)
{
    const Boxes boxes{textWidth};
    std::vector<Box> labels;
    for (const ChartShape &shape : picture.shapes) {
        const Box box = std::visit(boxes, shape);
        const QString at = u"%1 %2 %3 %4"_s.arg(box.left).arg(box.top).arg(box.right).arg(box.bottom);
        for (const double number : {box.left, box.top, box.right, box.bottom})
            if (!std::isfinite(number))
                return u"not finite: "_s + at;
        if (box.left < -0.5 || box.top < -0.5 || box.right > picture.size.width + 0.5 || box.bottom > picture.size.height + 0.5)
            return u"outside: shape %1 at "_s.arg(shape.index()) + at;
        const auto *const text = std::get_if<ChartText>(&shape);
        if (!text)
            continue;
        if (!QString::fromStdString(text->text).isValidUtf16() || text->text.empty())
            return u"no text"_s;
        for (const Box &other : labels)
            if (box.overlaps(other))
                return u"over another text: "_s + QString::fromStdString(text->text) + u" at "_s + at;
        labels.push_back(box);
    }
    return {};
}

ChartData oneSeries(std::vector<std::string> categories, std::vector<double> values)
{
    const std::size_t count = categories.size();
    return {std::move(categories), {{"", std::move(values)}}, false, false, count};
}

QString fonts()
{
    return qEnvironmentVariable("QM_BIN_DIR") + u"/fonts"_s;
}

} // namespace

class ChartsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void axesBeginAtZeroAndHaveAtMostSixTicks_data();
    void axesBeginAtZeroAndHaveAtMostSixTicks();
    void barsAreSortedProportionalAndEndWithOther();
    void whatHasNoRoomIsSaid();
    void aPieOfMoreThanFiveSlicesIsABar();
    void seriesBeyondFiveBecomeOther();
    void daysWithoutRowsAndPartialDaysAreShown();
    void alternativeTextNamesTheFiveLargest();
    void anyDataGivesAPictureThatCanBeDrawn();
    void cellsOfEveryStepCanBeRead();
    void theSvgIsWellFormedAndEscapesItsTexts();
    void aFormOfAPdfShowsTheChartWhereItWasPlaced();
    void theFirstPageHoldsTheChartBesideTheListOfTheLargest();
};

void ChartsTest::axesBeginAtZeroAndHaveAtMostSixTicks_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("ticks");
    QTest::newRow("14") << 14.0 << u"#,##0"_s << u"0 5 10 15"_s;
    QTest::newRow("100") << 100.0 << u"#,##0"_s << u"0 20 40 60 80 100"_s;
    QTest::newRow("101") << 101.0 << u"#,##0"_s << u"0 50 100 150"_s;
    QTest::newRow("one") << 1.0 << u"#,##0"_s << u"0 1"_s;
    QTest::newRow("nothing") << 0.0 << u"#,##0"_s << u"0 1"_s;
    QTest::newRow("a fraction") << 0.42 << u""_s << u"0 0.1 0.2 0.3 0.4 0.5"_s;
    QTest::newRow("a fraction in a format without decimals") << 0.42 << u"#,##0"_s << u"0 0.1 0.2 0.3 0.4 0.5"_s;
    QTest::newRow("negative") << -180.0 << u"#,##0"_s << u"\u2212200 \u2212150 \u2212100 \u221250 0"_s;
    QTest::newRow("bytes") << 3.0 * 1024 * 1024 << u"bytes"_s << u"0 B 1.0 MB 2.0 MB 3.0 MB"_s;
    QTest::newRow("huge") << 1e300 << u"#,##0"_s << u"0 2.00e+299 4.00e+299 6.00e+299 8.00e+299 1.00e+300"_s;
}

void ChartsTest::axesBeginAtZeroAndHaveAtMostSixTicks()
{
    QFETCH(double, value);
    QFETCH(QString, format);
    QFETCH(QString, ticks);
    ChartSpec spec = chartSpec(ChartKind::Bar, "Title", "Name", "Number");
    spec.value.format = format.toStdString();
    const ChartPicture picture = layoutChart(spec, oneSeries({"a"}, {value}), {500, 120}, evenWidth);
    QCOMPARE(textsOf(picture, ChartText::Part::Axis).join(u' '), ticks);
}

void ChartsTest::barsAreSortedProportionalAndEndWithOther()
{
    ChartSpec spec = chartSpec(ChartKind::Bar, "Title", "Account", "Attempts");
    spec.other = true;
    ChartData data = oneSeries({"low", "high", "middle", "the rest"}, {1, 4, 2, 3});
    data.otherCategory = true;
    data.allCategories = 20;
    const ChartPicture picture = layoutChart(spec, data, {300, 120}, evenWidth);
    QCOMPARE(textsOf(picture, ChartText::Part::Category), QStringList({u"high"_s, u"middle"_s, u"low"_s, u"Other (17)"_s}));
    QCOMPARE(textsOf(picture, ChartText::Part::Value), QStringList({u"4"_s, u"2"_s, u"1"_s, u"3"_s}));
    QCOMPARE(textsOf(picture, ChartText::Part::Subtitle),
             QStringList(u"Attempts by account: 3 largest of 20; the rest together as Other"_s));
    const std::vector<ChartRect> bars = shapesOf<ChartRect>(picture);
    QCOMPARE(bars.size(), 4U);
    const double unit = bars[2].width;
    for (const auto &[bar, value] : {std::pair{0, 4.0}, {1, 2.0}, {3, 3.0}}) {
        const ChartRect &rect = bars[static_cast<std::size_t>(bar)];
        QVERIFY(std::fabs(rect.width - value * unit) < 1e-9);
        QCOMPARE(rect.x, bars[2].x);
    }
    const double step = bars[1].y - bars[0].y;
    QVERIFY(std::fabs(bars[0].height - 0.6 * step) < 1e-9);
    QCOMPARE(*bars[0].paint.fill, ChartColour::Series1);
    QCOMPARE(*bars[3].paint.fill, ChartColour::Other);
    // The hatching lies within its bar: at 45 degrees, 2 apart.
    const auto paths = shapesOf<ChartPath>(picture);
    const auto hatch =
        std::find_if(paths.begin(), paths.end(), [](const ChartPath &path) { return path.paint.stroke == ChartColour::Page; });
    QVERIFY(hatch != paths.end());
    const Box box = Boxes{evenWidth}(*hatch);
    QVERIFY(box.left >= bars[3].x - 0.01 && box.right <= bars[3].x + bars[3].width + 0.01 &&
            box.bottom <= bars[3].y + bars[3].height + 0.01);
    for (const auto &line : hatch->parts)
        QVERIFY(std::fabs((line[0].x + line[0].y) - (line[1].x + line[1].y)) < 1e-6);
    QVERIFY(std::fabs((hatch->parts[1][0].x + hatch->parts[1][0].y - hatch->parts[0][0].x - hatch->parts[0][0].y) / std::sqrt(2.0) - 2) <
            1e-6);
}

void ChartsTest::whatHasNoRoomIsSaid()
{
    ChartSpec spec = chartSpec(ChartKind::Bar, "Title", "IP address", "Attempts");
    std::vector<std::string> names;
    std::vector<double> values;
    for (int i = 0; i < 1000; ++i) {
        names.push_back("10.0.0." + std::to_string(i));
        values.push_back(1000 - i);
    }
    const auto subtitle = [&] {
        return textsOf(layoutChart(spec, oneSeries(names, values), {300, 125}, evenWidth), ChartText::Part::Subtitle).value(0);
    };
    QCOMPARE(subtitle(), u"Attempts by IP address: 10 largest of 1,000; the others are not shown"_s);
    spec.other = true;
    QCOMPARE(subtitle(), u"Attempts by IP address: 9 largest of 1,000; the rest together as Other"_s);
    // The rest is what the others add up to: 1 + ... + 991.
    const ChartPicture picture = layoutChart(spec, oneSeries(names, values), {300, 125}, evenWidth);
    QCOMPARE(textsOf(picture, ChartText::Part::Value).value(9), u"491,536"_s);
}

void ChartsTest::aPieOfMoreThanFiveSlicesIsABar()
{
    ChartSpec spec = chartSpec(ChartKind::Pie, "Title", "Kind", "Log-ons");
    const ChartPicture pie = layoutChart(spec, oneSeries({"a", "b", "c", "d", "e"}, {1, 2, 4, 2, 1}), {300, 120}, evenWidth);
    std::vector<ChartSlice> slices = shapesOf<ChartSlice>(pie);
    QCOMPARE(slices.size(), 5U);
    QCOMPARE(slices[0].from, 0.0);
    QCOMPARE(slices[0].sweep, 0.4); // the largest first, from the top
    QVERIFY(std::fabs(slices[4].from + slices[4].sweep - 1) < 1e-9);
    QCOMPARE(textsOf(pie, ChartText::Part::Value).mid(0, 2), QStringList({u"4"_s, u"(40 %)"_s}));
    for (const std::vector<double> &values : {std::vector<double>{1, 2, 4, 2, 1, 1}, {3, -1}, {0, 0}}) {
        const std::vector<std::string> names{"a", "b", "c", "d", "e", "f"};
        const ChartData data = oneSeries({names.begin(), names.begin() + static_cast<std::ptrdiff_t>(values.size())}, values);
        QVERIFY(shapesOf<ChartSlice>(layoutChart(spec, data, {300, 120}, evenWidth)).empty());
    }
}

void ChartsTest::seriesBeyondFiveBecomeOther()
{
    ChartData data{{"x"}, {{"a", {7}}, {"b", {1}}, {"c", {6}}, {"d", {5}}, {"e", {2}}, {"f", {4}}, {"g", {3}}}, false, false, 1};
    const ChartPicture picture = layoutChart(chartSpec(ChartKind::StackedBar, "Title", "Name", "Number"), data, {400, 120}, evenWidth);
    QCOMPARE(textsOf(picture, ChartText::Part::Legend), QStringList({u"a"_s, u"c"_s, u"d"_s, u"f"_s, u"g"_s, u"Other"_s}));
    QCOMPARE(textsOf(picture, ChartText::Part::Value), QStringList(u"28"_s));
    // 7 of 28 parts, then a gap of 0.75; the last reaches to its end.
    const std::vector<ChartRect> bars = shapesOf<ChartRect>(picture);
    const double whole = bars[5].x + bars[5].width - bars[0].x;
    QVERIFY(std::fabs(bars[0].width + 0.75 - whole / 4) < 1e-6);
    QVERIFY(std::fabs(bars[1].x - bars[0].x - whole / 4) < 1e-6);
}

void ChartsTest::daysWithoutRowsAndPartialDaysAreShown()
{
    ChartSpec spec = chartSpec(ChartKind::Line, "Title", "Day", "Events");
    spec.category.type = ColumnType::Date;
    ChartData data = oneSeries({"2026-02-27", "2026-03-02"}, {8, 10});
    data.firstPartial = true;
    const ChartPicture picture = layoutChart(spec, data, {500, 120}, evenWidth);
    QCOMPARE(textsOf(picture, ChartText::Part::Category),
             QStringList({u"2026-02-27"_s, u"2026-02-28"_s, u"2026-03-01"_s, u"2026-03-02"_s}));
    const auto paths = shapesOf<ChartPath>(picture);
    const auto line =
        std::find_if(paths.begin(), paths.end(), [](const ChartPath &path) { return path.paint.stroke == ChartColour::Series1; });
    QVERIFY(line != paths.end());
    QCOMPARE(line->paint.strokeWidth, 1.25);
    QCOMPARE(line->parts[0].size(), 4U);
    QCOMPARE(line->parts[0][1].y, line->parts[0][2].y);
    QVERIFY(line->parts[0][1].y > line->parts[0][0].y);
    const auto marks = shapesOf<ChartSlice>(picture);
    QCOMPARE(marks.size(), 4U);
    QCOMPARE(*marks[0].paint.fill, ChartColour::Page);
    QCOMPARE(*marks[3].paint.fill, ChartColour::Series1);
    QVERIFY(textsOf(picture, ChartText::Part::Subtitle).value(0).contains(u"hollow"_s));
}

void ChartsTest::alternativeTextNamesTheFiveLargest()
{
    ChartSpec spec = chartSpec(ChartKind::Column, "Events by hour", "Hour", "Events");
    QCOMPARE(QString::fromStdString(alternativeText(spec, oneSeries({"00", "01", "02", "03", "04", "05"}, {1, 6, 2, 5, 3, 1200}))),
             u"Events by hour. The largest: 05 1,200; 01 6; 03 5; 04 3; 02 2."_s);
    QCOMPARE(QString::fromStdString(alternativeText(spec, {})), u"Events by hour: no values."_s);
    const std::vector<ChartSample> samples = chartSamples();
    QCOMPARE(
        QString::fromStdString(alternativeText(samples[0].spec, samples[0].data)),
        u"Attempts by account and reason. The largest: d.petrov 14; r.oconnor 12; p.novak 8; a.costa 6; m.okafor 6; the rest together 11."_s);
}

void ChartsTest::anyDataGivesAPictureThatCanBeDrawn()
{
    std::mt19937 random(4711);
    const auto below = [&](std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); };
    const std::vector<double> values{0,
                                     1,
                                     -1,
                                     7,
                                     1e6,
                                     -3e5,
                                     0.001,
                                     1e300,
                                     -1e300,
                                     1e-320,
                                     std::numeric_limits<double>::quiet_NaN(),
                                     std::numeric_limits<double>::infinity(),
                                     -std::numeric_limits<double>::infinity(),
                                     std::numeric_limits<double>::max(),
                                     12345678,
                                     99.5};
    const std::vector<std::string> names{"",
                                         "a",
                                         "srv-dc01.example.com",
                                         "تسجيل الدخول إلى الخادم",
                                         "two\nlines\tand a tab",
                                         "bad \xFF\xC3 bytes",
                                         "2026-11-14",
                                         "a\u202Eb",
                                         "系统日志：用户登录失败",
                                         "👨‍👩‍👧🇩🇪",
                                         std::string(2000, 'W'),
                                         "Monday",
                                         "07",
                                         "some words in a row that want two lines"};
    const std::vector<const char *> formats{"", "#,##0", "0.00", "percent", "bytes", "datetime", "0 \"units\""};
    const std::vector<std::size_t> counts{0, 1, 2, 3, 5, 7, 24, 60, 1000};
    const std::vector<ChartSize> sizes{{500, 185}, {400, 190}, {250, 120}, {100, 60}, {60, 40}, {5, 5}, {900, 500}};
    for (int round = 0; round < 700; ++round) {
        ChartSpec spec =
            chartSpec(static_cast<ChartKind>(below(9)), names[below(names.size())], names[below(names.size())], names[below(names.size())]);
        spec.value.format = formats[below(formats.size())];
        spec.categoryTitle = names[below(names.size())];
        spec.valueTitle = names[below(names.size())];
        spec.category.type = below(3) == 0 ? ColumnType::Date : ColumnType::Text;
        spec.other = below(2) == 0;
        ChartData data;
        const std::size_t count = counts[below(counts.size())];
        const bool days = below(3) == 0, mild = below(2) == 0;
        for (std::size_t i = 0; i < count; ++i)
            data.categories.push_back(days ? "2026-01-" + numberedLabels(static_cast<int>(i % 28) + 1, static_cast<int>(i % 28) + 1)[0]
                                           : names[below(names.size())]);
        data.series.resize(below(8));
        for (ChartSeries &series : data.series) {
            series.name = names[below(names.size())];
            const std::size_t given = below(20) == 0 ? below(count + 3) : count;
            for (std::size_t i = 0; i < given; ++i)
                series.values.push_back(values[below(mild ? 7 : values.size())]);
        }
        data.otherCategory = below(2) == 0;
        data.otherSeries = below(2) == 0;
        data.allCategories = below(2000);
        data.firstPartial = below(2) == 0;
        data.lastPartial = below(2) == 0;
        const ChartPicture picture = layoutChart(spec, data, sizes[below(sizes.size())], evenWidth);
        const QString fault = faultOf(picture, evenWidth);
        QVERIFY2(fault.isEmpty(), qPrintable(u"round %1, kind %2, %3 categories, %4 series, %5 x %6: "_s.arg(round)
                                                 .arg(int(spec.kind))
                                                 .arg(count)
                                                 .arg(data.series.size())
                                                 .arg(picture.size.width)
                                                 .arg(picture.size.height) +
                                             fault));
        QVERIFY(!picture.alternative.empty());
    }
}

void ChartsTest::cellsOfEveryStepCanBeRead()
{
    const auto luminance = [](ChartRgb rgb) { // WCAG 2.1, relative luminance
        const auto linear = [](std::uint8_t part) {
            const double value = part / 255.0;
            return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(rgb.red) + 0.7152 * linear(rgb.green) + 0.0722 * linear(rgb.blue);
    };
    const auto contrast = [&](ChartColour a, ChartColour b, ChartScheme scheme) {
        const double one = luminance(chartRgb(a, scheme)) + 0.05, two = luminance(chartRgb(b, scheme)) + 0.05;
        return std::max(one, two) / std::min(one, two);
    };
    for (const ChartScheme scheme : {ChartScheme::Light, ChartScheme::Dark}) {
        for (int step = 0; step < 5; ++step) {
            const auto cell = static_cast<ChartColour>(static_cast<int>(ChartColour::Heat1) + step);
            QVERIFY2(contrast(cell, step < 3 ? ChartColour::Ink : ChartColour::Page, scheme) >= 4.5, qPrintable(QString::number(step)));
        }
        for (int series = 0; series <= 5; ++series)
            QVERIFY2(contrast(static_cast<ChartColour>(series), ChartColour::Page, scheme) >= 3, qPrintable(QString::number(series)));
        for (const ChartColour letters : {ChartColour::Ink, ChartColour::Title, ChartColour::Soft})
            QVERIFY(contrast(letters, ChartColour::Page, scheme) >= 4.5);
    }
}

void ChartsTest::theSvgIsWellFormedAndEscapesItsTexts()
{
    const std::string hostile = "</svg><script>alert('x')</script><a href=\"javascript:1\" style=\"color:red\">&amp; \u202E";
    for (ChartSample &sample : chartSamples()) {
        sample.spec.title = hostile;
        sample.data.categories[0] = hostile;
        sample.data.series[0].name = hostile;
        std::string out;
        appendChartSvg(out, sample.spec, sample.data);
        QXmlStreamReader reader(QByteArray::fromStdString(out));
        QStringList elements, titles;
        while (!reader.atEnd())
            if (reader.readNext() == QXmlStreamReader::StartElement) {
                elements << reader.name().toString();
                QVERIFY(!reader.attributes().hasAttribute(u"style"_s));
                if (elements.size() == 1)
                    QCOMPARE(reader.attributes().value(u"role"_s), u"img"_s);
                if (reader.name() == u"title"_s)
                    titles << reader.readElementText();
            }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QCOMPARE(titles, QStringList(QString::fromStdString(hostile).replace(QChar(0x202E), u"[U+202E]"_s)));
        elements.removeDuplicates();
        for (const QString &element : std::as_const(elements))
            QVERIFY2(QStringList({u"svg"_s, u"title"_s, u"desc"_s, u"rect"_s, u"path"_s, u"circle"_s, u"text"_s}).contains(element),
                     qPrintable(element));
        QVERIFY(elements.contains(u"desc"_s) && elements.contains(u"text"_s));
    }
    // Every class that a shape bears is in the style sheet.
    const QString style = QString::fromStdString(chartStyleSheet());
    for (int colour = 0; colour < kChartColours; ++colour)
        QVERIFY(style.contains(u".f%1{"_s.arg(colour)) && style.contains(u".s%1{"_s.arg(colour)) &&
                style.count(u"--c%1:"_s.arg(colour)) == 2);
}

void ChartsTest::aFormOfAPdfShowsTheChartWhereItWasPlaced()
{
    const QString gallery = qEnvironmentVariable("QM_GALLERY");
    QTemporaryDir folder;
    const QString path = (gallery.isEmpty() ? folder.path() : gallery) + u"/charts.pdf"_s;
    const std::vector<ChartSample> samples = chartSamples();
    OutputFile output(path);
    pdf::FontBook fontBook(fonts());
    pdf::TextLayout layout(fontBook);
    pdf::PdfFile file(output);
    const pdf::PageGeometry geometry(ReportHead{}, {});
    pdf::ReportPages pages(file, layout, geometry);
    std::vector<pdf::ChartForm> forms;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        pages.newPage();
        forms.emplace_back("G" + std::to_string(i), pages, 1000, 4000, 5000, 1850);
    }
    pages.closePage();
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const ChartPicture picture = layoutChart(samples[i].spec, samples[i].data, forms[i].size(), pdf::chartTextWidth(layout));
        QCOMPARE(forms[i].write(picture, geometry, layout, pages), 0);
    }
    const int tree = pages.writePages([](int) { return std::string_view(); });
    pages.writeResources(pdf::embedFonts(fontBook, file));
    const int catalogue = file.reserve(2);
    std::string body = "<</Type/Catalog/Pages ";
    pdf::appendReference(body, tree);
    file.writeObject(catalogue, body + ">>");
    file.writeObject(catalogue + 1, "<<>>");
    file.finish(catalogue, catalogue + 1, std::string(32, '0'));
    output.commit();

    QVERIFY(textOf(path, 2, 2).contains(u"SRV-SQL01.example.com"_s));
    // The page is 210 mm high; the title's baseline is 9 points below the upper edge of the place, at 400 points.
    const std::vector<Word> found = words(path);
    const auto title =
        std::find_if(found.begin(), found.end(), [](const Word &word) { return word.page == 2 && word.text == u"Computers"_s; });
    QVERIFY(title != found.end());
    QVERIFY(std::fabs(title->left - 100) < 1);
    const double baseline = 210 / 25.4 * 72 - 400 + 9;
    QVERIFY2(title->top < baseline && title->bottom > baseline && title->bottom < baseline + 4, qPrintable(QString::number(title->bottom)));
    for (const Word &word : found)
        QVERIFY2(word.left >= 99 && word.right <= 601, qPrintable(word.text));
    const QByteArray checked = outputOf(u"qpdf"_s, {u"--check"_s, path});
    QVERIFY2(checked.contains("No syntax or stream encoding errors"), checked.constData());
}

void ChartsTest::theFirstPageHoldsTheChartBesideTheListOfTheLargest()
{
    const ChartSample sample = chartSamples()[1];
    ReportShape shape;
    shape.columns.resize(1);
    shape.columns[0].caption = "Account";
    shape.charts = {sample.spec};
    shape.top = TopList{"Most", sample.spec.category, sample.spec.value};
    const QTemporaryDir folder;
    const auto write = [&](int rows, const QString &name) {
        OutputFile file(folder.filePath(name));
        const auto writer = makePdfWriter(file, {.fontFolder = fonts()});
        const Value cell = Value::ofText("row");
        ReportHead head;
        head.title = "Report";
        writer->begin(head, shape, {.cells = {&cell, 1}, .rows = rows > 0 ? 1U : 0U, .whole = rows <= 1});
        for (int i = 0; i < rows; ++i)
            writer->row({&cell, 1});
        writer->end({.rows = rows, .charts = {&sample.data, 1}, .top = &sample.data});
        file.commit();
        return words(folder.filePath(name));
    };
    const std::vector<Word> found = write(200, u"rows.pdf"_s);
    const auto find = [&](const QString &text) {
        return *std::find_if(found.begin(), found.end() - 1, [&](const Word &word) { return word.text == text; });
    };
    const Word chart = find(u"Computers"_s), list = find(u"Most"_s), largest = find(u"(31"_s), row = find(u"row"_s);
    for (const Word &word : {chart, list, largest, row})
        QCOMPARE(word.page, 1);
    constexpr double kMargin = 12 / 25.4 * 72, kWidth = (297 - 2 * 12) / 25.4 * 72;
    QVERIFY(std::fabs(chart.left - kMargin) < 2);
    QVERIFY(std::fabs(list.left - kMargin - kWidth * 2 / 3) < 12);
    QVERIFY(std::fabs(list.top - chart.top) < 1);
    QVERIFY(row.top - chart.top > 55 / 25.4 * 72 && row.top - chart.top < 85 / 25.4 * 72);
    // Without rows there is nothing to draw.
    for (const Word &word : write(0, u"none.pdf"_s))
        QVERIFY(word.text != u"Computers"_s);
}

QTEST_GUILESS_MAIN(ChartsTest)
#include "charts_test.moc"
