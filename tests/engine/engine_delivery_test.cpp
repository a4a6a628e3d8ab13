#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "reporting/engine/OutputNaming.h"
#include "reporting/engine/ProcessIdentity.h"
#include "reporting/engine/RunLedger.h"

#include <QtTest>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using qm::kSep;

QString failureOf(const std::function<void()> &body)
{
    try {
        body();
    } catch (const qm::RuntimeError &error) {
        return error.description();
    }
    return {};
}

int inChild(const std::function<void()> &body)
{
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

} // namespace

/// Where reports end up: file names and the run ledger.
class EngineDeliveryTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_reports;

    [[nodiscard]] QString finishedFile(const QString &folder) const
    {
        QFile file(folder + QStringLiteral(".finished"));
        return file.open(QIODevice::WriteOnly) && file.write("x") == 1 ? file.fileName() : QString();
    }
    QString named(const QString &pattern, const QMap<QString, QString> &values)
    {
        const qm::OutputName name = qm::outputName(pattern, values, QStringLiteral("pdf"), m_reports);
        return qm::takeName(finishedFile(name.folder), name, {}).mid(m_reports.size());
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_reports = m_folder->path() + kSep + QStringLiteral("Reports") + kSep;
    }

    void fields_cannot_lead_out_of_the_folder_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("name");
        const auto row = [](const char *description, const char *name) {
            QTest::newRow(description) << QString::fromUtf8(description) << QString::fromUtf8(name);
        };
        row("../../etc/passwd", ".._.._etc_passwd.pdf");
        row("..\\..\\x", ".._.._x.pdf");
        row("/etc/x", "_etc_x.pdf");
        row("C:\\x", "C__x.pdf");
        row("a:b*c?d\"e<f>g|h", "a_b_c_d_e_f_g_h.pdf");
        row("CON", "_CON.pdf");
        row("lpt1.txt", "_lpt1.txt.pdf");
        row("line\nbreak\tand \x7f", "line_break_and _.pdf");
        row(" dots... ", "dots.pdf");
        row("\xe2\x80\xaexslx.evil", "_xslx.evil.pdf"); // right-to-left override
        row("{date}", "{date}.pdf");
    }
    void fields_cannot_lead_out_of_the_folder()
    {
        QFETCH(QString, description);
        QFETCH(QString, name);
        QCOMPARE(named(QStringLiteral("{description}.{format}"),
                       {{QStringLiteral("description"), description}, {QStringLiteral("format"), QStringLiteral("pdf")}}),
                 name);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("Reports")});
    }

    void long_names_are_cut_between_characters()
    {
        const QString kanji = QString(300, QChar(0x6F22)), smile = QString::fromUtf8("\U0001F600").repeated(100);
        for (const QString &text : {kanji, smile, QString(1000, u'x')}) {
            const QString name = named(QStringLiteral("{description}"), {{QStringLiteral("description"), text}});
            QVERIFY(name.toUtf8().size() <= 200);
            QVERIFY(name.toUtf8().size() >= 170);
            QVERIFY(!name.contains(QChar::ReplacementCharacter));
            QCOMPARE(QString::fromUtf8(name.toUtf8()), name);
        }
    }

    void patterns_that_are_no_name_are_refused()
    {
        const QMap<QString, QString> values{{QStringLiteral("description"), QString()},
                                            {QStringLiteral("date"), QStringLiteral("2026-11-21")}};
        const auto refused = [&](const char *pattern) { return failureOf([&] { named(QString::fromLatin1(pattern), values); }); };
        QVERIFY(refused("../x.pdf").contains(QStringLiteral("leaves its folder")));
        QVERIFY(refused("a/..\\..\\x.pdf").contains(QStringLiteral("leaves its folder")));
        QVERIFY(refused("{description}").contains(QStringLiteral("names no file")));
        QVERIFY(refused("folder/").contains(QStringLiteral("names no file")));
        QVERIFY(refused("{nosuch}").contains(QStringLiteral("{date}, {description}, {counter}")));
        QFile blocker(m_reports + QStringLiteral("taken"));
        QVERIFY(QDir().mkpath(m_reports) && blocker.open(QIODevice::WriteOnly));
        QVERIFY(refused("taken/x.pdf").contains(QStringLiteral("cannot be made")));
        QCOMPARE(named(QStringLiteral("Daily/{date}/x.PDF"), values), QStringLiteral("Daily/2026-11-21/x.pdf"));
    }

    void no_report_takes_the_place_of_another()
    {
        const QMap<QString, QString> none;
        QCOMPARE(named(QStringLiteral("Logons"), none), QStringLiteral("Logons.pdf"));
        QCOMPARE(named(QStringLiteral("logons"), none), QStringLiteral("logons (2).pdf"));
        QCOMPARE(named(QStringLiteral("Logons"), none), QStringLiteral("Logons (3).pdf"));
        QCOMPARE(named(QStringLiteral("Run {counter}"), none), QStringLiteral("Run 1.pdf"));
        QCOMPARE(named(QStringLiteral("Run {counter}"), none), QStringLiteral("Run 2.pdf"));
    }

    void programs_that_name_at_once_get_different_names()
    {
        const qm::OutputName name = qm::outputName(QStringLiteral("Same"), {}, QStringLiteral("pdf"), m_reports);
        std::vector<pid_t> children;
        for (int child = 0; child < 4; ++child) {
            children.push_back(fork());
            if (children.back() == 0) {
                for (int i = 0; i < 25; ++i) {
                    QFile file(name.folder + QStringLiteral(".finished-%1-%2").arg(child).arg(i));
                    if (!file.open(QIODevice::WriteOnly) ||
                        failureOf([&] { static_cast<void>(qm::takeName(file.fileName(), name, {})); }).size() > 0)
                        _exit(1);
                }
                _exit(0);
            }
        }
        for (const pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            QCOMPARE(status, 0);
        }
        QCOMPARE(QDir(name.folder).entryList({QStringLiteral("Same*.pdf")}, QDir::Files).size(), 100);
    }

    void runs_are_kept_with_what_became_of_them()
    {
        const QString installation = m_folder->path() + kSep;
        qm::RunLedger ledger(installation);
        qm::LedgerEntry entry;
        entry.queryFile = QStringLiteral("/x/Grüße.rqn");
        entry.trigger = QStringLiteral("operator");
        entry.startedUtc = QStringLiteral("2026-11-21 10:00:00");
        ledger.start(entry);
        QVERIFY2(ledger.problem().isEmpty(), qPrintable(ledger.problem()));
        QCOMPARE(ledger.list().front().status, QStringLiteral("running"));
        QCOMPARE(ledger.markInterrupted(QStringLiteral("2026-11-21 10:01:00")), 0); // this process lives
        entry.status = QStringLiteral("done");
        entry.rows = 17;
        entry.bytes = std::uint64_t{5} << 32;
        ledger.finish(entry);
        ledger.notRun(entry.queryFile, QStringLiteral("schedule"), QStringLiteral("query file missing"),
                      QStringLiteral("2026-11-21 10:02:00"));
        const auto all = qm::RunLedger(installation).list();
        QCOMPARE(all.size(), std::size_t{2});
        QCOMPARE(all[0].status, QStringLiteral("not run"));
        QCOMPARE(all[1].queryFile, entry.queryFile);
        QCOMPARE(all[1].rows, std::int64_t{17});
        QCOMPARE(all[1].bytes, std::uint64_t{5} << 32);
        QCOMPARE(qm::RunLedger(installation).list(1).size(), std::size_t{1});
    }

    void only_runs_of_dead_processes_are_marked_interrupted()
    {
        const QString installation = m_folder->path() + kSep;
        const auto startRun = [&] {
            qm::LedgerEntry entry;
            qm::RunLedger(installation).start(entry);
        };
        inChild([&] {
            startRun();
            kill(getpid(), SIGKILL);
        });
        startRun(); // this process
        const pid_t living = fork();
        if (living == 0) {
            startRun();
            pause();
        }
        QTRY_COMPARE(qm::RunLedger(installation).list().size(), std::size_t{3});
        {
            // A run of another host, and one whose process number now belongs to another process.
            int code = SQLITE_OK;
            const auto connection = qm::sqlite::open(qm::RunLedger(installation).path(), SQLITE_OPEN_READWRITE, code);
            startRun();
            QCOMPARE(qm::sqlite::execute(connection.get(), "UPDATE run SET host = 'elsewhere', pid = 1 WHERE id = 4"), SQLITE_OK);
            startRun();
            QCOMPARE(qm::sqlite::execute(connection.get(), "UPDATE run SET process_start = 'another boot:5' WHERE id = 5"), SQLITE_OK);
        }
        qm::RunLedger ledger(installation);
        QCOMPARE(ledger.markInterrupted(QStringLiteral("2026-11-21 10:00:00")), 2);
        const auto all = ledger.list();
        QCOMPARE(all[0].status, QStringLiteral("interrupted"));
        for (const std::size_t running : {std::size_t{1}, std::size_t{2}, std::size_t{3}})
            QCOMPARE(all[running].status, QStringLiteral("running"));
        QCOMPARE(all[4].status, QStringLiteral("interrupted"));
        QCOMPARE(all[4].endedUtc, QStringLiteral("2026-11-21 10:00:00"));
        kill(living, SIGKILL);
        waitpid(living, nullptr, 0);
        QCOMPARE(ledger.markInterrupted(QStringLiteral("2026-11-21 10:00:00")), 1);
    }

    void processes_write_the_ledger_at_once()
    {
        const QString installation = m_folder->path() + kSep;
        std::vector<pid_t> children;
        for (int child = 0; child < 4; ++child) {
            children.push_back(fork());
            if (children.back() == 0) {
                bool good = true;
                for (int i = 0; i < 25; ++i) {
                    qm::RunLedger ledger(installation);
                    qm::LedgerEntry entry;
                    ledger.start(entry);
                    entry.status = QStringLiteral("done");
                    ledger.finish(entry);
                    good = good && ledger.problem().isEmpty() && entry.id > 0;
                    if (!good)
                        fprintf(stderr, "%s\n", qPrintable(ledger.problem()));
                }
                _exit(good ? 0 : 1);
            }
        }
        for (const pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            QCOMPARE(status, 0);
        }
        const auto all = qm::RunLedger(installation).list();
        QCOMPARE(all.size(), std::size_t{100});
        QVERIFY(std::all_of(all.begin(), all.end(), [](const qm::LedgerEntry &entry) { return entry.status == QStringLiteral("done"); }));
    }

    void a_ledger_that_cannot_be_written_is_a_problem_told_once()
    {
        QFile blocker(m_folder->path() + QStringLiteral("/Logs"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        qm::RunLedger ledger(m_folder->path() + kSep);
        qm::LedgerEntry entry;
        ledger.start(entry);
        QCOMPARE(entry.id, std::int64_t{0});
        QVERIFY2(ledger.problem().contains(QStringLiteral("RunLedger.db")), qPrintable(ledger.problem()));
        QVERIFY(ledger.list().empty());
        qm::RunLedger none{QString()};
        none.start(entry);
        QVERIFY(none.problem().isEmpty());
    }
};

QTEST_GUILESS_MAIN(EngineDeliveryTest)
#include "engine_delivery_test.moc"
