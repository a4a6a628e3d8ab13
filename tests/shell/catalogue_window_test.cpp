// Groups and queries changed through the real main window, by mouse and keyboard.

#include "CommandOffice.h"

#include <QStatusBar>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {
const QString kMail = u"Mail Server Logs"_s;
}

class CatalogueWindowTest final : public QObject
{
    Q_OBJECT

    static void eachWithAndWithoutATurn()
    {
        QTest::addColumn<bool>("turn");
        QTest::newRow("press and release in one turn") << false;
        QTest::newRow("a turn between") << true;
    }

private Q_SLOTS:
    void a_click_that_ends_a_query_rename_is_obeyed_afterwards_data() { eachWithAndWithoutATurn(); }
    void a_click_that_ends_a_query_rename_is_obeyed_afterwards()
    {
        QFETCH(const bool, turn);
        CommandOffice office;
        office.tree().expandAll();
        QString now = u"Logons"_s;
        const auto typeName = [&](const QString &name) {
            office.clickQuery(now);
            CommandOffice::typeOverLabel(office.list(), name);
            now = name;
        };
        // On a package, on a group of another package, on another row whose place the rename takes, on the row itself.
        typeName(u"On a package"_s);
        office.realClick(*office.tree().viewport(), office.nodePoint(packageKey(kMail)), turn);
        QVERIFY(office.exists(office.daily + u"On a package.rqn"_s));
        QCOMPARE(office.caption(), kMail);
        QCOMPARE(office.selection().nodeKey(), packageKey(kMail));
        QCOMPARE(office.listed(), QStringList(u"Traffic"_s));

        typeName(u"Abroad"_s);
        office.realClick(*office.tree().viewport(), office.nodePoint(groupKey(kMail, u"Traffic"_s)), turn);
        QVERIFY(office.exists(office.daily + u"Abroad.rqn"_s));
        QCOMPARE(office.caption(), kMail + u" - Traffic"_s);
        QCOMPARE(office.components.queryAccesses, QStringList(office.components.queryAccesses.size(), u"Quillmark.ServerQueryAccess"_s));

        typeName(u"Zeta"_s);
        QCOMPARE(office.listed(), QStringList({u"Abroad"_s, u"Locks"_s}));
        office.realClick(*office.list().viewport(), office.rowPoint(1), turn);
        QCOMPARE(office.listed(), QStringList({u"Locks"_s, u"Zeta"_s}));
        QCOMPARE(office.selection().row().text, u"Locks"_s);
        QCOMPARE(office.globals.gstrCurrentQueryFile, office.locks);

        typeName(u"Account"_s);
        office.realClick(*office.list().viewport(), office.list().visualRect(office.list().model()->index(1, 1)).center(), turn);
        QCOMPARE(office.selection().row().text, u"Account"_s);
        QVERIFY(office.prompts.shown.empty());
        QVERIFY(!office.labelEditor(office.list()));
    }

    void a_click_that_ends_a_group_rename_is_obeyed_afterwards_data() { eachWithAndWithoutATurn(); }
    void a_click_that_ends_a_group_rename_is_obeyed_afterwards()
    {
        QFETCH(const bool, turn);
        CommandOffice office;
        const QString weekly = groupKey(office.package, u"Weekly"_s);
        office.clickGroup(u"Daily"_s);
        CommandOffice::typeOverLabel(office.tree(), u"Night"_s);
        office.realClick(*office.tree().viewport(), office.nodePoint(weekly), turn);
        QVERIFY(office.group(u"Night"_s).isValid());
        QCOMPARE(office.selection().nodeKey(), weekly);
        QCOMPARE(office.caption(), office.package + u" - Weekly"_s);

        office.clickGroup(u"Night"_s);
        CommandOffice::typeOverLabel(office.tree(), u"Day"_s);
        office.realClick(*office.tree().viewport(), office.nodePoint(weekly), turn, Qt::RightButton);
        office.closeMenu();
        QVERIFY(office.group(u"Day"_s).isValid());
        QCOMPARE(office.selection().nodeKey(), weekly);
        QCOMPARE(office.caption(), office.package + u" - Weekly"_s);

        // A tool acts on what it is for, too: here a query that is new under the name just given.
        office.clickGroup(u"Day"_s);
        CommandOffice::typeOverLabel(office.tree(), u"Month"_s);
        const auto *bar = office.window->findChild<QToolBar *>(u"sstbrReportsMenuToolbar"_s);
        const QWidget *button = bar->widgetForAction(&office.tool("ID_ReportQuery"));
        QString target;
        office.components.onEdit = [&](const QString &folder) { target = folder; };
        office.realClick(*button, button->rect().center(), turn);
        QTRY_COMPARE(target, office.installation.group(u"Server"_s, u"Month"_s) + kSep);
        QVERIFY(office.prompts.shown.empty());
    }

