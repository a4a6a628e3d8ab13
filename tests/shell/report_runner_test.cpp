// Report generation through a package's interface object.

#include "ShellHarness.h"
#include "core/Globals.h"
#include "framework/Components.h"
#include "scheduler/ReportRunner.h"

using namespace qm;
using namespace qm::test;

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
        bench.runner.RunReport(QStringLiteral("no such identifier"), true);
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        QCOMPARE(bench.prompts.shown[0].text, QStringLiteral("Please select a Query on order to Generate a Report."));
        QCOMPARE(bench.prompts.shown[0].style, 48);
        QCOMPARE(bench.prompts.shown[0].title, QStringLiteral("Select First!!"));
        QVERIFY(bench.components.runs.empty());
    }

    void the_report_is_made_under_the_hourglass()
    {
        Bench bench;
        bench.globals.gstrCurrentQueryFile = QStringLiteral("/a.rqn");
        bool runningInside = false;
        bench.components.onGenerate = [&] { runningInside = bench.runner.isRunning(); };
        bench.runner.RunReport(QStringLiteral("Quillmark.Server"), false);
        QCOMPARE(bench.components.runs.size(), std::size_t{1});
        const RecordingComponents::Run run = bench.components.runs[0];
        QCOMPARE(run.progId, QStringLiteral("Quillmark.Server"));
        QCOMPARE(run.queryFile, QStringLiteral("/a.rqn"));
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
        bench.globals.gstrCurrentQueryFile = QStringLiteral("/a.rqn");
        int pointerAtBox = -1;
        bench.components.onGenerate = [&] {
            if (number == 0)
                throw std::runtime_error("from outside");
            raise(number, QStringLiteral("detail"));
        };
        bench.runner.RunReport(QStringLiteral("Quillmark.Server"), true);
        pointerAtBox = bench.prompts.pointerShape;
        QCOMPARE(pointerAtBox, 0);
        QCOMPARE(bench.prompts.shown.size(), std::size_t{told ? 1U : 0U});
        if (told) {
            QCOMPARE(bench.prompts.shown[0].text,
                     QStringLiteral("An error occured while generating the report.\r\nPlease go to application "
                                    "log to view detail information about the error."));
            QCOMPARE(bench.prompts.shown[0].style, 16);
            QCOMPARE(bench.prompts.shown[0].title, QStringLiteral("Quillmark Report Generator"));
        }
        QVERIFY(!bench.runner.isRunning());
    }
};

QTEST_MAIN(ReportRunnerTest)
#include "report_runner_test.moc"
