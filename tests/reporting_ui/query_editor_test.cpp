#include "ReportingFixture.h"
#include "reporting/ui/LayoutColumnModel.h"
#include "reporting/ui/ParameterTable.h"
#include "reporting/ui/SqlEdit.h"
#include "reporting/ui/SqlSchema.h"
#include "reporting/ui/frmQueryEditor.h"

#include <QAbstractItemModelTester>
#include <QAbstractItemView>
#include <QComboBox>
#include <QCompleter>
#include <QDirIterator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRandomGenerator>
#include <QTableView>

using namespace Qt::StringLiterals;

namespace qm::test {

constexpr char kWhole[] = R"(# kept by hand
description = "Failed logons"
sql = '''
SELECT computer, attempts FROM events
WHERE time_generated >= :date_from AND time_generated < :date_to AND computer LIKE :computer
'''
report_file = "Layouts/Failed.rpt"
data_source = ""
colour = "red"

[period]
range = "previous month"

[[parameter]]
name = "computer"
label = "Computer"
default = "%"

[output]
type = "file"
format = "html"
file = "{description} {date}.{format}"
)";

constexpr char kLayout[] = R"(title = "Refused"
[[column]]
field = "attempts"
caption = "Tries"
width_mm = 20
[[column]]
field = "computer"
)";

class query_editor_test : public QObject
{
    Q_OBJECT

    std::unique_ptr<ReportingFixture> f;

    std::unique_ptr<frmQueryEditor> open(const QString &target) const
    {
        auto editor = std::make_unique<frmQueryEditor>(f->services, target, nullptr);
        editor->show();
        return editor;
    }
    template <class Widget>
    static Widget *find(const frmQueryEditor &editor, const char *name)
    {
        auto found = editor.findChild<Widget *>(QLatin1String(name));
        if (!found)
            QTest::qFail(name, __FILE__, __LINE__);
        return found;
    }
    static QString problem(const frmQueryEditor &editor)
    {
        auto label = find<QLabel>(editor, "problem");
        return label->isVisible() ? label->text() : QString();
    }
    /// Every file below the installation with its bytes.
    QMap<QString, QByteArray> everything() const
    {
        QMap<QString, QByteArray> found;
        QDirIterator files(f->installation.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            if (!path.contains(u"/Logs/"_s))
                found.insert(path, f->installation.read(path));
        }
        return found;
    }

private Q_SLOTS:
    void init() { f = std::make_unique<ReportingFixture>(); }
    void cleanup()
    {
        ReportingFixture::deleteWindows();
        f->prompts.finish();
        f.reset();
    }

    void openingAndClosingChangesNothing()
    {
        f->installation.write(f->installation.packagePath(u"Server"_s) + u"Layouts/Failed.rpt"_s, kLayout);
        const QString path = f->installation.write(f->group + u"Failed.rqn"_s, kWhole);
        const auto before = everything();
        for (const QString &target : {path, f->group}) {
            auto editor = open(target);
            QVERIFY(!editor->isDirty());
            editor->reject(); // no question: the script has no answer
            QVERIFY(!editor->isVisible());
        }
        QCOMPARE(everything(), before);
    }

    void anEditedQueryRoundTripsWithItsLayoutAndUnknownKeys()
    {
        const QString layout = f->installation.write(f->installation.packagePath(u"Server"_s) + u"Layouts/Failed.rpt"_s, kLayout);
        const QString path = f->installation.write(f->group + u"Failed.rqn"_s, kWhole);
        auto editor = open(path);
        find<QLineEdit>(*editor, "description")->setText(u"Refused \"logons\" <b>"_s);
        find<SqlEdit>(*editor, "sql")->appendPlainText(u"ORDER BY attempts DESC -- '''"_s);
        auto columns = find<QTableView>(*editor, "layoutColumns")->model();
        QVERIFY(columns->setData(columns->index(1, LayoutColumnModel::Caption), u"Machine"_s));
        find<QComboBox>(*editor, "outputFormat")->setCurrentIndex(3);
        QVERIFY(editor->isDirty());
        QVERIFY2(editor->save(), qPrintable(problem(*editor)));
        QVERIFY(!editor->isDirty());

        const auto query = f->queries.ReadFile(path);
        QCOMPARE(query->Description, u"Refused \"logons\" <b>"_s);
        QVERIFY(query->sql.endsWith(u"ORDER BY attempts DESC -- '''"_s));
        QCOMPARE(query->period.range, u"previous month"_s);
        QCOMPARE(query->parameters.size(), std::size_t{1});
        QCOMPARE(query->parameters[0].defaultValue, u"%"_s);
        QCOMPARE(query->OutputSettings.format, u"csv"_s);
        QCOMPARE(query->OutputSettings.OutputType, 2);
        QVERIFY(f->installation.read(path).contains("colour = \"red\""));
        const ReportLayout read = f->layouts.ReadLayout(layout);
        QCOMPARE(read.title, u"Refused"_s);
        QCOMPARE(read.columns[0].caption, u"Tries"_s);
        QCOMPARE(read.columns[0].widthMm, 20.0);
        QCOMPARE(read.columns[1].caption, u"Machine"_s);
    }

