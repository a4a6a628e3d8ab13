#include "engine/outputs/OutputNaming.h"
#include "engine/run/ProcessIdentity.h"
#include "engine/run/RunLedger.h"
#include "platform/Files.h"
#include "support/ErrorOf.h"
#include "support/SecondProcess.h"

#include <QtTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

using qm::kSep;
using qm::test::SecondProcess;

/// Gives a finished file the name that all want.
bool takeSameName(const QString &reports, const QString &process, int i)
{
    const qm::OutputName name = qm::outputName(u"Same"_s, {}, qm::ReportFormat::Pdf, reports);
    QFile file(name.folder + u".finished-%1-%2"_s.arg(process).arg(i));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.close();
    const qm::RuntimeError error = qm::test::errorOf([&] { static_cast<void>(qm::takeName(file.fileName(), name, {})); });
    if (error.number() != 0)
        fprintf(stderr, "%s\n", error.what());
    return error.number() == 0;
}

bool startAndFinishRun(const QString &installation)
{
    qm::RunLedger ledger(installation);
    qm::LedgerEntry entry;
    ledger.start(entry);
    entry.status = qm::RunStatus::Done;
    ledger.finish(entry);
    return ledger.problem().isEmpty() && entry.id > 0;
}

void startRun(const QString &installation)
{
    qm::LedgerEntry entry;
    qm::RunLedger(installation).start(entry);
}

/// What the second process does with \p folder. \returns its exit code.
int play(const QString &part, const QString &folder, const QString &process)
{
    if (part == u"run"_s)
        startRun(folder);
    SecondProcess::sayReady();
    SecondProcess::waitForGo();
    bool good = true;
    for (int i = 0; i < 25; ++i)
        good = (part == u"name"_s ? takeSameName(folder, process, i) : startAndFinishRun(folder)) && good;
    return good ? 0 : 1;
}

