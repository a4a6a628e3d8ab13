#include "catalogue/CatalogueKeys.h"
#include "catalogue/QueryTransfer.h"
#include "catalogue/ReportGroups.h"
#include "catalogue/ReportQueries.h"
#include "core/ErrorReporter.h"
#include "framework/Components.h"
#include "framework/QueryFiles.h"
#include "platform/Files.h"
#include "support/Fakes.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// A package's editor that saves one new query whenever it is opened on a group, under a name that is listed last.
class SavingEditor final : public ReportInterface
{
public:
    SavingEditor(const QString &description, int number) : m_description(description), m_number(number) {}
    void EditQuery(const QString &target) override
    {
        if (!target.endsWith(kSep))
            return;
        Query query;
        query.Description = m_description;
        query.sql = u"select %1"_s.arg(m_number);
        TomlQueryAccess().WriteFile(query, target + QChar(0xFFFD) + u" New Report Query.rqn"_s);
    }
    void GenerateReport(const QString &, int, bool, bool) override {}

private:
    QString m_description;
    int m_number;
};

class TestComponents final : public ComponentFactory
{
public:
    std::unique_ptr<ReportInterface> createReportInterface(const QString &) override
    {
        return std::make_unique<SavingEditor>(nextDescription, nextNumber);
    }
    std::unique_ptr<QueryAccess> createQueryAccess(const QString &) override { return std::make_unique<TomlQueryAccess>(); }
    QString nextDescription;
    int nextNumber = 0;
};

/// A group's files: name without letter case -> (name as spelled, number of the query in it).
using GroupFiles = QMap<QString, std::pair<QString, int>>;
/// A package's groups: name -> files. Names differ by more than letter case.
using PackageGroups = QMap<QString, GroupFiles>;

QString folded(const QString &name)
{
    return name.toCaseFolded();
}

bool isTaken(const PackageGroups &groups, const QString &name)
{
    for (auto it = groups.begin(); it != groups.end(); ++it)
        if (folded(it.key()) == folded(name))
            return true;
    return false;
}

/// The catalogue's operations on two packages in a temporary folder, and the model of what the folders must hold.
class Session
{
public:
    Session()
        : errors(prompts), tree({}), list({}),
          selection(tree, list), services{globals, errors, prompts, components, [] { return std::make_unique<TomlQueryReader>(); }, {}}, catalogue(services, selection),
          groups(services, selection, catalogue, pending), queries(services, selection, catalogue, groups),
          transfer(services, selection, catalogue, pending)
    {
        globals.gstrInstallPath = folder.path() + kSep;
        for (const QString &name : packages) {
            const auto info = std::make_shared<PackageInfo>();
            info->PackageName = name;
            info->Interface = u"QuillmarkReports."_s + name;
            info->QueryAccess = u"QuillmarkQueryAccess."_s + name;
            info->InstallPath = folder.path() + kSep + name + kSep;
            QDir().mkpath(info->InstallPath); // the folder of groups comes with the first one
            const auto package = std::make_shared<QMKPackage>();
            package->setPackageInfo(info);
            globals.gdicPackages.Add(name, package);
            model.insert(name, {});
        }
        catalogue.PopulateTreeView();
    }
    void click(const QString &key)
    {
        if (isLevel(key, selection::group))
            touched.insert(groupFolder(key.section(u'/', 1, 1), LastKeyPart(key)));
        selection.selectNode(tree.find(key));
        catalogue.tvTreeView_NodeClick(selection.nodeIndex());
    }
    [[nodiscard]] QString groupFolder(const QString &package, const QString &group) const
    {
        return folder.path() + kSep + package + kSep + u"Query Groups"_s + kSep + group;
    }
    int rowOfFile(const QString &name) const
    {
        for (int i = 0; i < list.rows(); ++i)
            if (files::lastPart(list.row(i).tag) == name)
                return i;
        return -1;
    }