    void a_click_that_ends_an_edit_with_a_refused_name_data() { eachWithAndWithoutATurn(); }
    void a_click_that_ends_an_edit_with_a_refused_name()
    {
        QFETCH(const bool, turn);
        CommandOffice office;
        const QString mail = packageKey(kMail);
        const QString refusal = u"The Group Name 'weekly' is currently being used by another Group. Please choose another name."_s;
        const auto *bar = office.window->findChild<QToolBar *>(u"sstbrReportsMenuToolbar"_s);
        const QWidget *button = bar->widgetForAction(&office.tool("ID_Delete"));
        // In the list the label is as it was, and the click goes on; even where the box has taken its release.
        for (const bool boxTakesRelease : {false, true}) {
            office.prompts.shown.clear();
            office.clickPackage();
            office.clickRow(0);
            CommandOffice::typeOverLabel(office.list(), u"weekly"_s);
            if (boxTakesRelease)
                office.prompts.beforeAnswer = [&] { office.realMouse(office.list(), {-1000, 0}, QEvent::MouseButtonRelease); };
            office.realClick(*office.tree().viewport(), office.nodePoint(mail), turn);
            office.prompts.beforeAnswer = {};
            QCOMPARE(office.firstLines(), QStringList(refusal));
            QTRY_VERIFY(!office.labelEditor(office.list()));
            QCOMPARE(office.caption(), kMail);
        }
        // No command runs on a name that was refused.
        office.prompts.shown.clear();
        office.clickPackage();
        office.clickRow(0);
        CommandOffice::typeOverLabel(office.list(), u"weekly"_s);
        office.realClick(*button, button->rect().center(), turn);
        QCOMPARE(office.firstLines(), QStringList(refusal));
        QTRY_VERIFY(!office.labelEditor(office.list()));
        office.prompts.shown.clear();
        office.clickRow(0);
        CommandOffice::typeOverLabel(office.list(), u"weekly"_s);
        office.tool("ID_Delete").trigger(); // as by a key
        QCOMPARE(office.firstLines(), QStringList(refusal));
        QTRY_VERIFY(!office.labelEditor(office.list()));

        // In the tree the operator stays in the edit, and the click is part of it.
        office.prompts.shown.clear();
        office.clickGroup(u"Daily"_s);
        CommandOffice::typeOverLabel(office.tree(), u"weekly"_s);
        office.realClick(*office.tree().viewport(), office.nodePoint(mail), turn);
        QTRY_VERIFY(office.labelEditor(office.tree()) && office.labelEditor(office.tree())->hasFocus());
        QCOMPARE(office.labelEditor(office.tree())->text(), u"weekly"_s);
        QCOMPARE(office.selection().nodeKey(), groupKey(office.package, u"Daily"_s));
        QCOMPARE(office.firstLines(), QStringList(refusal));
        QTest::keyClick(office.labelEditor(office.tree()), Qt::Key_Escape);
        office.realClick(*office.tree().viewport(), office.nodePoint(mail), turn);
        QCOMPARE(office.caption(), kMail);
        QCOMPARE(office.prompts.shown.size(), std::size_t{1});
    }

