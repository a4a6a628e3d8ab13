// Tree and list, filled from real folders and query files.

#include "catalogue/CatalogueKeys.h"
#include "catalogue/CataloguePane.h"
#include "core/ErrorReporter.h"
#include "framework/Components.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "platform/Files.h"
#include "support/Fakes.h"
#include "support/TempInstallation.h"

#include <QAbstractItemModelTester>
#include <QMainWindow>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray query(const QByteArray &description, const QByteArray &rest = {})
{
    return "description = \"" + description + "\"\nsql = \"SELECT 1\"\n" + rest;
}

class NoComponents final : public ComponentFactory
{
public:
    std::unique_ptr<ReportInterface> createReportInterface(const QString &progId) override { raise(err::cannotCreateObject, progId); }
    std::unique_ptr<QueryAccess> createQueryAccess(const QString &progId) override { raise(err::cannotCreateObject, progId); }
};

/// A catalogue over a temporary installation; what it asks of the window is recorded.
struct Bench
{
    Bench()
    {
        globals.gstrInstallPath = installation.path();
        IniPackageConfigReader reader;
        for (const auto &info : reader.ReadPackages(installation.path() + u"Packages.ini"_s)) {
            auto package = std::make_shared<QMKPackage>();
            package->setPackageInfo(info);
            globals.gdicPackages.Add(info->PackageName, package);
        }
        QObject::connect(&catalogue, &Catalogue::selected, [this](const QString &code) { codes.append(code); });
        QObject::connect(&catalogue, &Catalogue::captionChanged, [this](const QString &text) { caption = text; });
        QObject::connect(&catalogue, &Catalogue::nodeOpened, [this](const QModelIndex &node) { expanded = node.data().toString(); });
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
        catalogue.tvTreeView_NodeClick(node);
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
    NoComponents components;
    Catalogue catalogue{{globals, errors, prompts, components, [this] { return ++readersMade, std::make_unique<TomlQueryReader>(); }, {}},
                        selection};
};

const QString kServer = u"Server Operating System Logs"_s;
const QString kDaily = u"G/Server Operating System Logs/Daily"_s;

} // namespace

class CatalogueTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void the_tree_shows_packages_in_order_and_every_entry_as_a_group()
    {
        Bench bench;
        const QString groups = bench.installation.packagePath(u"Server"_s) + u"Query Groups/"_s;
        for (const char *name : {"b", "A", "10", "9", "é", "中"})
            bench.folder(u"Server"_s, QString::fromUtf8(name));
        bench.installation.write(groups + u"notes.txt"_s, "a plain file");
        bench.installation.write(groups + u".hidden"_s, "");
        const QAbstractItemModelTester tester(&bench.tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
        bench.catalogue.PopulateTreeView();

        QCOMPARE(bench.tree.rowCount(), 3);
        const QModelIndex server = bench.tree.index(0, 0);
        QCOMPARE(server.data(CatalogueTree::KeyRole).toString(), u"R/"_s + kServer);
        QCOMPARE(server.data(CatalogueTree::TagRole).toString(), u"Quillmark.ServerReportInterface"_s);
        QCOMPARE(server.data(CatalogueTree::ImageRole).toString(), u"Event"_s);
        QStringList groupTexts;
        for (int row = 0; row < bench.tree.rowCount(server); ++row)
            groupTexts.append(bench.tree.index(row, 0, server).data().toString());
        const QStringList expected{u"10"_s, u"9"_s, u"A"_s, u"b"_s, u"notes.txt"_s, QString::fromUtf8("é"), QString::fromUtf8("中")};
        QCOMPARE(groupTexts, expected);
        QCOMPARE(bench.tree.index(2, 0, server).data(CatalogueTree::TagRole).toString(), bench.installation.packagePath(u"Server"_s));
        // The first package is selected, open, and its groups are listed.
        QCOMPARE(bench.selection.nodeKey(), u"R/"_s + kServer);
        QCOMPARE(bench.expanded, kServer);
        QCOMPARE(bench.caption, kServer);
        QCOMPARE(bench.column(0), expected);
        QCOMPARE(bench.list.row(2).key, u"G/Server Operating System Logs/A"_s);
        QCOMPARE(bench.codes, QStringList(u"R"_s));

        // A second build starts from nothing.
        QDir(groups).rmdir(u"b"_s);
        bench.catalogue.PopulateTreeView();
        QCOMPARE(bench.tree.rowCount(), 3);
        QCOMPARE(bench.tree.rowCount(bench.tree.index(0, 0)), 6);
        QVERIFY(bench.prompts.shown.empty());
    }

    void a_group_lists_its_queries()
    {
        Bench bench;
        const QString daily = bench.folder(u"Server"_s, u"Daily"_s);
        const QString logons = bench.installation.write(
            daily + u"/a.RQN"_s, query("Logons & <b>locks</b>", "report_file = 'C:\\Reports\\Logons.rpt'\n[output]\ntype = \"email\"\n"));
        bench.installation.write(daily + u"/b.rqn"_s, query("Plain", "report_file = \"Layouts.rpt\"\n"));
        bench.installation.write(daily + u"/c.rqnold"_s, "not a query");
        bench.installation.write(daily + u"/sub.rqn/inner.rqn"_s, query("in a folder"));
        const QAbstractItemModelTester tester(&bench.list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        bench.catalogue.PopulateTreeView();
        bench.click(kDaily);

        QCOMPARE(bench.list.rows(), 2);
        QCOMPARE(bench.list.row(0).key, u"Q1"_s);
        QCOMPARE(bench.list.row(1).key, u"Q2"_s);
        QCOMPARE(bench.list.row(0).tag, logons);
        QCOMPARE(bench.column(0), QStringList({u"Logons & <b>locks</b>"_s, u"Plain"_s}));
        QCOMPARE(bench.column(1), QStringList({logons, daily + kSep + u"b.rqn"_s}));
        QCOMPARE(bench.column(2), QStringList({u"Logons.rpt"_s, u"Layouts.rpt"_s}));
        QCOMPARE(bench.column(3), QStringList({u"Email"_s, u"Screen"_s}));
        QCOMPARE(bench.caption, u"Server Operating System Logs - Daily"_s);
        QCOMPARE(bench.list.tag, u"Daily"_s);
        QCOMPARE(bench.codes.last(), u"G"_s);
        QCOMPARE(bench.readersMade, 1); // one reader serves a whole listing
        QVERIFY(!bench.list.index(0, 0).data(Qt::ToolTipRole).toString().contains(u"<b>"_s));

        QStringList captions;
        for (int i = 0; i < bench.list.columnCount(); ++i)
            captions.append(bench.list.headerData(i, Qt::Horizontal, Qt::DisplayRole).toString());
        QCOMPARE(captions, QStringList({u"Query Description"_s, u"Query File"_s, u"Rpt File"_s, u"Output"_s}));
        bench.click(u"R/"_s + kServer);
        QCOMPARE(bench.list.columnCount(), 1);
        QCOMPARE(bench.list.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), u"Report Groups"_s);
        QVERIFY(bench.prompts.shown.empty());
    }

    void an_unreadable_query_ends_the_listing_with_one_box()
    {
        Bench bench;
        const QString daily = bench.folder(u"Server"_s, u"Daily"_s);
        bench.installation.write(daily + u"/a.rqn"_s, query("First"));
        bench.installation.write(daily + u"/b.rqn"_s, "description = \n");
        bench.installation.write(daily + u"/c.rqn"_s, query("Third"));
        bench.catalogue.PopulateTreeView();
        bench.click(kDaily);
        QCOMPARE(bench.column(0), QStringList(u"First"_s));
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        const QString text = bench.prompts.shown[0].text;
        QVERIFY2(text.startsWith(u"Unanticipated error occured while populating the list view control.\r\n\r\nFunction Name:  "
                                 "PopulateQueriesInListView\r\nSource:  frmMain.frm\r\nError No:  321\r\n"_s),
                 qPrintable(text));
        QVERIFY(text.contains(u"b.rqn"_s));
        QCOMPARE(bench.codes.last(), u"G"_s); // the click itself went on
        QCOMPARE(bench.catalogue.PopulateQueriesInListView(daily), 0);
        QCOMPARE(bench.catalogue.PopulateQueriesInListView(bench.folder(u"Mail"_s, u"Empty"_s)), 0);
        QCOMPARE(bench.list.columnCount(), 4);
    }

    void a_failed_click_does_not_block_the_next_one()
    {
        Bench bench;
        bench.folder(u"Server"_s, u"Daily"_s);
        bench.catalogue.PopulateTreeView();
        bench.catalogue.tvTreeView_NodeClick({});
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        QVERIFY(bench.prompts.shown[0].text.startsWith(
            u"Unanticipated error occured in the User Interface\r\n\r\nFunction Name:  tvTreeView_NodeClick\r\n"
            "Source:  frmMain.frm\r\nError No:  91\r\n"_s));
        bench.click(kDaily);
        QCOMPARE(bench.caption, u"Server Operating System Logs - Daily"_s);
    }

    void no_packages_is_told_and_nothing_else_breaks()
    {
        Bench bench;
        bench.globals.gdicPackages.RemoveAll();
        bench.catalogue.PopulateTreeView();
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
        QVERIFY(bench.prompts.shown[0].text.startsWith(u"Error occured while populating the tree view control."_s));
        // Handlers that report nothing stay silent with nothing selected.
        bench.catalogue.lvListView_ItemClick(3);
        bench.catalogue.lvListView_MouseUp();
        QVERIFY(!bench.catalogue.tvTreeView_BeforeLabelEdit());
        QCOMPARE(bench.prompts.shown.size(), std::size_t{1});
    }
};

QTEST_MAIN(CatalogueTest)
#include "catalogue_test.moc"
