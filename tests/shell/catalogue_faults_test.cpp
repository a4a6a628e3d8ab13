// Groups and queries on folders that refuse, vanish or change behind the window's back, and under very long names.

#include "CommandOffice.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// Another user's hands for the life of the object: this program may look at the installation and change nothing in \p folders.
class OtherUser final
{
public:
    explicit OtherUser(const QStringList &folders)
    {
        for (const QString &folder : folders)
            m_denied = ::chmod(QFile::encodeName(folder).constData(), 0555) == 0 && m_denied;
        m_changed = ::geteuid() == 0 && ::seteuid(65534) == 0;
    }
    ~OtherUser()
    {
        if (m_changed)
            (void)!::seteuid(0);
    }
    OtherUser(const OtherUser &) = delete;
    OtherUser &operator=(const OtherUser &) = delete;
    [[nodiscard]] bool isDenied() const { return m_denied && ::geteuid() != 0; }

private:
    bool m_denied = true;
    bool m_changed = false;
};

struct Office : CommandOffice
{
    [[nodiscard]] QString groups() const { return installation.packagePath(u"Server"_s) + u"Query Groups"_s; }
    void openToAll() const
    {
        for (QString folder = QDir::cleanPath(groups()); ::chmod(QFile::encodeName(folder).constData(), 0755) == 0;) {
            if (folder.count(u'/') <= QDir::tempPath().count(u'/') + 1)
                break;
            folder.truncate(folder.lastIndexOf(u'/'));
        }
    }
    /// The last box says all of \p words.
    void verifySaid(std::initializer_list<QString> words) const
    {
        QVERIFY(!prompts.shown.empty());
        for (const QString &word : words)
            QVERIFY2(prompts.shown.back().text.contains(word), qPrintable(word + u" is not in: "_s + prompts.shown.back().text));
    }
};

} // namespace

class CatalogueFaultsTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void what_the_operator_may_not_write_stays_as_it_was_on_disk_and_on_screen()
    {
        Office office;
        office.openToAll();
        office.clickQuery(u"Logons"_s);
        QTest::keyClick(&office.list(), Qt::Key_C, Qt::ControlModifier);
        const OtherUser other({office.daily, office.weekly, office.groups()});
        if (!other.isDenied())
            QSKIP("this user may write everywhere and cannot become another one");

        Office::rename(office.list(), u"Sign-ins"_s);
        office.verifySaid({u"Sign-ins.rqn"_s, u"Permission denied"_s});
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        office.verifySaid({u"Logons.rqn"_s, u"Permission denied"_s});
        QCOMPARE(office.listed(), (QStringList{u"Locks"_s, u"Logons"_s}));

        office.clickGroup(u"Weekly"_s);
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        office.verifySaid({u"Weekly"_s, u"Permission denied"_s});
        const std::size_t boxes = office.prompts.shown.size();
        Office::rename(office.tree(), u"Monthly"_s);
        QTRY_VERIFY(office.labelEditor(office.tree()) && office.labelEditor(office.tree())->hasFocus());
        QTest::keyClick(office.labelEditor(office.tree()), Qt::Key_Escape);
        QVERIFY(!office.selection().tree().find(groupKey(office.package, u"Monthly"_s)).isValid());
        office.clickPackage();
        office.tool("ID_ReportGroup").trigger();
        QVERIFY(office.prompts.shown.size() > boxes);
        office.verifySaid({u"New Report Group"_s, u"Permission denied"_s});

        QCOMPARE(Office::filesIn(office.groups()), (QStringList{u"Daily"_s, u"Weekly"_s}));
        QCOMPARE(Office::filesIn(office.daily), (QStringList{u"Locks.rqn"_s, u"Logons.rqn"_s}));
        QVERIFY(Office::filesIn(office.weekly).isEmpty());
        office.clickPackage();
        QCOMPARE(office.listed(), (QStringList{u"Daily"_s, u"Weekly"_s}));
        office.prompts.finish();
    }

    void a_group_whose_folder_vanished_can_be_left_and_the_others_work()
    {
        Office office;
        office.clickQuery(u"Locks"_s);
        QVERIFY(QDir(office.daily).removeRecursively());
        QTest::keyClick(&office.list(), Qt::Key_F2);
        if (auto *editor = office.list().findChild<QLineEdit *>()) {
            editor->setText(u"Lockouts"_s);
            QTest::keyClick(editor, Qt::Key_Return);
        }
        QTRY_VERIFY(!office.prompts.shown.empty());
        office.verifySaid({u"Locks.rqn"_s});
        office.clickGroup(u"Daily"_s);
        QVERIFY(office.listed().isEmpty());
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.tree(), Qt::Key_Delete);
        office.verifySaid({u"Daily"_s});
        office.clickGroup(u"Weekly"_s);
        QCOMPARE(office.caption(), office.package + u" - Weekly"_s);
        office.components.onEdit = [&](const QString &target) { office.installation.write(target + u"x.rqn"_s, queryFile(u"Anew"_s)); };
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(office.listed(), QStringList{u"Anew"_s});
    }

    void a_query_that_another_program_took_away_is_named_in_the_message()
    {
        Office office;
        office.clickQuery(u"Logons"_s);
        QTest::keyClick(&office.list(), Qt::Key_X, Qt::ControlModifier);
        QVERIFY(QFile::rename(office.logons, office.weekly + u"Taken.rqn"_s));
        office.clickGroup(u"Weekly"_s);
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        office.verifySaid({u"Logons.rqn"_s});
        QCOMPARE(Office::filesIn(office.weekly), QStringList{u"Taken.rqn"_s});

        office.clickGroup(u"Daily"_s);
        QCOMPARE(office.listed(), QStringList{u"Locks"_s});
        office.clickRow(0);
        QVERIFY(QFile::remove(office.locks));
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        office.verifySaid({u"Locks.rqn"_s});
    }

    void names_of_any_alphabet_and_of_the_greatest_length_are_kept_or_refused_whole_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("fits");
        QTest::newRow("Greek") << u"Αποτυχημένες συνδέσεις"_s << true;
        QTest::newRow("Chinese, emoji") << u"登录失败 🔒"_s << true;
        QTest::newRow("251 letters") << QString(251, u'n') << true;
        QTest::newRow("252 letters") << QString(252, u'n') << false;
        QTest::newRow("200 letters of two bytes") << QString(200, u'ż') << false;
    }

    void names_of_any_alphabet_and_of_the_greatest_length_are_kept_or_refused_whole()
    {
        QFETCH(const QString, name);
        QFETCH(const bool, fits);
        Office office;
        office.clickQuery(u"Logons"_s);
        Office::rename(office.list(), name);
        const QString file = (fits ? name : u"Logons"_s) + u".rqn"_s;
        QTRY_VERIFY(Office::filesIn(office.daily).contains(file));
        QCOMPARE(Office::filesIn(office.daily).size(), 2);
        QVERIFY(office.listed().contains(fits ? name : u"Logons"_s));
        QCOMPARE(office.prompts.shown.empty(), fits);

        // "Copy of" makes the longest name too long: said so, and the query is where it was.
        office.clickQuery(fits ? name : u"Logons"_s);
        QTest::keyClick(&office.list(), Qt::Key_C, Qt::ControlModifier);
        QTest::keyClick(&office.list(), Qt::Key_V, Qt::ControlModifier);
        QVERIFY(Office::filesIn(office.daily).contains(file));
        const bool copyFits = file.toUtf8().size() <= 255 - 8;
        QCOMPARE(Office::filesIn(office.daily).size(), copyFits ? 3 : 2);
        if (!copyFits)
            office.verifySaid({u"Copy of "_s});
    }
};

QTEST_MAIN(CatalogueFaultsTest)
#include "catalogue_faults_test.moc"
