#include "framework/QueryFiles.h"
#include "reporting/ui/OutputPage.h"
#include "reporting_ui/ReportingFixture.h"
#include "support/MailServer.h"
#include "support/PrintServer.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

using namespace qm;
using namespace qm::test;

/// The output page of the editor, and an operator's run whose output is no file.
class DeliveryUiTest final : public QObject
{
    Q_OBJECT

    FakeClock m_clock{WallTime{QDate(2026, 11, 21), 9 * 3600}};
    QueryHome m_home;

    static void type(OutputPage &page, const char *field, const QString &text)
    {
        page.findChild<QLineEdit *>(QLatin1String(field))->setText(text);
    }

private Q_SLOTS:
    void an_e_mail_that_could_not_be_sent_cannot_be_saved_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("said");
        QTest::newRow("nobody") << QStringLiteral("mailTo") << QString() << QStringLiteral("at least one address");
        QTest::newRow("no address") << QStringLiteral("mailTo") << QStringLiteral("a@x.org; audit") << QStringLiteral("\"audit\" is not");
        QTest::newRow("two at-signs") << QStringLiteral("mailCc") << QStringLiteral("a@b@x.org") << QStringLiteral("\"a@b@x.org\" is not");
        QTest::newRow("sender") << QStringLiteral("mailFrom") << QStringLiteral("me") << QStringLiteral("\"me\" is not");
        QTest::newRow("field of the subject") << QStringLiteral("mailSubject") << QStringLiteral("{nosuch}") << QStringLiteral("{nosuch}");
        QTest::newRow("field of an address") << QStringLiteral("mailBcc") << QStringLiteral("{nosuch}@x.org") << QStringLiteral("{nosuch}");
        QTest::newRow("file name") << QStringLiteral("filePattern") << QStringLiteral("../{date}") << QStringLiteral("..");
        QTest::newRow("good") << QStringLiteral("mailCc") << QStringLiteral("Ö <o@x.org>, {year}@x.org") << QString();
    }
    void an_e_mail_that_could_not_be_sent_cannot_be_saved()
    {
        QFETCH(QString, field);
        QFETCH(QString, text);
        QFETCH(QString, said);
        OutputPage page(m_clock, m_home);
        Query query;
        query.OutputSettings.OutputType = static_cast<int>(OutputKind::Email);
        query.OutputSettings.email.to = QStringList{QStringLiteral("a@x.org")};
        query.OutputSettings.email.subject = QStringLiteral("{description}: {rows}");
        page.show(query);
        QCOMPARE(page.problem(), QString());
        type(page, field.toLatin1().constData(), text);
        QVERIFY2(said.isEmpty() ? page.problem().isEmpty() : page.problem().contains(said), qPrintable(page.problem()));
        page.findChild<QComboBox *>(QStringLiteral("outputType"))->setCurrentIndex(static_cast<int>(OutputKind::Screen));
        QCOMPARE(page.problem(), QString());
    }

    void recipients_are_told_apart()
    {
        OutputPage page(m_clock, m_home);
        Query query;
        query.OutputSettings.OutputType = static_cast<int>(OutputKind::Email);
        query.OutputSettings.email.to = QStringList{QStringLiteral("Smith, Bob <bob@x.org>"), QStringLiteral("a@x.org")};
        page.show(query);
        QCOMPARE(page.problem(), QString());
        Query stored = query;
        page.store(stored);
        QCOMPARE(stored.OutputSettings.email.to, query.OutputSettings.email.to);
        type(page, "mailTo", QStringLiteral("a@x.org,b@x.org ;; \"Who; me, @all\" <c@x.org>,"));
        page.store(stored);
        QCOMPARE(stored.OutputSettings.email.to,
                 (QStringList{QStringLiteral("a@x.org"), QStringLiteral("b@x.org"), QStringLiteral("\"Who; me, @all\" <c@x.org>")}));
        type(page, "mailTo", QStringLiteral("\"a@x.org"));
        QVERIFY(!page.problem().isEmpty());
    }

    void printers_are_offered_and_a_foreign_name_is_kept()
    {
        const PrintServer server;
        if (!server.problem().isEmpty())
            QSKIP(qPrintable(server.problem()));
        server.command(QStringLiteral("lpadmin"), {QStringLiteral("-d"), QStringLiteral("good")});
        OutputPage page(m_clock, m_home);
        Query query;
        query.OutputSettings.OutputType = static_cast<int>(OutputKind::Printer);
        query.OutputSettings.printer = {QStringLiteral("third floor"), 3};
        page.show(query);
        static_cast<QWidget &>(page).show();
        auto *name = page.findChild<QComboBox *>(QStringLiteral("printerName"));
        QTRY_COMPARE_WITH_TIMEOUT(name->count(), 4, 10'000); // the default one, and the server's three
        QVERIFY(name->lineEdit()->placeholderText().contains(QStringLiteral("good")));
        auto *hint = page.findChild<QLabel *>(QStringLiteral("printerHint"));
        QCOMPARE(hint->text(), QStringLiteral("This computer has no printer of that name."));
        page.store(query);
        QCOMPARE(query.OutputSettings.printer.name, QStringLiteral("third floor"));
        QCOMPARE(query.OutputSettings.printer.copies, 3);
        QSignalSpy changed(&page, &OutputPage::changed);
        name->setCurrentIndex(name->findText(QStringLiteral("good")));
        QVERIFY2(hint->text().startsWith(QStringLiteral("Page size")), qPrintable(hint->text()));
        page.findChild<QSpinBox *>(QStringLiteral("printerCopies"))->setValue(2);
        QVERIFY(changed.size() >= 2);
        page.store(query);
        QCOMPARE(query.OutputSettings.printer.name, QStringLiteral("good"));
        QCOMPARE(query.OutputSettings.printer.copies, 2);
    }

    void an_operator_is_told_who_got_the_report_and_may_cancel_the_sending()
    {
        const MailServer server;
        if (!server.missing().isEmpty())
            QSKIP(qPrintable(server.missing()));
        QVERIFY2(server.problem().isEmpty(), qPrintable(server.problem()));
        ReportingFixture f;
        TomlEmailConfigReader().WriteEmailSettings({QStringLiteral("localhost"), server.port("plain"), 20'000, {}, {}},
                                                   f.installation.path() + QStringLiteral("Config") + kSep + QStringLiteral("Email.cfg"));
        const auto mailing = [&](const QByteArray &to) {
            return f.query(QStringLiteral("Mailed"), "SELECT id FROM events",
                           "[output]\ntype = \"email\"\n[output.email]\nfrom = \"r@example.org\"\nto = [\"" + to + "\"]\n");
        };
        f.interface->GenerateReport(mailing("a@example.org"), 0, true, false);
        auto *done = f.window<QWidget>("frmReportDone");
        QVERIFY(done);
        QCOMPARE(done->findChild<QLabel *>(QStringLiteral("reportPath"))->text(), QStringLiteral("The report was sent to a@example.org."));
        QVERIFY(!done->findChild<QPushButton *>(QStringLiteral("cmdOpen"))->isVisible());
        done->close();
        QCOMPARE(server.taken(), 1);

        QString seen;
        QTimer press;
        connect(&press, &QTimer::timeout, this, [&] {
            auto *progress = f.window<QDialog>("frmReportProgress");
            if (progress == nullptr)
                return;
            seen = progress->findChild<QLabel *>(QStringLiteral("progressStatus"))->text();
            if (seen.startsWith(QStringLiteral("Sending")))
                progress->reject();
        });
        press.start(50);
        QElapsedTimer watch;
        watch.start();
        const QString slow = mailing("slow15@example.org");
        const int number = errorOf([&] { f.interface->GenerateReport(slow, 0, true, false); }).number();
        QCOMPARE(number, err::cancelledByOperator);
        QVERIFY(watch.elapsed() < 10'000);
        QCOMPARE(server.taken(), 1);
    }
};

QTEST_MAIN(DeliveryUiTest)
#include "delivery_ui_test.moc"
