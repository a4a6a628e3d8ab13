// Report files arrive whole or not at all, and every failure says what and where.
#include "core/RuntimeError.h"
#include "reporting/writers/OutputFile.h"
#include "reporting/writers/ZipStream.h"
#include "writers/ReadBack.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTemporaryDir>

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace qm;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<cannot be read>");
}

void setContent(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

/// The number and text of the error that \p work ends with.
std::pair<std::int32_t, QString> failureOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (const RuntimeError &error) {
        return {error.number(), error.description()};
    }
    return {0, {}};
}

std::string sha256(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex().toStdString();
}

/// Files may not grow beyond \p bytes while this lives, as on a disk that is full.
class SmallDisk final
{
public:
    explicit SmallDisk(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

} // namespace

class OutputFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aCommittedFileHoldsWhatWasWrittenWithItsDigest_data();
    void aCommittedFileHoldsWhatWasWrittenWithItsDigest();
    void fieldsAreFilledInWhereverTheyLie();
    void withoutCommitTheOldFileStaysAndNothingElse();
    void aReplacedFileKeepsItsPermissions();
    void linksAreFollowed();
    void targetsThatCannotBeWrittenAreRefused_data();
    void targetsThatCannotBeWrittenAreRefused();
    void aFullDiskIsReportedAndLeavesTheOldFile();
    void devicesReceiveTheReport();
    void largeArchivesAreReadable();

private:
    QString at(const QString &name) const { return m_folder->filePath(name); }
    QStringList entries() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void OutputFileTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void OutputFileTest::aCommittedFileHoldsWhatWasWrittenWithItsDigest_data()
{
    QTest::addColumn<int>("piece");
    QTest::addColumn<int>("pieces");
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("small pieces") << 7 << 100001;
    QTest::newRow("exactly the buffer") << 262144 << 2;
    QTest::newRow("more than the buffer") << 1000003 << 3;
}

void OutputFileTest::aCommittedFileHoldsWhatWasWrittenWithItsDigest()
{
    QFETCH(int, piece);
    QFETCH(int, pieces);
    QByteArray expected;
    OutputFile file(at(QStringLiteral("a report.csv")));
    for (int i = 0; i < pieces; ++i) {
        const QByteArray bytes(piece, static_cast<char>('a' + i % 26));
        file.write({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        expected += bytes;
    }
    QCOMPARE(file.position(), static_cast<std::uint64_t>(expected.size()));
    const OutputFile::Committed committed = file.commit();
    QCOMPARE(committed.bytes, static_cast<std::uint64_t>(expected.size()));
    QCOMPARE(committed.sha256, sha256(expected));
    QVERIFY(contentOf(at(QStringLiteral("a report.csv"))) == expected);
    QCOMPARE(entries(), QStringList{QStringLiteral("a report.csv")});
}

void OutputFileTest::fieldsAreFilledInWhereverTheyLie()
{
    constexpr int kSize = 600000;
    for (const bool announced : {false, true}) {
        QByteArray expected(kSize, '.');
        OutputFile file(at(QStringLiteral("patched")));
        if (announced) {
            file.expectPatch();
        }
        file.write({expected.constData(), static_cast<std::size_t>(kSize)});
        // On the disk, across the edge between disk and buffer, in the buffer, at the very end.
        for (const int offset : {0, 262142, 524286, 550000, kSize - 4}) {
            file.patch(static_cast<std::uint64_t>(offset), "1234");
            expected.replace(offset, 4, "1234");
        }
        QCOMPARE(failureOf([&] { file.patch(kSize - 3, "1234"); }).first, err::invalidProcedureCall);
        file.write("tail");
        expected += "tail";
        QCOMPARE(file.commit().sha256, sha256(expected));
        QVERIFY(contentOf(at(QStringLiteral("patched"))) == expected);
    }
}

void OutputFileTest::withoutCommitTheOldFileStaysAndNothingElse()
{
    setContent(at(QStringLiteral("report")), "old");
    {
        OutputFile file(at(QStringLiteral("report")));
        file.write(std::string(1000000, 'x'));
    }
    QCOMPARE(contentOf(at(QStringLiteral("report"))), QByteArray("old"));
    QCOMPARE(entries(), QStringList{QStringLiteral("report")});
}

void OutputFileTest::aReplacedFileKeepsItsPermissions()
{
    setContent(at(QStringLiteral("secret")), "old");
    QVERIFY(QFile::setPermissions(at(QStringLiteral("secret")), QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    OutputFile file(at(QStringLiteral("secret")));
    file.write("new");
    file.commit();
    struct stat status
    {
    };
    QCOMPARE(stat(QFile::encodeName(at(QStringLiteral("secret"))).constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
    QCOMPARE(contentOf(at(QStringLiteral("secret"))), QByteArray("new"));
}

void OutputFileTest::linksAreFollowed()
{
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("share")));
    setContent(at(QStringLiteral("share/real")), "old");
    QVERIFY(QFile::link(QStringLiteral("share/real"), at(QStringLiteral("link"))));
    QVERIFY(QFile::link(QStringLiteral("share/new"), at(QStringLiteral("to be made"))));
    for (const QString &name : {QStringLiteral("link"), QStringLiteral("to be made")}) {
        OutputFile file(at(name));
        file.write("new");
        file.commit();
        QVERIFY(QFileInfo(at(name)).isSymLink());
    }
    QCOMPARE(contentOf(at(QStringLiteral("share/real"))), QByteArray("new"));
    QCOMPARE(contentOf(at(QStringLiteral("share/new"))), QByteArray("new"));
}

void OutputFileTest::targetsThatCannotBeWrittenAreRefused_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<int>("number");
    QTest::newRow("folder missing") << QStringLiteral("none/report.pdf") << err::pathNotFound;
    QTest::newRow("a file where a folder should be") << QStringLiteral("file/report.pdf") << err::pathNotFound;
    QTest::newRow("ends like a folder") << QStringLiteral("none/") << err::pathNotFound;
    QTest::newRow("a folder") << QStringLiteral("folder") << err::pathFileAccess;
    QTest::newRow("read-only file") << QStringLiteral("read-only.pdf") << err::permissionDenied;
    QTest::newRow("read-only folder") << QStringLiteral("closed/report.pdf") << err::pathFileAccess;
    QTest::newRow("name too long") << QString(300, u'x') << err::badFileName;
}

void OutputFileTest::targetsThatCannotBeWrittenAreRefused()
{
    QFETCH(QString, target);
    QFETCH(int, number);
    QDir here(m_folder->path());
    QVERIFY(here.mkdir(QStringLiteral("folder")) && here.mkdir(QStringLiteral("closed")));
    setContent(at(QStringLiteral("file")), "x");
    setContent(at(QStringLiteral("read-only.pdf")), "x");
    QVERIFY(QFile::setPermissions(at(QStringLiteral("read-only.pdf")), QFileDevice::ReadOwner));
    QVERIFY(QFile::setPermissions(at(QStringLiteral("closed")), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    const QStringList before = entries();

    const auto [found, words] = failureOf([&] { OutputFile file(at(target)); });
    QCOMPARE(found, number);
    QVERIFY2(words.contains(m_folder->path()), qPrintable(words));
    QCOMPARE(entries(), before);
    QCOMPARE(contentOf(at(QStringLiteral("read-only.pdf"))), QByteArray("x"));
    QFile::setPermissions(at(QStringLiteral("closed")), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

void OutputFileTest::aFullDiskIsReportedAndLeavesTheOldFile()
{
    setContent(at(QStringLiteral("report.csv")), "old");
    {
        const SmallDisk disk(1 << 20);
        OutputFile file(at(QStringLiteral("report.csv")));
        const std::string line(1000, 'x');
        const auto [number, words] = failureOf([&] {
            for (int i = 0; i < 2000; ++i) {
                file.write(line);
            }
        });
        QCOMPARE(number, err::diskFull);
        QVERIFY2(words.contains(at(QStringLiteral("report.csv"))), qPrintable(words));
        QCOMPARE(failureOf([&] { file.commit(); }).first, err::diskFull);
    }
    QCOMPARE(contentOf(at(QStringLiteral("report.csv"))), QByteArray("old"));
    QCOMPARE(entries(), QStringList{QStringLiteral("report.csv")});
}

void OutputFileTest::devicesReceiveTheReport()
{
    const QString fullDevice = QStringLiteral("/dev/full");
    if (!QFile::exists(fullDevice)) {
        QSKIP("there is no device that is always full");
    }
    OutputFile full(fullDevice);
    full.write("report");
    const auto [number, words] = failureOf([&] { full.commit(); });
    QCOMPARE(number, err::diskFull);
    QVERIFY(words.contains(fullDevice));
    QVERIFY(!QFileInfo(fullDevice).isFile());

    const QString pipe = at(QStringLiteral("pipe"));
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QProcess reader;
    reader.start(QStringLiteral("cat"), {pipe});
    QVERIFY(reader.waitForStarted());
    OutputFile file(pipe);
    file.write("0 rows of a report");
    file.patch(0, "9");
    QCOMPARE(file.commit().sha256, sha256("9 rows of a report"));
    QVERIFY(reader.waitForFinished());
    QCOMPARE(reader.readAllStandardOutput(), QByteArray("9 rows of a report"));
}

void OutputFileTest::largeArchivesAreReadable()
{
    const QString python = test::pythonWithReaders();
    if (python.isEmpty()) {
        QSKIP("no Python with openpyxl here");
    }
    // The wide forms, which an archive beyond 4 GB needs, begin here at 1,000 bytes.
    OutputFile file(at(QStringLiteral("large.zip")));
    ZipStream zip(file, 1000);
    QByteArray noise(300000, '\0');
    quint32 state = 1;
    for (char &byte : noise) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    zip.add("first", "short");
    zip.add("second", {noise.constData(), static_cast<std::size_t>(noise.size())});
    zip.add("third", std::string(5000000, 'z'));
    zip.add("fourth", "");
    zip.finish();
    file.commit();
    const QJsonObject archive = test::readBack(python, QStringLiteral("zip"), at(QStringLiteral("large.zip")));
    QVERIFY(archive.contains(QStringLiteral("bad")) && archive[QStringLiteral("bad")].isNull());
    const QJsonObject members = archive[QStringLiteral("members")].toObject();
    QCOMPARE(members.size(), 4);
    QCOMPARE(members[QStringLiteral("third")][QStringLiteral("size")].toInt(), 5000000);
    QVERIFY(members[QStringLiteral("third")][QStringLiteral("offset")].toInt() > 300000);
}

QTEST_GUILESS_MAIN(OutputFileTest)
#include "output_file_test.moc"