    void tab_ends_a_rename_and_opens_no_other()
    {
        CommandOffice office;
        office.clickGroup(u"Daily"_s);
        CommandOffice::typeOverLabel(office.tree(), u"Night"_s);
        QTest::keyClick(CommandOffice::labelEditor(office.tree()), Qt::Key_Tab);
        QTRY_VERIFY(office.group(u"Night"_s).isValid());
        QTRY_VERIFY(!office.labelEditor(office.tree()));
        QVERIFY(office.tree().hasFocus());
        QCOMPARE(office.selection().nodeKey(), groupKey(office.package, u"Night"_s));
        QVERIFY(office.prompts.shown.empty());
    }

    void a_click_right_after_a_package_opened_is_a_click()
    {
        CommandOffice office;
        const QModelIndex mail = office.selection().tree().find(packageKey(kMail));
        const QRect place = office.tree().visualRect(mail);
        office.realClick(*office.tree().viewport(), {place.left() - office.tree().indentation() / 2, place.center().y()}, false);
        QVERIFY(office.tree().isExpanded(mail));
        office.realClick(*office.tree().viewport(), office.nodePoint(groupKey(kMail, u"Traffic"_s)), false);
        QCOMPARE(office.caption(), kMail + u" - Traffic"_s);
    }

    void without_a_selected_row_the_commands_for_rows_are_off()
    {
        CommandOffice office;
        office.clickQuery(u"Logons"_s);
        office.prompts.answers = {box::idYes};
        office.tool("ID_Delete").trigger();
        QCOMPARE(office.listed(), QStringList(u"Locks"_s));
        QVERIFY(office.list().hasFocus());
        for (const char *id : {"ID_Delete", "ID_Modify", "ID_Rename"}) {
            QVERIFY2(!office.tool(id).isEnabled(), id);
            office.window->commands().sstbrReportsMenuToolbar_ToolClick(QString::fromLatin1(id));
        }
        QCOMPARE(office.prompts.shown.size(), std::size_t{1});
        office.clickRow(0);
        QVERIFY(office.tool("ID_Delete").isEnabled() && office.tool("ID_Modify").isEnabled() && office.tool("ID_Rename").isEnabled());
    }

    void no_road_leads_to_a_name_that_no_listing_shows()
    {
        if (!files::isHiddenName(u".x"_s))
            QSKIP("a name's first character hides no file here");
        CommandOffice office;
        office.clickGroup(u"Weekly"_s);
        const QStringList descriptions{u".NET errors"_s, u"???"_s, u"..."_s, u"?.x"_s};
        for (const QString &description : descriptions) {
            office.components.onEdit = [&](const QString &target) {
                office.installation.write(target + u"zzz.rqn"_s, queryFile(description));
            };
            office.tool("ID_ReportQuery").trigger();
            QVERIFY2(office.listed().contains(description), qPrintable(description));
            QVERIFY2(!office.exists(office.weekly + u"zzz.rqn"_s), qPrintable(description));
        }
        QVERIFY(office.prompts.shown.empty());

        office.clickQuery(u"Locks"_s);
        CommandOffice::rename(office.list(), u".NET locks"_s);
        QCOMPARE(office.listed().size(), 2);
        office.clickRow(static_cast<int>(office.listed().indexOf(u"Logons"_s)));
        office.prompts.files = {office.daily + u".x.rqn"_s};
        office.tool("ID_SaveAs").trigger();
        QCOMPARE(office.listed().size(), 2);
        QCOMPARE(files::list(office.daily, u"*"_s, attr::hidden).size(), 2);
        for (const ScriptedPrompts::Shown &box : office.prompts.shown)
            QVERIFY2(box.text.contains(u"begins with a dot"_s), qPrintable(box.text));
    }

