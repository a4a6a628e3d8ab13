#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "datasources/ConnectionTester.h"
#include "datasources/frmAddNewDataSource.h"
#include "datasources/frmDataSource.h"
#include "framework/ConfigReaders.h"
#include "platform/Files.h"
#include "support/Fakes.h"
#include "support/System.h"

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
using namespace Qt::StringLiterals;

namespace {

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
        QDir(folder.path()).mkpath(u"Config"_s);
        globals.gstrInstallPath = folder.path() + kSep;
    }
    void addSqlServer(const QString &name, int connectionType)
    {
        auto info = std::make_shared<QMMDSMSSql>();
        info->ServerName = name + u"-server"_s;
        info->DatabaseName = u"Events"_s;
        info->ConnectionType = connectionType;
        info->UserName = connectionType ? u"auditor"_s : QString();
        add(u"MSSQL::"_s + name + u".dsf"_s, info);
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
            if (QTest::currentTestFailed())
                prompts.answers = {box::idNo}; // whatever it asks, it closes
            if (form.isVisible())
                form.findChild<QPushButton *>(u"cmdOK"_s)->click();
            if (form.isVisible())
                form.done(QDialog::Rejected); // it asked what it must not ask
        });
        form.showModal();
    }
    void answerAddDialog(const QString &name, int type, const char *button = "cmdOK")
    {
        QTimer::singleShot(0, &addDialog, [this, name, type, button] {
            QCOMPARE(addDialog.findChild<QComboBox *>(u"cboDatabase"_s)->currentIndex(), 0);
            addDialog.findChild<QLineEdit *>(u"txtDataSource"_s)->setText(name);
            addDialog.findChild<QComboBox *>(u"cboDatabase"_s)->setCurrentIndex(type);
            addDialog.findChild<QPushButton *>(QLatin1StringView(button))->click();
            if (addDialog.isVisible())
                addDialog.findChild<QPushButton *>(u"cmdCancel"_s)->click();
        });
    }
    [[nodiscard]] QString config(const char *name) const { return folder.filePath(u"Config/"_s + QLatin1StringView(name)); }
    [[nodiscard]] QString lastBox() const { return prompts.shown.empty() ? QString() : prompts.shown.back().text; }

    QTemporaryDir folder;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    FakeHelp help;
    AnsweringTester tester;
    TomlDataSourceFileReader reader;
    Globals globals;
    frmAddNewDataSource addDialog;
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
    auto *list = form.findChild<QComboBox *>(u"cboDataSource"_s);
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
        s.addSqlServer(u"One"_s, 0);
        s.addSqlServer(u"Two"_s, 0);
        s.edit([&](frmDataSource &form) {
            QCOMPARE(field(form, "txtServerName")->text(), u"One-server"_s);
            QVERIFY(!form.findChild<QFrame *>(u"frameSpecificUser"_s)->isEnabled());
            field(form, "txtDatabase")->setText(u"changed"_s);
            choose(form, 1);
            QCOMPARE(field(form, "txtServerName")->text(), u"Two-server"_s);
            // Two sources with integrated security in turn: the user's captions stay disabled.
            QVERIFY(!form.findChild<QWidget *>(u"lblUserName"_s)->isEnabled());
            click(form, "cmdHelp");
        });
        QVERIFY(s.prompts.shown.empty());
        QCOMPARE(s.help.contexts, std::vector<int>{24});
    }

    void an_empty_table_asks_for_a_source_first_and_a_cancel_shows_no_editor()
    {
        Session s;
        s.answerAddDialog(u"x"_s, 0, "cmdCancel");
        bool seen = false;
        s.edit([&](frmDataSource &form) { seen = form.isVisible(); });
        QVERIFY(!seen);
    }

    void a_new_oracle_source_is_written_and_its_user_field_keeps_its_state()
    {
        Session s;
        s.addSqlServer(u"One"_s, 1);
        s.edit([&](frmDataSource &form) {
            const bool before = field(form, "txtOraUser")->isEnabledTo(form.findChild<QFrame *>(u"fraOracle"_s));
            s.answerAddDialog(u"Payroll"_s, 1);
            click(form, "cmdAddNew");
            QCOMPARE(form.findChild<QComboBox *>(u"cboDataSource"_s)->currentText(), u"Oracle::Payroll.dsf"_s);
            QCOMPARE(field(form, "txtOraUser")->isEnabledTo(form.findChild<QFrame *>(u"fraOracle"_s)), before);
            field(form, "txtOraServer")->setText(u"ORCL"_s);
            click(form, "cmdSave");
            QCOMPARE(s.lastBox(), u"Please fill in all the fields."_s);
            field(form, "txtOraUser")->setText(u"scott"_s);
            field(form, "txtOraPassword")->setText(u"p;=w"_s);
            click(form, "cmdSave");
            QCOMPARE(s.lastBox(), u"Datasource information was saved."_s);
        });
        const auto info = std::dynamic_pointer_cast<QMMDSOracle>(s.reader.ReadDataSource(s.config("Payroll.dsf")));
        QVERIFY(info && info->Password == u"p;=w"_s);
        if (!test::onWindows()) // there access lists say it; platform_windows_test looks at them
            QCOMPARE(QFile(s.config("Payroll.dsf")).permissions() & (QFile::ReadOther | QFile::WriteOther), QFile::Permissions());
    }

    void a_name_that_leaves_the_folder_is_refused_and_the_form_stays_dirty()
    {
        Session s;
        s.addSqlServer(u"One"_s, 0);
        s.edit([&](frmDataSource &form) {
            s.answerAddDialog(u"../x"_s, 0);
            click(form, "cmdAddNew");
            field(form, "txtServerName")->setText(u"s"_s);
            field(form, "txtDatabase")->setText(u"d"_s);
            click(form, "cmdSave");
            QVERIFY(s.lastBox().contains(u"Error No:  52\r\n"_s));
            s.prompts.answers.push_back(box::idNo); // still dirty: closing asks
        });
        QVERIFY(s.prompts.answers.empty());
    }

    void what_is_saved_follows_the_chosen_security()
    {
        Session s;
        s.addSqlServer(u"One"_s, 1);
        s.addSqlServer(u"Two"_s, 0);
        const auto saved = [&](frmDataSource &form) {
            click(form, "cmdSave");
            const auto info = std::dynamic_pointer_cast<QMMDSMSSql>(s.reader.ReadDataSource(s.config("One.dsf")));
            const auto kept = std::dynamic_pointer_cast<QMMDSMSSql>(s.globals.gdicDataSources.at(u"MSSQL::One.dsf"_s)->Info);
            const auto text = [](const QMMDSMSSql &each) {
                return u"%1 %2 %3 '%4' '%5'"_s.arg(each.ServerName, each.DatabaseName, QString::number(each.ConnectionType), each.UserName,
                                                   each.Password);
            };
            return text(*info) == text(*kept) ? text(*info) : u"table and file differ"_s;
        };
        s.edit([&](frmDataSource &form) {
            const auto option = [&](int index) { return form.findChild<QRadioButton *>(u"optConnectionType%1"_s.arg(index)); };
            QVERIFY(option(1)->isChecked());
            QCOMPARE(field(form, "txtUserName")->text(), u"auditor"_s);
            field(form, "txtPassword")->setText(u"secret"_s);
            QCOMPARE(saved(form), u"One-server Events 1 'auditor' 'secret'"_s);
            QCOMPARE(s.globals.gdicDataSources.Keys(), QStringList({u"MSSQL::Two.dsf"_s, u"MSSQL::One.dsf"_s})); // edited: at the end
            field(form, "txtPassword")->setText(u"typed"_s);
            choose(form, 0); // the same source again, as it was saved
            QCOMPARE(field(form, "txtPassword")->text(), u"secret"_s);
            option(0)->click();
            QCOMPARE(field(form, "txtPassword")->text(), u"secret"_s); // shown, but nobody's
            QCOMPARE(saved(form), u"One-server Events 0 '' ''"_s);
            option(1)->click();
            field(form, "txtUserName")->clear();
            QCOMPARE(saved(form), u"One-server Events 0 '' ''"_s);
            QCOMPARE(s.lastBox(), u"Please fill in all the fields."_s);
            field(form, "txtUserName")->setText(u"x"_s);
            field(form, "txtPassword")->clear(); // a user may have none
            QCOMPARE(saved(form), u"One-server Events 1 'x' ''"_s);
            for (const char *name : {"txtServerName", "txtDatabase"}) {
                const QString before = field(form, name)->text();
                field(form, name)->clear();
                click(form, "cmdSave");
                QCOMPARE(s.lastBox(), u"Please fill in all the fields."_s);
                field(form, name)->setText(before);
            }
            click(form, "cmdSave"); // clean: closing asks nothing, and the option alone makes no difference
            option(0)->click();
            form.findChild<QComboBox *>(u"cboDataSource"_s)->setEditText(u"typed by hand"_s);
            click(form, "cmdSave");
            QCOMPARE(s.lastBox(), u"Datasource information was saved."_s);
        });
        QCOMPARE(s.globals.gdicDataSources.Count(), 2);
        s.edit([&](frmDataSource &form) {
            choose(form, 1);
            QVERIFY(form.findChild<QRadioButton *>(u"optConnectionType1"_s)->isChecked());
            QCOMPARE(field(form, "txtUserName")->text(), u"x"_s);
        });
    }

    void a_new_source_begins_empty_and_unsaved()
    {
        Session s;
        s.addSqlServer(u"One"_s, 1);
        auto oracle = std::make_shared<QMMDSOracle>();
        oracle->ServerName = oracle->UserName = oracle->Password = u"filled"_s;
        s.add(u"Oracle::O.dsf"_s, oracle);
        for (const int type : {0, 1}) {
            s.edit([&](frmDataSource &form) {
                choose(form, type);
                s.answerAddDialog(u"not wanted"_s, type, "cmdCancel");
                click(form, "cmdAddNew");
                QCOMPARE(form.findChild<QComboBox *>(u"cboDataSource"_s)->count(), 2);
                field(form, type ? "txtOraPassword" : "txtPassword")->setText(u"typed"_s);
                s.answerAddDialog(u"New"_s, type);
                click(form, "cmdAddNew");
                const QList<const char *> fields = type ? QList<const char *>{"txtOraServer", "txtOraUser", "txtOraPassword"}
                                                        : QList<const char *>{"txtServerName", "txtDatabase", "txtUserName", "txtPassword"};
                for (const char *name : fields) {
                    QVERIFY2(field(form, name)->text().isEmpty(), name);
                    field(form, name)->setText(u"y"_s);
                    field(form, name)->clear();
                }
                choose(form, type + 1); // another source and the new one again: still nothing of the other
                choose(form, 0);
                for (const char *name : fields)
                    QVERIFY2(field(form, name)->text().isEmpty(), name);
                s.answerAddDialog(u"Newer"_s, type);
                click(form, "cmdAddNew");
                s.prompts.answers.push_back(box::idNo); // unsaved, though no field was touched
            });
            QVERIFY(s.prompts.answers.empty());
        }
        QCOMPARE(s.globals.gdicDataSources.Count(), 2);
    }

    void the_test_uses_exactly_these_connection_strings()
    {
        Session s;
        s.addSqlServer(u"One"_s, 0);
        auto oracle = std::make_shared<QMMDSOracle>();
        oracle->ServerName = u"ORCL"_s;
        oracle->UserName = u"u"_s;
        oracle->Password = u"p"_s;
        s.add(u"Oracle::O.dsf"_s, oracle);
        s.edit([&](frmDataSource &form) {
            click(form, "cmdTest");
            QCOMPARE(s.lastBox(), u"Test Connection Succeeded."_s);
            form.findChild<QRadioButton *>(u"optConnectionType1"_s)->click();
            field(form, "txtUserName")->setText(u"sa;x"_s);
            field(form, "txtPassword")->setText(u"p=w"_s);
            s.tester.failure = u"Login failed for user 'sa'."_s;
            click(form, "cmdTest");
            QVERIFY(s.lastBox().startsWith(u"Test Connection Failed."_s));
            QVERIFY(s.lastBox().endsWith(u"Login failed for user 'sa'."_s));
            QCOMPARE(s.prompts.pointerShape, 0);
            choose(form, 1);
            click(form, "cmdTest");
        });
        const QStringList expected{u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=Events;Data "
                                   "Source=One-server"_s,
                                   u"Provider=SQLOLEDB.1;Persist Security Info=False;User ID=sa;x;Password=p=w;Initial Catalog=Events;Data "
                                   "Source=One-server"_s,
                                   u"Provider=MSDAORA.1;Password=p;User ID=u;Data Source=ORCL;Persist Security Info=False"_s};
        QCOMPARE(s.tester.strings, expected);
    }

    void closing_asks_and_each_answer_does_what_it_says()
    {
        Session s;
        s.addSqlServer(u"One"_s, 0);
        s.edit([&](frmDataSource &form) {
            field(form, "txtServerName")->setText(QString());
            s.prompts.answers = {box::idCancel, box::idYes};
            QTest::keyClick(&form, Qt::Key_Escape);
            QVERIFY(form.isVisible());
            form.close(); // Yes with incomplete fields: the refusal, then closed all the same
            QVERIFY(!form.isVisible());
        });
        QCOMPARE(s.lastBox(), u"Please fill in all the fields."_s);
        QVERIFY(!files::fileExists(s.config("One.dsf")));
    }

    void only_the_close_box_keeps_the_last_confirmation_of_the_add_dialog()
    {
        Session s;
        s.addSqlServer(u"One"_s, 0);
        s.answerAddDialog(u"Two"_s, 0);
        s.addDialog.showModal();
        QVERIFY(s.addDialog.IsOK());
        QTimer::singleShot(0, &s.addDialog, [&] { s.addDialog.close(); });
        s.addDialog.showModal();
        QVERIFY(s.addDialog.IsOK());
        QTimer::singleShot(0, &s.addDialog, [&] { QTest::keyClick(&s.addDialog, Qt::Key_Escape); });
        s.addDialog.showModal();
        QVERIFY(!s.addDialog.IsOK());
        s.answerAddDialog({}, 0);
        s.addDialog.showModal();
        QCOMPARE(s.lastBox(), u"Please enter a name for the new datasource."_s);
        s.answerAddDialog(u"One"_s, 0);
        s.addDialog.showModal();
        QCOMPARE(s.lastBox(), u"This data source already exists.Please choose another name."_s);
    }
};

QTEST_MAIN(DataSourcesTest)
#include "data_sources_test.moc"
