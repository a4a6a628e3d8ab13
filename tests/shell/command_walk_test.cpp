// Every command through the real window, from each place where it stands: by the mouse from the menu bar, the button bar and the pop-up
// menu, and by keys. What counts is what it did on disk, in the schedule or to the windows.

#include "CommandOffice.h"

#include "help/viewer/HelpText.h"
#include "help/viewer/frmHelp.h"
#include "shell/CommandTable.h"
#include "shell/frmAbout.h"

#include <QComboBox>
#include <QPushButton>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

enum class Way { Menu, Button, PopUp, Key };

struct Errand
{
    const char *id;
    std::function<void(CommandOffice &)> select; ///< brings the window into the state where the command makes sense
    std::function<void(CommandOffice &)> check;
    QKeyCombination keys{Qt::Key_unknown}; ///< the command's key, if it has one, pressed where the focus is
};

bool stands(std::span<const QLatin1StringView> items, QLatin1StringView id)
{
    return std::find(items.begin(), items.end(), id) != items.end();
}

std::span<const QLatin1StringView> itemsOf(QLatin1StringView menu)
{
    for (const MenuDefinition &definition : menuDefinitions())
        if (definition.id == menu)
            return definition.items;
    return {};
}

/// The menus to open one after the other, from the menu \p top to the one that holds \p id; empty: it is not below \p top.
QStringList pathBelow(QLatin1StringView top, QLatin1StringView id)
{
    if (stands(itemsOf(top), id))
        return {top};
    for (const QLatin1StringView item : itemsOf(top))
        if (const QStringList rest = item.isEmpty() ? QStringList() : pathBelow(item, id); !rest.isEmpty())
            return QStringList(top) + rest;
    return {};
}

QStringList menuPath(const char *id)
{
    for (const QLatin1StringView top : menuBarItems())
        if (const QStringList path = pathBelow(top, QLatin1StringView(id)); !path.isEmpty())
            return path;
    return {};
}

void clickItem(QMenu &menu, QAction &action)
{
    QTRY_VERIFY(menu.isVisible());
    QTest::mouseMove(&menu, menu.actionGeometry(&action).center());
    QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(&action).center());
}

/// Clicks down \p path, whose first menu is open, to the command.
void clickDown(const CommandOffice &office, const QStringList &path, const char *id)
{
    for (qsizetype i = 0; i < path.size(); ++i) {
        QMenu &menu = *office.window->commands().menu(path.at(i));
        clickItem(menu, i + 1 < path.size() ? *office.window->commands().menu(path.at(i + 1))->menuAction() : office.tool(id));
    }
}

void choose(CommandOffice &office, const Errand &errand, Way way)
{
    QVERIFY2(office.tool(errand.id).isEnabled(), errand.id);
    if (way == Way::Menu) {
        const QStringList path = menuPath(errand.id);
        QMenuBar &bar = *office.window->menuBar();
        const QAction *top = office.window->commands().menu(path.first())->menuAction();
        QTest::mouseClick(&bar, Qt::LeftButton, {}, bar.actionGeometry(const_cast<QAction *>(top)).center());
        clickDown(office, path, errand.id);
    } else if (way == Way::Button) {
        auto *bar = office.window->findChild<QToolBar *>(u"sstbrReportsMenuToolbar"_s);
        QTest::mouseClick(bar->widgetForAction(&office.tool(errand.id)), Qt::LeftButton);
    } else if (way == Way::PopUp) {
        // Where the selection is: on the selected row, else on the selected node.
        if (const int row = office.selection().rowIndex(); row >= 0)
            office.clickRow(row, Qt::RightButton);
        else
            office.clickNode(office.selection().nodeKey(), Qt::RightButton);
        clickDown(office, pathBelow(command::rightClick, QLatin1StringView(errand.id)), errand.id);
    } else {
        QTest::keyClick(QApplication::focusWidget(), errand.keys.key(), errand.keys.keyboardModifiers());
    }
}

/// Copies or cuts "Locks" with the real command and selects the group to paste into.
void pickUpLocks(CommandOffice &office, const char *id)
{
    office.clickQuery(u"Locks"_s);
    office.tool(id).trigger();
    office.clickGroup(u"Weekly"_s);
}

