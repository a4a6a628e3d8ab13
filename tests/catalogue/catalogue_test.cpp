// Tree and list, filled from real folders and query files.

#include "catalogue/CatalogueKeys.h"
#include "catalogue/CataloguePane.h"
#include "core/ErrorReporter.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "platform/Files.h"
#include "support/Fakes.h"
#include "support/TempInstallation.h"

#include <QAbstractItemModelTester>
#include <QMainWindow>

using namespace qm;
using namespace qm::test;

namespace {

QByteArray query(const QByteArray &description, const QByteArray &rest = {})
{
    return "description = \"" + description + "\"\nsql = \"SELECT 1\"\n" + rest;
}

/// A catalogue over a temporary installation; what it asks of the window is recorded.
struct Bench
{
    Bench()
    {
        globals.gstrInstallPath = installation.path();
        IniPackageConfigReader reader;
        for (const auto &info : reader.ReadPackages(installation.path() + QStringLiteral("Packages.ini"))) {
            auto package = std::make_shared<QMKPackage>();
            package->setPackageInfo(info);
            globals.gdicPackages.Add(info->PackageName, package);
        }
        CatalogueHooks hooks;
        hooks.enableDisableMenus = [this](const QString &code) { codes.append(code); };
        hooks.setCaption = [this](const QString &text) { caption = text; };
        hooks.expandNode = [this](const QModelIndex &node) { expanded = node.data().toString(); };
        catalogue = std::make_unique<Catalogue>(
            globals, errors, selection, [this] { return ++readersMade, std::make_unique<TomlQueryReader>(); }, hooks);
    }
    QStringList column(int number) const
    {
        QStringList texts;
        for (int row = 0; row < list.rowCount(); ++row)
            texts.append(list.index(row, number).data().toString());
        return texts;
    }
    QString folder(const QString &word, const QString &group) const { return installation.group(word, group); }
    void click(const QString &key)
    {
        const QModelIndex node = tree.find(key);
        selection.selectNode(node);
        catalogue->tvTreeView_NodeClick(node);
    }

    TempInstallation installation;
    ScriptedPrompts prompts;
    ErrorReporter errors{prompts};
    Globals globals;
    CatalogueTree tree{{}};
    CatalogueList list{{}};
    CatalogueSelection selection{tree, list};
    QStringList codes;
    QString caption, expanded;
    int readersMade = 0;
    std::unique_ptr<Catalogue> catalogue;
};

const QString kServer = QStringLiteral("Server Operating System Logs");
const QString kDaily = QStringLiteral("G/Server Operating System Logs/Daily");

} // namespace

class CatalogueTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keys_are_split_on_slashes()
    {
        QVERIFY(IsRootKey(QStringLiteral("R/Security")));
        QVERIFY(IsRootKey(QStringLiteral("R")));
        QVERIFY(!IsRootKey(QStringLiteral("RX/Security")));
        QVERIFY(!IsRootKey(QStringLiteral("r/Security")));
        QVERIFY(!IsRootKey({}));
        QCOMPARE(LastKeyPart(QStringLiteral("G/Security/Daily")), QStringLiteral("Daily"));
        QCOMPARE(LastKeyPart(QStringLiteral("Q12")), QStringLiteral("Q12"));
        QCOMPARE(LastKeyPart(QStringLiteral("G/Security/")), QString());
    }

    void the_tree_shows_packages_in_order_and_every_entry_as_a_group()
    {
        Bench bench;
        const QString groups = bench.installation.packagePath(QStringLiteral("Server")) + QStringLiteral("Query Groups/");
        for (const char *name : {"b", "A", "10", "9", "é", "中"})
            bench.folder(QStringLiteral("Server"), QString::fromUtf8(name));
        bench.installation.write(groups + QStringLiteral("notes.txt"), "a plain file");
        bench.installation.write(groups + QStringLiteral(".hidden"), "");
        const QAbstractItemModelTester tester(&bench.tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
        bench.catalogue->PopulateTreeView();

        QCOMPARE(bench.tree.rowCount(), 3);
        const QModelIndex server = bench.tree.index(0, 0);
        QCOMPARE(server.data(CatalogueTree::KeyRole).toString(), QStringLiteral("R/") + kServer);
        QCOMPARE(server.data(CatalogueTree::TagRole).toString(), QStringLiteral("Quillmark.ServerReportInterface"));
        QCOMPARE(server.data(CatalogueTree::ImageRole).toString(), QStringLiteral("Event"));
        QStringList groupTexts;
        for (int row = 0; row < bench.tree.rowCount(server); ++row)
            groupTexts.append(bench.tree.index(row, 0, server).data().toString());
        const QStringList expected{QStringLiteral("10"),        QStringLiteral("9"),    QStringLiteral("A"),    QStringLiteral("b"),
                                   QStringLiteral("notes.txt"), QString::fromUtf8("é"), QString::fromUtf8("中")};
        QCOMPARE(groupTexts, expected);
        QCOMPARE(bench.tree.index(2, 0, server).data(CatalogueTree::TagRole).toString(),
                 bench.installation.packagePath(QStringLiteral("Server")));
        // The first package is selected, open, and its groups are listed.
        QCOMPARE(bench.selection.nodeKey(), QStringLiteral("R/") + kServer);
        QCOMPARE(bench.expanded, kServer);
        QCOMPARE(bench.caption, kServer);
        QCOMPARE(bench.column(0), expected);
        QCOMPARE(bench.list.row(2).key, QStringLiteral("G/Server Operating System Logs/A"));
        QCOMPARE(bench.codes, QStringList(QStringLiteral("R")));

        // A second build starts from nothing.
        QDir(groups).rmdir(QStringLiteral("b"));
        bench.catalogue->PopulateTreeView();
        QCOMPARE(bench.tree.rowCount(), 3);
        QCOMPARE(bench.tree.rowCount(bench.tree.index(0, 0)), 6);
        QVERIFY(bench.prompts.shown.empty());
    }

    void a_group_lists_its_queries()
    {
        Bench bench;
        const QString daily = bench.folder(QStringLiteral("Server"), QStringLiteral("Daily"));
        const QString logons = bench.installation.write(
            daily + QStringLiteral("/a.RQN"),
            query("Logons & <b>locks</b>", "report_file = 'C:\\Reports\\Logons.rpt'\n[output]\ntype = \"email\"\n"));
        bench.installation.write(daily + QStringLiteral("/b.rqn"), query("Plain", "report_file = \"Layouts.rpt\"\n"));
        bench.installation.write(daily + QStringLiteral("/c.rqnold"), "not a query");
        bench.installation.write(daily + QStringLiteral("/sub.rqn/inner.rqn"), query("in a folder"));
        const QAbstractItemModelTester tester(&bench.list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        bench.catalogue->PopulateTreeView();
        bench.click(kDaily);

        QCOMPARE(bench.list.rows(), 2);
        QCOMPARE(bench.list.row(0).key, QStringLiteral("Q1"));
        QCOMPARE(bench.list.row(1).key, QStringLiteral("Q2"));
        QCOMPARE(bench.list.row(0).tag, logons);
        QCOMPARE(bench.column(0), QStringList({QStringLiteral("Logons & <b>locks</b>"), QStringLiteral("Plain")}));
        QCOMPARE(bench.column(1), QStringList({logons, daily + QStringLiteral("/b.rqn")}));
        QCOMPARE(bench.column(2), QStringList({QStringLiteral("Logons.rpt"), QStringLiteral("Layouts.rpt")}));
        QCOMPARE(bench.column(3), QStringList({QStringLiteral("Email"), QStringLiteral("Screen")}));
        QCOMPARE(bench.caption, QStringLiteral("Server Operating System Logs - Daily"));
        QCOMPARE(bench.list.tag, QStringLiteral("Daily"));
        QCOMPARE(bench.codes.last(), QStringLiteral("G"));
        QCOMPARE(bench.readersMade, 1); // one reader serves a whole listing
        QVERIFY(!bench.list.index(0, 0).data(Qt::ToolTipRole).toString().contains(QStringLiteral("<b>")));

        QStringList captions;
        for (int i = 0; i < bench.list.columnCount(); ++i)
            captions.append(bench.list.headerData(i, Qt::Horizontal, Qt::DisplayRole).toString());
        QCOMPARE(captions, QStringList({QStringLiteral("Query Description"), QStringLiteral("Query File"), QStringLiteral("Rpt File"),
                                        QStringLiteral("Output")}));
        bench.click(QStringLiteral("R/") + kServer);
        QCOMPARE(bench.list.columnCount(), 1);
        QCOMPARE(bench.list.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("Report Groups"));
        QVERIFY(bench.prompts.shown.empty());
    }

    void output_codes_have_texts_and_others_none()
    {
        QCOMPARE(outputText(0), QStringLiteral("Screen"));
        QCOMPARE(outputText(3), QStringLiteral("Email"));
        QCOMPARE(outputText(4), QString());
        QCOMPARE(outputText(-1), QString());
    }

    void an_unreadable_query_ends_the_listing_with_one_box()
    {
        Bench bench;
        const QString daily = bench.folder(QStringLiteral("Server"), QStringLiteral("Daily"));
        bench.installation.write(daily + QStringLiteral("/a.rqn"), query("First"));
        bench.installation.write(daily + QStringLiteral("/b.rqn"), "description = \n");
        bench.installation.write(daily + QStringLiteral("/c.rqn"), query("Third"));
        bench.catalogue->PopulateTreeView();
        bench.click(kDaily);
        QCOMPARE(bench.column(0), QStringList(QStringLiteral("First")));
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        const QString text = bench.prompts.shown[0].text;
        QVERIFY2(
            text.startsWith(QStringLiteral("Unanticipated error occured while populating the list view control.\r\n\r\nFunction Name:  "
                                           "PopulateQueriesInListView\r\nSource:  frmMain.frm\r\nError No:  321\r\n")),
            qPrintable(text));
        QVERIFY(text.contains(QStringLiteral("b.rqn")));
        QCOMPARE(bench.codes.last(), QStringLiteral("G")); // the click itself went on
        QCOMPARE(bench.catalogue->PopulateQueriesInListView(daily), 0);
        QCOMPARE(bench.catalogue->PopulateQueriesInListView(bench.folder(QStringLiteral("Mail"), QStringLiteral("Empty"))), 0);
        QCOMPARE(bench.list.columnCount(), 4);
    }

    void a_failed_click_does_not_block_the_next_one()
    {
        Bench bench;
        bench.folder(QStringLiteral("Server"), QStringLiteral("Daily"));
        bench.catalogue->PopulateTreeView();
        bench.catalogue->tvTreeView_NodeClick({});
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        QVERIFY(bench.prompts.shown[0].text.startsWith(
            QStringLiteral("Unanticipated error occured in the User Interface\r\n\r\nFunction Name:  tvTreeView_NodeClick\r\n"
                           "Source:  frmMain.frm\r\nError No:  91\r\n")));
        bench.click(kDaily);
        QCOMPARE(bench.caption, QStringLiteral("Server Operating System Logs - Daily"));
    }

    void no_packages_is_told_and_nothing_else_breaks()
    {
        Bench bench;
        bench.globals.gdicPackages.RemoveAll();
        bench.catalogue->PopulateTreeView();
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        QVERIFY(bench.prompts.shown[0].text.startsWith(QStringLiteral("Error occured while populating the tree view control.")));
        // Handlers that report nothing stay silent with nothing selected.
        bench.catalogue->lvListView_ItemClick(3);
        bench.catalogue->lvListView_MouseUp();
        QVERIFY(!bench.catalogue->tvTreeView_BeforeLabelEdit());
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
    }

    void collapsing_a_package_shows_its_groups_again()
    {
        Bench bench;
        bench.folder(QStringLiteral("Server"), QStringLiteral("Daily"));
        bench.catalogue->PopulateTreeView();
        bench.click(kDaily);
        QVERIFY(bench.catalogue->tvTreeView_BeforeLabelEdit());
        bench.catalogue->tvTreeView_Collapse(bench.tree.index(0, 0));
        QCOMPARE(bench.selection.nodeKey(), QStringLiteral("R/") + kServer);
        QCOMPARE(bench.caption, kServer);
        QCOMPARE(bench.column(0), QStringList(QStringLiteral("Daily")));
        QVERIFY(!bench.catalogue->tvTreeView_BeforeLabelEdit());
        // Closing another package's branch leaves the selection where it is.
        bench.click(kDaily);
        bench.catalogue->tvTreeView_Collapse(bench.tree.index(1, 0));
        QCOMPARE(bench.selection.nodeKey(), kDaily);
    }

    void releasing_the_mouse_over_a_row_selects_its_node_or_its_query()
    {
        Bench bench;
        const QString daily = bench.folder(QStringLiteral("Server"), QStringLiteral("Daily"));
        const QString file = bench.installation.write(daily + QStringLiteral("/a.rqn"), query("First"));
        bench.catalogue->PopulateTreeView();
        bench.selection.selectRow(0);
        bench.catalogue->lvListView_MouseUp();
        QCOMPARE(bench.selection.nodeKey(), kDaily);
        QCOMPARE(bench.column(0), QStringList(QStringLiteral("Daily"))); // selection only: nothing is listed anew
        QCOMPARE(bench.caption, kServer);
        bench.catalogue->openSelectedGroup();
        QCOMPARE(bench.caption, QStringLiteral("Server Operating System Logs - Daily"));
        bench.selection.selectRow(0);
        bench.catalogue->lvListView_MouseUp();
        QCOMPARE(bench.globals.gstrCurrentQueryFile, file);
    }

    void the_query_access_component_is_found_by_exact_name()
    {
        Bench bench;
        QCOMPARE(bench.catalogue->GetQueryAccess(kServer), QStringLiteral("Quillmark.ServerQueryAccess"));
        QCOMPARE(bench.catalogue->GetQueryAccess(kServer.toLower()), QString());
    }

    void the_models_keep_their_rules_while_they_change()
    {
        CatalogueTree tree({});
        const QAbstractItemModelTester treeTester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
        tree.addNode({}, {QStringLiteral("R/a"), QStringLiteral("a"), {}}, {});
        tree.addNode(QStringLiteral("R/a"), {QStringLiteral("G/a/b"), QStringLiteral("b"), {}}, {});
        QVERIFY_THROWS_EXCEPTION(RuntimeError, tree.addNode({}, {QStringLiteral("R/a"), {}, {}}, {}));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, tree.addNode(QStringLiteral("R/x"), {QStringLiteral("G/x/b"), {}, {}}, {}));
        tree.clearNodes();
        QVERIFY(!tree.find(QStringLiteral("R/a")).isValid());

        CatalogueList list({});
        const QAbstractItemModelTester listTester(&list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.setLevel(u'G');
        list.appendRows({{QStringLiteral("Q1"), QStringLiteral("one"), {}}});
        list.appendRows({{QStringLiteral("Q2"), QStringLiteral("two"), {}}});
        list.setLevel(u'?');
        QCOMPARE(list.columnCount(), 0);
        list.clearRows();
        QVERIFY_THROWS_EXCEPTION(RuntimeError, static_cast<void>(list.row(0)));
    }
};

QTEST_MAIN(CatalogueTest)
#include "catalogue_test.moc"
