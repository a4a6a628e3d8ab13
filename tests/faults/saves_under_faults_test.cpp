// Each file that the program saves, with every operation of its save failing once and the process killed around each of them: the old
// file or the new one is there, whole, and a save that says it succeeded has.

#include "core/RuntimeError.h"
#include "documents/Writers.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "platform/Files.h"
#include "platform/Registry.h"

#include <QtTest>

#include <sys/stat.h>

using namespace qm;
using namespace Qt::StringLiterals;

namespace {

constexpr int kRefused = 3; ///< exit code of a save that threw

/// Longer than one block, so that a file cut anywhere is seen; \p variant tells the two apart.
QString textOf(int variant)
{
    return u"variant %1 "_s.arg(variant) + QString(variant == 0 ? 3000 : 5000, variant == 0 ? u'a' : u'ü');
}

void saveReport(const QString &path, const QString &text)
{
    OutputFile file(path);
    const auto writer = makeHtmlWriter(file, {}); // patches what is written
    std::vector<ReportColumn> columns(1);
    columns.front().field = columns.front().caption = "text";
    ReportHead head;
    head.title = "t";
    writer->begin(head, {.columns = columns}, {});
    const std::string cell = text.toStdString();
    for (int i = 0; i < 200; ++i)
        writer->row(std::vector{Value::ofText(cell)});
    writer->end({200, false, 0});
    file.commit();
}

/// Loads what is there, as the program does, and saves \p variant.
void save(const QString &kind, const QString &path, int variant)
{
    const QString text = textOf(variant);
    const bool there = QFileInfo::exists(path);
    if (kind == u"jobs") {
        TomlJobConfigReader reader;
        auto jobs = there ? reader.LoadJobs(path) : std::make_shared<JobCollection>();
        jobs->clear();
        for (int i = 0; i < 50; ++i)
            jobs->push_back(
                std::make_shared<ScheduledReportJob>(ScheduledReportJob{text, u"/q.rqn"_s, {QDate(2026, 11, 21), 60 * i}, 0, i + 1}));
        reader.SaveJobs(jobs, path);
    } else if (kind == u"email") {
        TomlEmailConfigReader reader;
        EmailSettings settings = there ? *reader.ReadEmailSettings(path) : EmailSettings{};
        settings.SmtpPassword = text;
        reader.WriteEmailSettings(settings, path);
    } else if (kind == u"data source") {
        TomlDataSourceFileReader reader;
        if (there)
            (void)reader.ReadDataSource(path);
        QMMDSMSSql server;
        server.Password = text;
        reader.WriteDataSource(server, path);
    } else if (kind == u"query") {
        TomlQueryAccess access;
        Query query = there ? *access.ReadFile(path) : Query{};
        query.Description = text;
        query.sql = u"select 1"_s;
        access.WriteFile(query, path);
    } else if (kind == u"layout") {
        TomlLayoutReader reader;
        ReportLayout layout = there ? reader.ReadLayout(path) : ReportLayout{};
        layout.title = text;
        reader.WriteLayout(layout, path);
    } else if (kind == u"registry") {
        setPrivateProfileString(path, u"S"_s, u"K"_s, text);
    } else {
        saveReport(path, text);
    }
}

} // namespace