std::vector<Errand> filesErrands()
{
    return {
        {"ID_ReportGroup", [](CommandOffice &office) { office.clickPackage(); },
         [](CommandOffice &office) {
             QTRY_VERIFY(office.exists(office.installation.packagePath(u"Server"_s) + u"Query Groups/New Report Group"_s));
         }},
        {"ID_ReportQuery",
         [](CommandOffice &office) {
             office.clickGroup(u"Weekly"_s);
             office.components.onEdit = [&office](const QString &target) {
                 office.installation.write(target + u"new.rqn"_s, queryFile(u"Night work"_s));
             };
         },
         [](CommandOffice &office) { QTRY_VERIFY(office.exists(office.weekly + u"Night work.rqn"_s)); }},
        {"ID_Modify",
         [](CommandOffice &office) {
             office.clickQuery(u"Locks"_s);
             office.components.onEdit = [&office](const QString &target) { office.installation.write(target, queryFile(u"Edited"_s)); };
         },
         [](CommandOffice &office) { QTRY_VERIFY(office.listed().contains(u"Edited"_s)); }, Qt::Key_Return},
        {"ID_Delete",
         [](CommandOffice &office) {
             office.clickQuery(u"Logons"_s);
             office.prompts.answers = {box::idYes};
         },
         [](CommandOffice &office) {
             QTRY_VERIFY(!office.exists(office.logons));
             QVERIFY(office.exists(office.locks));
         },
         Qt::Key_Delete},
        {"ID_Rename", [](CommandOffice &office) { office.clickQuery(u"Locks"_s); },
         [](CommandOffice &office) {
             QTRY_VERIFY(office.labelEditor(office.list()) && office.labelEditor(office.list())->hasFocus());
             QTest::keyClicks(office.labelEditor(office.list()), u"Locked out"_s);
             QTest::keyClick(office.labelEditor(office.list()), Qt::Key_Return);
             QTRY_VERIFY(office.exists(office.daily + u"Locked out.rqn"_s));
             QVERIFY(!office.exists(office.locks));
         },
         Qt::Key_F2},
        {"ID_SaveAs",
         [](CommandOffice &office) {
             office.clickQuery(u"Locks"_s);
             office.prompts.files = {office.weekly + u"Moved.rqn"_s};
         },
         [](CommandOffice &office) {
             QTRY_VERIFY(office.exists(office.weekly + u"Moved.rqn"_s));
             QVERIFY(!office.exists(office.locks));
         }},
        {"ID_Cut", [](CommandOffice &office) { office.clickQuery(u"Locks"_s); },
         [](CommandOffice &office) {
             QTRY_VERIFY(office.tool("ID_Paste").isEnabled());
             office.clickGroup(u"Weekly"_s);
             office.tool("ID_Paste").trigger();
             QVERIFY(office.exists(office.weekly + u"Locks.rqn"_s) && !office.exists(office.locks));
         },
         Qt::CTRL | Qt::Key_X},
        {"ID_Copy", [](CommandOffice &office) { office.clickQuery(u"Locks"_s); },
         [](CommandOffice &office) {
             QTRY_VERIFY(office.tool("ID_Paste").isEnabled());
             office.clickGroup(u"Weekly"_s);
             office.tool("ID_Paste").trigger();
             QVERIFY(office.exists(office.weekly + u"Locks.rqn"_s) && office.exists(office.locks));
         },
         Qt::CTRL | Qt::Key_C},
        {"ID_Paste", [](CommandOffice &office) { pickUpLocks(office, "ID_Copy"); },
         [](CommandOffice &office) {
             QTRY_VERIFY(office.exists(office.weekly + u"Locks.rqn"_s));
             QVERIFY(!office.tool("ID_Paste").isEnabled());
         },
         Qt::CTRL | Qt::Key_V},
    };
}

