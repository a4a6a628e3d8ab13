// Which component an identifier gives, with a real plug-in.
#include "FormatSamples.h"
#include "framework/ComponentRegistry.h"
#include "platform/ApplicationLog.h"

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// \p name as the file name of a plug-in of this platform.
QString library(const char *name)
{
    return QLatin1String(name) + u'.' + QFileInfo(QStringLiteral(SAMPLE_COMPONENTS)).suffix();
}

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
        if (!root.mkpath(u"Components"_s) || !root.mkpath(u"Logs"_s) ||
            !QFile::copy(QStringLiteral(SAMPLE_COMPONENTS), folder.path(u"Components/"_s + library("sample"))))
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
        registry.registerReportInterface(u"QuillmarkReports.Mail"_s, maker("exact "));
        for (const char *const id : {"QuillmarkReports.Files", "quillmarkreports.MAIL", "QuillmarkReports.Mail_2"})
            registry.createReportInterface(QString::fromLatin1(id))->EditQuery({});
        QCOMPARE(edited,
                 QStringList({u"family QuillmarkReports.Files"_s, u"exact quillmarkreports.MAIL"_s, u"family QuillmarkReports.Mail_2"_s}));
        for (const char *const id : {"QuillmarkReports.", "QuillmarkReports.a.b", "QuillmarkReports", "XQuillmarkReports.a"})
            QCOMPARE(errorOf([&] { (void)registry.createReportInterface(QString::fromLatin1(id)); }).number(), err::cannotCreateObject);
        QVERIFY(registry.createQueryAccess(u"QuillmarkQueryAccess.Mail"_s) != nullptr);
        QCOMPARE(errorOf([&] { (void)registry.createQueryAccess(u"QuillmarkReports.Mail"_s); }).number(), err::cannotCreateObject);

        registry.registerReportInterface(u"Contoso.MailReports"_s, maker("own "));
        registry.createReportInterface(u"Contoso.MailReports"_s)->EditQuery({});
        QCOMPARE(edited.last(), u"own Contoso.MailReports"_s);
    }

    void plug_ins_serve_what_their_metadata_names()
    {
        const Installation installation;
        ComponentRegistry registry(installation.folder.root());
        for (const char *const id : {"Contoso.MailReports", "contoso.mailreports", "Fabrikam.Any"}) {
            const auto component = registry.createReportInterface(QString::fromLatin1(id));
            const RuntimeError error = errorOf([&] { component->EditQuery(u"a target"_s); });
            QCOMPARE(error.source(), u"sample plug-in"_s);
        }
        const auto queries = registry.createQueryAccess(u"Contoso.MailQueries"_s);
        QCOMPARE(queries->ReadFile(u"x"_s)->Description, u"from the plug-in"_s);
        QCOMPARE(errorOf([&] { (void)registry.createReportInterface(u"Contoso.MailQueries"_s); }).number(), err::cannotCreateObject);
    }

    void a_plug_ins_report_is_counted_while_it_is_made_and_its_failure_logged()
    {
        const Installation installation;
        {
            ApplicationLog log(installation.folder.root(), u"test"_s);
            ComponentRegistry registry(installation.folder.root(), &log);
            const auto component = registry.createReportInterface(u"Contoso.MailReports"_s);
            bool generating = false;
            QTimer::singleShot(0, QCoreApplication::instance(), [&] { generating = registry.isGenerating(); });
            QCOMPARE(errorOf([&] { component->GenerateReport(u"lost.rqn"_s, 0, true, false); }).number(), err::fileNotFound);
            QVERIFY(generating && !registry.isGenerating() && !registry.isEditing());
        }
        const QString logged = QString::fromUtf8(installation.folder.read(u"Logs/test.log"_s));
        QVERIFY2(logged.contains(u"lost.rqn: Contoso.MailReports reported error 53 (sample plug-in)"_s), qPrintable(logged));
    }

    void an_unknown_identifier_is_named_and_logged()
    {
        const Installation installation;
        installation.folder.write(u"Components/"_s + library("broken"), "not a library");
        QVERIFY(QDir(installation.folder.root()).mkpath(u"Components/"_s + library("directory")));
        QString logged;
        {
            ApplicationLog log(installation.folder.root(), u"test"_s);
            ComponentRegistry registry(installation.folder.root(), &log);
            const RuntimeError error = errorOf([&] { (void)registry.createReportInterface(u"Nobody.Knows"_s); });
            QCOMPARE(error.number(), err::cannotCreateObject);
            QCOMPARE(error.source(), u"QMMPRptFW"_s);
            QVERIFY2(error.description().contains(QLatin1String("\"Nobody.Knows\"")), qPrintable(error.description()));
            QVERIFY2(error.description().contains(library("broken")), qPrintable(error.description()));
            const RuntimeError none = errorOf([&] { (void)registry.createQueryAccess(QString()); });
            QCOMPARE(none.number(), err::cannotCreateObject);
            QVERIFY2(none.description().contains(QLatin1String("Packages.ini")), qPrintable(none.description()));
        }
        logged = QString::fromUtf8(installation.folder.read(u"Logs/test.log"_s));
        QVERIFY2(logged.contains(QLatin1String("Nobody.Knows")), qPrintable(logged));

        ComponentRegistry bare(installation.folder.path(u"no such folder/"_s));
        QCOMPARE(errorOf([&] { (void)bare.createReportInterface(u"Nobody.Knows"_s); }).number(), err::cannotCreateObject);
    }
};

QTEST_GUILESS_MAIN(FrameworkComponentsTest)
#include "framework_components_test.moc"
