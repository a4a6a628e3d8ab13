#include "TrialInstallation.h"

#include "importing/EventDatabase.h"
#include "importing/ImportError.h"
#include "platform/Files.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <array>

namespace qm {

namespace {

constexpr std::array<TrialPackage, 3> kPackages{{
    {"Server", "Server Operating System Logs", "ServerLogs", EventKind::Server},
    {"Mail", "Mail Server Logs", "MailLogs", EventKind::Mail},
    {"File", "File Server Logs", "FileLogs", EventKind::File},
}};

QString packageFolder(const TrialPackage &package)
{
    return QStringLiteral("Packages/") + QString::fromLatin1(package.word);
}

QByteArray packagesIni()
{
    QByteArray text = "; The event-log packages of this trial installation. Paths are relative to this file's folder.\n"
                      "[Framework]\nVersion=8.50\nServicePack=0\nBuild=" QUILLMARK_VERSION "\n";
    for (const TrialPackage &package : kPackages) {
        text += QByteArray("\n[Package.") + package.word + "]\nName=" + package.name + "\nInterface=QuillmarkReports." + package.idWord +
                "\nInstallPath=Packages/" + package.word + "/\nQueryAccess=QuillmarkQueryAccess." + package.idWord +
                "\nDatabase=EventLog.db\n";
    }
    return text;
}

constexpr char kAboutSamples[] = R"(Quillmark trial installation
============================

The events in this installation are SAMPLE DATA: made by a generator, about an invented company.
None of them happened. Every row says "sample data" in its column data_source.
)";

constexpr char kAboutNoEvents[] = R"(Quillmark installation
======================

The event databases of this installation are empty: import your own logs.
)";

constexpr char kReadMe[] = R"(
  Packages.ini                          the three event-log packages
  Packages/<word>/Query Groups/...      report groups and report queries (.rqn)
  Packages/<word>/Layouts/...           report layouts (.rpt)
  Packages/<word>/EventLog.db           the package's event database (SQLite)
  Config/                               scheduled reports, e-mail settings, data sources
  Reports/                              reports that go to a file
  Logs/                                 the application log and the record of all runs
  Report Generator.chm                  the help, unless it is beside the program

To report on your own logs, import them into a new database and put that in the place of EventLog.db:

  quillmark-import --database mylogs.db --kind server  server_events.csv /var/log/auth.log

To make this installation anew, remove its folder and run quillmark-trial again.
)";

} // namespace

std::span<const TrialPackage> trialPackages()
{
    return kPackages;
}

QString installationPath(const QString &folder)
{
    QString path = QDir::toNativeSeparators(QDir::cleanPath(QFileInfo(folder).absoluteFilePath()));
    if (!path.endsWith(kSep))
        path += kSep;
    return path;
}

TrialInstallation::TrialInstallation(TrialOptions options, std::function<void(const QString &)> tell)
    : m_options(std::move(options)), m_tell(std::move(tell)), m_path(installationPath(m_options.to))
{
}

void TrialInstallation::create()
{
    plan();
    if (!m_options.force)
        refuseExisting();
    makeFolders();
    copySamples();
    for (const TrialPackage &package : kPackages)
        fillDatabase(package);
    writeTexts();
    m_tell(QStringLiteral("The trial installation is ready in %1").arg(m_path));
}

void TrialInstallation::plan()
{
    m_folders = {QStringLiteral("Config"), QStringLiteral("Logs"), QStringLiteral("Reports"), QStringLiteral("Packages")};
    m_files = {{QStringLiteral("Packages.ini"), {}}, {QStringLiteral("README.txt"), {}}};
    if (!m_options.help.isEmpty())
        m_files.append({QFileInfo(m_options.help).fileName(), m_options.help});
    for (const TrialPackage &package : kPackages) {
        const QString folder = packageFolder(package);
        m_folders << folder;
        m_files.append({folder + QStringLiteral("/EventLog.db"), {}});
        const QDir source(m_options.samples + QStringLiteral("/packages/") + QString::fromLatin1(package.name));
        if (!source.exists()) {
            failImport(err::fileNotFound,
                       QStringLiteral("%1: the sample queries are not there; name the folder that holds \"packages\" with --samples")
                           .arg(QDir::toNativeSeparators(source.absolutePath())));
        }
        QStringList folders, queries;
        QDirIterator walk(source.absolutePath(), QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            const QFileInfo entry(walk.next());
            (entry.isDir() ? folders : queries) << source.relativeFilePath(entry.absoluteFilePath());
        }
        folders.sort(); // parents before what they hold
        queries.sort();
        for (const QString &name : folders)
            m_folders << folder + u'/' + name;
        for (const QString &name : queries)
            m_files.append({folder + u'/' + name, source.absoluteFilePath(name)});
    }
}

void TrialInstallation::refuseExisting() const
{
    for (const PlannedFile &file : m_files) {
        if (QFileInfo::exists(m_path + file.target)) {
            failImport(err::fileAlreadyExists,
                       QStringLiteral("%1 is there already and is kept. Choose another folder, or say --force to replace the "
                                      "files of the trial installation, its event databases included")
                           .arg(QDir::toNativeSeparators(m_path + file.target)));
        }
    }
}

void TrialInstallation::makeFolders() const
{
    if (!QDir().mkpath(m_path))
        failImport(err::pathFileAccess,
                   QStringLiteral("%1: the folder cannot be made; check the permissions of the folder above").arg(m_path));
    for (const QString &name : m_folders)
        if (!QDir().mkpath(m_path + name))
            failImport(err::pathFileAccess, QStringLiteral("%1: the folder cannot be made").arg(QDir::toNativeSeparators(m_path + name)));
}

void TrialInstallation::copySamples() const
{
    int queries = 0;
    for (const PlannedFile &file : m_files) {
        if (file.source.isEmpty())
            continue;
        files::saveAtomically(QDir::toNativeSeparators(m_path + file.target), files::readAll(file.source));
        if (file.target.endsWith(QStringLiteral(".rqn")))
            ++queries;
    }
    m_tell(QStringLiteral("Copied %1 report queries and their layouts").arg(queries));
}

void TrialInstallation::writeTexts() const
{
    files::saveAtomically(m_path + QStringLiteral("README.txt"), QByteArray(m_options.rows > 0 ? kAboutSamples : kAboutNoEvents) + kReadMe);
    // Last, as the program looks for this file: an installation that was not finished is none.
    files::saveAtomically(m_path + QStringLiteral("Packages.ini"), packagesIni());
}

void TrialInstallation::fillDatabase(const TrialPackage &package) const
{
    const QString path = QDir::toNativeSeparators(m_path + packageFolder(package) + QStringLiteral("/EventLog.db"));
    for (const char *part : {"", "-wal", "-shm"}) {
        const QString old = path + QString::fromLatin1(part);
        if (QFileInfo::exists(old))
            files::kill(old);
    }
    const EventSchema &schema = eventSchema(package.kind);
    EventDatabase database(path, schema);
    const SampleEvents events({package.kind, m_options.rows, m_options.seed, m_options.end});
    insertSampleEvents(events, schema, database);
    database.commit();
    m_tell(QStringLiteral("Filled %1 with %2 sample events").arg(path).arg(database.rows()));
}

} // namespace qm