    void aNewQueryIsListedLastAmongNamesOfAnyAlphabet()
    {
        QRandomGenerator random(20261120);
        const QStringList parts{u"Logons"_s,     u"~"_s,      u"éà"_s,     u"Ωμέγα"_s, u"журнал"_s, u"登录"_s,
                                u"\U0001F600"_s, u"\uE000"_s, u"\uFFFD"_s, u"سجل"_s,   u"9"_s,      u" New Report Query"_s};
        for (int round = 0; round < 40; ++round) {
            const QString folder = f->installation.group(u"Server"_s, u"Group%1"_s.arg(round)) + kSep;
            for (int i = random.bounded(6); i >= 0; --i) {
                QString name;
                for (int part = random.bounded(3); part >= 0; --part)
                    name += parts[random.bounded(parts.size())];
                f->installation.write(folder + name.trimmed() + u".rqn"_s, "description = \"x\"\nsql = \"SELECT 1\"\n");
            }
            // Several in a row: the first ones stand for files whose renaming failed.
            for (int made = 0; made < 12; ++made) {
                const QString path = newQueryPath(folder);
                QVERIFY(!QFile::exists(path));
                f->installation.write(path, "description = \"new\"\nsql = \"SELECT 1\"\n");
                QCOMPARE(folder + files::list(folder, u"*.rqn"_s, 0).last(), path);
            }
        }
    }

