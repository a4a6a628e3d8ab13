#include "reporting/ReportingFixture.h"
#include "reporting/editor/OutputPage.h"
#include "reporting/editor/QueryDraft.h"
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
using namespace Qt::StringLiterals;

/// The output page of the editor, and an operator's run whose output is no file.
class DeliveryUiTest final : public QObject
{
    Q_OBJECT

    FakeClock m_clock{WallTime{QDate(2026, 11, 21), 9 * 3600}};
    QueryHome m_home;

    static Query mail(const QStringList &to)
    {
        Query query;
        query.OutputSettings.OutputType = static_cast<int>(OutputKind::Email);
        query.OutputSettings.email.to = to;
        return query;
    }
    /// Why a query with the output of \p page cannot be saved; empty when it can.
    QString problem(const OutputPage &page) const
    {
        QueryDraft draft;
        draft.query.Description = u"Logons"_s;
        draft.query.sql = u"SELECT 1"_s;
        page.store(draft.query);
        const auto found = findProblem(draft, {m_home, {}, false, m_clock.wallNow()});
        return found ? found->text : QString();
    }
    static void type(OutputPage &page, const char *field, const QString &text)
    {
        page.findChild<QLineEdit *>(QLatin1String(field))->setText(text);
    }

private Q_SLOTS:
    void recipients_are_told_apart()
    {
        OutputPage page(m_clock, m_home);
        const Query query = mail({u"Smith, Bob <bob@x.org>"_s, u"a@x.org"_s});
        page.show(query);
        QCOMPARE(problem(page), QString());
        Query stored = query;
        page.store(stored);
        QCOMPARE(stored.OutputSettings.email.to, query.OutputSettings.email.to);
        type(page, "mailTo", u"a@x.org,b@x.org ;; \"Who; me, @all\" <c@x.org>,"_s);
        page.store(stored);
        QCOMPARE(stored.OutputSettings.email.to, (QStringList{u"a@x.org"_s, u"b@x.org"_s, u"\"Who; me, @all\" <c@x.org>"_s}));
        type(page, "mailTo", u"\"a@x.org"_s);
        QVERIFY(!problem(page).isEmpty());
    }

    void printers_are_offered_and_a_foreign_name_is_kept()
    {
        const PrintServer server;
        if (!server.problem().isEmpty())
            QSKIP(qPrintable(server.problem()));
        server.command(u"lpadmin"_s, {u"-d"_s, u"good"_s});
        OutputPage page(m_clock, m_home);
        Query query;
        query.OutputSettings.OutputType = static_cast<int>(OutputKind::Printer);
        query.OutputSettings.printer = {u"third floor"_s, 3};
        page.show(query);
        static_cast<QWidget &>(page).show();
        auto *name = page.findChild<QComboBox *>(u"printerName"_s);
        QTRY_COMPARE_WITH_TIMEOUT(name->count(), 4, 10'000); // the default one, and the server's three
        QVERIFY(name->lineEdit()->placeholderText().contains(u"good"_s));
        auto *hint = page.findChild<QLabel *>(u"printerHint"_s);
        QCOMPARE(hint->text(), u"This computer has no printer of that name."_s);
        page.store(query);
        QCOMPARE(query.OutputSettings.printer.name, u"third floor"_s);
        QCOMPARE(query.OutputSettings.printer.copies, 3);
        QSignalSpy changed(&page, &OutputPage::changed);
        name->setCurrentIndex(name->findText(u"good"_s));
        QVERIFY2(hint->text().startsWith(u"Page size"_s), qPrintable(hint->text()));
        page.findChild<QSpinBox *>(u"printerCopies"_s)->setValue(2);
        QVERIFY(changed.size() >= 2);
        page.store(query);
        QCOMPARE(query.OutputSettings.printer.name, u"good"_s);
        QCOMPARE(query.OutputSettings.printer.copies, 2);
    }

    void an_operator_is_told_who_got_the_report_and_may_cancel_the_sending()
    {
        const MailServer server;
        if (!server.missing().isEmpty())
            QSKIP(qPrintable(server.missing()));
        QVERIFY2(server.problem().isEmpty(), qPrintable(server.problem()));
        ReportingFixture f;
        TomlEmailConfigReader().WriteEmailSettings({u"localhost"_s, server.port("plain"), 20'000, {}, {}},
                                                   f.installation.path() + u"Config"_s + kSep + u"Email.cfg"_s);
        const auto mailing = [&](const QByteArray &to) {
            return f.query(u"Mailed"_s, "SELECT id FROM events",
                           "[output]\ntype = \"email\"\n[output.email]\nfrom = \"r@example.org\"\nto = [\"" + to + "\"]\n");
        };
        f.interface->GenerateReport(mailing("a@example.org"), 0, true, false);
        auto *done = f.window<QWidget>("frmReportDone");
        QVERIFY(done);
        QCOMPARE(done->findChild<QLabel *>(u"reportPath"_s)->text(), u"The report was sent to a@example.org."_s);
        QVERIFY(!done->findChild<QPushButton *>(u"cmdOpen"_s)->isVisible());
        done->close();
        QCOMPARE(server.taken(), 1);

        QString seen;
        QTimer press;
        connect(&press, &QTimer::timeout, this, [&] {
            auto *progress = f.window<QDialog>("frmReportProgress");
            if (progress == nullptr)
                return;
            seen = progress->findChild<QLabel *>(u"progressStatus"_s)->text();
            if (seen.startsWith(u"Sending"_s))
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