    const QStringList packages{u"Server"_s, u"Mail"_s};
    QTemporaryDir folder;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    Globals globals;
    CatalogueTree tree;
    CatalogueList list;
    CatalogueSelection selection;
    PendingPaste pending;
    TestComponents components;
    const CatalogueServices services;
    Catalogue catalogue;
    ReportGroups groups;
    ReportQueries queries;
    QueryTransfer transfer;
    QMap<QString, PackageGroups> model;
    int nextNumber = 1;
    QSet<QString> touched; ///< folders of the groups that the current step worked on
};

const QStringList kNames = [] {
    QStringList names{u"Daily"_s, u"daily"_s, u"Größe"_s,  u"中文"_s,   u"a b"_s,   u"New Report Group"_s,
                      u"x.y"_s,   u"bad?"_s,  u"Logons"_s, u"LOGONS"_s, u"ends "_s, u"with/slash"_s};
    if (files::isHiddenName(u".x"_s)) // elsewhere such names are names, but the emulator hides their files
        names << u".NET"_s << u"?.a"_s << u"???"_s;
    return names;
}();

constexpr int kFullComparison = 250; ///< steps from one comparison of every file to the next

} // namespace

/// Random group and query operations against a plain model of the folder tree: no file is lost, renamed or overwritten but as the model
/// says.
class CatalogueModelTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void group_names_follow_the_rules_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("messages");
        const QString tooLarge = u"Report Group Name is too large"_s;
        const QString characters = u"Report Group Name cannot have the following characters: ,  \\ / :  ? < > | ."_s;
        const auto inUse = [](const QString &name) {
            return u"The Group Name '%1' is currently being used by another Group. Please choose another name."_s.arg(name);
        };
        QTest::newRow("101 letters") << QString(101, u'n') << QStringList();
        QTest::newRow("102 letters") << QString(102, u'n') << QStringList(tooLarge);
        for (const QChar c : u"/\\:\"?<>|."_s)
            QTest::newRow(qPrintable(u"with "_s + c)) << u"a%1b"_s.arg(c) << QStringList(characters);
        QTest::newRow("in use") << u"DAILY"_s << QStringList(inUse(u"DAILY"_s));
        QTest::newRow("empty") << QString() << QStringList(inUse({}));
        QTest::newRow("bad and in use") << u"c.d"_s << QStringList({characters, inUse(u"c.d"_s)});
    }

    void group_names_follow_the_rules()
    {
        QFETCH(const QString, name);
        QFETCH(const QStringList, messages);
        Session s;
        for (const QString &taken : {u"Daily"_s, u"c.d"_s})
            QVERIFY(QDir().mkpath(s.groupFolder(u"Server"_s, taken)));
        QCOMPARE(s.groups.CheckIfValidGroupName(s.folder.path() + kSep + u"Server"_s + kSep, name), messages.isEmpty());
        QStringList shown;
        for (const ScriptedPrompts::Shown &box : s.prompts.shown)
            shown.append(box.text);
        QCOMPARE(shown, messages);
    }

    void a_renamed_group_is_left_as_the_current_folder_and_its_row_follows()
    {
        Session s;
        for (const bool inTree : {true, false}) {
            addGroup(s, u"Server"_s);
            files::setCurrentFolder(inTree ? QDir::rootPath() : s.groupFolder(u"Server"_s, u"New Report Group"_s));
            if (inTree) {
                QVERIFY(s.groups.tvTreeView_AfterLabelEdit(u"By tree"_s));
            } else {
                s.click(packageKey(u"Server"_s));
                const int row = s.list.rows() - 1;
                s.selection.selectNode(s.tree.find(s.list.row(row).key));
                QVERIFY(s.queries.lvListView_AfterLabelEdit(row, u"By list"_s));
                QCOMPARE(s.list.row(row).text, u"By list"_s);
                QCOMPARE(s.list.row(row).key, groupKey(u"Server"_s, u"By list"_s));
            }
            QCOMPARE(QDir::cleanPath(files::currentFolder()), QDir::cleanPath(s.folder.path()));
            s.model[u"Server"_s].clear();
        }
        // A deleted group's row goes with it.
        const int rows = s.list.rows();
        s.selection.selectRow(rows - 1);
        s.groups.DeleteGroup();
        QCOMPARE(s.list.rows(), rows - 1);
    }

    /// A copy compares packages without letter case, a move with it.
    void packages_are_compared_by_letter_case_when_a_query_is_moved_only()
    {
        Session s;
        addGroup(s, u"Server"_s);
        addQuery(s, u"Server"_s, u"New Report Group"_s, u"Logons"_s);
        for (const bool cut : {false, true}) {
            s.selection.selectRow(0);
            s.transfer.pickUpSelected(cut);
            s.pending.sourcePackage = s.pending.sourcePackage.toUpper();
            s.pending.sourceGroup.clear();
            s.transfer.paste();
            QCOMPARE(s.list.rows(), 2); // the copy that the first paste made, and no more
            QCOMPARE(s.prompts.shown.size(), cut ? std::size_t{1} : std::size_t{0});
        }
    }

    void random_operations_agree_with_the_model()
    {
        const int steps = qEnvironmentVariableIntValue("QM_MODEL_STEPS") > 0 ? qEnvironmentVariableIntValue("QM_MODEL_STEPS") : 3'000;
        QRandomGenerator random(20261121);
        Session s;
        for (int step = 0; step < steps; ++step) {
            s.touched.clear();
            s.prompts.shown.clear();
            s.prompts.answers.clear();
            const QString package = s.packages[random.bounded(2)];
            oneStep(s, package, random);
            compare(s, step, step % kFullComparison == 0 || step + 1 == steps);
            if (QTest::currentTestFailed())
                return;
        }
    }