    void aNewQueryIsSavedOnceAndCancellingLeavesNoTrace()
    {
        const auto before = everything();
        {
            f->prompts.answers = {box::idNo};
            auto editor = open(f->group);
            find<QLineEdit>(*editor, "description")->setText(u"Half done"_s);
            find<QRadioButton>(*editor, "layoutOwn")->setChecked(true);
            editor->reject();
            QVERIFY(!editor->isVisible());
            QCOMPARE(everything(), before);
        }
        auto editor = open(f->group);
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(u"description"_s));
        find<QLineEdit>(*editor, "description")->setText(u"Sales: Daily"_s);
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(u"SQL"_s));
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT computer FROM events WHERE attempts > :least"_s);
        auto source = find<QComboBox>(*editor, "dataSource");
        source->setCurrentIndex(source->findData(u"ODBC::"_s));
        find<QLineEdit>(*editor, "connection")->setText(u"DSN=Events;UID=reports;PWD=geheim"_s);
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(u"password"_s));
        source->setCurrentIndex(0);
        find<QRadioButton>(*editor, "layoutOwn")->setChecked(true);
        QCOMPARE(find<QLineEdit>(*editor, "layoutPath")->text(), u"Layouts/Sales_ Daily.rpt"_s);
        QVERIFY2(editor->save(), qPrintable(problem(*editor)));
        QVERIFY(editor->save());
        const QStringList listed = files::list(f->group, u"*.rqn"_s, 0);
        QCOMPARE(listed.size(), 1);
        const auto query = f->queries.ReadFile(f->group + listed.last());
        QCOMPARE(query->Description, u"Sales: Daily"_s);
        QCOMPARE(query->parameters.size(), std::size_t{1});
        QCOMPARE(query->parameters[0].name, u"least"_s);
        QVERIFY(!query->parameters[0].hasDefault);
        QVERIFY(query->period.used);
        QVERIFY(QFile::exists(f->installation.packagePath(u"Server"_s) + u"Layouts/Sales_ Daily.rpt"_s));
        QCOMPARE(everything().size(), before.size() + 2);
    }

    void closingWithChangesAsks()
    {
        const QString path = f->query(u"Q"_s, "SELECT 1 AS a");
        auto editor = open(path);
        auto sql = find<SqlEdit>(*editor, "sql");
        sql->appendPlainText(u"-- more"_s);
        f->prompts.answers = {box::idCancel};
        editor->close();
        QVERIFY(editor->isVisible());
        sql->undo();
        QVERIFY(!editor->isDirty());
        sql->redo();
        f->prompts.answers = {box::idYes};
        QTest::keyClick(editor.get(), Qt::Key_Escape);
        QVERIFY(!editor->isVisible());
        QVERIFY(f->queries.ReadFile(path)->sql.contains(u"-- more"_s));
        QCOMPARE(f->prompts.shown.size(), std::size_t{2});
    }

    void whatCannotWorkIsRefusedWithItsReason()
    {
        const QString path = f->query(u"Q"_s, "SELECT 1 AS a");
        auto editor = open(path);
        const QByteArray before = f->installation.read(path);
        find<QRadioButton>(*editor, "layoutOwn")->setChecked(true);
        auto layout = find<QLineEdit>(*editor, "layoutPath");
        for (const auto &[name, word] :
             {std::pair{"Query Groups/Security/x.rpt", "report group"}, {"../../x.rpt", "leads out"}, {"Layouts/x.txt", ".rpt"}}) {
            layout->setText(QLatin1String(name));
            QVERIFY(!editor->save());
            QVERIFY2(problem(*editor).contains(QLatin1String(word)), qPrintable(problem(*editor)));
        }
        find<QRadioButton>(*editor, "layoutAutomatic")->setChecked(true);
        find<QComboBox>(*editor, "outputType")->setCurrentIndex(3);
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(u"address"_s));
        find<QComboBox>(*editor, "outputType")->setCurrentIndex(2);
        find<QLineEdit>(*editor, "filePattern")->setText(u"{descripton}.pdf"_s);
        QVERIFY(!editor->save());
        QVERIFY2(problem(*editor).contains(u"descripton"_s), qPrintable(problem(*editor)));
        find<QLineEdit>(*editor, "filePattern")->setText(u"{date}/{description}"_s);
        QVERIFY(find<QLabel>(*editor, "fileExample")->text().endsWith(u"2026-11-20/Q.pdf"_s));
        auto parameters = find<QTableView>(*editor, "parameters")->model();
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT :n AS a, ':not' AS b -- :nor"_s);
        QCOMPARE(parameters->rowCount(), 1);
        QVERIFY(parameters->setData(parameters->index(0, ParameterModel::Type), u"integer"_s));
        QVERIFY(parameters->setData(parameters->index(0, ParameterModel::Default), u"many"_s));
        QVERIFY(!editor->save());
        QVERIFY2(problem(*editor).contains(u'n'), qPrintable(problem(*editor)));
        QCOMPARE(f->installation.read(path), before);
        f->prompts.answers = {box::idNo};
        editor->reject();
    }

    void aFailedSaveKeepsTheFileAndTheEditor()
    {
        const QString path = f->query(u"Q"_s, "SELECT 1 AS a");
        auto editor = open(path);
        const QByteArray before = f->installation.read(path);
        files::setFileAttributes(path, attr::readOnly);
        find<QLineEdit>(*editor, "description")->setText(u"Other"_s);
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).startsWith(u"Not saved"_s));
        QVERIFY(editor->isDirty());
        QCOMPARE(f->installation.read(path), before);
        files::setFileAttributes(path, attr::normal);
        QVERIFY(editor->save());
    }

    void errorsAreShownAtTheirLineAndThePreviewShowsRows()
    {
        auto editor = open(f->query(u"Q"_s, "SELECT computer,\n  attemptz\nFROM events"));
        auto error = find<QLabel>(*editor, "sqlError");
        QTRY_VERIFY(error->isVisible());
        QVERIFY2(error->text().contains(u"line 2, column 3: no such column: attemptz"_s), qPrintable(error->text()));
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT computer, message FROM events ORDER BY id"_s);
        QTRY_VERIFY(!error->isVisible());
        editor->preview();
        auto rows = find<QTableView>(*editor, "previewRows");
        QTRY_VERIFY(rows->isVisible());
        QCOMPARE(rows->model()->rowCount(), 3);
        QCOMPARE(rows->model()->index(1, 1).data().toString(), u"NULL"_s);
        QCOMPARE(rows->model()->index(2, 1).data().toString(), u"two↵lines"_s);
        QVERIFY(find<QLabel>(*editor, "previewStatus")->text().startsWith(u"All 3 rows, in "_s));

        find<SqlEdit>(*editor, "sql")->setPlainText(QString::fromLatin1(kEndless));
        editor->preview();
        auto stop = find<QPushButton>(*editor, "cancelPreview");
        QVERIFY(stop->isVisible());
        QTest::qWait(50);
        QTest::mouseClick(stop, Qt::LeftButton);
        QTRY_COMPARE(find<QLabel>(*editor, "previewStatus")->text(), u"The preview was cancelled."_s);
        f->prompts.answers = {box::idNo};
        editor->reject();
    }

    void completionKnowsTheSchema()
    {
        const SqlSchema schema = readSchema(describeSource({}, f->database, {}), nullptr);
        QCOMPARE(schema.size(), std::size_t{2});
        QCOMPARE(schema[0].name, u"events"_s);
        QCOMPARE(schema[0].columns[2].name, u"computer"_s);
        QVERIFY(schema[1].isView);
        const auto at = [&schema](const QString &sql) {
            return completionsAt(QString(sql).remove(u'|'), sql.indexOf(u'|'), SqlDialect::Sqlite, schema);
        };
        QCOMPARE(at(u"SELECT e.| FROM events AS e"_s),
                 QStringList({u"id"_s, u"time_generated"_s, u"computer"_s, u"attempts"_s, u"message"_s}));
        QVERIFY(at(u"SELECT x.| FROM events e"_s).isEmpty());
        QVERIFY(at(u"SELECT att| FROM events"_s).contains(u"attempts"_s));
        QVERIFY(!at(u"SELECT att|"_s).contains(u"attempts"_s));
        QVERIFY(at(u"SELECT :da|"_s).contains(u"date_from"_s));
        QCOMPARE(quotedName(u"odd \"name"_s), u"\"odd \"\"name\""_s);
        QCOMPARE(quotedName(u"order"_s), u"\"order\""_s);

        SqlEdit edit;
        edit.setSchema(schema);
        edit.show();
        QTest::keyClicks(&edit, u"select * from eve"_s);
        QTest::keyClick(edit.findChild<QCompleter *>()->popup(), Qt::Key_Return);
        QCOMPARE(edit.toPlainText(), u"select * from events"_s);
        QCOMPARE(edit.replaceAll(u"E"_s, u"ee"_s, false), 4);
        edit.undo();
        QCOMPARE(edit.toPlainText(), u"select * from events"_s);
    }

    void theTablesAreSoundModels()
    {
        ParameterModel parameters;
        LayoutColumnModel columns;
        QAbstractItemModelTester first(&parameters, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester second(&columns, QAbstractItemModelTester::FailureReportingMode::QtTest);
        parameters.setNamesInSql({u"a"_s, u"b"_s});
        QVERIFY(parameters.setData(parameters.index(0, ParameterModel::Label), u"A"_s));
        parameters.setNamesInSql({u"c"_s}); // "a" was described and stays, "b" was only found
        QCOMPARE(parameters.parameters().size(), std::size_t{2});
        parameters.remove(0);
        columns.addFields({u"x"_s, u"Y"_s, u"y"_s});
        QCOMPARE(columns.rowCount(), 2);
        QCOMPARE(columns.move(0, 1), 1);
        QCOMPARE(columns.columns()[0].field, u"Y"_s);
        QCOMPARE(columns.move(1, 1), 1);
        columns.remove(0);

        const QString text = u"sum(attempts); count; average(size) as Mean"_s;
        QCOMPARE(aggregatesText(readAggregates(text)), text);
        QVERIFY(errorOf([] { static_cast<void>(readAggregates(u"total(x)"_s)); }).description().contains(u"total(x)"_s));
    }
};

} // namespace qm::test

QTEST_MAIN(qm::test::query_editor_test)
#include "query_editor_test.moc"