    void after_a_listing_that_stopped_the_rows_follow_the_groups_new_name()
    {
        CommandOffice office;
        office.installation.write(office.daily + u"Zoo.rqn"_s, "description = \n");
        office.clickGroup(u"Daily"_s);
        QCOMPARE(office.listed(), QStringList({u"Locks"_s, u"Logons"_s}));
        CommandOffice::rename(office.tree(), u"Night"_s);
        QTRY_VERIFY(office.group(u"Night"_s).isValid());
        QCOMPARE(office.listed(), QStringList({u"Locks"_s, u"Logons"_s}));
        for (const QString &file : office.listed(1))
            QVERIFY2(office.exists(file), qPrintable(file));
    }

    void what_was_cut_is_not_pasted_into_its_own_group_under_a_new_name()
    {
        CommandOffice office;
        office.clickQuery(u"Logons"_s);
        QTest::keyClick(&office.list(), Qt::Key_X, Qt::ControlModifier);
        office.tree().setFocus();
        CommandOffice::rename(office.tree(), u"Night"_s);
        QTRY_VERIFY(office.group(u"Night"_s).isValid());
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(office.firstLines(), QStringList(u"Cannot cut and paste into the same Group"_s));
        QCOMPARE(office.listed(), QStringList({u"Locks"_s, u"Logons"_s}));
    }

    void a_group_is_made_named_in_place_and_deleted()
    {
        CommandOffice office;
        office.tool("ID_ReportGroup").trigger();
        QCOMPARE(office.caption(), office.package + u" - New Report Group"_s);
        CommandOffice::rename(office.tree(), u"Größe 中文"_s);
        QTRY_VERIFY(office.group(u"Größe 中文"_s).isValid());
        QVERIFY(files::entryExists(office.installation.packagePath(u"Server"_s) + u"Query Groups/Größe 中文"_s));
        QCOMPARE(office.caption(), office.package + u" - Größe 中文"_s);

        office.prompts.answers = {box::idNo, box::idYes};
        for (int i = 0; i < 2; ++i)
            QTest::keyClick(&office.tree(), Qt::Key_Delete);
        QCOMPARE(office.prompts.shown.back().text, u"Are you sure you want to delete 'Größe 中文' and all its Contents?"_s);
        QVERIFY(!office.group(u"Größe 中文"_s).isValid());
        QCOMPARE(office.caption(), office.package);
        QCOMPARE(office.prompts.shown.size(), std::size_t{2});
    }

    void a_new_query_that_is_cancelled_renames_nothing()
    {
        CommandOffice office;
        office.clickGroup(u"Daily"_s);
        office.components.onEdit = [](const QString &) {};
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(office.filesIn(office.daily), QStringList({u"Locks.rqn"_s, u"Logons.rqn"_s}));
        QVERIFY(office.prompts.shown.empty());
        // Nor where the list shows the groups still, or stopped at a query that cannot be read.
        office.clickPackage();
        office.clickRow(0);
        office.tool("ID_ReportQuery").trigger();
        office.installation.write(office.daily + u"Zoo.rqn"_s, "description = \n");
        office.clickGroup(u"Daily"_s);
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(office.filesIn(office.daily), QStringList({u"Locks.rqn"_s, u"Logons.rqn"_s, u"Zoo.rqn"_s}));
    }

    void a_new_query_gets_its_name_where_the_list_shows_the_groups_still()
    {
        CommandOffice office;
        office.installation.write(office.weekly + u"Old.rqn"_s, queryFile(u"Old"_s));
        office.clickPackage();
        office.clickRow(1); // as many groups as the group will have queries
        office.components.onEdit = [&](const QString &target) { office.installation.write(target + u"zzz.rqn"_s, queryFile(u"Anew"_s)); };
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(office.filesIn(office.weekly), QStringList({u"Anew.rqn"_s, u"Old.rqn"_s}));
    }

    void a_modified_query_stays_selected()
    {
        CommandOffice office;
        office.clickQuery(u"Logons"_s);
        office.components.onEdit = [&office](const QString &target) { office.installation.write(target, queryFile(u"Edited"_s)); };
        office.tool("ID_Modify").trigger();
        QCOMPARE(office.selection().row().text, u"Edited"_s);
        QVERIFY(office.tool("ID_Generate").isEnabled());
    }

