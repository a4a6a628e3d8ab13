// Components by COM, and the connection test by ADO, against a COM server of our own.
#include "ClassKeys.h"
#include "SampleServer.h"
#include "core/RuntimeError.h"
#include "datasources/AdoConnectionTester.h"
#include "framework/ComponentRegistry.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "support/ErrorOf.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <thread>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

constexpr GUID kBrokenClass = {0x5d3c0b0e, 0x77a1, 0x4f0a, {0x9e, 0x41, 0x0c, 0x5e, 0x1d, 0x32, 0xa9, 0x21}};
constexpr GUID kNarrowClass = {0x5d3c0b0e, 0x77a1, 0x4f0a, {0x9e, 0x41, 0x0c, 0x5e, 0x1d, 0x32, 0xa9, 0x22}};

QString library()
{
    return QCoreApplication::applicationDirPath() + u"/sample_server.dll"_s;
}

/// Counts the objects of the sample server, which it keeps loaded for that: COM would let go of it with objects in use.
class LiveObjects final
{
public:
    LiveObjects() : m_library(LoadLibraryW(library().toStdWString().c_str()))
    {
        if (m_library == nullptr)
            qFatal("the sample server cannot be loaded: error %lu", GetLastError());
        m_question = reinterpret_cast<Question>(reinterpret_cast<void *>(GetProcAddress(m_library, "DllCanUnloadNow")));
    }
    ~LiveObjects() { FreeLibrary(m_library); }
    LiveObjects(const LiveObjects &) = delete;
    LiveObjects &operator=(const LiveObjects &) = delete;
    [[nodiscard]] bool none() const { return m_question() == S_OK; }

private:
    using Question = HRESULT(WINAPI *)();
    HMODULE m_library;
    Question m_question;
};

bool isComRunning()
{
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    return CoGetApartmentType(&type, &qualifier) == S_OK;
}

/// Puts the sample server's connection in ADO's place.
class AdoReplaced final
{
public:
    AdoReplaced()
    {
        const std::wstring manifest =
            QDir::toNativeSeparators(QCoreApplication::applicationDirPath() + u"/sample_ado.manifest"_s).toStdWString();
        ACTCTXW wanted{};
        wanted.cbSize = sizeof wanted;
        wanted.lpSource = manifest.c_str();
        m_context = CreateActCtxW(&wanted);
        if (m_context == INVALID_HANDLE_VALUE || !ActivateActCtx(m_context, &m_cookie))
            qFatal("the manifest of the sample server is not accepted: error %lu", GetLastError());
    }
    ~AdoReplaced()
    {
        DeactivateActCtx(0, m_cookie);
        ReleaseActCtx(m_context);
    }
    AdoReplaced(const AdoReplaced &) = delete;
    AdoReplaced &operator=(const AdoReplaced &) = delete;

private:
    HANDLE m_context = nullptr;
    ULONG_PTR m_cookie = 0;
};

} // namespace

class ComComponentsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_objects = std::make_unique<LiveObjects>();
        m_keys.add(u"SampleServer.Reports"_s, kReportsClass, library());
        m_keys.add(u"SampleServer.Queries"_s, kQueriesClass, library());
        m_keys.add(u"SampleServer.Broken"_s, kBrokenClass, QCoreApplication::applicationDirPath() + u"/no such library.dll"_s);
        m_keys.add(u"SampleServer.Narrow"_s, kNarrowClass, library(), KEY_WOW64_32KEY);
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_at = QDir::toNativeSeparators(m_folder->path()) + kSep;
        QVERIFY(QDir(m_at).mkpath(u"Logs"_s));
        QVERIFY(QDir(m_at).mkpath(u"Größe 漢"_s));
        m_log = std::make_unique<ApplicationLog>(m_at, u"test"_s);
        m_registry = std::make_unique<ComponentRegistry>(m_at, m_log.get());
    }

    void cleanup()
    {
        m_registry.reset();
        m_log.reset();
        QVERIFY(m_objects->none());
        QVERIFY(!isComRunning()); // this program's own share of it is given back
    }

    void edit_and_generate_reach_the_component_with_their_arguments()
    {
        const QString group = m_at + u"Größe 漢\\"_s, query = group + u"By the component.rqn"_s;
        {
            const auto component = m_registry->createReportInterface(u"sampleserver.reports"_s);
            const auto second = m_registry->createReportInterface(u"SampleServer.Reports"_s);
            component->EditQuery(group);
            QVERIFY(read(query).startsWith("description = \"By the component\""));
            second->EditQuery(query);
            QVERIFY(read(query).endsWith("# edited by the component\n"));
            component->GenerateReport(query, 0, true, false);
            QVERIFY(!m_objects->none());
        }
        QCOMPARE(QString::fromUtf8(read(query + u".generated"_s)), u"text "_s + query + u"\nnumber 0\ntrue\nfalse\n"_s);
        // A thread that other code set up in another way is used as it is.
        std::thread([&] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            m_registry->createReportInterface(u"SampleServer.Reports"_s)->GenerateReport(query, 0, false, false);
            if (!isComRunning())
                qFatal("more was given back than taken");
            CoUninitialize();
        }).join();
        QVERIFY(read(query + u".generated"_s).endsWith("number 0\nfalse\nfalse\n"));
    }

    void what_the_component_reports_arrives_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("source");
        const QString own = u"SampleServer.Reports"_s;
        QTest::newRow("told when asked") << u"described"_s << 53 << u"Prüfung: die Datei fehlt – 漢"_s << u"Sample Prüfer"_s;
        QTest::newRow("a number that ends in silence") << u"cancelled"_s << err::cancelledByOperator << u"cancelled"_s << own;
        QTest::newRow("the older kind of number") << u"numbered"_s << 1004 << u"a number of my own"_s << own;
        QTest::newRow("classic, no words") << u"wordless"_s << 70 << u"Permission denied: SampleServer.Reports."_s << own;
        QTest::newRow("HRESULT alone") << u"bare"_s << static_cast<int>(0x80004005U) << u"(0x80004005)"_s << own;
    }

    void what_the_component_reports_arrives()
    {
        QFETCH(const QString, word);
        QFETCH(const int, number);
        QFETCH(const QString, description);
        QFETCH(const QString, source);
        const auto component = m_registry->createReportInterface(u"SampleServer.Reports"_s);
        const QString file = m_at + word + u".rqn"_s;
        for (const bool edits : {true, false}) {
            const RuntimeError error = errorOf([&] {
                if (edits)
                    component->EditQuery(file);
                else
                    component->GenerateReport(file, 0, false, false);
            });
            QCOMPARE(error.number(), number);
            QVERIFY2(error.description().contains(description), qPrintable(error.description()));
            QVERIFY2(!error.description().endsWith(u'\n'), qPrintable(error.description()));
            QCOMPARE(error.source(), source);
            if (edits)
                QVERIFY(!logged().contains(file));
        }
        const QString line = logged().section(u'\n', -2);
        QVERIFY2(line.contains(file) && line.contains(QString::number(number)) && line.contains(description), qPrintable(line));
        QCOMPARE(line.contains(u" error: "_s), number != err::cancelledByOperator);
    }

    void a_query_is_renamed_through_the_object_that_was_read()
    {
        const QString file = m_at + u"Größe 漢\\old.rqn"_s, renamed = m_at + u"new ß.rqn"_s;
        write(file, "kept = 1\ndescription = \"Logons – früh\"\nalso_kept = \"x\"\n");
        const auto access = m_registry->createQueryAccess(u"SampleServer.Queries"_s);
        const std::shared_ptr<Query> query = access->ReadFile(file);
        QCOMPARE(query->Description, u"Logons – früh"_s);
        QCOMPARE(query->QueryFile, file);
        QCOMPARE(query->ReportFile, QString());
        QCOMPARE(query->OutputSettings.OutputType, 2);
        query->Description = u"Größe 漢"_s;
        access->WriteFile(*query, renamed);
        QCOMPARE(QString::fromUtf8(read(renamed)), u"kept = 1\ndescription = \"Größe 漢\"\nalso_kept = \"x\"\n"_s);
        // What the component did not keep, or never saw, is not taken for written: the caller removes the old file next.
        QCOMPARE(numberOf([&] { access->WriteFile(*query, m_at + u"nowhere.rqn"_s); }), err::pathFileAccess);
        const RuntimeError unread = errorOf([&] { m_registry->createQueryAccess(u"SampleServer.Queries"_s)->WriteFile(*query, renamed); });
        QCOMPARE(unread.number(), err::objectNotSet);
        QVERIFY2(unread.description().contains(file), qPrintable(unread.description()));
        QCOMPARE(numberOf([&] { (void)access->ReadFile(m_at + u"nothing.rqn"_s); }), err::objectNotSet);
        query->OutputSettings.OutputType = 3; // which this component lets nobody change
        QCOMPARE(numberOf([&] { access->WriteFile(*query, renamed); }), err::permissionDenied);
    }

    void an_identifier_that_gives_nothing_says_why()
    {
        const auto why = [&](const char *progId) {
            const RuntimeError error = errorOf([&] { (void)m_registry->createReportInterface(QLatin1StringView(progId)); });
            return QString::number(error.number()) + u' ' + error.description();
        };
        const auto says = [](const QString &text, const char *start, const char *part) {
            const bool right = text.startsWith(QLatin1StringView(start)) && text.contains(QLatin1StringView(part));
            if (!right)
                qWarning() << text;
            return right;
        };
        QVERIFY(says(why("SampleServer.None"), "429 ", "registered with COM"));
        QVERIFY(says(why("SampleServer.Broken"), "429 ", "\"SampleServer.Broken\" is registered but could not be made"));
        QVERIFY(says(why("SampleServer.Narrow"), "429 ", "made for 32-bit programs"));
        const QString log = logged();
        for (const char *const progId : {"SampleServer.None", "SampleServer.Broken", "SampleServer.Narrow"})
            QCOMPARE(log.count(QLatin1StringView(progId)), 1);
        const RuntimeError wrongKind = errorOf([&] { m_registry->createReportInterface(u"SampleServer.Queries"_s)->EditQuery(m_at); });
        QCOMPARE(wrongKind.number(), err::noSuchMember);
        QVERIFY2(wrongKind.description().contains(u"SampleServer.Queries.EditQuery"_s), qPrintable(wrongKind.description()));
    }

    void the_connection_test_asks_ado()
    {
        const AdoReplaced replaced;
        const QString record = m_at + u"ado.txt"_s;
        const auto connection = [&](const char *catalog) {
            return u"Provider=SQLOLEDB.1;Persist Security Info=False;User ID=auditor;Password=sécret;Initial Catalog=%1;Data Source=%2"_s
                .arg(QLatin1StringView(catalog), record);
        };
        AdoConnectionTester tester;
        tester.testConnection(connection("Events"));
        QCOMPARE(QString::fromUtf8(read(record)),
                 u"timeout number 15\ntext "_s + connection("Events") + u"\ntext \ntext \nnumber -1\nclosed\n"_s);

        const auto failure = [&](const char *catalog) {
            const QString text = errorOf([&] { tester.testConnection(connection(catalog)); }).description();
            return text.contains(u"sécret"_s) ? u"the password is shown: "_s + text : text;
        };
        QCOMPARE(failure("described"), u"Prüfung: die Datei fehlt – 漢"_s);
        QVERIFY2(failure("bare").contains(u"(0x80004005)"_s), qPrintable(failure("bare")));
        QCOMPARE(failure("leaky"), u"cannot use "_s + connection("leaky").replace(u"sécret"_s, u"***"_s));
        // Without the provider the way of the reports is tried, and that there is no driver for it either is said as well.
        const QString missing = failure("provider");
        QVERIFY2(missing.startsWith(u"The provider \"SQLOLEDB.1\" is not installed on this machine for 64-bit programs: Provider cannot"_s),
                 qPrintable(missing));
        QVERIFY2(missing.contains(u"\r\nThrough ODBC, as reports are read: "_s), qPrintable(missing));
    }

private:
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static void write(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    [[nodiscard]] QString logged() const { return QString::fromUtf8(read(m_at + u"Logs\\test.log"_s)); }

    ClassKeys m_keys;
    std::unique_ptr<LiveObjects> m_objects;
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_at;
    std::unique_ptr<ApplicationLog> m_log;
    std::unique_ptr<ComponentRegistry> m_registry;
};

QTEST_GUILESS_MAIN(ComComponentsTest)
#include "com_components_test.moc"
