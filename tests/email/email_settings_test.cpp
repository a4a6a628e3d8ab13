#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "email/NumericText.h"
#include "email/frmEmailSettings.h"
#include "framework/ConfigReaders.h"
#include "platform/Files.h"
#include "support/Fakes.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// The dialog on a temporary installation with the real file writer.
struct Session
{
    Session() : errors(prompts)
    {
        QDir(folder.path()).mkpath(u"Config"_s);
        globals.gstrInstallPath = folder.path() + kSep;
        globals.gudoEmailSettings = std::make_shared<EmailSettings>(EmailSettings{u"mail.example.org"_s, 25, 60000, {}, {}});
    }
    std::unique_ptr<frmEmailSettings> open()
    {
        auto form = std::make_unique<frmEmailSettings>(
            globals, [] { return std::make_unique<TomlEmailConfigReader>(); }, errors, prompts, help);
        form->show();
        return form;
    }
    static void type(frmEmailSettings &form, const char *field, const QString &text)
    {
        form.findChild<QLineEdit *>(QLatin1StringView(field))->setText(text);
    }
    static void press(frmEmailSettings &form, const char *button) { form.findChild<QPushButton *>(QLatin1StringView(button))->click(); }
    [[nodiscard]] QString file() const { return folder.filePath(u"Config/Email.cfg"_s); }

    QTemporaryDir folder;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    FakeHelp help;
    Globals globals;
};

} // namespace

class EmailSettingsTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void numeric_texts_follow_one_rule_in_every_locale_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("numeric");
        QTest::addColumn<int>("rounded");
        const auto row = [](const char *text, bool numeric, int rounded = 0) {
            QTest::newRow(text) << QString::fromLatin1(text) << numeric << rounded;
        };
        row("25.5", true, 26);
        row("24.5", true, 24);
        row("-0.5", true, 0);
        row(" 25 ", true, 25);
        row("1e3", true, 1000);
        row("1,000", true, 1000);
        row(".5", true, 0);
        row("5.", true, 5);
        row("2147483647.4", true, 2147483647);
        for (const char *text : {"", "  ", "1,00", "1,0000", ",100", "inf", "nan", "0x10", "1e999", "1e", "25 $", "--1"})
            row(text, false);
    }
    void numeric_texts_follow_one_rule_in_every_locale()
    {
        QFETCH(QString, text);
        QFETCH(bool, numeric);
        QLocale::setDefault(QLocale(QLocale::German));
        QCOMPARE(numericValue(text).has_value(), numeric);
        if (numeric)
            QTEST(roundedInteger(text), "rounded");
        QLocale::setDefault(QLocale::c());
    }

    void ok_without_a_change_writes_nothing()
    {
        Session s;
        *s.globals.gudoEmailSettings = {u"mail"_s, 25, 60, u"user"_s, u"secret"_s};
        auto form = s.open();
        QStringList shown;
        for (const char *name : {"txtSmtpServer", "txtSmtpPort", "txtTimeout", "txtSmtpUser", "txtSmtpPassword"})
            shown.append(form->findChild<QLineEdit *>(QLatin1StringView(name))->text());
        QCOMPARE(shown, QStringList({u"mail"_s, u"25"_s, u"60"_s, u"user"_s, u"secret"_s}));
        Session::press(*form, "cmdOK");
        QVERIFY(!form->isVisible());
        QVERIFY(!files::fileExists(s.file()));
    }

    void invalid_entries_keep_the_form_open_and_cancel_then_yes_loses_them()
    {
        Session s;
        auto form = s.open();
        Session::type(*form, "txtSmtpPort", QString());
        Session::press(*form, "cmdOK");
        QCOMPARE(s.prompts.shown.back().text, u"Please only make valid entries in the fields."_s);
        QVERIFY(form->isVisible());
        s.prompts.answers.push_back(box::idYes);
        QTest::keyClick(form.get(), Qt::Key_Escape);
        QVERIFY(!form->isVisible());
        QCOMPARE(s.prompts.shown.back().text, u"Please only make valid entries in the fields."_s);
        QCOMPARE(s.globals.gudoEmailSettings->SmtpPort, 25);
        QVERIFY(!files::fileExists(s.file()));
    }

    void a_number_beyond_32_bits_is_an_error_after_the_earlier_values_were_taken()
    {
        Session s;
        auto form = s.open();
        Session::type(*form, "txtSmtpServer", u"new"_s);
        Session::type(*form, "txtTimeout", u"3e9"_s);
        Session::press(*form, "cmdOK");
        QVERIFY(form->isVisible());
        QVERIFY(s.prompts.shown.back().text.startsWith(u"Unexpected error occured on the user interface."_s));
        QVERIFY(s.prompts.shown.back().text.contains(u"Error No:  6\r\n"_s));
        QCOMPARE(s.globals.gudoEmailSettings->SmtpServer, u"new"_s);
        QCOMPARE(s.globals.gudoEmailSettings->Timeout, 60000);
        QVERIFY(!files::fileExists(s.file()));
    }

    void a_value_typed_back_is_still_a_change()
    {
        Session s;
        auto form = s.open();
        Session::type(*form, "txtSmtpPassword", u"x"_s);
        Session::type(*form, "txtSmtpPassword", QString());
        s.prompts.answers.push_back(box::idYes);
        Session::press(*form, "cmdCancel");
        QCOMPARE(s.prompts.shown.back().text, u"You have made changes to the email settings.Do you wish to save your settings?"_s);
        QCOMPARE(s.prompts.shown.back().style, box::yesNo);
        QVERIFY(!form->isVisible());
        QVERIFY(files::fileExists(s.file()));
    }

    void a_file_that_cannot_be_written_is_told_and_the_form_stays_open()
    {
        Session s;
        auto form = s.open();
        QVERIFY(QDir(s.folder.filePath(u"Config"_s)).removeRecursively());
        Session::type(*form, "txtSmtpPort", u"587"_s);
        Session::press(*form, "cmdOK");
        QVERIFY(form->isVisible());
        QVERIFY2(s.prompts.shown.back().text.contains(u"cmdOK_Click"_s) && s.prompts.shown.back().text.contains(u"frmEmailSettings.frm"_s),
                 qPrintable(s.prompts.shown.back().text));
        QCOMPARE(s.globals.gudoEmailSettings->SmtpPort, 587);
        s.globals.gstrInstallPath.clear();
        Session::press(*form, "cmdOK");
        QVERIFY(s.prompts.shown.back().text.contains(u"installation folder is not known"_s));
    }

    void the_keyboard_alone_fills_the_dialog_in()
    {
        Session s;
        auto form = s.open();
        QVERIFY(QTest::qWaitForWindowActive(form.get()));
        const auto typeInto = [&](Qt::Key letter, const char *text) {
            QTest::keyClick(form.get(), letter, Qt::AltModifier);
            QWidget *const field = QApplication::focusWidget();
            QVERIFY(qobject_cast<QLineEdit *>(field));
            QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(field, QString::fromLatin1(text));
        };
        typeInto(Qt::Key_S, "smtps://mail.example.org");
        typeInto(Qt::Key_O, "2465");
        typeInto(Qt::Key_E, "1,500");
        typeInto(Qt::Key_A, "reports@example.org");
        typeInto(Qt::Key_W, "p;w={}'\\\"");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QVERIFY(!form->isVisible());
        const EmailSettings expected{u"smtps://mail.example.org"_s, 2465, 1500, u"reports@example.org"_s, QStringLiteral("p;w={}'\\\"")};
        QVERIFY(*TomlEmailConfigReader().ReadEmailSettings(s.file()) == expected);
    }

    void a_record_is_made_on_first_use_and_help_opens_at_its_page()
    {
        Session s;
        s.globals.gudoEmailSettings.reset();
        auto form = s.open();
        QVERIFY(s.globals.gudoEmailSettings != nullptr);
        Session::press(*form, "cmdHelp");
        QCOMPARE(s.help.contexts, std::vector<int>{55});
        QCOMPARE(form->findChild<QLineEdit *>(u"txtSmtpPassword"_s)->echoMode(), QLineEdit::Password);
        Session::press(*form, "cmdCancel");
        QVERIFY(!form->isVisible());
    }
};

QTEST_MAIN(EmailSettingsTest)
#include "email_settings_test.moc"