std::vector<Errand> windowErrands()
{
    const auto showsHelp = [](CommandOffice &office) {
        QTRY_VERIFY(office.help.window() && office.help.window()->isVisible());
        QCOMPARE(office.help.window()->findChild<HelpText *>()->page(), u"window.html"_s);
    };
    const auto anywhere = [](CommandOffice &office) { office.clickPackage(); };
    return {
        {"ID_ReportJob",
         [](CommandOffice &office) {
             office.clickPackage();
             office.whenDialogOpens([file = office.locks](QWidget &dialog) {
                 CommandOffice::in<QLineEdit>(dialog, "txtQueryFile").setText(file);
                 QTest::mouseClick(&CommandOffice::in<QPushButton>(dialog, "cmdDlgSchOK"), Qt::LeftButton);
             });
             office.clock.set({QDate(2026, 11, 21), 36'000}); // due now: it runs and leaves again
         },
         [](CommandOffice &office) {
             QTRY_COMPARE(office.components.runs.size(), std::size_t{1});
             QCOMPARE(office.components.runs[0].queryFile, office.locks);
             QVERIFY(!office.components.runs[0].interactive);
             QVERIFY(office.installation.read(u"Config/Jobs.cfg"_s) != QByteArray());
         }},
        {"ID_Generate", [](CommandOffice &office) { office.clickQuery(u"Logons"_s); },
         [](CommandOffice &office) {
             QTRY_COMPARE(office.components.runs.size(), std::size_t{1});
             QCOMPARE(office.components.runs[0].queryFile, office.logons);
         }},
        {"ID_ConnectionInformation",
         [](CommandOffice &office) {
             office.clickPackage();
             office.whenDialogOpens([&office](QWidget &add) {
                 office.whenDialogOpens([](QWidget &dialog) {
                     CommandOffice::in<QLineEdit>(dialog, "txtServerName").setText(u"sql1"_s);
                     CommandOffice::in<QLineEdit>(dialog, "txtDatabase").setText(u"audit"_s);
                     QTest::mouseClick(&CommandOffice::in<QPushButton>(dialog, "cmdSave"), Qt::LeftButton);
                     QTest::mouseClick(&CommandOffice::in<QPushButton>(dialog, "cmdOK"), Qt::LeftButton);
                 });
                 CommandOffice::in<QLineEdit>(add, "txtDataSource").setText(u"Payroll"_s);
                 CommandOffice::in<QComboBox>(add, "cboDatabase").setCurrentText(u"Microsoft SQL Server"_s);
                 QTest::mouseClick(&CommandOffice::in<QPushButton>(add, "cmdOK"), Qt::LeftButton);
             });
         },
         [](CommandOffice &office) { QTRY_VERIFY(office.installation.read(u"Config/Payroll.dsf"_s).contains("sql1")); }},
        {"ID_E-mailSettings",
         [](CommandOffice &office) {
             office.clickPackage();
             office.whenDialogOpens([](QWidget &dialog) {
                 QTest::keyClicks(&CommandOffice::in<QLineEdit>(dialog, "txtSmtpServer"), u"mail.example.org"_s);
                 QTest::mouseClick(&CommandOffice::in<QPushButton>(dialog, "cmdOK"), Qt::LeftButton);
             });
         },
         [](CommandOffice &office) { QTRY_VERIFY(office.installation.read(u"Config/Email.cfg"_s).contains("mail.example.org")); }},
        {"ID_KeepOnTaskbarMenu", anywhere, [](CommandOffice &office) { QTRY_VERIFY(office.window->isMinimized()); }},
        {"ID_ContentsMenu", anywhere, showsHelp, Qt::Key_F1},
        {"ID_HelpButton", anywhere, showsHelp},
        {"ID_AboutQuillmarkReportsMenu", anywhere,
         [](CommandOffice &office) {
             QTRY_VERIFY(office.window->findChild<frmAbout *>() && office.window->findChild<frmAbout *>()->isVisible());
             QVERIFY(!office.window->findChild<frmAbout *>()->isModal());
         }},
        {"ID_ExitMenu", anywhere,
         [](CommandOffice &office) {
             QTRY_COMPARE(office.programEnds, 1);
             QVERIFY(!office.window->isVisible());
         }},
    };
}

std::vector<Errand> errands()
{
    std::vector<Errand> all = filesErrands();
    for (Errand &errand : windowErrands())
        all.push_back(std::move(errand));
    return all;
}

} // namespace

class CommandWalkTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void every_command_is_walked()
    {
        const std::vector<Errand> all = errands();
        for (const ToolDefinition &tool : toolDefinitions())
            if (itemsOf(tool.id).empty())
                QVERIFY2(std::any_of(all.begin(), all.end(), [&](const Errand &e) { return tool.id == QLatin1StringView(e.id); }),
                         tool.id.data());
    }

    void a_command_does_its_work_from_each_of_its_places_data()
    {
        QTest::addColumn<int>("errand");
        QTest::addColumn<int>("way");
        const std::vector<Errand> all = errands();
        for (std::size_t i = 0; i < all.size(); ++i) {
            const auto row = [&](Way way, const char *name) {
                QTest::addRow("%s by %s", all[i].id, name) << static_cast<int>(i) << static_cast<int>(way);
            };
            if (!menuPath(all[i].id).isEmpty())
                row(Way::Menu, "menu");
            if (stands(buttonBarItems(), QLatin1StringView(all[i].id)))
                row(Way::Button, "button");
            if (!pathBelow(command::rightClick, QLatin1StringView(all[i].id)).isEmpty())
                row(Way::PopUp, "pop-up");
            if (all[i].keys.key() != Qt::Key_unknown)
                row(Way::Key, "key");
        }
    }

    void a_command_does_its_work_from_each_of_its_places()
    {
        QFETCH(const int, errand);
        QFETCH(const int, way);
        const Errand work = errands()[static_cast<std::size_t>(errand)];
        CommandOffice office;
        work.select(office);
        choose(office, work, static_cast<Way>(way));
        work.check(office);
        office.prompts.finish();
    }

    void a_damaged_help_file_is_told_each_time()
    {
        CommandOffice office;
        office.installation.write(u"Report Generator.chm"_s, "spoilt");
        office.tool("ID_HelpButton").trigger();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_F1);
        QCOMPARE(office.prompts.shown.size(), std::size_t{2});
        for (const ScriptedPrompts::Shown &box : office.prompts.shown)
            QVERIFY(box.text.startsWith(u"Error occured while trying to display Help.\r\n\r\nFunction Name:  HelpContentsClicked"
                                        "\r\nSource:  frmMain.frm\r\nError No:  321\r\n"_s));
        QVERIFY(!office.help.window());
    }

    /// Which commands can be chosen, along the roads that an operator takes.
    void commands_follow_what_is_selected_along_the_road()
    {
        CommandOffice office;
        const auto on = [&office] {
            QStringList letters;
            for (const char *command :
                 {"ReportGroup", "ReportQuery", "ReportJob", "Modify", "Delete", "Rename", "SaveAs", "Copy", "Generate", "Paste"})
                if (office.tool((QByteArray("ID_") + command).constData()).isEnabled())
                    letters << QString::fromLatin1(command).remove(u"Report"_s).toLower();
            return letters.join(u' ');
        };
        office.clickPackage();
        QCOMPARE(on(), u"group job"_s);
        office.clickGroup(u"Daily"_s);
        QCOMPARE(on(), u"group query job modify delete rename"_s);
        office.clickRow(0);
        QCOMPARE(on(), u"query modify delete rename saveas copy generate"_s);
        // Free space of the list: Rename stays as it was, the row stays selected.
        office.clickFreeSpace(office.list());
        office.closeMenu();
        QCOMPARE(on(), u"group query job rename"_s);
        // The empty schedule takes the focus: Rename, Save As and Paste stay as they were.
        office.schedule().setFocus();
        QCOMPARE(on(), u"group job rename"_s);
        office.addJob(u"Morning"_s, office.locks);
        office.clickJob(0);
        QCOMPARE(office.globals.gstrCurrentQueryFile, office.locks);
        QCOMPARE(on(), u"group job modify delete rename generate"_s);
        // Back in the list its row counts again; a copy makes Paste possible where groups or queries are.
        office.list().setFocus();
        QCOMPARE(on(), u"query modify delete rename saveas copy generate"_s);
        office.tool("ID_Copy").trigger();
        QCOMPARE(on(), u"query modify delete rename saveas copy generate paste"_s);
        office.clickPackage();
        QCOMPARE(on(), u"group job rename"_s);
        office.clickGroup(u"Weekly"_s);
        QCOMPARE(on(), u"group query job modify delete rename paste"_s);
        // The view that a command acts on shows its selection in full colour, the others dimmed.
        const auto highlight = [](const QWidget &view) { return view.palette().color(QPalette::Active, QPalette::Highlight); };
        QCOMPARE(highlight(office.tree()), QApplication::palette().color(QPalette::Active, QPalette::Highlight));
        QVERIFY(highlight(office.list()) != highlight(office.tree()));
        QCOMPARE(highlight(office.list()), highlight(office.schedule()));
        // A menu that is open, and a button that has the focus, change nothing.
        QTest::keyClick(office.window.get(), Qt::Key_O, Qt::AltModifier);
        QCOMPARE(on(), u"group query job modify delete rename paste"_s);
        office.window->commands().menu(u"ID_Options"_s)->close();
        // After a delete there is no row: what needs one is off.
        office.clickQuery(u"Logons"_s);
        office.prompts.answers = {box::idYes, box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        QCOMPARE(on(), u"group query job modify delete rename paste"_s);
        QVERIFY(office.tree().hasFocus());
        // The last job goes: the schedule is empty, the tree's node is listed anew.
        office.clickJob(0);
        office.tool("ID_Delete").trigger();
        QVERIFY(!office.tool("ID_Generate").isEnabled());
        office.prompts.finish();
    }
};

QTEST_MAIN(CommandWalkTest)
#include "command_walk_test.moc"
