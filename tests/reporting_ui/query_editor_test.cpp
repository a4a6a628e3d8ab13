#include "ReportingFixture.h"

#include "core/RuntimeError.h"
#include "reporting/ui/LayoutColumnModel.h"
#include "reporting/ui/ParameterTable.h"
#include "reporting/ui/PreviewPane.h"
#include "reporting/ui/SqlEdit.h"
#include "reporting/ui/SqlSchema.h"
#include "reporting/ui/frmQueryEditor.h"

#include <QAbstractItemModelTester>
#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QDirIterator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRandomGenerator>
#include <QTableView>
#include <QTreeView>

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
            if (!path.contains(QStringLiteral("/Logs/")))
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
        f->installation.write(f->installation.packagePath(QStringLiteral("Server")) + QStringLiteral("Layouts/Failed.rpt"), kLayout);
        const QString path = f->installation.write(f->group + QStringLiteral("Failed.rqn"), kWhole);
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
        const QString layout =
            f->installation.write(f->installation.packagePath(QStringLiteral("Server")) + QStringLiteral("Layouts/Failed.rpt"), kLayout);
        const QString path = f->installation.write(f->group + QStringLiteral("Failed.rqn"), kWhole);
        auto editor = open(path);
        find<QLineEdit>(*editor, "description")->setText(QStringLiteral("Refused \"logons\" <b>"));
        find<SqlEdit>(*editor, "sql")->appendPlainText(QStringLiteral("ORDER BY attempts DESC -- '''"));
        auto columns = find<QTableView>(*editor, "layoutColumns")->model();
        QVERIFY(columns->setData(columns->index(1, LayoutColumnModel::Caption), QStringLiteral("Machine")));
        find<QComboBox>(*editor, "outputFormat")->setCurrentIndex(3);
        QVERIFY(editor->isDirty());
        QVERIFY2(editor->save(), qPrintable(problem(*editor)));
        QVERIFY(!editor->isDirty());

        const auto query = f->queries.ReadFile(path);
        QCOMPARE(query->Description, QStringLiteral("Refused \"logons\" <b>"));
        QVERIFY(query->sql.endsWith(QStringLiteral("ORDER BY attempts DESC -- '''")));
        QCOMPARE(query->period.range, QStringLiteral("previous month"));
        QCOMPARE(query->parameters.size(), std::size_t{1});
        QCOMPARE(query->parameters[0].defaultValue, QStringLiteral("%"));
        QCOMPARE(query->OutputSettings.format, QStringLiteral("csv"));
        QCOMPARE(query->OutputSettings.OutputType, 2);
        QVERIFY(f->installation.read(path).contains("colour = \"red\""));
        const ReportLayout read = f->layouts.ReadLayout(layout);
        QCOMPARE(read.title, QStringLiteral("Refused"));
        QCOMPARE(read.columns[0].caption, QStringLiteral("Tries"));
        QCOMPARE(read.columns[0].widthMm, 20.0);
        QCOMPARE(read.columns[1].caption, QStringLiteral("Machine"));
    }

    void aNewQueryIsListedLastAmongNamesOfAnyAlphabet()
    {
        QRandomGenerator random(20261120);
        const QStringList parts{QStringLiteral("Logons"),     QStringLiteral("~"),      QStringLiteral("éà"),
                                QStringLiteral("Ωμέγα"),      QStringLiteral("журнал"), QStringLiteral("登录"),
                                QStringLiteral("\U0001F600"), QStringLiteral("\uE000"), QStringLiteral("\uFFFD"),
                                QStringLiteral("سجل"),        QStringLiteral("9"),      QStringLiteral(" New Report Query")};
        for (int round = 0; round < 40; ++round) {
            const QString folder = f->installation.group(QStringLiteral("Server"), QStringLiteral("Group%1").arg(round)) + kSep;
            for (int i = random.bounded(6); i >= 0; --i) {
                QString name;
                for (int part = random.bounded(3); part >= 0; --part)
                    name += parts[random.bounded(parts.size())];
                f->installation.write(folder + name.trimmed() + QStringLiteral(".rqn"), "description = \"x\"\nsql = \"SELECT 1\"\n");
            }
            // Several in a row: the first ones stand for files whose renaming failed.
            for (int made = 0; made < 12; ++made) {
                const QString path = newQueryPath(folder);
                QVERIFY(!QFile::exists(path));
                f->installation.write(path, "description = \"new\"\nsql = \"SELECT 1\"\n");
                QCOMPARE(folder + files::list(folder, QStringLiteral("*.rqn"), 0).last(), path);
            }
        }
    }

    void aNewQueryIsSavedOnceAndCancellingLeavesNoTrace()
    {
        const auto before = everything();
        {
            f->prompts.answers = {box::idNo};
            auto editor = open(f->group);
            find<QLineEdit>(*editor, "description")->setText(QStringLiteral("Half done"));
            find<QRadioButton>(*editor, "layoutOwn")->setChecked(true);
            editor->reject();
            QVERIFY(!editor->isVisible());
            QCOMPARE(everything(), before);
        }
        auto editor = open(f->group);
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(QStringLiteral("description")));
        find<QLineEdit>(*editor, "description")->setText(QStringLiteral("Sales: Daily"));
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(QStringLiteral("SQL")));
        find<SqlEdit>(*editor, "sql")->setPlainText(QStringLiteral("SELECT computer FROM events WHERE attempts > :least"));
        auto source = find<QComboBox>(*editor, "dataSource");
        source->setCurrentIndex(source->findData(QStringLiteral("ODBC::")));
        find<QLineEdit>(*editor, "connection")->setText(QStringLiteral("DSN=Events;UID=reports;PWD=geheim"));
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(QStringLiteral("password")));
        source->setCurrentIndex(0);
        find<QRadioButton>(*editor, "layoutOwn")->setChecked(true);
        QCOMPARE(find<QLineEdit>(*editor, "layoutPath")->text(), QStringLiteral("Layouts/Sales_ Daily.rpt"));
        QVERIFY2(editor->save(), qPrintable(problem(*editor)));
        QVERIFY(editor->save());
        const QStringList listed = files::list(f->group, QStringLiteral("*.rqn"), 0);
        QCOMPARE(listed.size(), 1);
        const auto query = f->queries.ReadFile(f->group + listed.last());
        QCOMPARE(query->Description, QStringLiteral("Sales: Daily"));
        QCOMPARE(query->parameters.size(), std::size_t{1});
        QCOMPARE(query->parameters[0].name, QStringLiteral("least"));
        QVERIFY(!query->parameters[0].hasDefault);
        QVERIFY(query->period.used);
        QVERIFY(QFile::exists(f->installation.packagePath(QStringLiteral("Server")) + QStringLiteral("Layouts/Sales_ Daily.rpt")));
        QCOMPARE(everything().size(), before.size() + 2);
    }

    void closingWithChangesAsks()
    {
        const QString path = f->query(QStringLiteral("Q"), "SELECT 1 AS a");
        auto editor = open(path);
        auto sql = find<SqlEdit>(*editor, "sql");
        sql->appendPlainText(QStringLiteral("-- more"));
        f->prompts.answers = {box::idCancel};
        editor->close();
        QVERIFY(editor->isVisible());
        sql->undo();
        QVERIFY(!editor->isDirty());
        sql->redo();
        f->prompts.answers = {box::idYes};
        QTest::keyClick(editor.get(), Qt::Key_Escape);
        QVERIFY(!editor->isVisible());
        QVERIFY(f->queries.ReadFile(path)->sql.contains(QStringLiteral("-- more")));
        QCOMPARE(f->prompts.shown.size(), std::size_t{2});
    }

    void whatCannotWorkIsRefusedWithItsReason()
    {
        const QString path = f->query(QStringLiteral("Q"), "SELECT 1 AS a");
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
        QVERIFY(problem(*editor).contains(QStringLiteral("address")));
        find<QComboBox>(*editor, "outputType")->setCurrentIndex(2);
        find<QLineEdit>(*editor, "filePattern")->setText(QStringLiteral("{descripton}.pdf"));
        QVERIFY(!editor->save());
        QVERIFY2(problem(*editor).contains(QStringLiteral("descripton")), qPrintable(problem(*editor)));
        find<QLineEdit>(*editor, "filePattern")->setText(QStringLiteral("{date}/{description}"));
        QVERIFY(find<QLabel>(*editor, "fileExample")->text().endsWith(QStringLiteral("2026-11-20/Q.pdf")));
        auto parameters = find<QTableView>(*editor, "parameters")->model();
        find<SqlEdit>(*editor, "sql")->setPlainText(QStringLiteral("SELECT :n AS a, ':not' AS b -- :nor"));
        QCOMPARE(parameters->rowCount(), 1);
        QVERIFY(parameters->setData(parameters->index(0, ParameterModel::Type), QStringLiteral("integer")));
        QVERIFY(parameters->setData(parameters->index(0, ParameterModel::Default), QStringLiteral("many")));
        QVERIFY(!editor->save());
        QVERIFY2(problem(*editor).contains(u'n'), qPrintable(problem(*editor)));
        QCOMPARE(f->installation.read(path), before);
        f->prompts.answers = {box::idNo};
        editor->reject();
    }

    void aFailedSaveKeepsTheFileAndTheEditor()
    {
        const QString path = f->query(QStringLiteral("Q"), "SELECT 1 AS a");
        auto editor = open(path);
        const QByteArray before = f->installation.read(path);
        files::setFileAttributes(path, attr::readOnly);
        find<QLineEdit>(*editor, "description")->setText(QStringLiteral("Other"));
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).startsWith(QStringLiteral("Not saved")));
        QVERIFY(editor->isDirty());
        QCOMPARE(f->installation.read(path), before);
        files::setFileAttributes(path, attr::normal);
        QVERIFY(editor->save());
    }

    void errorsAreShownAtTheirLineAndThePreviewShowsRows()
    {
        auto editor = open(f->query(QStringLiteral("Q"), "SELECT computer,\n  attemptz\nFROM events"));
        auto error = find<QLabel>(*editor, "sqlError");
        QTRY_VERIFY(error->isVisible());
        QVERIFY2(error->text().contains(QStringLiteral("line 2, column 3: no such column: attemptz")), qPrintable(error->text()));
        find<SqlEdit>(*editor, "sql")->setPlainText(QStringLiteral("SELECT computer, message FROM events ORDER BY id"));
        QTRY_VERIFY(!error->isVisible());
        editor->preview();
        auto rows = find<QTableView>(*editor, "previewRows");
        QTRY_VERIFY(rows->isVisible());
        QCOMPARE(rows->model()->rowCount(), 3);
        QCOMPARE(rows->model()->index(1, 1).data().toString(), QStringLiteral("NULL"));
        QCOMPARE(rows->model()->index(2, 1).data().toString(), QStringLiteral("two↵lines"));
        QVERIFY(find<QLabel>(*editor, "previewStatus")->text().startsWith(QStringLiteral("All 3 rows, in ")));

        find<SqlEdit>(*editor, "sql")
            ->setPlainText(QStringLiteral("WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n WHERE x < 0"));
        editor->preview();
        auto stop = find<QPushButton>(*editor, "cancelPreview");
        QVERIFY(stop->isVisible());
        QTest::qWait(50);
        QTest::mouseClick(stop, Qt::LeftButton);
        QTRY_COMPARE(find<QLabel>(*editor, "previewStatus")->text(), QStringLiteral("The preview was cancelled."));
        f->prompts.answers = {box::idNo};
        editor->reject();
    }

    void completionKnowsTheSchema()
    {
        const SqlSchema schema = readSchema(describeSource({}, f->database, {}), nullptr);
        QCOMPARE(schema.size(), std::size_t{2});
        QCOMPARE(schema[0].name, QStringLiteral("events"));
        QCOMPARE(schema[0].columns[2].name, QStringLiteral("computer"));
        QVERIFY(schema[1].isView);
        const auto at = [&schema](const QString &sql) {
            return completionsAt(QString(sql).remove(u'|'), sql.indexOf(u'|'), SqlDialect::Sqlite, schema);
        };
        QCOMPARE(at(QStringLiteral("SELECT e.| FROM events AS e")),
                 QStringList({QStringLiteral("id"), QStringLiteral("time_generated"), QStringLiteral("computer"),
                              QStringLiteral("attempts"), QStringLiteral("message")}));
        QVERIFY(at(QStringLiteral("SELECT x.| FROM events e")).isEmpty());
        QVERIFY(at(QStringLiteral("SELECT att| FROM events")).contains(QStringLiteral("attempts")));
        QVERIFY(!at(QStringLiteral("SELECT att|")).contains(QStringLiteral("attempts")));
        QVERIFY(at(QStringLiteral("SELECT :da|")).contains(QStringLiteral("date_from")));
        QCOMPARE(quotedName(QStringLiteral("odd \"name")), QStringLiteral("\"odd \"\"name\""));
        QCOMPARE(quotedName(QStringLiteral("order")), QStringLiteral("\"order\""));

        SqlEdit edit;
        edit.setSchema(schema);
        edit.show();
        QTest::keyClicks(&edit, QStringLiteral("select * from eve"));
        QTest::keyClick(edit.findChild<QCompleter *>()->popup(), Qt::Key_Return);
        QCOMPARE(edit.toPlainText(), QStringLiteral("select * from events"));
        QCOMPARE(edit.replaceAll(QStringLiteral("E"), QStringLiteral("ee"), false), 4);
        edit.undo();
        QCOMPARE(edit.toPlainText(), QStringLiteral("select * from events"));
    }

    void theTablesAreSoundModels()
    {
        ParameterModel parameters;
        LayoutColumnModel columns;
        QAbstractItemModelTester first(&parameters, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester second(&columns, QAbstractItemModelTester::FailureReportingMode::QtTest);
        parameters.setNamesInSql({QStringLiteral("a"), QStringLiteral("b")});
        QVERIFY(parameters.setData(parameters.index(0, ParameterModel::Label), QStringLiteral("A")));
        parameters.setNamesInSql({QStringLiteral("c")}); // "a" was described and stays, "b" was only found
        QCOMPARE(parameters.parameters().size(), std::size_t{2});
        parameters.remove(0);
        columns.addFields({QStringLiteral("x"), QStringLiteral("Y"), QStringLiteral("y")});
        QCOMPARE(columns.rowCount(), 2);
        QCOMPARE(columns.move(0, 1), 1);
        QCOMPARE(columns.columns()[0].field, QStringLiteral("Y"));
        QCOMPARE(columns.move(1, 1), 1);
        columns.remove(0);

        const QString text = QStringLiteral("sum(attempts); count; average(size) as Mean");
        QCOMPARE(aggregatesText(readAggregates(text)), text);
        QVERIFY(errorOf([] { static_cast<void>(readAggregates(QStringLiteral("total(x)"))); })
                    .description()
                    .contains(QStringLiteral("total(x)")));
    }
};

} // namespace qm::test

QTEST_MAIN(qm::test::query_editor_test)
#include "query_editor_test.moc"
