// Boxes and the pointer as real windows.

#include "shell/WidgetPrompts.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
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
        QApplication::activeModalWidget()->close();
        QTRY_COMPARE(visibleText(), QStringList(u"second"_s));
        QApplication::activeModalWidget()->close();
        QTRY_COMPARE(visibleText(), QStringList());
    }

    void filters_are_split_at_bars()
    {
        QCOMPARE(nameFilters(u"Report SQL Query File (*.rqn)|*.rqn"_s), QStringList(u"Report SQL Query File (*.rqn)"_s));
        QCOMPARE(nameFilters(u"Query | *.rqn|All|*.*;*"_s), QStringList({u"Query (*.rqn)"_s, u"All (*.* *)"_s}));
    }
};

QTEST_MAIN(PromptsTest)
#include "prompts_test.moc"
