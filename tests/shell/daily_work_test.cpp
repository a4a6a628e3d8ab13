// The daily work in one sitting: browse, generate, rename, schedule, delete, by keys alone, sent to whatever has the focus; and what only
// the mouse does.

#include "CommandOffice.h"

#include <QPushButton>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// Presses a key where the keyboard is: in the open menu, else in the control with the focus.
void press(Qt::Key key, Qt::KeyboardModifiers held = {})
{
    QWidget *target = QApplication::activePopupWidget() ? QApplication::activePopupWidget() : QApplication::focusWidget();
    QVERIFY(target);
    QTest::keyClick(target, key, held);
    QCoreApplication::processEvents();
}

void type(const QString &text)
{
    QVERIFY(QApplication::focusWidget());
    QTest::keyClicks(QApplication::focusWidget(), text);
}

/// What a window manager does when a dialog closes; the bare display of the tests has none.
void giveFocusBack(const CommandOffice &office)
{
    office.window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(office.window.get()));
}

/// Tab until \p view has the focus.
void tabTo(const QWidget &view)
{
    for (int i = 0; i < 40 && !view.hasFocus(); ++i)
        press(Qt::Key_Tab);
    QVERIFY(view.hasFocus());
}

bool editing(const QAbstractItemView &view)
{
    const auto *editor = CommandOffice::labelEditor(view);
    return editor && editor->hasFocus();
}

} // namespace

class DailyWorkTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void by_keyboard_alone()
    {
        CommandOffice office;
        QVERIFY(office.tree().hasFocus());

        // Browse to the group, on to its queries, and generate one to the screen.
        press(Qt::Key_Down);
        QCOMPARE(office.caption(), office.package + u" - Daily"_s);
        tabTo(office.list());
        press(Qt::Key_Down);
        press(Qt::Key_Down);
        press(Qt::Key_S, Qt::AltModifier);
        press(Qt::Key_G);
        QTRY_COMPARE(office.components.runs.size(), std::size_t{1});
        QCOMPARE(office.components.runs[0].queryFile, office.logons);
        QVERIFY(office.list().hasFocus());

        // Rename it in place.
        press(Qt::Key_F2);
        QTRY_VERIFY(editing(office.list()));
        type(u"Night logons"_s);
        press(Qt::Key_Return);
        const QString renamed = office.daily + u"Night logons.rqn"_s;
        QTRY_VERIFY(office.exists(renamed));

        // Schedule a job for a day to come, all fields by their access keys; a selected query would keep New from offering it.
        tabTo(office.tree());
        office.whenDialogOpens([&](QWidget &) {
            press(Qt::Key_J, Qt::AltModifier);
            press(Qt::Key_A, Qt::ControlModifier);
            type(u"Every morning"_s);
            press(Qt::Key_Q, Qt::AltModifier);
            type(office.locks);
            press(Qt::Key_F, Qt::AltModifier);
            press(Qt::Key_Down); // Daily
            press(Qt::Key_D, Qt::AltModifier);
            press(Qt::Key_Up); // the month after this
            press(Qt::Key_Return);
        });
        press(Qt::Key_S, Qt::AltModifier);
        press(Qt::Key_N);
        press(Qt::Key_Down);
        press(Qt::Key_Down);
        press(Qt::Key_Return);
        QTRY_COMPARE(office.window->schedule().table().rows(), 1);
        giveFocusBack(office);
        QVERIFY(office.installation.read(u"Config/Jobs.cfg"_s).contains("Every morning"));
        QCOMPARE(office.globals.gcolJobs->at(0)->Frequency, 1);

        // Delete the job, then the renamed query, each after its question.
        tabTo(office.schedule());
        office.prompts.answers = {box::idYes};
        press(Qt::Key_Delete);
        QTRY_COMPARE(office.window->schedule().table().rows(), 0);
        QVERIFY(!office.installation.read(u"Config/Jobs.cfg"_s).contains("Every morning"));
        tabTo(office.list());
        press(Qt::Key_Down);
        press(Qt::Key_Down);
        office.prompts.answers = {box::idYes};
        press(Qt::Key_Delete);
        QTRY_VERIFY(!office.exists(renamed));
        office.prompts.finish();
        QCOMPARE(office.prompts.shown.size(), std::size_t{2});
    }

    void a_double_click_on_the_empty_schedule_makes_a_job()
    {
        CommandOffice office;
        office.window->schedule().dialog().QueryFileNameString = office.logons; // of an earlier showing
        office.prompts.files = {office.locks};
        office.whenDialogOpens([&](QWidget &dialog) {
            QCOMPARE(CommandOffice::in<QLineEdit>(dialog, "txtQueryFile").text(), QString());
            QTest::mouseClick(&CommandOffice::in<QPushButton>(dialog, "cmdQueryFile"), Qt::LeftButton);
            QVERIFY(!CommandOffice::in<QLineEdit>(dialog, "txtQueryFile").text().isEmpty());
            office.clock.set({QDate(2026, 11, 20), 0}); // so that it is not due at once
            QTest::mouseClick(&CommandOffice::in<QPushButton>(dialog, "cmdDlgSchOK"), Qt::LeftButton);
        });
        QTest::mouseDClick(office.schedule().viewport(), Qt::LeftButton, {}, {40, 40});
        QTRY_COMPARE(office.window->schedule().table().rows(), 1);
        giveFocusBack(office);
        QVERIFY(office.installation.read(u"Config/Jobs.cfg"_s).contains("Locks.rqn"));
        office.prompts.finish();
    }
};

QTEST_MAIN(DailyWorkTest)
#include "daily_work_test.moc"
