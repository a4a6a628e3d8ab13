// The real main window under real mouse and keys.

#include "CommandOffice.h"

#include "shell/Icons.h"
#include "shell/ScheduleStatus.h"
#include "shell/frmSplash.h"
#include "support/System.h"

#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

const QString kServer = u"Server Operating System Logs"_s;

} // namespace

class MainWindowTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void the_window_has_its_parts()
    {
        CommandOffice office;
        office.window->resize(1024, 700);
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
        QCOMPARE(headers, QStringList({u"Date"_s, u"Time"_s, u"Frequency"_s, u"Description"_s, u"Query File To User"_s}));
        QTRY_COMPARE(office.window->findChild<QLabel *>(u"NextSchReport"_s)->text(), u"No Reports Scheduled"_s);
        // Nothing keeps the window from being made smaller than its parts.
        office.window->resize(50, 5);
        QCOMPARE(office.window->size(), QSize(50, 5));
        QVERIFY(office.prompts.shown.empty());
    }

    void clicks_in_the_tree_list_what_was_clicked()
    {
        CommandOffice office;
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.listed(), QStringList({u"Daily"_s, u"Weekly"_s}));
        office.clickGroup(u"Daily"_s);
        QCOMPARE(office.caption(), u"Server Operating System Logs - Daily"_s);
        QCOMPARE(office.listed(), QStringList({u"Locks"_s, u"Logons"_s}));
        QVERIFY(!office.tool("ID_Generate").isEnabled());
        // Ctrl takes nothing out of the selection.
        QTest::mouseClick(office.tree().viewport(), Qt::LeftButton, Qt::ControlModifier,
                          office.tree().visualRect(office.group(u"Daily"_s)).center());
        QCOMPARE(office.selection().nodeIndex(), office.group(u"Daily"_s));
        // A double click on a package closes and opens it and edits nothing.
        const QModelIndex server = office.group(u"Daily"_s).parent();
        office.clickPackage();
        QTest::mouseDClick(office.tree().viewport(), Qt::LeftButton, {}, office.tree().visualRect(server).center());
        QVERIFY(!office.tree().isExpanded(server));
        QCOMPARE(office.labelEditor(office.tree()), nullptr);
        // Closing the package above the selected group goes back to it.
        office.clickGroup(u"Daily"_s);
        office.tree().collapse(server);
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.selection().nodeKey(), packageKey(kServer));
        QVERIFY(office.prompts.shown.empty());
    }

    void a_press_left_of_a_picture_clicks_the_node_that_it_selects()
    {
        CommandOffice office;
        const QRect daily = office.tree().visualRect(office.group(u"Daily"_s));
        QTest::mouseClick(office.tree().viewport(), Qt::LeftButton, {}, daily.center() - QPoint(daily.width() / 2 + 3, 0));
        QCOMPARE(office.selection().nodeIndex(), office.group(u"Daily"_s));
        QCOMPARE(office.caption(), u"Server Operating System Logs - Daily"_s);
    }

    void arrow_keys_in_the_tree_click_once_per_key()
    {
        CommandOffice office;
        office.tree().setFocus();
        QSignalSpy clicks(&office.tree(), &CatalogueTreeView::NodeClick);
        QTest::keyClick(&office.tree(), Qt::Key_Down);
        QCOMPARE(clicks.size(), 1);
        QCOMPARE(office.caption(), u"Server Operating System Logs - Daily"_s);
        QTest::keyClick(&office.tree(), Qt::Key_Down);
        QCOMPARE(clicks.size(), 2);
        QCOMPARE(office.listed(), QStringList());
        QTest::keyClick(&office.tree(), Qt::Key_Up, Qt::NoModifier);
        QTest::keyClick(&office.tree(), Qt::Key_Return); // opens what is selected; no movement, no click
        QCOMPARE(clicks.size(), 3);
        QTest::keyClick(&office.tree(), Qt::Key_Left); // to the package
        QTest::keyClick(&office.tree(), Qt::Key_Left); // closes it
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.listed(), QStringList({u"Daily"_s, u"Weekly"_s}));
    }

    void a_click_on_a_group_row_only_selects_and_a_double_click_opens()
    {
        CommandOffice office;
        office.clickRow(0);
        QCOMPARE(office.selection().nodeIndex(), office.group(u"Daily"_s));
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.listed().size(), 2);
        office.clickRow(0);
        QTest::mouseDClick(office.list().viewport(), Qt::LeftButton, {}, office.rowPoint(0));
        QCOMPARE(office.caption(), u"Server Operating System Logs - Daily"_s);
        QCOMPARE(office.listed(), QStringList({u"Locks"_s, u"Logons"_s}));
        // By keyboard: the first arrow takes the first row, Enter opens it and hands the focus to the tree.
        office.clickPackage();
        office.list().setFocus();
        QTest::keyClick(&office.list(), Qt::Key_Down);
        QCOMPARE(office.selection().rowKey(), u"G/"_s + kServer + u"/Daily"_s);
        QTest::keyClick(&office.list(), Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(office.listed(), QStringList({u"Locks"_s, u"Logons"_s}));
        QVERIFY(office.tree().hasFocus());
        QVERIFY(office.prompts.shown.empty());
    }

    void the_schedule_at_work_takes_nothing_from_the_operator()
    {
        CommandOffice office;
        JobTable &table = office.window->schedule().table();
        const auto add = [&](int id, const QString &file, const QDate &date, int frequency) {
            office.globals.gcolJobs->push_back(
                std::make_shared<ScheduledReportJob>(ScheduledReportJob{u"job %1"_s.arg(id), file, {date, 25'200}, frequency, id}));
        };
        const auto ran = [&] { return office.components.runs.empty() ? QString() : office.components.runs.back().queryFile; };
        // A report that is to run once leaves the first row behind the operator's back; the selected query keeps its commands.
        add(1, office.senders, {2026, 11, 20}, 0);
        add(2, office.senders, {2030, 1, 1}, 1);
        office.window->schedule().jobs().PopulateJobs();
        office.clickQuery(u"Locks"_s);
        office.window->schedule().timer().SetTimer(false);
        QCOMPARE(ran(), office.senders);
        QCOMPARE(table.rows(), 1);
        QVERIFY(office.tool("ID_Cut").isEnabled() && office.tool("ID_SaveAs").isEnabled() && office.tool("ID_Rename").isEnabled());
        office.tool("ID_Generate").trigger();
        QCOMPARE(ran(), office.locks);

        // In the active schedule the commands stay as well, and go for the row that is shown as selected.
        add(3, office.logons, {2030, 1, 1}, 1);
        add(4, office.senders, {2026, 11, 20}, 0);
        office.window->schedule().jobs().PopulateJobs();
        office.clickJob(1);
        office.window->schedule().timer().SetTimer(false);
        QCOMPARE(table.rows(), 2);
        QCOMPARE(office.schedule().currentIndex().row(), table.selectedRow());
        QVERIFY(office.tool("ID_Generate").isEnabled() && office.tool("ID_Modify").isEnabled());
        office.clickJob(0);
        office.prompts.answers = {box::idYes, box::idYes};
        QTest::keyClick(&office.schedule(), Qt::Key_Delete);
        office.tool("ID_Generate").trigger();
        QCOMPARE(ran(), office.logons); // the neighbour's
        QTest::keyClick(&office.schedule(), Qt::Key_Delete);
        QCOMPARE(table.rows(), 0);
        QVERIFY(!office.tool("ID_Generate").isEnabled());
        add(5, office.locks, {2030, 1, 1}, 1);
        office.schedule().setFocus();
        office.window->schedule().jobs().PopulateJobs(); // the first job of the schedule that is looked at
        QVERIFY(office.tool("ID_Generate").isEnabled() && office.tool("ID_Delete").isEnabled());
        office.prompts.finish();
    }

    void a_long_countdown_stays_in_the_window_and_its_tip_is_whole()
    {
        CommandOffice office;
        office.window->resize(900, 600);
        const QString description = u"A & B <i>report</i> "_s + QString(400, u'x');
        office.addJob(description, office.locks);
        office.window->schedule().timer().SetTimer(false);
        auto *panel = office.window->findChild<QLabel *>(u"NextSchReport"_s);
        QTRY_VERIFY(panel->text().contains(description));
        QTRY_VERIFY(panel->mapTo(office.window.get(), QPoint(panel->width(), 0)).x() <= office.window->width());
        QVERIFY(panel->mapTo(office.window.get(), QPoint()).x() >= 0 && panel->width() > 300);
        QHelpEvent help(QEvent::ToolTip, {3, 3}, panel->mapToGlobal(QPoint(3, 3)));
        QApplication::sendEvent(panel, &help);
        QTextDocument tip;
        tip.setHtml(QToolTip::text());
        QVERIFY2(tip.toPlainText().startsWith(u"Next Report: '"_s + description), qPrintable(tip.toPlainText()));
        QToolTip::hideText();

        // What the schedule does makes do as well, but its button stays whole.
        QMainWindow other;
        other.resize(700, 200);
        struct Known final : ScheduledProgress
        {
            std::optional<ReportProgress> progress() const override { return ReportProgress{QString(300, u'n'), u"12 rows"_s}; }
        } run;
        auto *status = new ScheduleStatus(run);
        other.statusBar()->addPermanentWidget(status);
        status->runBegan(office.locks);
        status->setNotice(u"<i>A notice</i> "_s + QString(400, u'y'));
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        const auto *cancel = status->findChild<QPushButton *>(u"cmdCancelScheduledRun"_s);
        QVERIFY(cancel->width() >= cancel->sizeHint().width());
        QVERIFY2(cancel->mapTo(&other, QPoint(cancel->width(), 0)).x() <= 700, qPrintable(QString::number(other.width())));
        for (const char *name : {"scheduledRun", "scheduleNotice"})
            QVERIFY(status->findChild<QLabel *>(QLatin1StringView(name))->visibleRegion().boundingRect().width() > 40);
    }

    void shift_and_f10_open_the_pop_up_menus()
    {
        CommandOffice office;
        office.addJob(u"Morning"_s, office.locks);
        for (QWidget *view : std::initializer_list<QWidget *>{&office.tree(), &office.list(), &office.schedule()}) {
            office.clickQuery(u"Logons"_s);
            view->setFocus();
            QTest::keyClick(view, Qt::Key_F10, Qt::ShiftModifier);
            QVERIFY2(office.rightClickMenu().isVisible(), qPrintable(view->objectName()));
            QVERIFY(office.tool("ID_SaveAs").isEnabled() || view != &office.list());
            office.rightClickMenu().close();
            QTest::keyClick(view, Qt::Key_F10, Qt::ShiftModifier | Qt::ControlModifier);
            QVERIFY(!office.rightClickMenu().isVisible());
        }
    }

    void no_window_opens_larger_than_the_screen_or_outside_it()
    {
        QTemporaryDir folder;
        CommandOffice office;
        const auto lies = [](const QWidget &window) {
            return window.isVisible() && window.screen()->availableGeometry().contains(window.frameGeometry());
        };
        QTRY_VERIFY(lies(*office.window));
        office.stateFile = folder.filePath(u"window.ini"_s);
        QSettings(office.stateFile, QSettings::IniFormat).setValue(u"frmMain/geometry"_s, QByteArray("spoilt"));
        office.window.reset();
        office.globals = {};
        office.start();
        office.show();
        QTRY_VERIFY(lies(*office.window));
        const auto opens = [&](QWidget &&window, const QRect &place) {
            window.setGeometry(place);
            window.show();
            return QTest::qWaitFor([&] { return lies(window); }, 2000);
        };
        QVERIFY(opens(QDialog(), {5000, 5000, 300, 200})); // kept on a screen that is gone
        QVERIFY(opens(QDialog(office.window.get()), {-900, -900, 5000, 3000}));
        QWidget moved;
        moved.setGeometry(40, 50, 300, 200);
        moved.show();
        QTest::qWait(50);
        QCOMPARE(moved.geometry(), QRect(40, 50, 300, 200)); // what fits is left alone
    }

    void a_wake_up_during_the_operators_report_comes_after_it()
    {
        CommandOffice office;
        office.addJob(u"scheduled"_s, office.senders);
        office.window->schedule().timer().SetTimer(false);
        office.clickQuery(u"Locks"_s);
        office.components.onGenerate = [&] {
            office.work.producingRows = office.components.runs.size() == 1;
            if (office.work.producingRows)
                Q_EMIT office.dueTimer->Mature();
            office.work.producingRows = false;
        };
        office.tool("ID_Generate").trigger();
        QCOMPARE(office.components.runs.size(), std::size_t{1}); // not before the operator's own run has returned
        QTRY_COMPARE(office.components.runs.size(), std::size_t{2});
        QCOMPARE(office.components.runs[1].queryFile, office.senders);
        QVERIFY(!office.components.runs[1].interactive);
    }

    void closing_during_a_chain_ends_it_after_the_report_at_hand()
    {
        CommandOffice office;
        for (const int id : {1, 2, 3})
            office.globals.gcolJobs->push_back(
                std::make_shared<ScheduledReportJob>(ScheduledReportJob{u"overdue"_s, office.locks, {{2026, 11, 20}, id}, 0, id}));
        office.window->schedule().jobs().PopulateJobs();
        office.components.onGenerate = [&] {
            const auto *made =
                office.window->findChild<QLabel *>(u"scheduledRun"_s); // painted before, for this interface lets nothing through
            QCOMPARE(made->text(), u"Making 'Locks'"_s);
            QVERIFY(made->isVisible() && made->width() >= made->sizeHint().width());
            office.window->close();
            QVERIFY(office.window->isVisible());
        };
        office.window->schedule().timer().SetTimer(false);
        QTRY_VERIFY(!office.window->isVisible());
        QCOMPARE(office.programEnds, 1);
        QCOMPARE(office.components.runs.size(), std::size_t{1});
        QCOMPARE(TomlJobConfigReader().LoadJobs(office.installation.path() + u"Config/Jobs.cfg"_s)->size(), std::size_t{2});
    }

    void one_menu_opens_per_right_click_and_acts_on_what_was_clicked()
    {
        CommandOffice office;
        office.clickGroup(u"Daily"_s);
        office.clickRow(0);
        QSignalSpy shown(&office.rightClickMenu(), &QMenu::aboutToShow);
        office.clickRow(1, Qt::RightButton);
        QCOMPARE(office.globals.gstrCurrentQueryFile, office.logons);
        office.closeMenu();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(office.selection().rowKey(), u"Q2"_s);

        // Beside the rows: the row stays selected, the commands are those of the free space.
        office.clickFreeSpace(office.list());
        office.closeMenu();
        QCOMPARE(office.selection().rowKey(), u"Q2"_s);
        QVERIFY(!office.tool("ID_Generate").isEnabled());
        QVERIFY(office.tool("ID_ReportJob").isEnabled());

        // A node that is not selected becomes so, and its contents are listed.
        office.clickNode(u"R/Mail Server Logs"_s, Qt::RightButton);
        office.closeMenu();
        QCOMPARE(office.caption(), u"Mail Server Logs"_s);
        // Free space in the tree: the menu opens, the selected node's list is shown anew.
        office.clickFreeSpace(office.tree());
        office.closeMenu();
        QCOMPARE(office.caption(), u"Mail Server Logs"_s);
        QCOMPARE(shown.size(), 4);
        QVERIFY(office.prompts.shown.empty());
    }

    void with_nothing_selected_every_tool_ends_in_at_most_one_box()
    {
        ShellHarness harness;
        harness.installation.write(u"Packages.ini"_s, "[Unknown]\nVersion=1\n");
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
        QTRY_VERIFY(harness.window->commands().menu(u"ID_RightClick"_s)->isVisible());
        harness.window->commands().menu(u"ID_RightClick"_s)->close();
    }

    void tips_are_the_listed_ones_and_no_others()
    {
        CommandOffice office;
        QCOMPARE(office.tool("ID_Rename").toolTip(), u"[&Rename]"_s);
        QCOMPARE(office.tool("ID_Generate").toolTip(), u"Generate Report"_s);
        auto *bar = office.window->findChild<QToolBar *>(u"sstbrReportsMenuToolbar"_s);
        QHelpEvent help(QEvent::ToolTip, {3, 3}, {3, 3});
        QVERIFY(QApplication::sendEvent(bar->widgetForAction(&office.tool("ID_Cut")), &help));
        for (const QWidget *widget : QApplication::topLevelWidgets())
            QVERIFY(!widget->inherits("QTipLabel") || !widget->isVisible());
    }

    void every_picture_shows_whether_its_tool_may_be_used()
    {
        const QStringList names = QDir(icons::resource(u"icons"_s)).entryList(QDir::Files);
        QVERIFY(names.size() > 20);
        for (const QString &name : names) {
            const auto strongest = [&](QIcon::Mode mode) {
                const QImage picture = icons::icon(name).pixmap(24, mode).toImage().convertToFormat(QImage::Format_Alpha8);
                int alpha = 0;
                for (int y = 0; y < picture.height(); ++y)
                    alpha = std::max(alpha, int{*std::max_element(picture.constScanLine(y), picture.constScanLine(y) + picture.width())});
                return alpha;
            };
            QVERIFY2(strongest(QIcon::Normal) > 200 && strongest(QIcon::Disabled) < 128, qPrintable(name));
        }
    }

    void without_a_notification_area_the_window_is_only_minimised()
    {
        if (onWindows())
            QSKIP("Windows always has a notification area");
        CommandOffice office;
        QVERIFY(!TrayIcon::isAvailable());
        office.tool("ID_KeepOnTaskbarMenu").trigger();
        QVERIFY(office.window->isMinimized());
        QVERIFY(office.window->isVisible()); // in the task bar, not lost
        QVERIFY(office.window->statusBar()->currentMessage().contains(u"notification area"_s));
        office.window->RestoreFromTray();
        QVERIFY(!office.window->isMinimized());
        office.window->showMaximized();
        office.tool("ID_KeepOnTaskbarMenu").trigger();
        office.window->RestoreFromTray();
        QVERIFY(office.window->windowState() & Qt::WindowMaximized);
    }

    void the_window_closes_only_when_nothing_runs_in_it()
    {
        CommandOffice office;
        office.work.producingRows = true;
        office.tool("ID_ExitMenu").trigger();
        office.window->close();
        QCOMPARE(office.programEnds, 0);
        QVERIFY(office.window->isVisible());
        office.tool("ID_AboutQuillmarkReportsMenu").trigger(); // nor does it open another
        QVERIFY(!office.window->findChild<QWidget *>(u"frmAbout"_s));
        office.work.producingRows = false;

        // An editor of a component keeps the program, so it keeps the scheduled report too.
        office.components.onGenerate = [&] {
            office.work.editing = true;
            office.window->close();
            office.work.editing = false;
        };
        office.globals.gstrCurrentQueryFile = office.locks;
        office.window->reportRunner().RunReport(u"Quillmark.ServerReportInterface"_s, false);
        QCoreApplication::processEvents();
        QVERIFY(office.window->isVisible() && office.window->isEnabled());

        // Jobs that are in no file yet are not left without a word.
        const QString config = office.installation.path() + u"Config"_s, file = config + kSep + u"Jobs.cfg"_s;
        files::rename(config, config + u" away"_s);
        const ScheduleServices watched = office.window->schedule().watch().watched(
            {office.globals, *office.jobReader, office.errors, office.prompts, office.clock, office.journal, office.work});
        QVERIFY_THROWS_EXCEPTION(RuntimeError, saveJobs(watched));
        office.prompts.answers = {box::idNo, box::idYes};
        office.window->close();
        QCOMPARE(office.programEnds, 0);
        QVERIFY(office.prompts.shown.size() == 1 && office.prompts.shown[0].text.contains(file));
        office.tool("ID_ExitMenu").trigger();
        QVERIFY(office.journal.lines.last().startsWith(u"the program ends although"_s));
        QCOMPARE(office.programEnds, 1);
        QVERIFY(!office.window->isVisible());
    }

    void the_look_is_found_again_and_column_widths_stay_as_dragged()
    {
        QTemporaryDir folder;
        CommandOffice office;
        const auto restart = [&] {
            office.window->close();
            office.window.reset();
            office.globals = {};
            office.start();
            office.show();
        };
        office.stateFile = folder.filePath(u"window.ini"_s);
        restart();
        QCOMPARE(office.list().columnWidth(0), 300); // 4500 twips
        office.clickGroup(u"Daily"_s);
        QCOMPARE(office.list().columnWidth(0), 233);
        office.list().setColumnWidth(1, 411);
        office.clickPackage();
        QCOMPARE(office.list().columnWidth(0), 300);
        office.clickGroup(u"Daily"_s);
        QCOMPARE(office.list().columnWidth(1), 411);
        auto *splitter = office.window->findChild<QSplitter *>(u"SSplitterMain"_s);
        splitter->setSizes({400, splitter->width() - 400});
        const QList<int> sizes = splitter->sizes();
        restart();
        office.clickGroup(u"Daily"_s);
        QCOMPARE(office.list().columnWidth(1), 411);
        QCOMPARE(office.window->findChild<QSplitter *>(u"SSplitterMain"_s)->sizes(), sizes);
    }

    void a_typed_key_on_the_splash_ends_the_program_and_others_do_not()
    {
        ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        QStringList steps;
        const SplashSteps record{[&] { steps.append(u"load"_s); }, [&] { steps.append(u"show"_s); }, [&] { steps.append(u"end"_s); }};
        {
            frmSplash splash(errors, prompts, record);
            splash.Form_Load();
            splash.show();
            QCOMPARE(prompts.pointerShape, 11);
            QTest::keyClick(&splash, Qt::Key_Alt);
            QTest::keyClick(&splash, Qt::Key_F5);
            QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, {}, u"\r"_s, true);
            QApplication::sendEvent(&splash, &repeated);
            QTest::mouseClick(&splash, Qt::LeftButton);
            QVERIFY(splash.isVisible() && steps.isEmpty());
            QTest::keyClick(&splash, Qt::Key_X);
            QCOMPARE(steps, QStringList(u"end"_s));
            QVERIFY(!splash.isVisible());
            QTest::qWait(1200);
            QCOMPARE(steps.size(), 1); // the timer is gone with it
        }
        steps.clear();
        QWidget *loading = nullptr; // a key that comes while the main window loads only closes the splash
        frmSplash busy(errors, prompts,
                       {[&] {
                            QTest::keyClick(loading, Qt::Key_X);
                            steps.append(u"load"_s);
                        },
                        record.showMainWindow, record.endProgram});
        loading = &busy;
        busy.Form_Load();
        busy.show();
        QTRY_COMPARE_WITH_TIMEOUT(steps, QStringList({u"load"_s, u"show"_s}), 10'000);
        QVERIFY(!busy.isVisible());
        QCOMPARE(prompts.pointerShape, 0);
    }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
