// The layout pages of the query editor: what a layout holds, shown, changed and stored.
#include "ReportingFixture.h"
#include "reporting/editor/LayoutCellText.h"
#include "reporting/editor/LayoutColumnModel.h"
#include "reporting/editor/LayoutEditor.h"
#include "reporting/editor/QueryDraft.h"

#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTableWidget>

using namespace Qt::StringLiterals;

namespace qm::test {

class layout_editor_test : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theLayoutPagesKeepAllThatALayoutHoldsAndTellOfEachChange()
    {
        QueryDraft draft;
        draft.query.ReportFile = u"Layouts/x.rpt"_s;
        ReportLayout &layout = draft.layout;
        layout.title = u"T"_s;
        layout.subtitle = u"S"_s;
        layout.page = {.size = PageSize::Legal, .orientation = PageOrientation::Portrait, .marginMm = 7.5};
        layout.header = {u"1"_s, u"2"_s, u"3"_s};
        layout.footer = {u"4"_s, u"5"_s, u"6"_s};
        layout.columns = {{.field = u"a"_s,
                           .caption = u"A"_s,
                           .widthMm = 20,
                           .alignment = Alignment::Right,
                           .format = u"#,##0"_s,
                           .visible = false,
                           .wrap = false}};
        layout.onlyListed = true;
        layout.note = u"N"_s;
        layout.page.allowA3 = true;
        layout.columns[0].words = {{u"a=b"_s, u"x; \"y\""_s}, {u""_s, u" z"_s}};
        layout.columns[0].rules = {{RuleTest::Contains, u"fail: alarm"_s, RuleEmphasis::Warning},
                                   {RuleTest::Null, {}, RuleEmphasis::Alarm}};
        layout.columns[0].nullText = u"none"_s;
        layout.groups = {{.field = u"g"_s,
                          .newPage = true,
                          .order = GroupOrder::Rows,
                          .heading = false,
                          .keepTogether = true,
                          .suppressRepeats = false,
                          .subtotals = readAggregates(u"sum(a)"_s)},
                         {.field = u"h"_s}};
        layout.totals = readAggregates(u"count as Rows"_s);
        layout.charts = {{.kind = u"bar"_s,
                          .title = u"C"_s,
                          .category = u"a"_s,
                          .series = u"s"_s,
                          .values = {u"v"_s, u"w"_s},
                          .categoryTitle = u"X"_s,
                          .valueTitle = u"Y"_s,
                          .top = 5,
                          .other = true},
                         {.kind = u"pie"_s, .title = u"D"_s}};
        layout.figures = readFigures(u"average(a) as Mean [bytes]; count"_s);
        layout.top = {u"a"_s, u"v"_s, Aggregate::Maximum, u"Most"_s, 3};
        const QByteArray shown = fingerprint(draft);
        LayoutEditor editor;
        editor.show(draft.query.ReportFile, layout);
        layout = editor.layout();
        QCOMPARE(fingerprint(draft), shown);

        QSignalSpy spy(&editor, &LayoutEditor::changed);
        int fields = 0;
        const auto told = [&](const QWidget *field) {
            ++fields;
            QVERIFY2(spy.count() > 0, qPrintable(field->objectName()));
            spy.clear();
        };
        for (QLineEdit *line : editor.findChildren<QLineEdit *>())
            if (line->objectName() != u"qt_spinbox_lineedit"_s) {
                line->setText(u"other"_s);
                told(line);
            }
        for (QComboBox *box : editor.findChildren<QComboBox *>()) {
            box->setCurrentIndex((box->currentIndex() + 1) % box->count());
            told(box);
        }
        for (QAbstractButton *box : editor.findChildren<QCheckBox *>()) {
            box->toggle();
            told(box);
        }
        for (QAbstractSpinBox *box : editor.findChildren<QAbstractSpinBox *>()) {
            box->stepUp();
            told(box);
        }
        auto groups = editor.findChild<QTableWidget *>(u"layoutGroups"_s);
        groups->item(1, 0)->setText(u"other"_s);
        told(groups);
        QCOMPARE(fields, 31);
        for (int column = 1; column < groups->columnCount(); ++column) {
            QTableWidgetItem *const item = groups->item(0, column);
            if (column > 2)
                item->setCheckState(item->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
            else
                item->setText(column == 1 ? u"descending"_s : u"count"_s);
            told(groups);
        }
        editor.findChild<QLineEdit *>(u"layoutTotals"_s)->clear();
        editor.findChild<QLineEdit *>(u"layoutFigures"_s)->setText(u"count as Rows"_s);
        editor.findChild<QLineEdit *>(u"topValue"_s)->setText(u"sum(v)"_s);
        groups->item(1, 2)->setText({});
        const ReportLayout changed = editor.layout();
        const LayoutGroup &group = changed.groups.at(0);
        QVERIFY(group.order == GroupOrder::Descending && group.heading && !group.newPage && !group.keepTogether && group.suppressRepeats);
        QCOMPARE(changed.top.function, Aggregate::Sum);
        QCOMPARE(changed.charts.at(0).valueTitle, u"other"_s);
        QCOMPARE(changed.charts.at(1).title, u"D"_s);
    }

