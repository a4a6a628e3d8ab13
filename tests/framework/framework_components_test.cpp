// Which component an identifier gives, with a real plug-in.
#include "FormatSamples.h"
#include "framework/ComponentRegistry.h"
#include "platform/ApplicationLog.h"

using namespace qm;
using namespace qm::test;

namespace {

class RecordingInterface final : public ReportInterface
{
public:
    RecordingInterface(QString made, QStringList &log) : m_made(std::move(made)), m_log(log) {}
    void EditQuery(const QString &) override { m_log.append(m_made); }
    void GenerateReport(const QString &, int, bool, bool) override {}

private:
    QString m_made;
    QStringList &m_log;
};

/// An installation whose "Components" folder holds the sample plug-in.
struct Installation
{
    Installation()
    {
        const QDir root(folder.root());
        if (!root.mkpath(QStringLiteral("Components")) || !root.mkpath(QStringLiteral("Logs")) ||
            !QFile::copy(QStringLiteral(SAMPLE_COMPONENTS), folder.path(QStringLiteral("Components/sample.so"))))
            qFatal("cannot lay out the installation");
    }
    Folder folder;
};

} // namespace

class FrameworkComponentsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exact_identifiers_win_over_families_and_both_over_plug_ins()
    {
        const Installation installation;
        ComponentRegistry registry(installation.folder.root());
        QStringList edited;
        const auto maker = [&edited](const char *label) {
            return [&edited, label](const QString &progId) {
                return std::make_unique<RecordingInterface>(QLatin1String(label) + progId, edited);
            };
        };
        registry.registerReportInterface(QString::fromLatin1(kReportInterfaceFamily), maker("family "));
        registry.registerReportInterface(QStringLiteral("QuillmarkReports.Mail"), maker("exact "));
        for (const char *const id : {"QuillmarkReports.Files", "quillmarkreports.MAIL", "QuillmarkReports.Mail_2"})
            registry.createReportInterface(QString::fromLatin1(id))->EditQuery({});
        QCOMPARE(edited, QStringList({QStringLiteral("family QuillmarkReports.Files"), QStringLiteral("exact quillmarkreports.MAIL"),
                                      QStringLiteral("family QuillmarkReports.Mail_2")}));
        for (const char *const id : {"QuillmarkReports.", "QuillmarkReports.a.b", "QuillmarkReports", "XQuillmarkReports.a"})
            QCOMPARE(errorOf([&] { (void)registry.createReportInterface(QString::fromLatin1(id)); }).number(), err::cannotCreateObject);
        QVERIFY(registry.createQueryAccess(QStringLiteral("QuillmarkQueryAccess.Mail")) != nullptr);
        QCOMPARE(errorOf([&] { (void)registry.createQueryAccess(QStringLiteral("QuillmarkReports.Mail")); }).number(),
                 err::cannotCreateObject);

        registry.registerReportInterface(QStringLiteral("Contoso.MailReports"), maker("own "));
        registry.createReportInterface(QStringLiteral("Contoso.MailReports"))->EditQuery({});
        QCOMPARE(edited.last(), QStringLiteral("own Contoso.MailReports"));
    }

    void plug_ins_serve_what_their_metadata_names()
    {
        const Installation installation;
        ComponentRegistry registry(installation.folder.root());
        for (const char *const id : {"Contoso.MailReports", "contoso.mailreports", "Fabrikam.Any"}) {
            const auto component = registry.createReportInterface(QString::fromLatin1(id));
            const RuntimeError error = errorOf([&] { component->EditQuery(QStringLiteral("a target")); });
            QCOMPARE(error.source(), QStringLiteral("sample plug-in"));
        }
        const auto queries = registry.createQueryAccess(QStringLiteral("Contoso.MailQueries"));
        QCOMPARE(queries->ReadFile(QStringLiteral("x"))->Description, QStringLiteral("from the plug-in"));
        QCOMPARE(errorOf([&] { (void)registry.createReportInterface(QStringLiteral("Contoso.MailQueries")); }).number(),
                 err::cannotCreateObject);
    }

    void an_unknown_identifier_is_named_and_logged()
    {
        const Installation installation;
        installation.folder.write(QStringLiteral("Components/broken.so"), "not a library");
        QVERIFY(QDir(installation.folder.root()).mkpath(QStringLiteral("Components/directory.so")));
        QString logged;
        {
            ApplicationLog log(installation.folder.root(), QStringLiteral("test"));
            ComponentRegistry registry(installation.folder.root(), &log);
            const RuntimeError error = errorOf([&] { (void)registry.createReportInterface(QStringLiteral("Nobody.Knows")); });
            QCOMPARE(error.number(), err::cannotCreateObject);
            QCOMPARE(error.source(), QStringLiteral("QMMPRptFW"));
            QVERIFY2(error.description().contains(QLatin1String("\"Nobody.Knows\"")), qPrintable(error.description()));
            QVERIFY2(error.description().contains(QLatin1String("broken.so")), qPrintable(error.description()));
            const RuntimeError none = errorOf([&] { (void)registry.createQueryAccess(QString()); });
            QCOMPARE(none.number(), err::cannotCreateObject);
            QVERIFY2(none.description().contains(QLatin1String("Packages.ini")), qPrintable(none.description()));
        }
        logged = QString::fromUtf8(installation.folder.read(QStringLiteral("Logs/test.log")));
        QVERIFY2(logged.contains(QLatin1String("Nobody.Knows")), qPrintable(logged));

        ComponentRegistry bare(installation.folder.path(QStringLiteral("no such folder/")));
        QCOMPARE(errorOf([&] { (void)bare.createReportInterface(QStringLiteral("Nobody.Knows")); }).number(), err::cannotCreateObject);
    }
};

QTEST_GUILESS_MAIN(FrameworkComponentsTest)
#include "framework_components_test.moc"
