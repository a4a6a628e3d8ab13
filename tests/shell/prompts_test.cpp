// Boxes and the pointer as real windows.

#include "core/InputDuringRun.h"
#include "shell/WidgetPrompts.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

using namespace qm;
using namespace Qt::StringLiterals;

class PromptsTest final : public QObject
{
    Q_OBJECT

    /// Runs \p act on the box that opens next.
    template <class Act>
    void withBox(Act act)
    {
        QTimer::singleShot(0, this, [act] {
            auto *shown = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QVERIFY(shown);
            act(*shown);
        });
    }

private Q_SLOTS:
    void closing_a_box_gives_the_classic_result_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<int>("closed");
        QTest::addColumn<int>("entered");
        QTest::newRow("ok") << (box::ok | box::critical) << 1 << 1;
        QTest::newRow("ok, cancel") << 33 << 2 << 1;
        QTest::newRow("yes, no") << 36 << 7 << 6;
        QTest::newRow("yes, no; no is default") << (36 | box::defaultButton2) << 7 << 7;
        QTest::newRow("yes, no, cancel; cancel is default") << (box::yesNoCancel | box::defaultButton3) << 2 << 2;
        QTest::newRow("retry, cancel") << (box::retryCancel | box::exclamation) << 2 << 4;
        QTest::newRow("abort, retry, ignore") << (box::abortRetryIgnore | box::defaultButton3) << 3 << 5;
    }

    void closing_a_box_gives_the_classic_result()
    {
        QFETCH(int, style);
        QFETCH(int, closed);
        QFETCH(int, entered);
        WidgetPrompts prompts;
        withBox([](QMessageBox &shown) { QTest::keyClick(&shown, Qt::Key_Escape); });
        QCOMPARE(prompts.messageBox(u"text"_s, style, u"title"_s), closed);
        withBox([](QMessageBox &shown) { shown.defaultButton()->click(); });
        QCOMPARE(prompts.messageBox(u"text"_s, style, u"title"_s), entered);
    }

    void texts_are_shown_as_they_stand()
    {
        WidgetPrompts prompts;
        const QString text = u"Delete '<b>x</b><img src=\"x.png\">' ?\r\n\r\nFunction Name:  f"_s;
        withBox([&](QMessageBox &shown) {
            QCOMPARE(shown.textFormat(), Qt::PlainText);
            QCOMPARE(shown.text(), QString(text).remove(u'\r'));
            QCOMPARE(shown.icon(), QMessageBox::Question);
            shown.close();
        });
        QCOMPARE(prompts.messageBox(text, 36, u"title"_s), box::idNo);
    }

    void an_unattended_run_waits_for_nobody()
    {
        WidgetPrompts prompts;
        prompts.unattended(true);
        QCOMPARE(prompts.messageBox(u"first"_s, box::critical, u"title"_s), box::idOk);
        QCOMPARE(prompts.messageBox(u"second"_s, box::critical, u"title"_s), box::idOk);
        prompts.unattended(false);
        const auto visibleText = [] {
            QStringList texts;
            for (QWidget *widget : QApplication::topLevelWidgets())
                if (const auto *shown = qobject_cast<QMessageBox *>(widget); shown && shown->isVisible())
                    texts.append(shown->text());
            return texts;
        };
        QCOMPARE(visibleText(), QStringList(u"first"_s));
        QVERIFY(QApplication::activeModalWidget()->property(kInputDuringRun).toBool()); // it may lie over the operator's own run
        QApplication::activeModalWidget()->close();
        QTRY_COMPARE(visibleText(), QStringList(u"second"_s));
        QApplication::activeModalWidget()->close();
        QTRY_COMPARE(visibleText(), QStringList());
    }

    void a_file_dialog_belongs_to_the_window_that_asks_and_begins_where_the_last_one_ended()
    {
        const QTemporaryDir user, first, second;
        const QString state = user.filePath(u"window.ini"_s);
        QWidget main, viewer;
        for (QWidget *window : {&main, &viewer})
            window->show();
        viewer.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&viewer));
        struct Seen
        {
            QWidget *parent;
            QString folder;
        };
        const auto choose = [&](WidgetPrompts &prompts, const QString &name, const QString &chosen) {
            Seen seen{};
            QTimer::singleShot(0, this, [&] {
                auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
                QVERIFY(dialog);
                seen = {dialog->parentWidget(), dialog->directory().canonicalPath()};
                if (chosen.isEmpty())
                    return dialog->reject();
                dialog->selectFile(chosen);
                QMetaObject::invokeMethod(dialog, "accept", Qt::DirectConnection);
            });
            FileDialogRequest request;
            request.folder = first.path();
            request.filter = u"CSV file (*.csv)|*.csv"_s;
            request.remembered = name;
            const auto answer = prompts.chooseSaveFile(request);
            if (answer.has_value() == chosen.isEmpty() || (answer && *answer != QDir::toNativeSeparators(chosen)))
                seen.folder = u"another answer"_s;
            return seen;
        };
        const QString one = QDir(first.path()).canonicalPath(), two = QDir(second.path()).canonicalPath();
        {
            WidgetPrompts prompts;
            prompts.setMainWindow(&main);
            prompts.setStateFile(state);
            const Seen seen = choose(prompts, u"export"_s, second.filePath(u"a.csv"_s));
            QCOMPARE(seen.parent, &viewer);
            QCOMPARE(seen.folder, one);
            QCOMPARE(choose(prompts, u"export"_s, {}).folder, two);
            QCOMPARE(choose(prompts, u"other"_s, {}).folder, one);
            QCOMPARE(choose(prompts, {}, second.filePath(u"b.csv"_s)).folder, one); // one whose folder is fixed
            QCOMPARE(choose(prompts, {}, {}).folder, one);
        }
        WidgetPrompts later;
        later.setStateFile(state);
        QCOMPARE(choose(later, u"export"_s, {}).folder, two);
        QVERIFY(QDir(second.path()).removeRecursively());
        QCOMPARE(choose(later, u"export"_s, {}).folder, one); // gone
    }

    void a_typed_name_gets_the_suffix_that_the_filter_asks_for()
    {
        const QTemporaryDir folder;
        const FileDialogRequest request{u"Save"_s, folder.path(), u"New.rqn"_s, u"Query (*.rqn)|*.rqn"_s, u"rqn"_s, {}};
        for (const auto &[typed, name] : {std::pair{"v1.2 logons", "v1.2 logons.rqn"}, {"Plain", "Plain.rqn"}, {"a.b.RQN", "a.b.RQN"}}) {
            QTimer::singleShot(0, this, [typed = QString::fromLatin1(typed)] {
                auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
                QVERIFY(dialog);
                dialog->findChild<QLineEdit *>()->setText(typed);
                QMetaObject::invokeMethod(dialog, "accept");
            });
            QCOMPARE(WidgetPrompts().chooseSaveFile(request), QDir::toNativeSeparators(folder.filePath(QString::fromLatin1(name))));
        }
    }

    void filters_are_split_at_bars()
    {
        QCOMPARE(nameFilters(u"Report SQL Query File (*.rqn)|*.rqn"_s), QStringList(u"Report SQL Query File (*.rqn)"_s));
        QCOMPARE(nameFilters(u"Query | *.rqn|All|*.*;*"_s), QStringList({u"Query (*.rqn)"_s, u"All (*.* *)"_s}));
    }
};

QTEST_MAIN(PromptsTest)
#include "prompts_test.moc"
