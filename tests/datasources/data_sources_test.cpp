#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "core/HelpViewer.h"
#include "datasources/ConnectionTester.h"
#include "datasources/frmAddNewDataSource.h"
#include "datasources/frmDataSource.h"
#include "framework/ConfigReaders.h"
#include "platform/Files.h"
#include "support/Fakes.h"

#include <QComboBox>
#include <QDir>
#include <QFrame>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTimer>

using namespace qm;
using namespace qm::test;

namespace {

class RecordingHelp final : public HelpViewer
{
public:
    void showContext(int context) override { contexts.push_back(context); }
    std::vector<int> contexts;
};

/// A database that answers as the test says.
class AnsweringTester final : public ConnectionTester
{
public:
    void testConnection(const QString &connectionString) override
    {
        strings.append(connectionString);
        if (!failure.isEmpty())
            raise(err::reportFailed, failure);
    }
    QStringList strings;
    QString failure;
};

struct Session
{
    Session() : errors(prompts), addDialog(globals, errors, prompts)
    {
        QDir(folder.path()).mkpath(QStringLiteral("Config"));
        globals.gstrInstallPath = folder.path() + kSep;
    }
    void addSqlServer(const QString &name, int connectionType)
    {
        auto info = std::make_shared<QMMDSMSSql>();
        info->ServerName = name + QStringLiteral("-server");
        info->DatabaseName = QStringLiteral("Events");
        info->ConnectionType = connectionType;
        info->UserName = connectionType ? QStringLiteral("auditor") : QString();
        add(QStringLiteral("MSSQL::") + name + QStringLiteral(".dsf"), info);
    }
    void add(const QString &key, const std::shared_ptr<DatabaseInfo> &info)
    {
        globals.gdicDataSources.Add(key, std::make_shared<QMKDataSource>(QMKDataSource{key, info}));
    }
    /// Shows the editor and lets \p use work with it until it closes.
    void edit(std::function<void(frmDataSource &)> use)
    {
        frmDataSource form({globals, reader, tester, errors, prompts, help, addDialog});
        QTimer::singleShot(0, &form, [&] {
            use(form);
            if (form.isVisible() && !leaveOpen)
                form.findChild<QPushButton *>(QStringLiteral("cmdOK"))->click();
        });
        form.showModal();
    }
    void answerAddDialog(const QString &name, int type, const char *button = "cmdOK")
    {
        QTimer::singleShot(0, &addDialog, [this, name, type, button] {
            QCOMPARE(addDialog.findChild<QComboBox *>(QStringLiteral("cboDatabase"))->currentIndex(), 0);
            addDialog.findChild<QLineEdit *>(QStringLiteral("txtDataSource"))->setText(name);
            addDialog.findChild<QComboBox *>(QStringLiteral("cboDatabase"))->setCurrentIndex(type);
            addDialog.findChild<QPushButton *>(QLatin1StringView(button))->click();
            if (addDialog.isVisible())
                addDialog.findChild<QPushButton *>(QStringLiteral("cmdCancel"))->click();
        });
    }
    [[nodiscard]] QString config(const char *name) const { return folder.filePath(QStringLiteral("Config/") + QLatin1StringView(name)); }
    [[nodiscard]] QString lastBox() const { return prompts.shown.empty() ? QString() : prompts.shown.back().text; }

    QTemporaryDir folder;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    RecordingHelp help;
    AnsweringTester tester;
    TomlDataSourceFileReader reader;
    Globals globals;
    frmAddNewDataSource addDialog;
    bool leaveOpen = false;
};

QLineEdit *field(QWidget &form, const char *name)
{
    return form.findChild<QLineEdit *>(QLatin1StringView(name));
}

void click(QWidget &form, const char *button)
{
    form.findChild<QPushButton *>(QLatin1StringView(button))->click();
}

void choose(frmDataSource &form, int index)
{
    auto *list = form.findChild<QComboBox *>(QStringLiteral("cboDataSource"));
    list->setCurrentIndex(index);
    Q_EMIT list->activated(index);
}

} // namespace

class DataSourcesTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void the_first_source_is_loaded_and_switching_drops_edits_in_silence()
    {
        Session s;
        s.addSqlServer(QStringLiteral("One"), 0);
        s.addSqlServer(QStringLiteral("Two"), 0);
        s.edit([&](frmDataSource &form) {
            QCOMPARE(field(form, "txtServerName")->text(), QStringLiteral("One-server"));
            QVERIFY(!form.findChild<QFrame *>(QStringLiteral("frameSpecificUser"))->isEnabled());
            field(form, "txtDatabase")->setText(QStringLiteral("changed"));
            choose(form, 1);
            QCOMPARE(field(form, "txtServerName")->text(), QStringLiteral("Two-server"));
            // Two sources with integrated security in turn: the user's captions stay disabled.
            QVERIFY(!form.findChild<QWidget *>(QStringLiteral("lblUserName"))->isEnabled());
            click(form, "cmdHelp");
        });
        QVERIFY(s.prompts.shown.empty());
        QCOMPARE(s.help.contexts, std::vector<int>{24});
    }

    void an_empty_table_asks_for_a_source_first_and_a_cancel_shows_no_editor()
    {
        Session s;
        s.answerAddDialog(QStringLiteral("x"), 0, "cmdCancel");
        bool seen = false;
        s.edit([&](frmDataSource &form) { seen = form.isVisible(); });
        QVERIFY(!seen);
    }

    void a_new_oracle_source_is_written_and_its_user_field_keeps_its_state()
    {
        Session s;
        s.addSqlServer(QStringLiteral("One"), 1);
        s.edit([&](frmDataSource &form) {
            const bool before = field(form, "txtOraUser")->isEnabledTo(form.findChild<QFrame *>(QStringLiteral("fraOracle")));
            s.answerAddDialog(QStringLiteral("Payroll"), 1);
            click(form, "cmdAddNew");
            QCOMPARE(form.findChild<QComboBox *>(QStringLiteral("cboDataSource"))->currentText(), QStringLiteral("Oracle::Payroll.dsf"));
            QCOMPARE(field(form, "txtOraUser")->isEnabledTo(form.findChild<QFrame *>(QStringLiteral("fraOracle"))), before);
            field(form, "txtOraServer")->setText(QStringLiteral("ORCL"));
            click(form, "cmdSave");
            QCOMPARE(s.lastBox(), QStringLiteral("Please fill in all the fields."));
            field(form, "txtOraUser")->setText(QStringLiteral("scott"));
            field(form, "txtOraPassword")->setText(QStringLiteral("p;=w"));
            click(form, "cmdSave");
            QCOMPARE(s.lastBox(), QStringLiteral("Datasource information was saved."));
        });
        const auto info = std::dynamic_pointer_cast<QMMDSOracle>(s.reader.ReadDataSource(s.config("Payroll.dsf")));
        QVERIFY(info && info->Password == QStringLiteral("p;=w"));
        QCOMPARE(QFile(s.config("Payroll.dsf")).permissions() & (QFile::ReadOther | QFile::WriteOther), QFile::Permissions());
    }

    void names_that_leave_the_folder_are_refused_and_the_form_stays_dirty_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"../x", "..\\x", "a:b", "CON", "what?"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void names_that_leave_the_folder_are_refused_and_the_form_stays_dirty()
    {
        QFETCH(QString, name);
        Session s;
        s.addSqlServer(QStringLiteral("One"), 0);
        s.edit([&](frmDataSource &form) {
            s.answerAddDialog(name, 0);
            click(form, "cmdAddNew");
            field(form, "txtServerName")->setText(QStringLiteral("s"));
            field(form, "txtDatabase")->setText(QStringLiteral("d"));
            click(form, "cmdSave");
            QVERIFY(s.lastBox().contains(QStringLiteral("Error No:  52\r\n")));
            s.prompts.answers.push_back(box::idNo); // still dirty: closing asks
        });
        QVERIFY(s.prompts.answers.empty());
        QCOMPARE(QDir(s.folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
        QCOMPARE(QDir(s.folder.filePath(QStringLiteral("Config"))).entryList(QDir::Files | QDir::Hidden), QStringList());
    }

    void the_test_uses_exactly_these_connection_strings()
    {
        Session s;
        s.addSqlServer(QStringLiteral("One"), 0);
        auto oracle = std::make_shared<QMMDSOracle>();
        oracle->ServerName = QStringLiteral("ORCL");
        oracle->UserName = QStringLiteral("u");
        oracle->Password = QStringLiteral("p");
        s.add(QStringLiteral("Oracle::O.dsf"), oracle);
        s.edit([&](frmDataSource &form) {
            click(form, "cmdTest");
            QCOMPARE(s.lastBox(), QStringLiteral("Test Connection Succeeded."));
            form.findChild<QRadioButton *>(QStringLiteral("optConnectionType1"))->click();
            field(form, "txtUserName")->setText(QStringLiteral("sa;x"));
            field(form, "txtPassword")->setText(QStringLiteral("p=w"));
            s.tester.failure = QStringLiteral("Login failed for user 'sa'.");
            click(form, "cmdTest");
            QVERIFY(s.lastBox().startsWith(QStringLiteral("Test Connection Failed.")));
            QVERIFY(s.lastBox().endsWith(QStringLiteral("Login failed for user 'sa'.")));
            QCOMPARE(s.prompts.pointerShape, 0);
            choose(form, 1);
            click(form, "cmdTest");
        });
        const QStringList expected{
            QStringLiteral("Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=Events;Data "
                           "Source=One-server"),
            QStringLiteral("Provider=SQLOLEDB.1;Persist Security Info=False;User ID=sa;x;Password=p=w;Initial Catalog=Events;Data "
                           "Source=One-server"),
            QStringLiteral("Provider=MSDAORA.1;Password=p;User ID=u;Data Source=ORCL;Persist Security Info=False")};
        QCOMPARE(s.tester.strings, expected);
    }

    void closing_asks_and_each_answer_does_what_it_says()
    {
        Session s;
        s.addSqlServer(QStringLiteral("One"), 0);
        s.edit([&](frmDataSource &form) {
            field(form, "txtServerName")->setText(QString());
            s.prompts.answers = {box::idCancel, box::idYes};
            QTest::keyClick(&form, Qt::Key_Escape);
            QVERIFY(form.isVisible());
            form.close(); // Yes with incomplete fields: the refusal, then closed all the same
            QVERIFY(!form.isVisible());
        });
        QCOMPARE(s.lastBox(), QStringLiteral("Please fill in all the fields."));
        QVERIFY(!files::fileExists(s.config("One.dsf")));
    }

    void only_the_close_box_keeps_the_last_confirmation_of_the_add_dialog()
    {
        Session s;
        s.addSqlServer(QStringLiteral("One"), 0);
        s.answerAddDialog(QStringLiteral("Two"), 0);
        s.addDialog.showModal();
        QVERIFY(s.addDialog.IsOK());
        QTimer::singleShot(0, &s.addDialog, [&] { s.addDialog.close(); });
        s.addDialog.showModal();
        QVERIFY(s.addDialog.IsOK());
        QTimer::singleShot(0, &s.addDialog, [&] { QTest::keyClick(&s.addDialog, Qt::Key_Escape); });
        s.addDialog.showModal();
        QVERIFY(!s.addDialog.IsOK());
        s.answerAddDialog(QStringLiteral("One"), 0);
        s.addDialog.showModal();
        QCOMPARE(s.lastBox(), QStringLiteral("This data source already exists.Please choose another name."));
    }
};

QTEST_MAIN(DataSourcesTest)
#include "data_sources_test.moc"
