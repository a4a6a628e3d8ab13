// Report files arrive whole or not at all, and every failure says what and where.
#include "documents/OutputFile.h"
#include "documents/ReadBack.h"
#include "documents/xlsx/ZipStream.h"
#include "platform/Files.h"
#include "support/ErrorOf.h"
#include "support/FileBytes.h"
#include "support/System.h"

#include <QCryptographicHash>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

std::string sha256(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex().toStdString();
}

} // namespace

class OutputFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void aCommittedFileHoldsWhatWasWrittenWithItsDigest_data()
    {
        QTest::addColumn<int>("piece");
        QTest::addColumn<int>("pieces");
        QTest::newRow("nothing") << 0 << 0;
        QTest::newRow("small pieces") << 7 << 100001;
        QTest::newRow("exactly the buffer") << 262144 << 2;
        QTest::newRow("more than the buffer") << 1000003 << 3;
    }

    void aCommittedFileHoldsWhatWasWrittenWithItsDigest()
    {
        QFETCH(int, piece);
        QFETCH(int, pieces);
        QByteArray expected;
        OutputFile file(at(u"a report.csv"_s));
        for (int i = 0; i < pieces; ++i) {
            const QByteArray bytes(piece, static_cast<char>('a' + i % 26));
            file.write({bytes.constData(), static_cast<std::size_t>(bytes.size())});
            expected += bytes;
        }
        QCOMPARE(file.position(), static_cast<std::uint64_t>(expected.size()));
        const OutputFile::Committed committed = file.commit();
        QCOMPARE(committed.bytes, static_cast<std::uint64_t>(expected.size()));
        QCOMPARE(committed.sha256, sha256(expected));
        QVERIFY(bytesOf(at(u"a report.csv"_s)) == expected);
        QCOMPARE(entries(), QStringList{u"a report.csv"_s});
    }

    void fieldsAreFilledInWhereverTheyLie()
    {
        constexpr int kSize = 600000;
        for (const bool announced : {false, true}) {
            QByteArray expected(kSize, '.');
            OutputFile file(at(u"patched"_s));
            if (announced)
                file.expectPatch();
            file.write({expected.constData(), static_cast<std::size_t>(kSize)});
            // On the disk, across the edge between disk and buffer, in the buffer, at the very end.
            for (const int offset : {0, 262142, 524286, 550000, kSize - 4}) {
                file.patch(static_cast<std::uint64_t>(offset), "1234");
                expected.replace(offset, 4, "1234");
            }
            QCOMPARE(numberOf([&] { file.patch(kSize - 3, "1234"); }), err::invalidProcedureCall);
            file.write("tail");
            expected += "tail";
            QCOMPARE(file.commit().sha256, sha256(expected));
            QVERIFY(bytesOf(at(u"patched"_s)) == expected);
        }
    }

    void aReplacedFileKeepsItsPermissions()
    {
        if (onWindows())
            QSKIP("Windows keeps access lists, which platform_windows_test looks at");
        writeBytes(at(u"secret"_s), "old");
        QVERIFY(QFile::setPermissions(at(u"secret"_s), QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        OutputFile file(at(u"secret"_s));
        file.write("new");
        file.commit();
        constexpr QFile::Permissions kOthers = QFile::ExeOwner | QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                                               QFile::WriteOther | QFile::ExeOther;
        constexpr QFile::Permissions kOwn = QFile::ReadOwner | QFile::WriteOwner;
        QCOMPARE(QFile::permissions(at(u"secret"_s)) & (kOthers | kOwn), kOwn);
        QCOMPARE(bytesOf(at(u"secret"_s)), QByteArray("new"));
    }

    void aReplacedFileKeepsItsAccessList()
    {
        if (onWindows())
            QSKIP("platform_windows_test looks at Windows' lists");
        // The list as the kernel takes it: user 1 may write, group 4 read, others nothing.
        const auto run = [this](const QString &what) {
            return outputOf(u"python3"_s, {u"-c"_s,
                                           u"import os,struct,sys\nname='system.posix_acl_access'\n"
                                           "list=struct.pack('<I',2)+b''.join(struct.pack('<HHI',*e) for e in ((1,6,0xffffffff),(2,6,1),"
                                           "(4,4,0xffffffff),(8,4,4),(16,6,0xffffffff),(32,0,0xffffffff)))\n"_s +
                                               what,
                                           at(u"shared"_s)});
        };
        for (const bool isReport : {true, false}) {
            writeBytes(at(u"shared"_s), "old");
            if (run(u"os.setxattr(sys.argv[1],name,list);print('given')"_s).trimmed() != "given")
                QSKIP("no Python, or a file system that keeps no access lists");
            if (isReport) {
                OutputFile file(at(u"shared"_s));
                file.write("new");
                file.commit();
            } else {
                files::saveAtomically(at(u"shared"_s), "new");
            }
            QCOMPARE(bytesOf(at(u"shared"_s)), QByteArray("new"));
            QCOMPARE(run(u"print(os.getxattr(sys.argv[1],name)==list)"_s).trimmed(), QByteArray("True"));
        }
    }

    void linksAreFollowed()
    {
        if (onWindows())
            QSKIP("only an administrator makes symbolic links on Windows");
        QVERIFY(QDir(m_folder->path()).mkdir(u"share"_s));
        writeBytes(at(u"share/real"_s), "old");
        QVERIFY(QFile::link(u"share/real"_s, at(u"link"_s)));
        QVERIFY(QFile::link(u"share/new"_s, at(u"to be made"_s)));
        for (const QString &name : {u"link"_s, u"to be made"_s}) {
            OutputFile file(at(name));
            file.write("new");
            file.commit();
            QVERIFY(QFileInfo(at(name)).isSymLink());
        }
        QCOMPARE(bytesOf(at(u"share/real"_s)), QByteArray("new"));
        QCOMPARE(bytesOf(at(u"share/new"_s)), QByteArray("new"));
    }

    void targetsThatCannotBeWrittenAreRefused_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("number");
        QTest::newRow("folder missing") << u"none/report.pdf"_s << err::pathNotFound;
        QTest::newRow("a file where a folder should be") << u"file/report.pdf"_s << err::pathNotFound;
        QTest::newRow("ends like a folder") << u"none/"_s << err::pathNotFound;
        QTest::newRow("a folder") << u"folder"_s << err::pathFileAccess;
        QTest::newRow("read-only file") << u"read-only.pdf"_s << err::permissionDenied;
        if (!onWindows()) // there a folder's mark says nothing about what is in it
            QTest::newRow("read-only folder") << u"closed/report.pdf"_s << err::pathFileAccess;
        QTest::newRow("name too long") << QString(300, u'x') << err::badFileName;
    }

    void targetsThatCannotBeWrittenAreRefused()
    {
        QFETCH(QString, target);
        QFETCH(int, number);
        QDir here(m_folder->path());
        QVERIFY(here.mkdir(u"folder"_s) && here.mkdir(u"closed"_s));
        writeBytes(at(u"file"_s), "x");
        writeBytes(at(u"read-only.pdf"_s), "x");
        QVERIFY(QFile::setPermissions(at(u"read-only.pdf"_s), QFileDevice::ReadOwner));
        QVERIFY(QFile::setPermissions(at(u"closed"_s), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        const QStringList before = entries();

        const RuntimeError error = errorOf([&] { OutputFile file(at(target)); });
        QCOMPARE(error.number(), number);
        QVERIFY2(error.description().contains(QDir::toNativeSeparators(m_folder->path())), error.what());
        QCOMPARE(entries(), before);
        QCOMPARE(bytesOf(at(u"read-only.pdf"_s)), QByteArray("x"));
        QFile::setPermissions(at(u"closed"_s), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    void aFullDiskIsReportedAndLeavesTheOldFile()
    {
        if (!SmallDisk::isPossible())
            QSKIP("this system limits no program's files");
        writeBytes(at(u"report.csv"_s), "old");
        {
            const SmallDisk disk(1 << 20);
            OutputFile file(at(u"report.csv"_s));
            const std::string line(1000, 'x');
            const RuntimeError error = errorOf([&] {
                for (int i = 0; i < 2000; ++i)
                    file.write(line);
            });
            QCOMPARE(error.number(), err::diskFull);
            QVERIFY2(error.description().contains(at(u"report.csv"_s)), error.what());
            QCOMPARE(numberOf([&] { file.commit(); }), err::diskFull);
        }
        QCOMPARE(bytesOf(at(u"report.csv"_s)), QByteArray("old"));
        QCOMPARE(entries(), QStringList{u"report.csv"_s});
    }

    void pipesReceiveTheReport()
    {
        if (onWindows())
            QSKIP("there are no pipes among the files");
        const QString pipe = at(u"pipe"_s);
        QVERIFY(!outputOf(u"mkfifo"_s, {pipe}).isNull());
        QProcess reader;
        reader.start(u"cat"_s, {pipe});
        QVERIFY(reader.waitForStarted());
        OutputFile file(pipe);
        file.write("0 rows of a report");
        file.patch(0, "9");
        QCOMPARE(file.commit().sha256, sha256("9 rows of a report"));
        QVERIFY(reader.waitForFinished());
        QCOMPARE(reader.readAllStandardOutput(), QByteArray("9 rows of a report"));
    }

    void largeArchivesAreReadable()
    {
        const QString python = pythonWithReaders();
        if (python.isEmpty())
            QSKIP("no Python with openpyxl here");
        // The wide forms, which an archive beyond 4 GB needs, begin here at 1,000 bytes.
        OutputFile file(at(u"large.zip"_s));
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
        const QJsonObject archive = readBack(python, u"zip"_s, at(u"large.zip"_s));
        QVERIFY(archive.contains(u"bad"_s) && archive[u"bad"_s].isNull());
        const QJsonObject members = archive[u"members"_s].toObject();
        QCOMPARE(members.size(), 4);
        QCOMPARE(members[u"third"_s][u"size"_s].toInt(), 5000000);
        QVERIFY(members[u"third"_s][u"offset"_s].toInt() > 300000);
    }

private:
    QString at(const QString &name) const { return m_folder->filePath(name); }
    QStringList entries() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(OutputFileTest)
#include "output_file_test.moc"
