// What the operator reads when something fails, and that no failure gets past a trap.

#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "support/Fakes.h"

#include <stdexcept>

using namespace qm;

namespace {

constexpr Procedure kSave{"cmdSave_Click", "Error occured while saving.", "frmDataSource.frm"};
constexpr Procedure kLoad{"Form_Load", "Error occured while loading the form."};
const QString kSupport = QStringLiteral("\r\n\r\nImportant: Please contact Tarrowind - Technical Support with the above details");

/// A display that is gone.
class BrokenPrompts final : public Prompts
{
public:
    int messageBox(const QString &, int, const QString &) override { throw std::runtime_error("no display"); }
    std::optional<QString> chooseSaveFile(const FileDialogRequest &) override { return {}; }
    std::optional<QString> chooseOpenFile(const FileDialogRequest &) override { return {}; }
    void pointer(int) override {}
    void unattended(bool) override {}
};

struct ResetOnExit
{
    int &pointer;
    ~ResetOnExit() { pointer = -1; }
};

} // namespace

class CoreErrorsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void the_text_holds_exactly_the_lines_that_have_a_value_data()
    {
        QTest::addColumn<QString>("function");
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("description");
        QTest::addColumn<int>("style");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, const char *function, const char *source, int number, const char *description, int style,
                            const QString &text) {
            QTest::newRow(name) << QString::fromLatin1(function) << QString::fromLatin1(source) << number
                                << QString::fromLatin1(description) << style << text;
        };
        row("everything", "Fn", "frmMain.frm", 53, "File not found", 16,
            QStringLiteral("M\r\n\r\nFunction Name:  Fn\r\nSource:  frmMain.frm\r\nError No:  53\r\nError Description:  File not found") +
                kSupport);
        row("no function name leaves no blank line", "", "S", 0, "", 16, QStringLiteral("M\r\nSource:  S"));
        row("number 0 has no support line", "Fn", "", 0, "", 16, QStringLiteral("M\r\n\r\nFunction Name:  Fn"));
        row("another style has no support line", "", "", 58, "x", 33, QStringLiteral("M\r\nError No:  58\r\nError Description:  x"));
        row("negative number", "", "", -2147206395, "", 16, QStringLiteral("M\r\nError No:  -2147206395") + kSupport);
    }
    void the_text_holds_exactly_the_lines_that_have_a_value()
    {
        QFETCH(QString, function);
        QFETCH(QString, source);
        QFETCH(int, number);
        QFETCH(QString, description);
        QFETCH(int, style);
        test::ScriptedPrompts prompts;
        prompts.pointerShape = 11;
        prompts.answers = {box::idCancel};
        ErrorReporter errors(prompts);
        const int pressed = errors.ReportError(QStringLiteral("M"), function, source, number, description, style);
        QTEST(prompts.shown.at(0).text, "text");
        QCOMPARE(prompts.shown.at(0).style, style);
        QCOMPARE(prompts.shown.at(0).title, QStringLiteral("Quillmark Report Generator"));
        QCOMPARE(pressed, (style & 0xF) == box::ok ? box::idOk : box::idCancel);
        QCOMPARE(prompts.pointerShape, 0);
    }

    void a_trap_reports_once_with_the_right_source_and_yields_the_default()
    {
        test::ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        const bool saved = trap(errors, kSave, []() -> bool { raise(err::diskFull, QStringLiteral("/x/Payroll.dsf")); });
        QVERIFY(!saved);
        trap(errors, kLoad, [] { raise(err::typeMismatch, {}, kFrameworkSource); });
        QCOMPARE(trap(errors, kSave, [] { return 7; }), 7);
        QCOMPARE(prompts.shown.size(), std::size_t{2});
        QCOMPARE(prompts.shown[0].text, QStringLiteral("Error occured while saving.\r\n\r\nFunction Name:  cmdSave_Click\r\n"
                                                       "Source:  frmDataSource.frm\r\nError No:  61\r\n"
                                                       "Error Description:  Disk full: /x/Payroll.dsf") +
                                            kSupport);
        QVERIFY(
            prompts.shown[1].text.contains(QStringLiteral("Source:  QMMPRptFW\r\nError No:  13\r\nError Description:  Type mismatch\r")));
    }

    void guards_in_the_body_end_before_the_box()
    {
        test::ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        prompts.pointerShape = 11;
        trap(errors, kSave, [&] {
            const ResetOnExit guard{prompts.pointerShape};
            qm::raise(err::permissionDenied);
        });
        QCOMPARE(prompts.pointerShape, 0); // the reporter had the last word
    }

    void foreign_exceptions_become_errors_that_keep_their_text()
    {
        test::ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        trap(errors, kLoad, [] { throw std::runtime_error("toml: line 3"); });
        trap(errors, kLoad, [] { throw std::bad_alloc(); });
        trap(errors, kLoad, [] { throw 5; });
        QVERIFY(prompts.shown[0].text.contains(QStringLiteral("Error No:  51\r\nError Description:  Internal error: toml: line 3")));
        QVERIFY(prompts.shown[1].text.contains(QStringLiteral("Error No:  7\r\nError Description:  Out of memory\r\n")));
        QVERIFY(prompts.shown[2].text.contains(QStringLiteral("Source:  Quillmark Report Generator\r\nError No:  51")));
    }

    void silent_and_quiet_traps_show_nothing_they_should_not()
    {
        test::ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        QCOMPARE(trapSilently([]() -> int { qm::raise(err::overflow); }), 0);
        const auto attempt = [&](std::int32_t number) {
            trapExcept(errors, kSave, {err::cancelledByOperator, err::dialogCancelled}, [&] { qm::raise(number); });
        };
        attempt(err::dialogCancelled);
        attempt(err::cancelledByOperator);
        QVERIFY(prompts.shown.empty());
        attempt(err::noOutputByRule);
        QCOMPARE(prompts.shown.size(), std::size_t{1});
        trapExcept(errors, kSave, {err::internalError}, [] { throw std::runtime_error("x"); });
        QCOMPARE(prompts.shown.size(), std::size_t{2});
    }

    void a_box_that_cannot_be_shown_ends_silently()
    {
        BrokenPrompts prompts;
        ErrorReporter errors(prompts);
        QCOMPARE(errors.ReportError(QStringLiteral("M"), 36), 0);
        trap(errors, kSave, [] { qm::raise(err::overflow); });
    }

private:
    template <class Body>
    static std::int32_t numberOf(Body body)
    {
        try {
            body();
        } catch (const RuntimeError &error) {
            return error.number();
        }
        return 0;
    }
};

QTEST_GUILESS_MAIN(CoreErrorsTest)
#include "core_errors_test.moc"