class SavesUnderFaultsTest final : public QObject
{
    Q_OBJECT

private:
    /// Saves \p variant in a process of its own. \returns its exit code, or -1 when it was killed. \p log: the operations.
    int saved(const QString &kind, int variant, int at = 0, const QString &fault = {}, QStringList *log = nullptr)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"LD_PRELOAD"_s, QStringLiteral(FAULTY_FILES));
        environment.insert(u"ASAN_OPTIONS"_s, environment.value(u"ASAN_OPTIONS"_s) + u":verify_asan_link_order=0"_s);
        environment.insert(u"QM_FAULT_BELOW"_s, m_folder->path());
        environment.insert(u"QM_FAULT_LOG"_s, m_log.fileName());
        if (at > 0) {
            environment.insert(u"QM_FAULT_AT"_s, QString::number(at));
            environment.insert(u"QM_FAULT"_s, fault);
        }
        m_log.resize(0);
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), {u"--save"_s, kind, m_path, QString::number(variant)});
        if (!process.waitForFinished())
            return -2;
        m_said = QString::fromUtf8(process.readAllStandardError());
        if (log != nullptr) {
            QFile file(m_log.fileName());
            (void)file.open(QIODevice::ReadOnly);
            *log = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
        }
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    [[nodiscard]] QStringList litter() const
    {
        QStringList names = files::list(m_folder->path() + u'/', u"*"_s, attr::hidden | attr::directory);
        names.removeAll(QFileInfo(m_path).fileName());
        return names;
    }
    void put(const QByteArray &bytes) const
    {
        QFile::remove(m_path);
        if (!bytes.isNull()) {
            QFile file(m_path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
            file.close();
            QCOMPARE(::chmod(QFile::encodeName(m_path).constData(), 0600), 0);
        }
    }
    [[nodiscard]] QByteArray there() const { return QFile::exists(m_path) ? files::readAll(m_path) : QByteArray(); }

    /// Saves over \p old (null: no file) once for each fault, which leaves that or \p second.
    void tryAll(const QString &kind, const QByteArray &old, const QByteArray &second, bool isSecret)
    {
        QStringList operations;
        put(old);
        QCOMPARE(saved(kind, 1, 0, {}, &operations), 0);
        const qsizetype written = operations.indexOf(u"write"_s), renamed = operations.lastIndexOf(u"rename"_s);
        QVERIFY(written >= 0 && operations.indexOf(u"fsync"_s) > written && renamed > written);
        for (qsizetype at = 0; at < operations.size(); ++at) {
            const QString &operation = operations[at];
            QStringList faults{QString::number(at % 2 == 0 ? ENOSPC : EIO), u"kill before"_s};
            if (operation.contains(u"write"_s))
                faults << u"short"_s;
            if (at + 1 == operations.size())
                faults << u"kill after"_s;
            for (const QString &fault : std::as_const(faults)) {
                put(old);
                const int code = saved(kind, 1, static_cast<int>(at) + 1, fault);
                const QByteArray after = there();
                const QByteArray told = u"%1 %2, %3 of %4: code %5, %6 bytes; %7"_s
                                            .arg(operation, fault, QString::number(at + 1), operations.join(u' '), QString::number(code),
                                                 QString::number(after.size()), m_said)
                                            .toUtf8();
                if (fault.startsWith(u"kill"_s)) {
                    QVERIFY2(code == -1 && after == (at > renamed || fault == u"kill after" ? second : old), told);
                } else if (fault == u"short" || at < written || at > renamed) {
                    // What can be done without, or in another way; if not, the old file is there.
                    QVERIFY2((code == 0 && after == second) || (code == kRefused && after == old && fault != u"short"), told);
                } else {
                    QVERIFY2(code == kRefused && after == old && m_said.contains(QFileInfo(m_path).fileName()), told);
                }
                checkLitter(code == -1, isSecret, told);
                if (QTest::currentTestFailed())
                    return;
            }
        }
    }
    /// Only a killed process leaves anything, hidden, and a secret to nobody else.
    void checkLitter(bool wasKilled, bool isSecret, const QByteArray &told) const
    {
        for (const QString &name : litter()) {
            const QString path = m_folder->filePath(name);
            struct stat status
            {
            };
            QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
            QVERIFY2(wasKilled && name.startsWith(u'.') && (!isSecret || (status.st_mode & 0077U) == 0), told + name.toUtf8());
            QVERIFY(QFile::remove(path));
        }
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QTemporaryFile m_log;
    QString m_path, m_said;

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_log.open()); }

    void every_operation_fails_or_is_the_last_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isSecret");
        QTest::newRow("jobs") << u"Jobs.cfg"_s << false;
        QTest::newRow("email") << u"Email.cfg"_s << true;
        QTest::newRow("data source") << u"Payroll.dsf"_s << true;
        QTest::newRow("query") << u"Logons.rqn"_s << false;
        QTest::newRow("layout") << u"Logons.rpt"_s << false;
        QTest::newRow("registry") << u"registry.ini"_s << false;
        QTest::newRow("report") << u"Logons.html"_s << false;
    }
    void every_operation_fails_or_is_the_last()
    {
        QFETCH(QString, name);
        QFETCH(bool, isSecret);
        const QString kind = QString::fromUtf8(QTest::currentDataTag());
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(name);
        QCOMPARE(saved(kind, 0), 0);
        const QByteArray first = there();
        QCOMPARE(saved(kind, 1), 0);
        const QByteArray second = there();
        QVERIFY(first != second);
        tryAll(kind, first, second, isSecret);
        if (kind == u"jobs" || kind == u"report") // the two ways of replacing a file
            tryAll(kind, {}, second, isSecret);
    }
};

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc == 5 && QByteArray(argv[1]) == "--save") {
        try {
            save(QString::fromUtf8(argv[2]), QString::fromUtf8(argv[3]), QByteArray(argv[4]).toInt());
            return 0;
        } catch (const RuntimeError &error) {
            std::fprintf(stderr, "%s\n", error.what());
            return kRefused;
        }
    }
    SavesUnderFaultsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "saves_under_faults_test.moc"
