/// \file
/// The real main window on a temporary installation with real files; only prompts, clock and the package's report interface are not real.
#pragma once

#include "core/ErrorReporter.h"
#include "datasources/ConnectionTester.h"
#include "framework/Components.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "help/HelpFile.h"
#include "platform/SystemDueTimer.h"
#include "shell/frmMain.h"
#include "support/FakeJournal.h"
#include "support/Fakes.h"
#include "support/TempInstallation.h"

#include <QLabel>
#include <QSignalSpy>

namespace qm::test {

using namespace Qt::StringLiterals;

/// A factory whose report interfaces record what they are asked to generate, and fail when told to.
class RecordingComponents final : public ComponentFactory
{
public:
    struct Run
    {
        QString progId, queryFile;
        int reserved = -1;
        bool interactive = false, flag = true;
        int pointer = -1;
    };
    std::vector<Run> runs;
    QStringList queryAccesses;                         ///< made so far, by identifier
    std::function<void(const QString &target)> onEdit; ///< stands for what the operator does in the package's editor
    std::function<void()> onGenerate;                  ///< called in the middle of GenerateReport; may throw
    const ScriptedPrompts *prompts = nullptr;

    std::unique_ptr<ReportInterface> createReportInterface(const QString &progId) override
    {
        if (!progId.startsWith(u"Quillmark."_s))
            raise(err::cannotCreateObject, progId);
        return std::make_unique<Interface>(*this, progId);
    }
    std::unique_ptr<QueryAccess> createQueryAccess(const QString &progId) override
    {
        if (!progId.startsWith(u"Quillmark."_s))
            raise(err::cannotCreateObject, progId);
        queryAccesses.append(progId);
        return std::make_unique<TomlQueryAccess>();
    }

private:
    class Interface final : public ReportInterface
    {
    public:
        Interface(RecordingComponents &owner, QString progId) : m_owner(owner), m_progId(std::move(progId)) {}
        void EditQuery(const QString &target) override
        {
            if (m_owner.onEdit)
                m_owner.onEdit(target);
        }
        void GenerateReport(const QString &queryFile, int reserved, bool interactive, bool flag) override
        {
            m_owner.runs.push_back(
                {m_progId, queryFile, reserved, interactive, flag, m_owner.prompts ? m_owner.prompts->pointerShape : -1});
            if (m_owner.onGenerate)
                m_owner.onGenerate();
        }

    private:
        RecordingComponents &m_owner;
        QString m_progId;
    };
};

/// A tester that is always content.
struct ContentTester final : ConnectionTester
{
    void testConnection(const QString &) override {}
};

/// A query file as an operator would write it by hand.
inline QByteArray queryFile(const QString &description, const QByteArray &output = "screen", const QByteArray &reportFile = {})
{
    return "description = \"" + description.toUtf8() + "\"\nreport_file = \"" + reportFile +
           "\"\nsql = '''SELECT 1 AS one'''\n[output]\ntype = \"" + output + "\"\n";
}

/// One start of the program's window.
class ShellHarness
{
public:
    explicit ShellHarness(const std::vector<TempPackage> &packages = usualPackages())
        : installation(packages), errors(prompts), clock({QDate(2026, 11, 21), 36'000}), jobReader(std::make_unique<TomlJobConfigReader>())
    {
        components.prompts = &prompts;
    }

    void start()
    {
        MainWindowServices services{.globals = globals,
                                    .errors = errors,
                                    .prompts = prompts,
                                    .clock = clock,
                                    .components = components,
                                    .help = help,
                                    .journal = journal,
                                    .jobReader = *jobReader,
                                    .work = work,
                                    .readers = {[] { return std::make_unique<IniPackageConfigReader>(); },
                                                [] { return std::make_unique<TomlJobConfigReader>(); },
                                                [] { return std::make_unique<TomlEmailConfigReader>(); },
                                                [] { return std::make_shared<TomlDataSourceFileReader>(); }},
                                    .makeQueryReader = [] { return std::make_unique<TomlQueryReader>(); },
                                    .makeDueTimer =
                                        [this] {
                                            auto made = std::make_unique<SystemDueTimer>();
                                            dueTimer = made.get();
                                            return made;
                                        },
                                    .connectionTester = connectionTester,
                                    .stateFile = stateFile};
        window = std::make_unique<frmMain>(services);
        QObject::connect(window.get(), &frmMain::closed, window.get(), [this] { ++programEnds; });
        window->Form_Load();
    }

    void show()
    {
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    /// The boxes shown so far, each with its message's first line only.
    [[nodiscard]] QStringList firstLines() const
    {
        QStringList lines;
        for (const ScriptedPrompts::Shown &box : prompts.shown)
            lines.append(box.text.section(u"\r\n"_s, 0, 0));
        return lines;
    }
    [[nodiscard]] CatalogueTreeView &tree() const { return window->catalogue().tvTreeView(); }
    [[nodiscard]] CatalogueListView &list() const { return window->catalogue().lvListView(); }
    [[nodiscard]] CatalogueSelection &selection() const { return window->catalogue().selection(); }
    [[nodiscard]] QString caption() const { return window->findChild<QWidget *>(u"ssReportQuery"_s)->findChild<QLabel *>()->text(); }
    [[nodiscard]] QAction &tool(const char *id) const { return *window->commands().tool(QString::fromLatin1(id)); }
    /// Column \p column of the list, top to bottom.
    [[nodiscard]] QStringList listed(int column = 0) const
    {
        QStringList texts;
        for (int row = 0; row < list().model()->rowCount(); ++row)
            texts.append(list().model()->index(row, column).data().toString());
        return texts;
    }

    TempInstallation installation;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    FakeClock clock;
    Globals globals;
    RecordingComponents components;
    HelpFile help;
    FakeJournal journal;
    std::unique_ptr<JobConfigReader> jobReader;
    ConnectionTester *connectionTester = nullptr; ///< null: data sources cannot be edited
    DueTimer *dueTimer = nullptr;                 ///< the window's
    FakeWork work;
    int programEnds = 0;
    QString stateFile;
    std::unique_ptr<frmMain> window;
};

} // namespace qm::test
