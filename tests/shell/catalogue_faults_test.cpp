// Groups and queries on folders that refuse, vanish or change behind the window's back, and on very full and very long ones.

#include "CommandOffice.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace qm;
using namespace qm::test;

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
    [[nodiscard]] static QStringList filesIn(const QString &folder) { return files::list(folder, QStringLiteral("*"), attr::directory); }
    [[nodiscard]] QString groups() const { return installation.packagePath(QStringLiteral("Server")) + QStringLiteral("Query Groups"); }
    void openToAll() const
    {
        for (QString folder = QDir::cleanPath(groups()); ::chmod(QFile::encodeName(folder).constData(), 0755) == 0;) {
            if (folder.count(u'/') <= QDir::tempPath().count(u'/') + 1)
                break;
            folder.truncate(folder.lastIndexOf(u'/'));
        }
    }
    template <class View>
    static void rename(View &view, const QString &name)
    {
        QTest::keyClick(&view, Qt::Key_F2);
        QTRY_VERIFY(view.template findChild<QLineEdit *>());
        auto *editor = view.template findChild<QLineEdit *>();
        editor->setText(name); // as an input method would
        QTest::keyClick(editor, Qt::Key_Return);
        QCoreApplication::processEvents();
    }
    /// The last box says all of \p words.
    void verifySaid(std::initializer_list<QString> words) const
    {
        QVERIFY(!prompts.shown.empty());
        for (const QString &word : words)
            QVERIFY2(prompts.shown.back().text.contains(word),
                     qPrintable(word + QStringLiteral(" is not in: ") + prompts.shown.back().text));
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
        office.clickQuery(QStringLiteral("Logons"));
        QTest::keyClick(&office.list(), Qt::Key_C, Qt::ControlModifier);
        const OtherUser other({office.daily, office.weekly, office.groups()});
        if (!other.isDenied())
            QSKIP("this user may write everywhere and cannot become another one");

        Office::rename(office.list(), QStringLiteral("Sign-ins"));
        office.verifySaid({QStringLiteral("Sign-ins.rqn"), QStringLiteral("Permission denied")});
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        office.verifySaid({QStringLiteral("Logons.rqn"), QStringLiteral("Permission denied")});
        QCOMPARE(office.listed(), (QStringList{QStringLiteral("Locks"), QStringLiteral("Logons")}));

        office.clickGroup(QStringLiteral("Weekly"));
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        office.verifySaid({QStringLiteral("Weekly"), QStringLiteral("Permission denied")});
        const std::size_t boxes = office.prompts.shown.size();
        Office::rename(office.tree(), QStringLiteral("Monthly"));
        QTRY_VERIFY(!office.selection().tree().find(groupKey(office.package, QStringLiteral("Monthly"))).isValid());
        office.clickPackage();
        office.tool("ID_ReportGroup").trigger();
        QVERIFY(office.prompts.shown.size() > boxes);
        office.verifySaid({QStringLiteral("New Report Group"), QStringLiteral("Permission denied")});

        QCOMPARE(Office::filesIn(office.groups()), (QStringList{QStringLiteral("Daily"), QStringLiteral("Weekly")}));
        QCOMPARE(Office::filesIn(office.daily), (QStringList{QStringLiteral("Locks.rqn"), QStringLiteral("Logons.rqn")}));
        QVERIFY(Office::filesIn(office.weekly).isEmpty());
        office.clickPackage();
        QCOMPARE(office.listed(), (QStringList{QStringLiteral("Daily"), QStringLiteral("Weekly")}));
        office.prompts.finish();
    }

    void a_group_whose_folder_vanished_can_be_left_and_the_others_work()
    {
        Office office;
        office.clickQuery(QStringLiteral("Locks"));
        QVERIFY(QDir(office.daily).removeRecursively());
        QTest::keyClick(&office.list(), Qt::Key_F2);
        if (auto *editor = office.list().findChild<QLineEdit *>()) {
            editor->setText(QStringLiteral("Lockouts"));
            QTest::keyClick(editor, Qt::Key_Return);
        }
        QTRY_VERIFY(!office.prompts.shown.empty());
        office.verifySaid({QStringLiteral("Locks.rqn")});
        office.clickGroup(QStringLiteral("Daily"));
        QVERIFY(office.listed().isEmpty());
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.tree(), Qt::Key_Delete);
        office.verifySaid({QStringLiteral("Daily")});
        office.clickGroup(QStringLiteral("Weekly"));
        QCOMPARE(office.caption(), office.package + QStringLiteral(" - Weekly"));
        office.components.onEdit = [&](const QString &target) {
            office.installation.write(target + QStringLiteral("x.rqn"), queryFile(QStringLiteral("Anew")));
        };
        office.tool("ID_ReportQuery").trigger();
        QCOMPARE(office.listed(), QStringList{QStringLiteral("Anew")});
    }

    void a_query_that_another_program_took_away_is_named_in_the_message()
    {
        Office office;
        office.clickQuery(QStringLiteral("Logons"));
        QTest::keyClick(&office.list(), Qt::Key_X, Qt::ControlModifier);
        QVERIFY(QFile::rename(office.logons, office.weekly + QStringLiteral("Taken.rqn")));
        office.clickGroup(QStringLiteral("Weekly"));
        QTest::keyClick(&office.tree(), Qt::Key_V, Qt::ControlModifier);
        office.verifySaid({QStringLiteral("Logons.rqn")});
        QCOMPARE(Office::filesIn(office.weekly), QStringList{QStringLiteral("Taken.rqn")});

        office.clickGroup(QStringLiteral("Daily"));
        QCOMPARE(office.listed(), QStringList{QStringLiteral("Locks")});
        office.clickRow(0);
        QVERIFY(QFile::remove(office.locks));
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        office.verifySaid({QStringLiteral("Locks.rqn")});
    }

    void a_group_of_thousands_is_worked_in_as_a_small_one()
    {
        Office office;
        constexpr int count = 5000;
        for (int i = 0; i < count; ++i)
            office.installation.write(office.weekly + QStringLiteral("Query %1.rqn").arg(i, 4, 10, QLatin1Char('0')),
                                      queryFile(QStringLiteral("Query %1").arg(i, 4, 10, QLatin1Char('0'))));
        office.clickGroup(QStringLiteral("Weekly"));
        QCOMPARE(office.list().model()->rowCount(), count);
        office.list().setFocus();
        QTest::keyClick(&office.list(), Qt::Key_End);
        Office::rename(office.list(), QStringLiteral("Aardvarks"));
        QTRY_VERIFY(office.exists(office.weekly + QStringLiteral("Aardvarks.rqn")));
        QTest::keyClick(&office.list(), Qt::Key_Home); // the renamed one is the first now
        office.prompts.answers = {box::idYes};
        QTest::keyClick(&office.list(), Qt::Key_Delete);
        QTRY_COMPARE(Office::filesIn(office.weekly).size(), count - 1);
        QCOMPARE(office.list().model()->rowCount(), count - 1);
        QTest::keyClick(&office.list(), Qt::Key_Home);
        QTest::keyClick(&office.list(), Qt::Key_C, Qt::ControlModifier);
        QTest::keyClick(&office.list(), Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(office.list().model()->rowCount(), count);
        QVERIFY(office.exists(office.weekly + QStringLiteral("Copy of Query 0000.rqn")));
        office.prompts.finish();
    }

    void names_of_any_alphabet_and_of_the_greatest_length_are_kept_or_refused_whole_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("fits");
        QTest::newRow("Greek") << QStringLiteral("Αποτυχημένες συνδέσεις") << true;
        QTest::newRow("Arabic") << QStringLiteral("محاولات الدخول") << true;
        QTest::newRow("Chinese, emoji") << QStringLiteral("登录失败 🔒") << true;
        QTest::newRow("251 letters") << QString(251, u'n') << true;
        QTest::newRow("252 letters") << QString(252, u'n') << false;
        QTest::newRow("200 letters of two bytes") << QString(200, u'ż') << false;
    }

    void names_of_any_alphabet_and_of_the_greatest_length_are_kept_or_refused_whole()
    {
        QFETCH(const QString, name);
        QFETCH(const bool, fits);
        Office office;
        office.clickQuery(QStringLiteral("Logons"));
        Office::rename(office.list(), name);
        const QString file = (fits ? name : QStringLiteral("Logons")) + QStringLiteral(".rqn");
        QTRY_VERIFY(Office::filesIn(office.daily).contains(file));
        QCOMPARE(Office::filesIn(office.daily).size(), 2);
        QVERIFY(office.listed().contains(fits ? name : QStringLiteral("Logons")));
        QCOMPARE(office.prompts.shown.empty(), fits);

        // "Copy of" makes the longest name too long: said so, and the query is where it was.
        office.clickQuery(fits ? name : QStringLiteral("Logons"));
        QTest::keyClick(&office.list(), Qt::Key_C, Qt::ControlModifier);
        QTest::keyClick(&office.list(), Qt::Key_V, Qt::ControlModifier);
        QVERIFY(Office::filesIn(office.daily).contains(file));
        const bool copyFits = file.toUtf8().size() <= 255 - 8;
        QCOMPARE(Office::filesIn(office.daily).size(), copyFits ? 3 : 2);
        if (!copyFits)
            office.verifySaid({QStringLiteral("Copy of ")});
    }
};

QTEST_MAIN(CatalogueFaultsTest)
#include "catalogue_faults_test.moc"