private:
    static QString anyGroup(const Session &s, const QString &package, QRandomGenerator &random)
    {
        const QStringList names = s.model[package].keys();
        return names.isEmpty() ? QString() : names[random.bounded(static_cast<int>(names.size()))];
    }
    static void oneStep(Session &s, const QString &package, QRandomGenerator &random)
    {
        const int action = static_cast<int>(random.bounded(100U));
        const QString group = anyGroup(s, package, random);
        if (group.isNull() || (action < 6 && s.model[package].size() < 8))
            return addGroup(s, package);
        if (action < 9)
            return deleteGroup(s, package, group);
        if (action < 16)
            return renameGroup(s, package, group, kNames[random.bounded(static_cast<int>(kNames.size()))]);
        if (action < (s.model[package][group].size() < 12 ? 45 : 18))
            return addQuery(s, package, group, kNames[random.bounded(static_cast<int>(kNames.size()))]);
        const GroupFiles &files = s.model[package][group];
        if (files.isEmpty())
            return;
        const QString file = files.values()[random.bounded(static_cast<int>(files.size()))].first;
        if (action < 60)
            return deleteQuery(s, package, group, file);
        if (action < 72)
            return renameQuery(s, package, group, file, kNames[random.bounded(static_cast<int>(kNames.size()))]);
        const QString targetPackage = random.bounded(5) == 0 ? s.packages[random.bounded(2)] : package;
        const QString target = anyGroup(s, targetPackage, random);
        if (target.isNull())
            return;
        transferQuery(s, {package, group, file}, {targetPackage, target}, action < 82 ? 'c' : action < 92 ? 'x' : 'd');
    }

    static void addGroup(Session &s, const QString &package)
    {
        s.click(packageKey(package));
        QString expected = u"New Report Group"_s;
        for (int i = 1; isTaken(s.model[package], expected); ++i)
            expected = u"New Report Group"_s + QString::number(i);
        s.groups.AddNewGroup(package);
        s.model[package].insert(expected, {});
        QCOMPARE(s.selection.nodeKey(), groupKey(package, expected));
    }
    static void deleteGroup(Session &s, const QString &package, const QString &group)
    {
        s.click(groupKey(package, group));
        if (s.nextNumber % 2 == 0) // what no listing shows goes too
            QVERIFY(QFile(s.groupFolder(package, group) + kSep + u".hidden"_s).open(QFile::WriteOnly));
        s.groups.DeleteGroup();
        s.model[package].remove(group);
        QCOMPARE(s.selection.nodeKey(), packageKey(package));
        s.click(packageKey(package));
    }
    static void renameGroup(Session &s, const QString &package, const QString &group, const QString &name)
    {
        s.click(groupKey(package, group));
        const bool valid = !isTaken(s.model[package], name) && !name.contains(u'.') && !name.contains(u'?') && !name.contains(u'/') &&
                           !name.endsWith(u' ');
        QCOMPARE(s.groups.tvTreeView_AfterLabelEdit(name), valid);
        QCOMPARE(s.prompts.shown.empty(), valid);
        if (!valid)
            return;
        const GroupFiles files = s.model[package].take(group);
        s.model[package].insert(name, files);
    }
    static void addQuery(Session &s, const QString &package, const QString &group, const QString &description)
    {
        s.click(groupKey(package, group));
        s.components.nextDescription = description;
        s.components.nextNumber = s.nextNumber;
        QVERIFY(s.queries.AddNewReportQuery(s.groupFolder(package, group) + kSep));
        s.queries.RenameNewFileAsDescription();
        GroupFiles &files = s.model[package][group];
        const auto firstFree = [&files](const QString &words) {
            QString name = words + u".rqn"_s;
            for (int i = 1; files.contains(folded(name)); ++i)
                name = words + QString::number(i) + u".rqn"_s;
            return name;
        };
        // A free name is looked for with the description as typed; characters that no file may have go afterwards.
        QString name = firstFree(description).remove(u'?').remove(u'/');
        while (files::isHiddenName(name) && name != u".rqn"_s)
            name.remove(0, 1);
        if (name == u".rqn"_s)
            name = firstFree(u"New Report Query"_s);
        if (files.contains(folded(name)))
            name = QChar(0xFFFD) + u" New Report Query.rqn"_s; // the rename failed and the file keeps its first name
        QVERIFY2(!files.contains(folded(name)) || name.startsWith(QChar(0xFFFD)), qPrintable(name));
        files.insert(folded(name), {name, s.nextNumber});
        ++s.nextNumber;
        if (name.startsWith(QChar(0xFFFD)))
            deleteQuery(s, package, group, name);
    }
    static void deleteQuery(Session &s, const QString &package, const QString &group, const QString &file)
    {
        s.click(groupKey(package, group));
        const int row = s.rowOfFile(file);
        QVERIFY2(row >= 0, qPrintable(file));
        s.queries.DeleteReportQuery(s.list.row(row).tag);
        s.model[package][group].remove(folded(file));
    }
    static void renameQuery(Session &s, const QString &package, const QString &group, const QString &file, const QString &description)
    {
        s.click(groupKey(package, group));
        const int row = s.rowOfFile(file);
        s.selection.selectRow(row);
        GroupFiles &files = s.model[package][group];
        const QString name = description + u".rqn"_s;
        const bool usable = !name.contains(u'?') && !name.contains(u'/') && !files::isHiddenName(name);
        const bool clashes = files.contains(folded(name)) && folded(name) != folded(file);
        const bool isProtected = usable && !clashes && folded(name) != folded(file) && s.nextNumber % 3 == 0;
        if (isProtected) // a write-protected query is renamed like any other
            files::setFileAttributes(s.list.row(row).tag, attr::readOnly);
        const bool renamed = s.queries.lvListView_AfterLabelEdit(row, description);
        QCOMPARE(renamed, usable && !clashes);
        QCOMPARE(s.prompts.shown.empty(), renamed);
        if (!renamed)
            return;
        QCOMPARE(s.globals.gstrCurrentQueryFile,
                 QDir::toNativeSeparators(s.groupFolder(package, group) + kSep + name)); // the row is selected again
        const int number = files.take(folded(file)).second;
        files.insert(folded(name), {name, number});
    }

    struct Place
    {
        QString package, group, file{};
    };
    /// \p how: 'c' copy and paste, 'x' cut and paste, 'd' drag. The group may get another name before the paste.
    static void transferQuery(Session &s, Place from, Place to, char how)
    {
        s.click(groupKey(from.package, from.group));
        const int row = s.rowOfFile(from.file);
        s.selection.selectRow(row);
        if (how == 'd') {
            s.transfer.pickUpForDrag(row);
            QVERIFY(s.transfer.tvTreeView_DragOver(s.tree.find(groupKey(to.package, to.group))) == DragPicture::Drop);
            QCOMPARE(s.transfer.tvTreeView_DragDrop(true), from.package == to.package);
            s.pending.clear();
        } else {
            s.transfer.pickUpSelected(how == 'x');
            if (s.nextNumber % 4 == 0) {
                const QString name = u"Renamed "_s + QString::number(s.nextNumber++);
                renameGroup(s, from.package, from.group, name);
                if (to.package == from.package && to.group == from.group)
                    to.group = name;
                from.group = name;
            }
            s.click(groupKey(to.package, to.group));
            s.transfer.paste();
            QVERIFY(!s.pending.isPending());
        }
        const bool sameGroup = from.package == to.package && from.group == to.group;
        const bool refused = from.package != to.package || (how == 'x' && sameGroup);
        QVERIFY2(s.prompts.shown.size() == (refused ? std::size_t{1} : std::size_t{0}),
                 s.prompts.shown.empty() ? "nothing said" : qPrintable(s.prompts.shown.front().text));
        if (refused)
            return s.click(groupKey(from.package, from.group));
        GroupFiles &source = s.model[from.package][from.group];
        GroupFiles &target = s.model[to.package][to.group];
        const int number = source[folded(from.file)].second;
        QString name = from.file;
        if (how == 'd' || target.contains(folded(name)))
            name = u"Copy of "_s + from.file; // an earlier copy is overwritten
        // The file on disk keeps its spelling where one is replaced.
        const QString spelled = target.contains(folded(name)) ? target[folded(name)].first : name;
        target.insert(folded(name), {spelled, number});
        if (how == 'x')
            source.remove(folded(from.file));
    }

    static int numberIn(const QString &path)
    {
        const QByteArray text = files::readAll(path);
        const auto at = text.indexOf("select ");
        return text.mid(at + 7, 12).split('\'').front().split('"').front().trimmed().toInt();
    }
    /// Folder names, tree and package always; the files of the two groups the step worked on, or of all of them.
    static void compare(Session &s, int step, bool allFiles)
    {
        const QByteArray where = "after step " + QByteArray::number(step);
        for (const QString &package : s.packages) {
            const QString root = s.groupFolder(package, {});
            QStringList onDisk = QDir(root).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::NoSort);
            QStringList expected = s.model[package].keys();
            onDisk.sort();
            expected.sort();
            QVERIFY2(onDisk == expected, where + ": " + onDisk.join(u'|').toUtf8() + " expected " + expected.join(u'|').toUtf8());
            QCOMPARE(s.globals.gdicPackages.at(package)->GroupCount(), static_cast<int>(expected.size()));
            QCOMPARE(s.tree.rowCount(s.tree.find(packageKey(package))), static_cast<int>(expected.size()));
            for (const QString &group : expected) {
                QVERIFY2(s.tree.find(groupKey(package, group)).isValid(), where.constData());
                if (allFiles || s.touched.contains(root + group))
                    compareGroup(s.model[package][group], root + group, where);
            }
        }
        if (s.list.level() == selection::group) {
            const TreeNode node = s.selection.node();
            const GroupFiles &files = s.model[s.selection.parentNode().text][node.text];
            QVERIFY2(s.list.rows() == files.size(), where.constData());
        }
    }
    static void compareGroup(const GroupFiles &model, const QString &folder, const QByteArray &where)
    {
        const QStringList names = QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::NoSort);
        QVERIFY2(names.size() == model.size(), where + ": " + folder.toUtf8() + ": " + names.join(u'|').toUtf8());
        for (const QString &name : names) {
            const auto found = model.find(folded(name));
            QVERIFY2(found != model.end() && found->first == name, where + ": " + name.toUtf8());
            QVERIFY2(numberIn(folder + kSep + name) == found->second, where + ": contents of " + name.toUtf8());
        }
    }
};

QTEST_GUILESS_MAIN(CatalogueModelTest)
#include "catalogue_model_test.moc"
