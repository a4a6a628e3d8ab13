// Report generation through a package's interface object.

#include "ShellHarness.h"
#include "core/Globals.h"
#include "framework/Components.h"
#include "shell/ReportRunner.h"

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// A factory of one interface that makes its reports in the background, and of nothing else.
class BackgroundComponents final : public ComponentFactory
{
public:
    std::function<void(std::optional<RuntimeError>)> end; ///< ends the run that was begun
    bool refuses = false;
    int begun = 0, cancels = 0, released = 0, generated = 0;

    std::unique_ptr<ReportInterface> createReportInterface(const QString &progId) override
    {
        if (progId.isEmpty())
            raise(err::cannotCreateObject, u"no identifier"_s);
        return std::make_unique<Interface>(*this);
    }
    std::unique_ptr<QueryAccess> createQueryAccess(const QString &) override { return nullptr; }

private:
    class Interface final : public ReportInterface, public BackgroundReports
    {
    public:
        explicit Interface(BackgroundComponents &owner) : m_owner(owner) {}
        ~Interface() override { ++m_owner.released; }
        void EditQuery(const QString &) override {}
        void GenerateReport(const QString &, int, bool, bool) override { ++m_owner.generated; }
        void beginReport(const QString &, std::function<void(std::optional<RuntimeError>)> ended) override
        {
            if (m_owner.refuses)
                raise(7, u"no thread"_s);
            ++m_owner.begun;
            m_owner.end = std::move(ended);
        }
        void cancelReport() override { ++m_owner.cancels; }
        [[nodiscard]] ReportProgress progress() const override { return {u"Nightly"_s, u"7 rows"_s}; }

    private:
        BackgroundComponents &m_owner;
    };
};

} // namespace

class ReportRunnerTest final : public QObject
{
    Q_OBJECT

    struct Bench
    {
        Bench() { components.prompts = &prompts; }
        Globals globals;
        ScriptedPrompts prompts;
        RecordingComponents components;
        FakeJournal journal;
        ReportRunner runner{globals, components, prompts, journal};
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
        bench.prompts.beforeAnswer = [&] { pointerAtBox = bench.prompts.pointerShape; };
        bench.runner.RunReport(u"Quillmark.Server"_s, true);
        QCOMPARE(pointerAtBox, told ? 0 : -1);
        QCOMPARE(bench.prompts.pointerShape, 0);
        QCOMPARE(bench.prompts.shown.size(), std::size_t{told ? 1U : 0U});
        if (told) {
            QCOMPARE(bench.prompts.shown[0].text, u"An error occured while generating the report.\r\nPlease go to application "
                                                  "log to view detail information about the error."_s);
            QCOMPARE(bench.prompts.shown[0].style, 16);
            QCOMPARE(bench.prompts.shown[0].title, u"Quillmark Report Generator"_s);
        }
        QVERIFY(!bench.runner.isRunning());
    }

    void a_scheduled_report_goes_on_behind_its_caller_until_it_is_over()
    {
        Globals globals;
        globals.gstrCurrentQueryFile = u"/a.rqn"_s;
        ScriptedPrompts prompts;
        BackgroundComponents components;
        FakeJournal journal;
        int over = 0;
        const auto count = [&over] { ++over; };
        {
            ReportRunner runner(globals, components, prompts, journal);
            for (const bool fails : {false, true}) {
                over = 0;
                runner.RunReport(u"any"_s, false, count);
                QVERIFY(runner.isRunning() && over == 0);
                QCOMPARE(runner.progress()->report, u"Nightly"_s);
                QCOMPARE(prompts.pointerShape, 11);
                runner.cancel();
                components.end(fails ? std::optional(RuntimeError(53, u"gone"_s)) : std::nullopt);
                QVERIFY(runner.isRunning()); // not released within its own call
                QTRY_COMPARE(over, 1);
                QVERIFY(!runner.isRunning() && !runner.progress());
                QCOMPARE(prompts.pointerShape, 0);
                QCOMPARE(prompts.shown.size(), std::size_t{fails ? 1U : 0U});
            }
            QCOMPARE(components.begun, 2);
            QCOMPARE(components.cancels, 2);
            QCOMPARE(components.released, 2);
            runner.RunReport(u"any"_s, true, count); // the operator waits for an own report
            QCOMPARE(components.generated, 1);
            QCOMPARE(over, 2);
            runner.RunReport(u"any"_s, false, count);
        }
        QCOMPARE(over, 2);
        QCOMPARE(components.released, 4); // the last one with the runner
    }

    void what_cannot_even_be_created_is_written_down()
    {
        Globals globals;
        globals.gstrCurrentQueryFile = u"/a.rqn"_s;
        ScriptedPrompts prompts;
        BackgroundComponents components;
        FakeJournal journal;
        ReportRunner runner(globals, components, prompts, journal);
        runner.RunReport({}, false);
        runner.RunReport({}, true);
        QCOMPARE(journal.refusals.size(), 2);
        QVERIFY(journal.refusals[0].startsWith(u"/a.rqn schedule "_s) && journal.refusals[0].endsWith(u"no identifier"_s));
        QVERIFY(journal.refusals[1].startsWith(u"/a.rqn operator "_s));
        components.refuses = true;
        runner.RunReport(u"any"_s, false);
        QVERIFY(journal.refusals.size() == 3 && journal.refusals[2].endsWith(u"no thread"_s));
        QVERIFY(!runner.isRunning());
        QCOMPARE(prompts.pointerShape, 0);
        QCOMPARE(prompts.shown.size(), std::size_t{3});
    }
};

QTEST_MAIN(ReportRunnerTest)
#include "report_runner_test.moc"