    void keys_that_were_pressed_elsewhere_delete_no_group()
    {
        CommandOffice office;
        office.clickGroup(u"Daily"_s);
        QTest::keyRelease(&office.tree(), Qt::Key_Delete);
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Delete, {}, {}, true);
        QApplication::sendEvent(&office.tree(), &repeated);
        QTest::keyRelease(&office.tree(), Qt::Key_Delete);
        QVERIFY(office.prompts.shown.empty());
    }

    void paste_is_offered_beside_the_rows_of_a_group_and_new_query_only_there()
    {
        CommandOffice office;
        office.clickQuery(u"Logons"_s);
        office.tool("ID_Copy").trigger();
        office.clickFreeSpace(office.list());
        office.closeMenu();
        QVERIFY(office.tool("ID_Paste").isEnabled() && office.tool("ID_ReportQuery").isEnabled());
        office.clickPackage();
        office.clickFreeSpace(office.list());
        office.closeMenu();
        QVERIFY(!office.tool("ID_Paste").isEnabled() && !office.tool("ID_ReportQuery").isEnabled());
    }

    void a_query_is_renamed_in_the_list_and_its_schedule_is_marked()
    {
        CommandOffice office;
        office.globals.gcolJobs->push_back(std::make_shared<ScheduledReportJob>(
            ScheduledReportJob{u"Morning report"_s, office.daily + u"Locks.rqn"_s, {{2030, 1, 1}, 0}, 1, 1}));
        office.window->schedule().jobs().PopulateJobs();
        office.clickQuery(u"Locks"_s);
        CommandOffice::rename(office.list(), u"Account locks"_s);
        QTRY_COMPARE(office.filesIn(office.daily), QStringList({u"Account locks.rqn"_s, u"Logons.rqn"_s}));
        QCOMPARE(office.listed(), QStringList({u"Account locks"_s, u"Logons"_s}));
        const auto *notice = office.window->findChild<QLabel *>(u"lblMissingFiles"_s);
        QTRY_VERIFY(notice->isVisible() && notice->text().contains(u"Morning report"_s));
        office.clickQuery(u"Account locks"_s);
        CommandOffice::rename(office.list(), u"Locks"_s); // back again: the job has its file
        QTRY_VERIFY(!notice->isVisible());
    }

    void a_cut_query_is_not_pasted_into_another_package()
    {
        CommandOffice office;
        office.clickQuery(u"Locks"_s);
        QTest::keyClick(&office.list(), Qt::Key_X, Qt::ControlModifier);
        office.clickNode(groupKey(u"Mail Server Logs"_s, u"Traffic"_s));
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(office.prompts.shown.back().text, u"Cannot cut and paste queries across event log packages."_s);
        QCOMPARE(office.filesIn(office.daily), QStringList({u"Locks.rqn"_s, u"Logons.rqn"_s}));
        QVERIFY(!office.tool("ID_Paste").isEnabled());
    }

    void a_query_is_dragged_onto_a_group_and_an_abandoned_drag_changes_nothing()
    {
        CommandOffice office;
        office.clickGroup(u"Daily"_s);
        const auto nodePoint = [&](const QModelIndex &node) { return office.tree().visualRect(node).center(); };
        const auto dragTo = [&](const QPoint &treePoint) {
            QTest::mousePress(office.list().viewport(), Qt::LeftButton, {}, office.rowPoint(1));
            QTest::mouseMove(office.list().viewport(), office.rowPoint(1) + QPoint(30, 6));
            QTest::mouseMove(office.tree().viewport(), treePoint);
        };
        const QPoint weekly = nodePoint(office.group(u"Weekly"_s));
        // A hand that shakes drags nothing, and a press in the tree ends the readiness to drag.
        QTest::mousePress(office.list().viewport(), Qt::LeftButton, {}, office.rowPoint(1));
        QTest::mouseMove(office.list().viewport(), office.rowPoint(1) + QPoint(2, 1));
        QVERIFY(!QApplication::overrideCursor());
        QTest::mouseRelease(office.list().viewport(), Qt::LeftButton, {}, office.rowPoint(1));
        QVERIFY(office.list().isDragReady());
        office.clickGroup(u"Daily"_s);
        QVERIFY(!office.list().isDragReady());
        dragTo(weekly);
        QTRY_VERIFY(QApplication::overrideCursor() != nullptr);
        QTest::keyClick(office.window.get(), Qt::Key_Escape);
        QVERIFY(!QApplication::overrideCursor());
        QTest::mouseRelease(office.tree().viewport(), Qt::LeftButton, {}, weekly);
        QCOMPARE(office.filesIn(office.weekly), QStringList());
        QCOMPARE(office.selection().nodeIndex(), office.group(u"Daily"_s));

        dragTo(weekly);
        QTest::mouseRelease(office.tree().viewport(), Qt::LeftButton, {}, weekly);
        QTRY_COMPARE(office.filesIn(office.weekly), QStringList({u"Copy of Logons.rqn"_s}));
        QCOMPARE(office.caption(), office.package + u" - Weekly"_s);
        QVERIFY(!QApplication::overrideCursor());

        // Onto a package nothing is dropped.
        office.clickGroup(u"Daily"_s);
        const QPoint package = nodePoint(office.group(u"Daily"_s).parent());
        dragTo(package);
        QTest::mouseRelease(office.tree().viewport(), Qt::LeftButton, {}, package);
        QCOMPARE(office.filesIn(office.daily), QStringList({u"Locks.rqn"_s, u"Logons.rqn"_s}));
        QCOMPARE(office.selection().nodeIndex(), office.group(u"Daily"_s));
    }

    void save_as_moves_inside_the_package_only_and_asks_about_a_name_in_use()
    {
        CommandOffice office;
        office.clickQuery(u"Locks"_s);
        office.prompts.files = {std::nullopt};
        office.tool("ID_SaveAs").trigger();
        QVERIFY(office.prompts.shown.empty());

        office.clickRow(0);
        office.prompts.files = {office.traffic + u"x.rqn"_s, office.daily + u"Logons.rqn"_s, office.weekly + u"Moved.rqn"_s};
        office.prompts.answers = {box::idOk};
        office.tool("ID_SaveAs").trigger();
        QCOMPARE(office.firstLines(), QStringList({u"Report Query has to be saved in the same report package group."_s,
                                                   u"Report Query File name already in use.Please choose another name."_s}));
        QCOMPARE(office.filesIn(office.weekly), QStringList({u"Moved.rqn"_s}));
        QCOMPARE(office.filesIn(office.daily), QStringList({u"Logons.rqn"_s}));
        QCOMPARE(QDir(files::currentFolder()), QDir(office.daily));
        // The group's folder has become the current directory; deleting the group all the same works.
        office.prompts.answers = {box::idYes};
        office.clickGroup(u"Daily"_s);
        QTest::keyClick(&office.tree(), Qt::Key_Delete);
        QVERIFY(!files::entryExists(office.daily.chopped(1)));
    }

    void a_group_with_a_nested_folder_is_emptied_of_queries_and_stays()
    {
        CommandOffice office;
        office.installation.write(office.daily + u"nested/keep.txt"_s, "x");
        office.clickGroup(u"Daily"_s);
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.tree(), Qt::Key_Delete);
        QVERIFY(office.prompts.shown.back().text.startsWith(u"Unanticipated error occured while deleting query groups."_s));
        QVERIFY(office.prompts.shown.back().text.contains(u"nested"_s));
        QVERIFY(office.group(u"Daily"_s).isValid());
        QVERIFY(files::entryExists(office.daily + u"nested/keep.txt"_s));
        QCOMPARE(office.list().model()->rowCount(), office.filesIn(office.daily).filter(u".rqn"_s).size());
    }
};

QTEST_MAIN(CatalogueWindowTest)
#include "catalogue_window_test.moc"