/// Has four processes play \p part 25 times. \returns whether it was always done.
bool fourAtOnce(const QString &part, const QString &folder)
{
    std::vector<std::unique_ptr<SecondProcess>> processes;
    for (int i = 0; i < 4; ++i)
        processes.push_back(std::make_unique<SecondProcess>(QStringList{part, folder, QString::number(i)}));
    bool good = true;
    for (const auto &process : processes)
        good = process->isReady() && good;
    for (const auto &process : processes)
        process->go();
    for (const auto &process : processes)
        good = process->end() == 0 && good;
    return good;
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
        QFile file(folder + u".finished"_s);
        return file.open(QIODevice::WriteOnly) && file.write("x") == 1 ? file.fileName() : QString();
    }
    QString named(const QString &pattern, const QMap<QString, QString> &values)
    {
        const qm::OutputName name = qm::outputName(pattern, values, qm::ReportFormat::Pdf, m_reports);
        return qm::takeName(finishedFile(name.folder), name, {}).mid(m_reports.size());
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(QFile(m_folder->filePath(u"Packages.ini"_s)).open(QIODevice::WriteOnly)); // an installation
        m_reports = m_folder->path() + kSep + u"Reports"_s + kSep;
    }

    void fields_cannot_lead_out_of_the_folder_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("name");
        const auto row = [](const char *description, const char *name) {
            QTest::newRow(description) << QString::fromUtf8(description) << QString::fromUtf8(name);
        };
        row("../../etc/passwd", ".._.._etc_passwd.pdf");
        row("C:\\x", "C__x.pdf");
        row("a:b*c?d\"e<f>g|h", "a_b_c_d_e_f_g_h.pdf");
        row("CON", "_CON.pdf");
        row("lpt1.txt", "_lpt1.txt.pdf");
        row("line\nbreak\tand \x7f", "line_break_and _.pdf");
        row(" dots... ", "dots.pdf");
        row("\xe2\x80\xaexslx.evil", "_xslx.evil.pdf"); // right-to-left override
        row("a\xe2\x80\xa8"
            "b\xf3\xa0\x81\x81"
            "c",
            "a_b_c.pdf");                                                                                        // line separator, tag
        row("\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x92\xbb", "\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x92\xbb.pdf"); // joined
        row("COM\xc2\xb9", "_COM\xc2\xb9.pdf");
        row("{date}", "{date}.pdf");
    }
    void fields_cannot_lead_out_of_the_folder()
    {
        QFETCH(QString, description);
        QFETCH(QString, name);
        QCOMPARE(named(u"{description}.{format}"_s, {{u"description"_s, description}, {u"format"_s, u"pdf"_s}}), name);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 (QStringList{u"Packages.ini"_s, u"Reports"_s}));
    }

    void long_names_are_cut_between_characters()
    {
        const QString kanji = QString(300, QChar(0x6F22)), smile = QString::fromUtf8("\U0001F600").repeated(100);
        for (const QString &text : {kanji, smile, QString(1000, u'x')}) {
            const QString name = named(u"{description}"_s, {{u"description"_s, text}});
            QVERIFY(name.toUtf8().size() <= 200);
            QVERIFY(name.toUtf8().size() >= 170);
            QVERIFY(!name.contains(QChar::ReplacementCharacter));
            QCOMPARE(QString::fromUtf8(name.toUtf8()), name);
        }
    }

    void patterns_that_are_no_name_are_refused()
    {
        const QMap<QString, QString> values{{u"description"_s, QString()}, {u"date"_s, u"2026-11-21"_s}};
        const auto refused = [&](const char *pattern) {
            return qm::test::errorOf([&] { named(QString::fromLatin1(pattern), values); }).description();
        };
        QVERIFY(refused("../x.pdf").contains(u"leaves its folder"_s));
        QVERIFY(refused("a/..\\..\\x.pdf").contains(u"leaves its folder"_s));
        QVERIFY(refused("{description}").contains(u"names no file"_s));
        QVERIFY(refused("folder/").contains(u"names no file"_s));
        QVERIFY(refused("{nosuch}").contains(u"{date}, {description}, {counter}"_s));
        QFile blocker(m_reports + u"taken"_s);
        QVERIFY(QDir().mkpath(m_reports) && blocker.open(QIODevice::WriteOnly));
        QVERIFY(refused("taken/x.pdf").contains(u"cannot be made"_s));
        QCOMPARE(named(u"Daily/{date}/x.PDF"_s, values), QDir::toNativeSeparators(u"Daily/2026-11-21/x.pdf"_s));
        // As a resource's path begins; a file's is relative.
        QCOMPARE(named(u":sub/x"_s, values), QDir::toNativeSeparators(u"_sub/x.pdf"_s));
        QCOMPARE(qm::outputName(m_folder->path() + u"/own/x"_s, values, qm::ReportFormat::Pdf, m_reports).folder,
                 QDir::toNativeSeparators(m_folder->path() + u"/own/"_s));
    }

    void no_report_takes_the_place_of_another()
    {
        const QMap<QString, QString> none;
        QCOMPARE(named(u"Logons"_s, none), u"Logons.pdf"_s);
        QCOMPARE(named(u"logons"_s, none), u"logons (2).pdf"_s);
        QCOMPARE(named(u"Logons"_s, none), u"Logons (3).pdf"_s);
        QCOMPARE(named(u"Run {counter}"_s, none), u"Run 1.pdf"_s);
        QCOMPARE(named(u"Run {counter}"_s, none), u"Run 2.pdf"_s);
    }

    void programs_that_name_at_once_get_different_names()
    {
        QVERIFY(fourAtOnce(u"name"_s, m_reports));
        QCOMPARE(QDir(m_reports).entryList({u"Same*.pdf"_s}, QDir::Files).size(), 100);
    }

    void runs_are_kept_with_what_became_of_them()
    {
        const QString installation = m_folder->path() + kSep;
        qm::RunLedger ledger(installation);
        qm::LedgerEntry entry;
        entry.queryFile = u"/x/Grüße.rqn"_s;
        entry.trigger = qm::RunTrigger::Operator;
        entry.startedUtc = u"2026-11-21 10:00:00"_s;
        ledger.start(entry);
        QVERIFY2(ledger.problem().isEmpty(), qPrintable(ledger.problem()));
        QCOMPARE(ledger.list().front().status, qm::RunStatus::Running);
        entry.status = qm::RunStatus::Done;
        entry.rows = 17;
        entry.bytes = std::uint64_t{5} << 32;
        ledger.finish(entry);
        ledger.notRun(entry.queryFile, qm::RunTrigger::Schedule, u"query file missing"_s, u"2026-11-21 10:02:00"_s);
        const auto all = qm::RunLedger(installation).list();
        QCOMPARE(all.size(), std::size_t{2});
        QCOMPARE(all[0].status, qm::RunStatus::NotRun);
        QCOMPARE(all[1].queryFile, entry.queryFile);
        QCOMPARE(all[1].rows, std::int64_t{17});
        QCOMPARE(all[1].bytes, std::uint64_t{5} << 32);
        QCOMPARE(qm::RunLedger(installation).list(1).size(), std::size_t{1});

        int code = SQLITE_OK;
        const auto newer = qm::sqlite::open(ledger.path(), SQLITE_OPEN_READWRITE, code);
        QCOMPARE(qm::sqlite::execute(newer.get(), "PRAGMA user_version = 99"), SQLITE_OK);
        qm::RunLedger older(installation);
        older.start(entry);
        older.notRun(entry.queryFile, qm::RunTrigger::Schedule, u"query file missing"_s, u"2026-11-21 10:03:00"_s);
        QVERIFY2(older.problem().contains(u"newer version"_s), qPrintable(older.problem()));
        QCOMPARE(qm::RunLedger(installation).list().size(), std::size_t{2});
    }

    void runs_are_visited_newest_first_however_many()
    {
        const QString installation = m_folder->path() + kSep;
        startRun(installation);
        int code = SQLITE_OK;
        const auto connection = qm::sqlite::open(qm::RunLedger(installation).path(), SQLITE_OPEN_READWRITE, code);
        QCOMPARE(
            qm::sqlite::execute(connection.get(),
                                "WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i+1 FROM n WHERE i < 2500) INSERT INTO run SELECT i, "
                                "query_file, description, package, 'a later one', period, 'email', format, output_file, started_utc, "
                                "ended_utc, rows, bytes, sha256, 'done', error, note, host, pid, process_start FROM run, n;"
                                "DELETE FROM run WHERE id = 1500; INSERT INTO delivery VALUES(1200, 'a@x', '', 'delivered', '', '')"),
            SQLITE_OK);
        std::int64_t expected = 2500;
        bool inOrder = true;
        const qm::RunLedger ledger(installation);
        ledger.visit([&](const qm::LedgerEntry &run) {
            inOrder = inOrder && run.id == expected && run.deliveries.size() == (run.id == 1200 ? 1U : 0U);
            expected -= expected == 1501 ? 2 : 1;
            return true;
        });
        QVERIFY(inOrder);
        QCOMPARE(expected, std::int64_t{0});
        QCOMPARE(ledger.list(1100).back().id, std::int64_t{1400});
        QCOMPARE(ledger.entry(1200).deliveries.size(), std::size_t{1});
        QVERIFY(ledger.entry(1200).trigger == qm::RunTrigger::Unknown);
        for (const std::int64_t none : {std::int64_t{1500}, std::int64_t{2501}, std::numeric_limits<std::int64_t>::max()})
            QVERIFY(qm::test::errorOf([&] { static_cast<void>(ledger.entry(none)); }).description().contains(u"There is no run"_s));
    }

    void what_is_no_ledger_is_told_and_nobody_waits_for_it()
    {
        const QString installation = m_folder->path() + kSep, path = qm::RunLedger(installation).path();
        // Left by a program that died while it made the ledger.
        QVERIFY(QDir(installation).mkdir(u"Logs"_s) && QFile(path).open(QIODevice::WriteOnly));
        QCOMPARE(qm::RunLedger(installation).list().size(), std::size_t{0});
        QVERIFY(startAndFinishRun(installation));
        QCOMPARE(qm::RunLedger(installation).list().size(), std::size_t{1});
        // The installation's disk is gone for the moment: nothing is made in its place.
        QVERIFY(QDir(installation + u"Logs"_s).removeRecursively() && QFile::remove(installation + u"Packages.ini"_s));
        qm::RunLedger gone(installation);
        qm::LedgerEntry entry;
        gone.start(entry);
        QVERIFY2(gone.problem().contains(u"holds no \"Packages.ini\""_s), qPrintable(gone.problem()));
        QCOMPARE(QDir(installation).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
    }

    void only_runs_of_dead_processes_are_marked_interrupted()
    {
        const QString installation = m_folder->path() + kSep;
        {
            SecondProcess dead({u"run"_s, installation});
            QVERIFY(dead.isReady());
        }
        startRun(installation); // this process
        SecondProcess living({u"run"_s, installation});
        QVERIFY(living.isReady());
        QCOMPARE(qm::RunLedger(installation).list().size(), std::size_t{3});
        {
            // A run of another host, and one whose process number now belongs to another process.
            int code = SQLITE_OK;
            const auto connection = qm::sqlite::open(qm::RunLedger(installation).path(), SQLITE_OPEN_READWRITE, code);
            startRun(installation);
            QCOMPARE(qm::sqlite::execute(connection.get(), "UPDATE run SET host = 'elsewhere', pid = 1 WHERE id = 4"), SQLITE_OK);
            startRun(installation);
            QCOMPARE(qm::sqlite::execute(connection.get(), "UPDATE run SET process_start = 'another boot:5' WHERE id = 5"), SQLITE_OK);
        }
        qm::RunLedger ledger(installation);
        QCOMPARE(ledger.markInterrupted(u"2026-11-21 10:00:00"_s), 2);
        const auto all = ledger.list();
        QCOMPARE(all[0].status, qm::RunStatus::Interrupted);
        for (const std::size_t running : {std::size_t{1}, std::size_t{2}, std::size_t{3}})
            QCOMPARE(all[running].status, qm::RunStatus::Running);
        QCOMPARE(all[4].status, qm::RunStatus::Interrupted);
        QCOMPARE(all[4].endedUtc, u"2026-11-21 10:00:00"_s);
        living.kill();
        QCOMPARE(ledger.markInterrupted(u"2026-11-21 10:00:00"_s), 1);
    }

    void processes_write_the_ledger_at_once()
    {
        const QString installation = m_folder->path() + kSep;
        QVERIFY(fourAtOnce(u"ledger"_s, installation));
        const auto all = qm::RunLedger(installation).list();
        QCOMPARE(all.size(), std::size_t{100});
        QVERIFY(std::all_of(all.begin(), all.end(), [](const qm::LedgerEntry &entry) { return entry.status == qm::RunStatus::Done; }));
    }
};

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (const QStringList part = SecondProcess::part(); !part.isEmpty())
        return play(part[0], part.value(1), part.value(2));
    EngineDeliveryTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "engine_delivery_test.moc"
