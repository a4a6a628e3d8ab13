#include "ReportingFixture.h"
#include "reporting/editor/LayoutCellText.h"
#include "reporting/editor/LayoutColumnModel.h"
#include "reporting/editor/LayoutEditor.h"
#include "reporting/editor/ParameterTable.h"
#include "reporting/editor/QueryDraft.h"
#include "reporting/editor/SqlEdit.h"
#include "reporting/editor/SqlSchema.h"
#include "reporting/editor/frmQueryEditor.h"
#include "support/DatabaseServers.h"
#include "support/SilentServer.h"

#include <QAbstractItemModelTester>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QDirIterator>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QRandomGenerator>
#include <QTabWidget>
#include <QTableView>
#include <QTableWidget>

#include <functional>
#include <optional>

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
        auto formats = find<QComboBox>(*editor, "outputFormat");
        QCOMPARE(formats->count(), reportFormats().size());
        formats->setCurrentIndex(formats->findText(formatLabel(ReportFormat::Csv)));
        QVERIFY(editor->isDirty());
        QVERIFY2(editor->save(), qPrintable(problem(*editor)));
        QVERIFY(!editor->isDirty());
        find<QLineEdit>(*editor, "layoutTotals")->setText(u"total(x)"_s); // cannot be read, and is a change
        QVERIFY(editor->isDirty());

        const auto query = f->queries.ReadFile(path);
        QCOMPARE(query->Description, u"Refused \"logons\" <b>"_s);
        QVERIFY(query->sql.endsWith(u"ORDER BY attempts DESC -- '''"_s));
        QCOMPARE(query->period.range, u"previous month"_s);
        QCOMPARE(query->parameters.size(), std::size_t{1});
        QCOMPARE(query->parameters[0].defaultValue, u"%"_s);
        QCOMPARE(query->OutputSettings.format, ReportFormat::Csv);
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
        auto period = find<QWidget>(*editor, "periodPicker");
        QVERIFY(period->isEnabled()); // nothing says yet that there is no use for one
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT computer FROM events WHERE time_generated > :date_from"_s);
        QVERIFY(period->isEnabled());
        find<QCheckBox>(*editor, "usePeriod")->setChecked(false);
        QVERIFY(!editor->save());
        QVERIFY2(problem(*editor).contains(u"date_from"_s), qPrintable(problem(*editor)));
        find<QCheckBox>(*editor, "usePeriod")->setChecked(true);
        find<SqlEdit>(*editor, "sql")->setPlainText(QString::fromUtf8("SELECT computer FROM events WHERE attempts > :größe"));
        QVERIFY(!period->isEnabled());
        find<QRadioButton>(*editor, "layoutOwn")->setChecked(true);
        QCOMPARE(find<QLineEdit>(*editor, "layoutPath")->text(), u"Layouts/Sales_ Daily.rpt"_s);
        QVERIFY2(editor->save(), qPrintable(problem(*editor)));
        QVERIFY(editor->save());
        const QStringList listed = files::list(f->group, u"*.rqn"_s, 0);
        QCOMPARE(listed.size(), 1);
        const auto query = f->queries.ReadFile(f->group + listed.last());
        QCOMPARE(query->Description, u"Sales: Daily"_s);
        QCOMPARE(query->parameters.size(), std::size_t{1});
        QCOMPARE(query->parameters[0].name, QString::fromUtf8("größe"));
        QVERIFY(!query->parameters[0].hasDefault);
        QVERIFY(query->period.used);
        QVERIFY(QFile::exists(f->installation.packagePath(u"Server"_s) + u"Layouts/Sales_ Daily.rpt"_s));
        QCOMPARE(everything().size(), before.size() + 2);
    }

    void a_connection_of_the_query_file_is_made_only_when_asked_for()
    {
        if (const QString missing = missingDriver(u"FreeTDS"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        SilentServer server({u"--tell"_s});
        QVERIFY2(server.problem().isEmpty(), qPrintable(server.problem()));
        const QByteArray source = "ODBC::Driver=FreeTDS;Server=127.0.0.1;Port=" + QByteArray::number(server.port());
        const QString path = f->installation.write(f->group + u"Q.rqn"_s,
                                                   "description = \"Q\"\ndata_source = \"" + source + "\"\nsql = \"SELECT 1 AS a\"\n");
        auto editor = open(path);
        auto connectButton = find<QPushButton>(*editor, "connectSource");
        QVERIFY(connectButton->isVisibleTo(editor.get()));
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT 2 AS b"_s);
        auto turned = open(f->query(u"Own"_s, "SELECT 1 AS a")); // its own tables are about to be read
        auto choice = find<QComboBox>(*turned, "dataSource");
        choice->setCurrentIndex(choice->findData(u"ODBC::"_s));
        QTest::qWait(1500);
        QCOMPARE(server.questions(), QByteArrayList());
        QVERIFY(find<QPushButton>(*turned, "connectSource")->isVisibleTo(turned.get()));
        QTest::mouseClick(connectButton, Qt::LeftButton);
        QTRY_VERIFY(server.questions().contains("connected"));
        QVERIFY(!connectButton->isVisibleTo(editor.get()));
        server.stop();
        find<QLineEdit>(*editor, "connection")->setText(u"Driver=FreeTDS;Server=127.0.0.1;Port=9"_s);
        QVERIFY(connectButton->isVisibleTo(editor.get())); // another connection is asked about again
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

    void whatCannotWorkIsRefusedWithItsReason_data()
    {
        QTest::addColumn<std::function<void(QueryDraft &, DraftContext &)>>("spoil");
        QTest::addColumn<DraftField>("field");
        QTest::addColumn<QString>("word"); // empty: nothing is wrong
        const auto row = [](const char *name, DraftField field, const QString &word,
                            std::function<void(QueryDraft &, DraftContext &)> spoil) {
            QTest::newRow(name) << std::move(spoil) << field << word;
        };
        const auto onQuery = [&row](const char *name, DraftField field, const QString &word, std::function<void(Query &)> spoil) {
            row(name, field, word, [spoil](QueryDraft &draft, DraftContext &) { spoil(draft.query); });
        };
        using enum DraftField;
        const auto parameter = [](const char *name, ParameterType type, std::optional<QString> standard) {
            QueryParameter made;
            made.name = QString::fromUtf8(name);
            made.type = type;
            made.hasDefault = standard.has_value();
            made.defaultValue = standard.value_or(QString());
            return made;
        };
        onQuery("nothing", Description, {}, [](Query &) {});
        onQuery("no description", Description, u"description"_s, [](Query &q) { q.Description.clear(); });
        onQuery("no connection", Connection, u"DSN=Events"_s, [](Query &q) { q.dataSource = u"ODBC::"_s; });
        onQuery("a password", Connection, u"password"_s, [](Query &q) { q.dataSource = u"ODBC::DSN=Events;UID=reports;PWD=geheim"_s; });
        row("a password that was there", Connection, {},
            [](QueryDraft &d, DraftContext &c) { d.query.dataSource = c.savedSource = u"ODBC::DSN=Events;UID=reports;PWD=geheim"_s; });
        onQuery("only a comment", Sql, u"SQL"_s, [](Query &q) { q.sql = u" -- SELECT 1"_s; });
        const auto usesPeriod = [parameter](Query &q) {
            q.period.used = false;
            q.sql = u"SELECT :date_from"_s;
            q.parameters = {parameter("date_from", ParameterType::Text, {})};
        };
        row("a period's parameter", Period, u"date_from"_s, [usesPeriod](QueryDraft &d, DraftContext &c) {
            c.isNew = true;
            usesPeriod(d.query);
        });
        onQuery("a period's parameter of an old query", Period, {}, usesPeriod);
        row("a period's parameter with a default", Period, {}, [usesPeriod](QueryDraft &d, DraftContext &c) {
            c.isNew = true;
            usesPeriod(d.query);
            d.query.parameters[0].hasDefault = true;
        });
        onQuery("no name", Parameters, u"\"a b\""_s, [=](Query &q) { q.parameters = {parameter("a b", ParameterType::Text, {})}; });
        onQuery("one name twice", Parameters, u"two parameters"_s, [=](Query &q) {
            q.parameters = {parameter("a", ParameterType::Text, {}), parameter("A", ParameterType::Text, {})};
        });
        onQuery("no choices", Parameters, u"choices"_s, [=](Query &q) { q.parameters = {parameter("a", ParameterType::List, {})}; });
        onQuery("no number", Parameters, u"many"_s, [=](Query &q) { q.parameters = {parameter("n", ParameterType::Integer, u"many"_s)}; });
        for (const auto &[file, word] : {std::pair{"Query Groups/Security/x.rpt", "report group"},
                                         {"../../x.rpt", "leads out"},
                                         {"Layouts/x.txt", ".rpt"},
                                         {"Layouts/x?.rpt", "its name"},
                                         {"Layouts/x.rpt", ""}})
            onQuery(file, Layout, QLatin1String(word), [file = QLatin1String(file)](Query &q) { q.ReportFile = file; });
        row("a layout in no package", Layout, u"whole path"_s, [](QueryDraft &d, DraftContext &c) {
            c.home.packageFolder.clear();
            d.query.ReportFile = u"x.rpt"_s;
        });
        row("unreadable totals", Layout, u"total(x)"_s, [](QueryDraft &d, DraftContext &) {
            d.query.ReportFile = u"Layouts/x.rpt"_s;
            d.unreadableLayout = u"total(x)"_s;
        });
        const auto output = [&onQuery](const char *name, OutputKind kind, const QString &word,
                                       std::function<void(OutputSettings &)> spoil) {
            onQuery(name, Output, word, [kind, spoil](Query &q) {
                q.OutputSettings.OutputType = static_cast<int>(kind);
                q.OutputSettings.email.to = {u"{group}@example.org"_s};
                spoil(q.OutputSettings);
            });
        };
        output("an unknown field", OutputKind::File, u"descripton"_s, [](OutputSettings &o) { o.file = u"{descripton}.pdf"_s; });
        output("an unknown field on the screen", OutputKind::Screen, {}, [](OutputSettings &o) { o.file = u"{descripton}.pdf"_s; });
        output("a way out", OutputKind::Email, u"\"..\""_s, [](OutputSettings &o) { o.file = u"a\\..\\b"_s; });
        output("dots in a name", OutputKind::File, {}, [](OutputSettings &o) { o.file = u"a..b/{counter}"_s; });
        output("nobody", OutputKind::Email, u"at least one address"_s, [](OutputSettings &o) { o.email.to.clear(); });
        output("a blind copy only", OutputKind::Email, {}, [](OutputSettings &o) { o.email.bcc.swap(o.email.to); });
        output("no sender", OutputKind::Email, u"nobody"_s, [](OutputSettings &o) { o.email.from = u"nobody"_s; });
        output("two at-signs", OutputKind::Email, u"a@b@x.org"_s, [](OutputSettings &o) { o.email.cc = {u"a@b@x.org"_s}; });
        output("an unknown field in an address", OutputKind::Email, u"{x}"_s, [](OutputSettings &o) { o.email.bcc = {u"{x}@x.org"_s}; });
        output("an unknown field in the subject", OutputKind::Email, u"subject"_s, [](OutputSettings &o) { o.email.subject = u"{x}"_s; });
        output("the rows in the text", OutputKind::Email, {}, [](OutputSettings &o) { o.email.body = u"{rows}"_s; });
    }
    void whatCannotWorkIsRefusedWithItsReason()
    {
        QFETCH(const std::function<void(QueryDraft &, DraftContext &)>, spoil);
        QFETCH(const DraftField, field);
        QFETCH(const QString, word);
        QueryDraft draft;
        draft.query.Description = u"Q"_s;
        draft.query.sql = u"SELECT 1"_s;
        DraftContext context;
        context.home.group = u"Security"_s;
        context.home.packageFolder = u"/srv/reports/Server/"_s;
        context.now = WallTime{QDate(2026, 11, 20), 0};
        spoil(draft, context);
        const auto found = findProblem(draft, context);
        QVERIFY2(found.has_value() != word.isEmpty(), found ? qPrintable(found->text) : "nothing found");
        if (found) {
            QCOMPARE(found->field, field);
            QVERIFY2(found->text.contains(word), qPrintable(found->text));
        }
    }

    void aRefusedSaveShowsWhereAndWritesNothing()
    {
        const QString path = f->query(u"Q"_s, "SELECT 1 AS a");
        auto editor = open(path);
        const auto before = everything();
        const auto page = find<QTabWidget>(*editor, "pages");
        find<QRadioButton>(*editor, "layoutOwn")->setChecked(true);
        auto totals = find<QLineEdit>(*editor, "layoutTotals");
        totals->setText(u"total(x)"_s);
        QVERIFY(editor->isDirty());
        QVERIFY(!editor->save());
        QVERIFY2(problem(*editor).contains(u"total(x)"_s), qPrintable(problem(*editor)));
        QCOMPARE(page->currentIndex(), 2);
        totals->clear();
        find<QRadioButton>(*editor, "layoutAutomatic")->setChecked(true);
        find<QComboBox>(*editor, "outputType")->setCurrentIndex(3);
        QVERIFY(!editor->save());
        QVERIFY(problem(*editor).contains(u"address"_s));
        QCOMPARE(page->currentIndex(), 3);
        find<QComboBox>(*editor, "outputType")->setCurrentIndex(2);
        find<QLineEdit>(*editor, "filePattern")->setText(u"{date}/{description}"_s);
        QVERIFY(find<QLabel>(*editor, "fileExample")->text().endsWith(u"2026-11-20/Q.pdf"_s));
        auto parameters = find<QTableView>(*editor, "parameters")->model();
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT :n AS a, ':not' AS b -- :nor"_s);
        QCOMPARE(parameters->rowCount(), 1);
        QVERIFY(parameters->setData(parameters->index(0, ParameterModel::Type), u"integer"_s));
        QVERIFY(parameters->setData(parameters->index(0, ParameterModel::Default), u"many"_s));
        QVERIFY(!editor->save());
        QCOMPARE(page->currentIndex(), 1);
        QCOMPARE(everything(), before);
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
        auto editor = open(f->query(u"Q"_s, "SELECT computer,\n  attemptz\nFROM events", "row_limit = 3\n"));
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

        // As many rows as the report will have.
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT 1 FROM events, events"_s);
        editor->preview();
        QTRY_VERIFY(find<QLabel>(*editor, "previewStatus")->text().startsWith(u"The first 3 rows, in "_s));
        find<SqlEdit>(*editor, "sql")->setPlainText(u"SELECT 1 FROM events WHERE 0"_s);
        editor->preview();
        QTRY_VERIFY(find<QLabel>(*editor, "previewStatus")->text().startsWith(u"No rows ("_s));

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
            if ((item->flags() & Qt::ItemIsUserCheckable) != 0)
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
