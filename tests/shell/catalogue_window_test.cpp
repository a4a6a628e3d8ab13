// Groups and queries changed through the real main window, by mouse and keyboard.

#include "ShellHarness.h"

#include "catalogue/CatalogueKeys.h"
#include "platform/Files.h"

#include <QLineEdit>
#include <QMenu>
#include <QStatusBar>

using namespace qm;
using namespace qm::test;

namespace {

const QString kServer = QStringLiteral("Server Operating System Logs");
const QString kMail = QStringLiteral("Mail Server Logs");

/// Server: Daily (Locks, Logons), Weekly (empty). Mail: Traffic (Senders).
struct Office : ShellHarness
{
    Office()
    {
        daily = installation.group(QStringLiteral("Server"), QStringLiteral("Daily")) + kSep;
        weekly = installation.group(QStringLiteral("Server"), QStringLiteral("Weekly")) + kSep;
        installation.write(daily + QStringLiteral("Logons.rqn"), queryFile(QStringLiteral("Logons")));
        installation.write(daily + QStringLiteral("Locks.rqn"), queryFile(QStringLiteral("Locks")));
        traffic = installation.group(QStringLiteral("Mail"), QStringLiteral("Traffic")) + kSep;
        installation.write(traffic + QStringLiteral("Senders.rqn"), queryFile(QStringLiteral("Senders")));
        start();
        show();
        tree().setAnimated(false); // clicks meet the nodes where they end up
    }
    [[nodiscard]] QModelIndex node(const QString &key) const { return selection().tree().find(key); }
    [[nodiscard]] QModelIndex group(const QString &name, const QString &package = kServer) const { return node(groupKey(package, name)); }
    [[nodiscard]] QPoint nodePoint(const QModelIndex &index) const { return tree().visualRect(index).center(); }
    [[nodiscard]] QPoint rowPoint(int row) const { return list().visualRect(list().model()->index(row, 0)).center(); }
    void clickNode(const QModelIndex &index) const
    {
        QVERIFY(index.isValid());
        tree().expand(index.parent());
        tree().scrollTo(index);
        QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, nodePoint(index));
    }
    void clickRow(int row) const { QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, rowPoint(row)); }
    [[nodiscard]] static QLineEdit *editor(const QAbstractItemView &view) { return view.findChild<QLineEdit *>(); }
    /// Types a name into the open editor of a view and ends with a key.
    static void typeName(const QAbstractItemView &view, const QString &name, Qt::Key end = Qt::Key_Return)
    {
        QTRY_VERIFY(editor(view) && editor(view)->hasFocus());
        const bool ascii = std::all_of(name.begin(), name.end(), [](QChar c) { return c.unicode() < 128; });
        if (ascii)
            QTest::keyClicks(editor(view), name);
        else
            editor(view)->insert(name); // as an input method would
        QTest::keyClick(editor(view), end);
        QCoreApplication::processEvents();
    }
    [[nodiscard]] static QStringList filesIn(const QString &folder) { return files::list(folder, QStringLiteral("*"), attr::directory); }
    [[nodiscard]] static QStringList names(std::initializer_list<const char *> list)
    {
        QStringList result;
        for (const char *name : list)
            result.append(QString::fromUtf8(name));
        return result;
    }

    QString daily, weekly, traffic;
};

} // namespace

class CatalogueWindowTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void a_group_is_made_named_in_place_and_deleted()
    {
        Office office;
        office.tool("ID_ReportGroup").trigger();
        QCOMPARE(office.caption(), kServer + QStringLiteral(" - New Report Group"));
        QTest::keyClick(&office.tree(), Qt::Key_F2);
        Office::typeName(office.tree(), QStringLiteral("Größe 中文"));
        QTRY_VERIFY(office.group(QStringLiteral("Größe 中文")).isValid());
        QVERIFY(files::entryExists(office.installation.packagePath(QStringLiteral("Server")) + QStringLiteral("Query Groups/Größe 中文")));
        QCOMPARE(office.caption(), kServer + QStringLiteral(" - Größe 中文"));

        office.prompts.answers = {box::idNo, box::idYes};
        for (int i = 0; i < 2; ++i)
            QTest::keyClick(&office.tree(), Qt::Key_Delete);
        QCOMPARE(office.prompts.shown.back().text, QStringLiteral("Are you sure you want to delete 'Größe 中文' and all its Contents?"));
        QVERIFY(!office.group(QStringLiteral("Größe 中文")).isValid());
        QCOMPARE(office.caption(), kServer);
        QCOMPARE(office.prompts.shown.size(), std::size_t{2});
    }

    void a_refused_name_keeps_the_operator_in_the_edit_until_it_is_abandoned()
    {
        Office office;
        office.clickNode(office.group(QStringLiteral("Daily")));
        QTest::keyClick(&office.tree(), Qt::Key_F2);
        Office::typeName(office.tree(), QStringLiteral("weekly"));
        QTRY_COMPARE(
            office.firstLines(),
            QStringList{QStringLiteral("The Group Name 'weekly' is currently being used by another Group. Please choose another name.")});
        QTRY_VERIFY(Office::editor(office.tree()) && Office::editor(office.tree())->hasFocus());
        QCOMPARE(Office::editor(office.tree())->text(), QStringLiteral("weekly"));
        Office::typeName(office.tree(), QStringLiteral("a.b"), Qt::Key_Escape);
        QTRY_VERIFY(!Office::editor(office.tree()));
        QCOMPARE(office.prompts.shown.size(), std::size_t{1});
        QVERIFY(files::entryExists(office.daily + QStringLiteral("Logons.rqn")));
    }

    void a_click_on_another_group_ends_the_edit_and_renames_the_edited_one()
    {
        Office office;
        office.clickNode(office.group(QStringLiteral("Daily")));
        QTest::keyClick(&office.tree(), Qt::Key_F2);
        QTRY_VERIFY(Office::editor(office.tree()));
        QTest::keyClicks(Office::editor(office.tree()), QStringLiteral("Nightly"));
        office.clickNode(office.group(QStringLiteral("Weekly")));
        QTRY_VERIFY(office.group(QStringLiteral("Nightly")).isValid());
        QVERIFY(office.group(QStringLiteral("Weekly")).isValid());
        QVERIFY(!office.group(QStringLiteral("Daily")).isValid());
    }

    void a_new_query_is_named_after_its_description_and_a_cancelled_one_renames_nothing()
    {
        Office office;
        office.clickNode(office.group(QStringLiteral("Daily")));
        office.components.onEdit = [](const QString &) {};
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Locks.rqn", "Logons.rqn"}));

        office.components.onEdit = [&](const QString &target) {
            QCOMPARE(target, office.daily);
            office.installation.write(target + QChar(0xFFFD) + QStringLiteral("1.rqn"), queryFile(QStringLiteral("Logons")));
        };
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Locks.rqn", "Logons.rqn", "Logons1.rqn"}));
        QVERIFY(office.prompts.shown.empty());
    }

    void a_query_is_renamed_in_the_list_and_its_schedule_is_marked()
    {
        Office office;
        office.globals.gcolJobs->push_back(std::make_shared<ScheduledReportJob>(
            ScheduledReportJob{QStringLiteral("Morning report"), office.daily + QStringLiteral("Locks.rqn"), {{2030, 1, 1}, 0}, 1, 1}));
        office.window->schedule().jobs().PopulateJobs();
        office.clickNode(office.group(QStringLiteral("Daily")));
        office.clickRow(0);
        QTest::keyClick(&office.list(), Qt::Key_F2);
        Office::typeName(office.list(), QStringLiteral("Account locks"));
        QTRY_COMPARE(Office::filesIn(office.daily), Office::names({"Account locks.rqn", "Logons.rqn"}));
        QCOMPARE(office.listed(), QStringList({QStringLiteral("Account locks"), QStringLiteral("Logons")}));
        QTRY_VERIFY(office.window->statusBar()->currentMessage().contains(QStringLiteral("Morning report")));
        // Enter ended the edit and opened nothing; a name in use changes nothing.
        office.clickRow(0);
        QTest::keyClick(&office.list(), Qt::Key_F2);
        Office::typeName(office.list(), QStringLiteral("logons"));
        QTRY_COMPARE(office.firstLines(), QStringList{QStringLiteral("Error occured while trying to rename the report query")});
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Account locks.rqn", "Logons.rqn"}));
    }

    void cut_copy_and_paste_by_keys_follow_their_rules()
    {
        Office office;
        office.clickNode(office.group(QStringLiteral("Daily")));
        office.clickRow(1);
        QTest::keyClick(&office.list(), Qt::Key_C, Qt::ControlModifier);
        office.clickNode(office.group(QStringLiteral("Weekly")));
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(Office::filesIn(office.weekly), Office::names({"Logons.rqn"}));
        QCOMPARE(office.caption(), kServer + QStringLiteral(" - Weekly"));
        QVERIFY(!office.tool("ID_Paste").isEnabled());

        office.clickNode(office.group(QStringLiteral("Daily")));
        office.clickRow(0);
        QTest::keyClick(&office.list(), Qt::Key_X, Qt::ControlModifier);
        office.clickNode(office.group(QStringLiteral("Traffic"), kMail));
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(office.prompts.shown.back().text, QStringLiteral("Cannot cut and paste queries across event log packages."));
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Locks.rqn", "Logons.rqn"}));
        QVERIFY(!office.tool("ID_Paste").isEnabled());

        office.clickNode(office.group(QStringLiteral("Daily")));
        office.clickRow(0);
        QTest::keyClick(&office.list(), Qt::Key_X, Qt::ControlModifier);
        office.clickNode(office.group(QStringLiteral("Weekly")));
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(Office::filesIn(office.weekly), Office::names({"Locks.rqn", "Logons.rqn"}));
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Logons.rqn"}));
    }

    void a_query_is_dragged_onto_a_group_and_an_abandoned_drag_changes_nothing()
    {
        Office office;
        office.clickNode(office.group(QStringLiteral("Daily")));
        const auto dragTo = [&](const QPoint &treePoint) {
            QTest::mousePress(office.list().viewport(), Qt::LeftButton, {}, office.rowPoint(1));
            QTest::mouseMove(office.list().viewport(), office.rowPoint(1) + QPoint(30, 6));
            QTest::mouseMove(office.tree().viewport(), treePoint);
        };
        const QPoint weekly = office.nodePoint(office.group(QStringLiteral("Weekly")));
        dragTo(weekly);
        QTRY_VERIFY(QApplication::overrideCursor() != nullptr);
        QTest::keyClick(office.window.get(), Qt::Key_Escape);
        QVERIFY(!QApplication::overrideCursor());
        QTest::mouseRelease(office.tree().viewport(), Qt::LeftButton, {}, weekly);
        QCOMPARE(Office::filesIn(office.weekly), QStringList());
        QCOMPARE(office.selection().nodeIndex(), office.group(QStringLiteral("Daily")));

        dragTo(weekly);
        QTest::mouseRelease(office.tree().viewport(), Qt::LeftButton, {}, weekly);
        QTRY_COMPARE(Office::filesIn(office.weekly), Office::names({"Copy of Logons.rqn"}));
        QCOMPARE(office.caption(), kServer + QStringLiteral(" - Weekly"));
        QVERIFY(!QApplication::overrideCursor());

        // Onto a package nothing is dropped.
        office.clickNode(office.group(QStringLiteral("Daily")));
        const QPoint package = office.nodePoint(office.node(packageKey(kServer)));
        dragTo(package);
        QTest::mouseRelease(office.tree().viewport(), Qt::LeftButton, {}, package);
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Locks.rqn", "Logons.rqn"}));
        QCOMPARE(office.selection().nodeIndex(), office.group(QStringLiteral("Daily")));
    }

    void save_as_moves_inside_the_package_only_and_asks_about_a_name_in_use()
    {
        Office office;
        office.clickNode(office.group(QStringLiteral("Daily")));
        office.clickRow(0);
        office.prompts.files = {std::nullopt};
        office.tool("ID_SaveAs").trigger();
        QVERIFY(office.prompts.shown.empty());

        office.clickRow(0);
        office.prompts.files = {office.traffic + QStringLiteral("x.rqn"), office.daily + QStringLiteral("Logons.rqn"),
                                office.weekly + QStringLiteral("Moved.rqn")};
        office.prompts.answers = {box::idOk};
        office.tool("ID_SaveAs").trigger();
        QCOMPARE(office.firstLines(), QStringList({QStringLiteral("Report Query has to be saved in the same report package group."),
                                                   QStringLiteral("Report Query File name already in use.Please choose another name.")}));
        QCOMPARE(Office::filesIn(office.weekly), Office::names({"Moved.rqn"}));
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Logons.rqn"}));
        // The group's folder has become the current directory; deleting the group all the same works.
        office.prompts.answers = {box::idYes};
        office.clickNode(office.group(QStringLiteral("Daily")));
        QTest::keyClick(&office.tree(), Qt::Key_Delete);
        QVERIFY(!files::entryExists(office.daily.chopped(1)));
    }

    void a_query_deleted_by_key_asks_once_and_leaves_no_command_on()
    {
        Office office;
        office.clickNode(office.group(QStringLiteral("Daily")));
        office.clickRow(0);
        QVERIFY(office.tool("ID_Generate").isEnabled());
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        QCOMPARE(office.firstLines(), QStringList{QStringLiteral("Are you sure you want to delete the report query 'Locks' ?")});
        QCOMPARE(Office::filesIn(office.daily), Office::names({"Logons.rqn"}));
        QVERIFY(!office.tool("ID_Generate").isEnabled());
        // A read-only query stays, and the box says why.
        files::setFileAttributes(office.daily + QStringLiteral("Logons.rqn"), attr::readOnly);
        office.clickRow(0);
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        QCOMPARE(office.firstLines().back(), QStringLiteral("Error occured while trying to delete the report query"));
        QVERIFY(office.prompts.shown.back().text.contains(QStringLiteral("Error No:  75")));
        QCOMPARE(office.listed(), QStringList{QStringLiteral("Logons")});
        files::setFileAttributes(office.daily + QStringLiteral("Logons.rqn"), attr::normal);
    }

    void a_group_with_a_nested_folder_is_emptied_of_queries_and_stays()
    {
        Office office;
        office.installation.write(office.daily + QStringLiteral("nested/keep.txt"), "x");
        office.clickNode(office.group(QStringLiteral("Daily")));
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.tree(), Qt::Key_Delete);
        QVERIFY(office.prompts.shown.back().text.startsWith(QStringLiteral("Unanticipated error occured while deleting query groups.")));
        QVERIFY(office.prompts.shown.back().text.contains(QStringLiteral("nested")));
        QVERIFY(office.group(QStringLiteral("Daily")).isValid());
        QVERIFY(files::entryExists(office.daily + QStringLiteral("nested/keep.txt")));
        QCOMPARE(office.list().model()->rowCount(), Office::filesIn(office.daily).filter(QStringLiteral(".rqn")).size());
    }
};

QTEST_MAIN(CatalogueWindowTest)
#include "catalogue_window_test.moc"
