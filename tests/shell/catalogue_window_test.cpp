// Groups and queries changed through the real main window, by mouse and keyboard.

#include "CommandOffice.h"

#include <QStatusBar>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

class CatalogueWindowTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
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

    void a_refused_name_keeps_the_operator_in_the_edit_until_it_is_abandoned()
    {
        CommandOffice office;
        office.clickGroup(u"Daily"_s);
        CommandOffice::rename(office.tree(), u"weekly"_s);
        QTRY_COMPARE(office.firstLines(),
                     QStringList{u"The Group Name 'weekly' is currently being used by another Group. Please choose another name."_s});
        QTRY_VERIFY(office.labelEditor(office.tree()) && office.labelEditor(office.tree())->hasFocus());
        QCOMPARE(office.labelEditor(office.tree())->text(), u"weekly"_s);
        CommandOffice::enterName(office.tree(), u"a.b"_s, Qt::Key_Escape);
        QTRY_VERIFY(!office.labelEditor(office.tree()));
        QCOMPARE(office.prompts.shown.size(), std::size_t{1});
        QVERIFY(files::entryExists(office.daily + u"Logons.rqn"_s));
    }

    void a_new_query_that_is_cancelled_renames_nothing()
    {
        CommandOffice office;
        office.clickGroup(u"Daily"_s);
        office.components.onEdit = [](const QString &) {};
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(office.filesIn(office.daily), QStringList({u"Locks.rqn"_s, u"Logons.rqn"_s}));
        QVERIFY(office.prompts.shown.empty());
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
        QTRY_VERIFY(office.window->statusBar()->currentMessage().contains(u"Morning report"_s));
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