    void chartsAreAddedAndRemovedFromTheKeyboard()
    {
        ReportLayout layout;
        layout.charts = {{.kind = u"bar"_s, .title = u"A"_s}, {.kind = u"pie"_s, .title = u"B"_s}};
        LayoutEditor editor;
        editor.show(u"Layouts/x.rpt"_s, layout);
        editor.findChild<QTabWidget *>()->setCurrentIndex(3);
        static_cast<QWidget &>(editor).show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
        editor.activateWindow();
        auto list = editor.findChild<QListWidget *>(u"layoutCharts"_s);
        auto title = editor.findChild<QLineEdit *>(u"chartTitle"_s);
        auto add = editor.findChild<QPushButton *>(u"addChart"_s), remove = editor.findChild<QPushButton *>(u"removeChart"_s);
        const auto titles = [&] {
            QStringList all;
            for (const LayoutChart &chart : editor.layout().charts)
                all << chart.kind + u' ' + chart.title;
            return all.join(u'|');
        };
        list->setFocus();
        QTest::keyClick(list, Qt::Key_Down);
        QCOMPARE(title->text(), u"B"_s);
        add->setFocus();
        QTest::keyClick(add, Qt::Key_Space);
        QCOMPARE(editor.focusWidget()->objectName(), u"chartKind"_s);
        title->setText(u"C"_s);
        QCOMPARE(titles(), u"bar A|pie B|bar C"_s);
        QCOMPARE(list->currentItem()->text(), u"Bars: C"_s);
        list->setCurrentRow(1);
        for (const char *left : {"bar A|bar C", "bar A", ""}) {
            remove->setFocus();
            QTest::keyClick(remove, Qt::Key_Space);
            QCOMPARE(titles(), QString::fromLatin1(left));
        }
        QVERIFY(!title->isEnabled() && title->text().isEmpty());
        QCOMPARE(editor.focusWidget(), add);
    }

    void wordsAndRulesAreReadAsTheyAreWritten_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("words");
        QTest::addColumn<QString>("rules");
        QTest::newRow("plain") << u"2=at the desk;3 = away"_s << u"2 = at the desk; 3 = away"_s
                               << u"= \"2=at the desk\": strong; = \"3 = away\": strong"_s;
        QTest::newRow("rules") << u"<=5:ALARM; contains fail : warning; != x; null"_s << QString()
                               << u"<= 5: alarm; contains fail: warning; <> x: strong; null: strong"_s;
        QTest::newRow("a time is no emphasis") << u"> 08:30; containsx"_s << QString() << u"> \"08:30\": strong; = containsx: strong"_s;
        QTest::newRow("quotes") << u"\"a;b\" = \" c \"; x = \"say \"\"hi\"\"\""_s << u"\"a;b\" = \" c \"; x = \"say \"\"hi\"\"\""_s
                                << QString();
        QTest::newRow("the last word counts") << u"a = 1; a = 2; lone"_s << u"a = 2; lone = \"\""_s << QString();
    }

    void wordsAndRulesAreReadAsTheyAreWritten()
    {
        QFETCH(QString, typed);
        QFETCH(QString, words);
        QFETCH(QString, rules);
        if (!words.isEmpty())
            QCOMPARE(wordsText(readWords(typed)), words);
        if (!rules.isEmpty())
            QCOMPARE(rulesText(readRules(typed)), rules);
        QCOMPARE(wordsText(readWords(wordsText(readWords(typed)))), wordsText(readWords(typed)));
        QCOMPARE(rulesText(readRules(rulesText(readRules(typed)))), rulesText(readRules(typed)));
    }

    void whatALayoutMisspellsIsToldOnItsPage()
    {
        ReportLayout layout;
        layout.warnings = {u"Line 3: \"captoin\" is not known"_s};
        layout.columns = {{.field = u"a"_s, .caption = {}, .format = u"datum"_s}};
        LayoutEditor editor;
        editor.show(u"Layouts/x.rpt"_s, layout);
        auto told = editor.findChild<QLabel *>(u"layoutWarnings"_s);
        QVERIFY(told->text().contains(u"captoin"_s) && told->text().contains(u"\"datum\""_s));
        auto model = editor.findChild<QTableView *>(u"layoutColumns"_s)->model();
        QVERIFY(model->setData(model->index(0, LayoutColumnModel::Format), u"date"_s));
        QVERIFY(told->text().contains(u"captoin"_s) && !told->text().contains(u"datum"_s));
        editor.show({}, {});
        QCOMPARE(told->text(), QString());
    }
};

} // namespace qm::test

QTEST_MAIN(qm::test::layout_editor_test)
#include "layout_editor_test.moc"
