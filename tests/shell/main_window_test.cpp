// The real main window under real mouse and keys.

#include "ShellHarness.h"

#include "catalogue/CatalogueKeys.h"
#include "scheduler/ScheduleTableView.h"
#include "shell/frmSplash.h"

#include <QAbstractItemModelTester>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScopeGuard>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>

using namespace qm;
using namespace qm::test;

namespace {

const QString kServer = QStringLiteral("Server Operating System Logs");

/// Server: Daily (Logons, Locks), Weekly (none). Mail: Traffic (Senders).
struct Office : ShellHarness
{
    Office()
    {
        daily = installation.group(QStringLiteral("Server"), QStringLiteral("Daily"));
        installation.group(QStringLiteral("Server"), QStringLiteral("Weekly"));
        logons = installation.write(daily + QStringLiteral("/a.rqn"), queryFile(QStringLiteral("Logons")));
        locks = installation.write(daily + QStringLiteral("/b.rqn"), queryFile(QStringLiteral("Locks"), "file"));
        const QString traffic = installation.group(QStringLiteral("Mail"), QStringLiteral("Traffic"));
        senders = installation.write(traffic + QStringLiteral("/s.rqn"), queryFile(QStringLiteral("Senders")));
    }
    QModelIndex node(const QString &key) const { return selection().tree().find(key); }
    QModelIndex dailyNode() const { return node(QStringLiteral("G/") + kServer + QStringLiteral("/Daily")); }
    void clickNode(const QModelIndex &index, Qt::MouseButton button = Qt::LeftButton) const
    {
        QVERIFY(index.isValid());
        QTest::mouseClick(tree().viewport(), button, {}, tree().visualRect(index).center());
    }
    QPoint rowPoint(int row) const { return list().visualRect(list().model()->index(row, 0)).center(); }
    void clickRow(int row, Qt::MouseButton button = Qt::LeftButton) const
    {
        QTest::mouseClick(list().viewport(), button, {}, rowPoint(row));
    }
    void doubleClickRow(int row) const
    {
        clickRow(row);
        QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, rowPoint(row));
    }
    QPoint emptyListSpace() const { return {list().viewport()->width() - 5, list().viewport()->height() - 5}; }
    QMenu &rightClickMenu() const { return *window->commands().menu(QStringLiteral("ID_RightClick")); }

    QString daily, logons, locks, senders;
};

} // namespace

class MainWindowTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void the_window_has_its_parts()
    {
        Office office;
        office.start();
        office.window->resize(1024, 700);
        office.show();
        for (const char *name :
             {"SSplitterMain", "SSplitterListView", "SSplitterScheduler", "tvTreeView", "lvListView", "dtblScheduleTable", "ssReportQuery",
              "ssScheduleJob", "sbStatusbar", "sstbrReportsMenuToolbar", "NextSchReport"}) {
            const auto *part = office.window->findChild<QWidget *>(QString::fromLatin1(name));
            QVERIFY2(part && part->isVisible() && !part->visibleRegion().isEmpty(), name);
        }
        QStringList headers;
        const QAbstractItemModel &jobs = *office.window->schedule().dtblScheduleTable().model();
        for (int column = 1; column <= 5; ++column)
            headers.append(jobs.headerData(column, Qt::Horizontal).toString());
        QCOMPARE(headers, QStringList({QStringLiteral("Date"), QStringLiteral("Time"), QStringLiteral("Frequency"),
                                       QStringLiteral("Description"), QStringLiteral("Query File To User")}));
        QTRY_COMPARE(office.window->findChild<QLabel *>(QStringLiteral("NextSchReport"))->text(), QStringLiteral("No Reports Scheduled"));
        // Nothing keeps the window from being made smaller than its parts.
        office.window->resize(50, 5);
        QCOMPARE(office.window->size(), QSize(50, 5));
        QVERIFY(office.prompts.shown.empty());
    }

    void clicks_in_the_tree_list_what_was_clicked()
    {
        Office office;
        office.start();
        office.show();
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.listed(), QStringList({QStringLiteral("Daily"), QStringLiteral("Weekly")}));
        office.clickNode(office.dailyNode());
        QCOMPARE(office.caption(), QStringLiteral("Server Operating System Logs - Daily"));
        QCOMPARE(office.listed(), QStringList({QStringLiteral("Logons"), QStringLiteral("Locks")}));
        QVERIFY(!office.tool("ID_Generate").isEnabled());
        // Ctrl takes nothing out of the selection.
        QTest::mouseClick(office.tree().viewport(), Qt::LeftButton, Qt::ControlModifier,
                          office.tree().visualRect(office.dailyNode()).center());
        QCOMPARE(office.selection().nodeIndex(), office.dailyNode());
        // A double click on a package closes and opens it and edits nothing.
        const QModelIndex server = office.node(QStringLiteral("R/") + kServer);
        office.clickNode(server);
        QTest::mouseDClick(office.tree().viewport(), Qt::LeftButton, {}, office.tree().visualRect(server).center());
        QVERIFY(!office.tree().isExpanded(server));
        QCOMPARE(office.tree().findChild<QLineEdit *>(), nullptr);
        QVERIFY(office.prompts.shown.empty());
    }

    void a_press_left_of_a_picture_clicks_the_node_that_it_selects()
    {
        Office office;
        office.start();
        office.show();
        const QRect daily = office.tree().visualRect(office.dailyNode());
        QTest::mouseClick(office.tree().viewport(), Qt::LeftButton, {}, daily.center() - QPoint(daily.width() / 2 + 3, 0));
        QCOMPARE(office.selection().nodeIndex(), office.dailyNode());
        QCOMPARE(office.caption(), QStringLiteral("Server Operating System Logs - Daily"));
    }

    void arrow_keys_in_the_tree_click_once_per_key()
    {
        Office office;
        office.start();
        office.show();
        office.tree().setFocus();
        QSignalSpy clicks(&office.tree(), &CatalogueTreeView::NodeClick);
        QTest::keyClick(&office.tree(), Qt::Key_Down);
        QCOMPARE(clicks.size(), 1);
        QCOMPARE(office.caption(), QStringLiteral("Server Operating System Logs - Daily"));
        QTest::keyClick(&office.tree(), Qt::Key_Down);
        QCOMPARE(clicks.size(), 2);
        QCOMPARE(office.listed(), QStringList());
        QTest::keyClick(&office.tree(), Qt::Key_Up, Qt::NoModifier);
        QTest::keyClick(&office.tree(), Qt::Key_Return); // opens what is selected; no movement, no click
        QCOMPARE(clicks.size(), 3);
        QTest::keyClick(&office.tree(), Qt::Key_Left); // to the package
        QTest::keyClick(&office.tree(), Qt::Key_Left); // closes it
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.listed(), QStringList({QStringLiteral("Daily"), QStringLiteral("Weekly")}));
    }

    void collapsing_with_a_group_selected_goes_back_to_the_package()
    {
        Office office;
        office.start();
        office.show();
        office.clickNode(office.dailyNode());
        office.tree().collapse(office.node(QStringLiteral("R/") + kServer));
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.selection().nodeKey(), QStringLiteral("R/") + kServer);
        QCOMPARE(office.listed(), QStringList({QStringLiteral("Daily"), QStringLiteral("Weekly")}));
    }

    void a_click_on_a_group_row_only_selects_and_a_double_click_opens()
    {
        Office office;
        office.start();
        office.show();
        office.clickRow(0);
        QCOMPARE(office.selection().nodeIndex(), office.dailyNode());
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.listed().size(), 2);
        office.doubleClickRow(0);
        QCOMPARE(office.caption(), QStringLiteral("Server Operating System Logs - Daily"));
        QCOMPARE(office.listed(), QStringList({QStringLiteral("Logons"), QStringLiteral("Locks")}));
        // By keyboard: the first arrow takes the first row, Enter opens it and hands the focus to the tree.
        office.clickNode(office.node(QStringLiteral("R/") + kServer));
        office.list().setFocus();
        QTest::keyClick(&office.list(), Qt::Key_Down);
        QCOMPARE(office.selection().rowKey(), QStringLiteral("G/") + kServer + QStringLiteral("/Daily"));
        QTest::keyClick(&office.list(), Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(office.listed(), QStringList({QStringLiteral("Logons"), QStringLiteral("Locks")}));
        QVERIFY(office.tree().hasFocus());
        QVERIFY(office.prompts.shown.empty());
    }

    void generate_runs_the_query_that_is_selected()
    {
        Office office;
        office.start();
        office.show();
        office.clickNode(office.dailyNode());
        office.clickRow(1);
        QVERIFY(office.tool("ID_Generate").isEnabled());
        // A scheduled run has put another query in the meantime.
        office.globals.gstrCurrentQueryFile = office.senders;
        office.tool("ID_Generate").trigger();
        QCOMPARE(office.components.runs.size(), std::size_t{1});
        QCOMPARE(office.components.runs[0].queryFile, office.locks);
        QCOMPARE(office.components.runs[0].progId, QStringLiteral("Quillmark.ServerReportInterface"));
        QVERIFY(office.components.runs[0].interactive);
        // From the menu bar, by keys alone, and by the button.
        QTest::keyClick(&office.list(), Qt::Key_Up);
        QTest::keyClick(office.window.get(), Qt::Key_S, Qt::AltModifier);
        QTest::keyClick(office.window->commands().menu(QStringLiteral("ID_System")), Qt::Key_G);
        QTRY_COMPARE(office.components.runs.size(), std::size_t{2});
        QCOMPARE(office.components.runs[1].queryFile, office.logons);
        auto *bar = office.window->findChild<QToolBar *>(QStringLiteral("sstbrReportsMenuToolbar"));
        QWidget *button = bar->widgetForAction(&office.tool("ID_Generate"));
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Space);
        QCOMPARE(office.components.runs.size(), std::size_t{3});
        QCOMPARE(office.components.runs[2].queryFile, office.logons);
    }

    void one_menu_opens_per_right_click_and_acts_on_what_was_clicked()
    {
        Office office;
        office.start();
        office.show();
        office.clickNode(office.dailyNode());
        office.clickRow(0);
        const auto closeMenu = [&] {
            QTRY_VERIFY(office.rightClickMenu().isVisible());
            office.rightClickMenu().close();
        };
        QSignalSpy shown(&office.rightClickMenu(), &QMenu::aboutToShow);
        office.clickRow(1, Qt::RightButton);
        QCOMPARE(office.globals.gstrCurrentQueryFile, office.locks);
        closeMenu();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(office.selection().rowKey(), QStringLiteral("Q2"));

        // Beside the rows: the row stays selected, the commands are those of the free space.
        QTest::mouseClick(office.list().viewport(), Qt::RightButton, {}, office.emptyListSpace());
        closeMenu();
        QCOMPARE(office.selection().rowKey(), QStringLiteral("Q2"));
        QVERIFY(!office.tool("ID_Generate").isEnabled());
        QVERIFY(office.tool("ID_ReportJob").isEnabled());

        // A node that is not selected becomes so, and its contents are listed.
        office.clickNode(office.node(QStringLiteral("R/Mail Server Logs")), Qt::RightButton);
        closeMenu();
        QCOMPARE(office.caption(), QStringLiteral("Mail Server Logs"));
        // Free space in the tree: the menu opens, the selected node's list is shown anew.
        QTest::mouseClick(office.tree().viewport(), Qt::RightButton, {},
                          {office.tree().viewport()->width() - 5, office.tree().viewport()->height() - 5});
        closeMenu();
        QCOMPARE(office.caption(), QStringLiteral("Mail Server Logs"));
        QCOMPARE(shown.size(), 4);
        QVERIFY(office.prompts.shown.empty());
    }

    void with_nothing_selected_every_tool_ends_in_at_most_one_box()
    {
        ShellHarness harness;
        harness.installation.write(QStringLiteral("Packages.ini"), "[Framework]\nVersion=1\n");
        harness.start();
        harness.show();
        for (const char *id : {"ID_Modify", "ID_Delete", "ID_Generate", "ID_Rename", "ID_Cut", "ID_Copy", "ID_Paste", "ID_SaveAs"})
            QVERIFY2(!harness.tool(id).isEnabled(), id);
        for (const char *id : {"ID_ReportGroup", "ID_ReportQuery", "ID_ReportJob", "ID_Modify", "ID_Delete", "ID_Rename", "ID_SaveAs",
                               "ID_Cut", "ID_Copy", "ID_Paste", "ID_Generate", "ID_ContentsMenu", "ID_HelpButton", "ID_nothing"}) {
            harness.prompts.shown.clear();
            harness.window->commands().sstbrReportsMenuToolbar_ToolClick(QString::fromLatin1(id));
            QVERIFY2(harness.prompts.shown.size() <= 1, id);
        }
        QTest::mouseClick(harness.tree().viewport(), Qt::RightButton, {}, {20, 20});
        QTRY_VERIFY(harness.window->commands().menu(QStringLiteral("ID_RightClick"))->isVisible());
        harness.window->commands().menu(QStringLiteral("ID_RightClick"))->close();
    }

    void tips_are_the_listed_ones_and_no_others()
    {
        Office office;
        office.start();
        office.show();
        QCOMPARE(office.tool("ID_Rename").toolTip(), QStringLiteral("[&Rename]"));
        QCOMPARE(office.tool("ID_Generate").toolTip(), QStringLiteral("Generate Report"));
        auto *bar = office.window->findChild<QToolBar *>(QStringLiteral("sstbrReportsMenuToolbar"));
        QHelpEvent help(QEvent::ToolTip, {3, 3}, {3, 3});
        QVERIFY(QApplication::sendEvent(bar->widgetForAction(&office.tool("ID_Cut")), &help));
        for (const QWidget *widget : QApplication::topLevelWidgets())
            QVERIFY(!widget->inherits("QTipLabel") || !widget->isVisible());
    }

    void the_schedule_table_takes_the_commands_with_the_focus()
    {
        Office office;
        office.installation.write(QStringLiteral("Config/Jobs.cfg"), "");
        office.start();
        office.globals.gcolJobs->push_back(std::make_shared<ScheduledReportJob>(
            ScheduledReportJob{QStringLiteral("Senders daily"), office.senders, {QDate(2026, 11, 22), 30'000}, 1, 7}));
        office.window->schedule().jobs().PopulateJobs();
        office.show();
        office.clickNode(office.node(QStringLiteral("R/") + kServer));
        QVERIFY(!office.tool("ID_Modify").isEnabled());
        auto &table = office.window->schedule().dtblScheduleTable();
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, table.visualRect(table.model()->index(0, 3)).center());
        QVERIFY(office.tool("ID_Modify").isEnabled() && office.tool("ID_Delete").isEnabled());
        QCOMPARE(office.globals.gstrCurrentQueryFile, office.senders);
        // Menus and the tree's own click do not lose it; the tree takes it back.
        office.prompts.answers = {box::idNo};
        office.tool("ID_Delete").trigger();
        office.prompts.finish();
        office.clickNode(office.node(QStringLiteral("R/") + kServer));
        QVERIFY(!office.tool("ID_Delete").isEnabled());
    }

    void without_a_notification_area_the_window_is_only_minimised()
    {
        Office office;
        office.start();
        office.show();
        QVERIFY(!TrayIcon::isAvailable());
        office.tool("ID_KeepOnTaskbarMenu").trigger();
        QVERIFY(office.window->isMinimized());
        QVERIFY(office.window->isVisible()); // in the task bar, not lost
        QVERIFY(office.window->statusBar()->currentMessage().contains(QStringLiteral("notification area")));
        office.window->RestoreFromTray();
        QVERIFY(!office.window->isMinimized());
        office.window->showMaximized();
        office.tool("ID_KeepOnTaskbarMenu").trigger();
        office.window->RestoreFromTray();
        QVERIFY(office.window->windowState() & Qt::WindowMaximized);
    }

    void the_window_closes_only_when_nothing_runs_in_it()
    {
        Office office;
        office.start();
        office.show();
        office.producingRows = true;
        office.tool("ID_ExitMenu").trigger();
        office.window->close();
        QCOMPARE(office.programEnds, 0);
        QVERIFY(office.window->isVisible());
        office.producingRows = false;
        office.tool("ID_ExitMenu").trigger();
        QCOMPARE(office.programEnds, 1);
        QCOMPARE(office.viewersClosed, 1);
        QVERIFY(!office.window->isVisible());
    }

    void the_look_is_found_again_and_column_widths_stay_as_dragged()
    {
        QTemporaryDir folder;
        Office office;
        office.stateFile = folder.filePath(QStringLiteral("window.ini"));
        office.start();
        office.show();
        QCOMPARE(office.list().columnWidth(0), 300); // 4500 twips
        office.clickNode(office.dailyNode());
        QCOMPARE(office.list().columnWidth(0), 233);
        office.list().setColumnWidth(1, 411);
        office.clickNode(office.node(QStringLiteral("R/") + kServer));
        QCOMPARE(office.list().columnWidth(0), 300);
        office.clickNode(office.dailyNode());
        QCOMPARE(office.list().columnWidth(1), 411);
        auto *splitter = office.window->findChild<QSplitter *>(QStringLiteral("SSplitterMain"));
        splitter->setSizes({400, splitter->width() - 400});
        const QList<int> sizes = splitter->sizes();
        office.window->close();
        office.window.reset();
        office.globals = {};
        office.start();
        office.show();
        office.clickNode(office.dailyNode());
        QCOMPARE(office.list().columnWidth(1), 411);
        QCOMPARE(office.window->findChild<QSplitter *>(QStringLiteral("SSplitterMain"))->sizes(), sizes);
    }

    void a_typed_key_on_the_splash_ends_the_program_and_others_do_not()
    {
        ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        QStringList steps;
        const SplashSteps record{[&] { steps.append(QStringLiteral("load")); }, [&] { steps.append(QStringLiteral("show")); },
                                 [&] { steps.append(QStringLiteral("end")); }};
        {
            frmSplash splash(errors, prompts, record);
            splash.Form_Load();
            splash.show();
            QCOMPARE(prompts.pointerShape, 11);
            QTest::keyClick(&splash, Qt::Key_Alt);
            QTest::keyClick(&splash, Qt::Key_F5);
            QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, {}, QStringLiteral("\r"), true);
            QApplication::sendEvent(&splash, &repeated);
            QTest::mouseClick(&splash, Qt::LeftButton);
            QVERIFY(splash.isVisible() && steps.isEmpty());
            QTest::keyClick(&splash, Qt::Key_X);
            QCOMPARE(steps, QStringList(QStringLiteral("end")));
            QVERIFY(!splash.isVisible());
            QTest::qWait(1200);
            QCOMPARE(steps.size(), 1); // the timer is gone with it
        }
        steps.clear();
        QWidget *loading = nullptr; // a key that comes while the main window loads only closes the splash
        frmSplash busy(errors, prompts,
                       {[&] {
                            QTest::keyClick(loading, Qt::Key_X);
                            steps.append(QStringLiteral("load"));
                        },
                        record.showMainWindow, record.endProgram});
        loading = &busy;
        busy.Form_Load();
        busy.show();
        QTRY_COMPARE_WITH_TIMEOUT(steps, QStringList({QStringLiteral("load"), QStringLiteral("show")}), 2500);
        QVERIFY(!busy.isVisible());
        QCOMPARE(prompts.pointerShape, 0);
    }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
