// Report generation through a package's interface object.

#include "ShellHarness.h"
#include "core/Globals.h"
#include "framework/Components.h"
#include "scheduler/ReportRunner.h"

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

class ReportRunnerTest final : public QObject
{
    Q_OBJECT

    struct Bench
    {
        Bench() { components.prompts = &prompts; }
        Globals globals;
        ScriptedPrompts prompts;
        RecordingComponents components;
        ReportRunner runner{globals, components, prompts};
    };

private Q_SLOTS:
    void without_a_query_nothing_is_created()
    {
        Bench bench;
        bench.runner.RunReport(u"no such identifier"_s, true);
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        QCOMPARE(bench.prompts.shown[0].text, u"Please select a Query on order to Generate a Report."_s);
        QCOMPARE(bench.prompts.shown[0].style, 48);
        QCOMPARE(bench.prompts.shown[0].title, u"Select First!!"_s);
        QVERIFY(bench.components.runs.empty());
    }

    void the_report_is_made_under_the_hourglass()
    {
        Bench bench;
        bench.globals.gstrCurrentQueryFile = u"/a.rqn"_s;
        bool runningInside = false;
        bench.components.onGenerate = [&] { runningInside = bench.runner.isRunning(); };
        bench.runner.RunReport(u"Quillmark.Server"_s, false);
        QCOMPARE(bench.components.runs.size(), std::size_t{1});
        const RecordingComponents::Run run = bench.components.runs[0];
        QCOMPARE(run.progId, u"Quillmark.Server"_s);
        QCOMPARE(run.queryFile, u"/a.rqn"_s);
        QCOMPARE(run.reserved, 0);
        QVERIFY(!run.interactive && !run.flag);
        QCOMPARE(run.pointer, 11);
        QCOMPARE(bench.prompts.pointerShape, 0);
        QVERIFY(runningInside && !bench.runner.isRunning());
        QVERIFY(bench.prompts.shown.empty());
    }

    void failures_end_as_their_number_says_data()
    {
        QTest::addColumn<qint32>("number");
        QTest::addColumn<bool>("told");
        QTest::newRow("80047689") << static_cast<qint32>(-2147191159) << false;
        QTest::newRow("80043B05") << static_cast<qint32>(-2147206395) << false;
        QTest::newRow("80043B06") << static_cast<qint32>(-2147206394) << true;
        QTest::newRow("file not found") << 53 << true;
        QTest::newRow("not an error of ours") << 0 << true;
    }

    void failures_end_as_their_number_says()
    {
        QFETCH(qint32, number);
        QFETCH(bool, told);
        Bench bench;
        bench.globals.gstrCurrentQueryFile = u"/a.rqn"_s;
        int pointerAtBox = -1;
        bench.components.onGenerate = [&] {
            if (number == 0)
                throw std::runtime_error("from outside");
            raise(number, u"detail"_s);
        };
        bench.runner.RunReport(u"Quillmark.Server"_s, true);
        pointerAtBox = bench.prompts.pointerShape;
        QCOMPARE(pointerAtBox, 0);
        QCOMPARE(bench.prompts.shown.size(), std::size_t{told ? 1U : 0U});
        if (told) {
            QCOMPARE(bench.prompts.shown[0].text, u"An error occured while generating the report.\r\nPlease go to application "
                                                  "log to view detail information about the error."_s);
            QCOMPARE(bench.prompts.shown[0].style, 16);
            QCOMPARE(bench.prompts.shown[0].title, u"Quillmark Report Generator"_s);
        }
        QVERIFY(!bench.runner.isRunning());
    }
};

QTEST_MAIN(ReportRunnerTest)
#include "report_runner_test.moc"
