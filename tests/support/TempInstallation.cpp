#include "support/TempInstallation.h"

#include "platform/Files.h"
#include "platform/Registry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace qm::test {

namespace {

QByteArray packagesIni(const std::vector<TempPackage> &packages)
{
    QString text = QStringLiteral("[Framework]\nVersion=8.50.000\nServicePack=4\nBuild=1207\n");
    for (const TempPackage &package : packages) {
        text += QStringLiteral("\n[Package.%1]\nName=%2\n").arg(package.word, package.name);
        const auto entry = [&](const QString &key, const QString &value) {
            if (!value.isEmpty())
                text += key + u'=' + value + u'\n';
        };
        entry(QStringLiteral("Interface"), package.interface);
        entry(QStringLiteral("InstallPath"), package.installPath);
        entry(QStringLiteral("QueryAccess"), package.queryAccess);
        entry(QStringLiteral("Database"), package.database);
    }
    return text.toUtf8();
}

} // namespace

std::vector<TempPackage> usualPackages()
{
    const auto package = [](const QString &word, const QString &name) {
        return TempPackage{word,
                           name,
                           QStringLiteral("Quillmark.%1ReportInterface").arg(word),
                           QDir::toNativeSeparators(QStringLiteral("Packages/%1/").arg(word)),
                           QStringLiteral("Quillmark.%1QueryAccess").arg(word),
                           QStringLiteral("EventLog.db")};
    };
    return {package(QStringLiteral("Server"), QStringLiteral("Server Operating System Logs")),
            package(QStringLiteral("Mail"), QStringLiteral("Mail Server Logs")),
            package(QStringLiteral("File"), QStringLiteral("File Server Logs"))};
}

TempInstallation::TempInstallation(const std::vector<TempPackage> &packages)
    : m_path(QDir::toNativeSeparators(m_folder.path() + QStringLiteral("/Quillmark/"))), m_packages(packages), m_registry(m_folder.path())
{
    if (!m_folder.isValid())
        qFatal("no temporary folder: %s", qPrintable(m_folder.errorString()));
    for (const char *name : {"Config", "Logs", "Reports"})
        QDir().mkpath(m_path + QString::fromLatin1(name));
    for (const TempPackage &package : m_packages)
        QDir().mkpath(packagePath(package.word) + QStringLiteral("Query Groups"));
    write(QStringLiteral("Packages.ini"), packagesIni(m_packages));
    setRegistryString(QString::fromLatin1(kRegistryKey), QStringLiteral("InstallPath"), m_path);
}

QString TempInstallation::packagePath(const QString &word) const
{
    for (const TempPackage &package : m_packages)
        if (package.word == word)
            return absolute(package.installPath);
    qFatal("no package with the word %s", qPrintable(word));
}

QString TempInstallation::group(const QString &word, const QString &group) const
{
    const QString folder = packagePath(word) + QStringLiteral("Query Groups") + kSep + group;
    QDir().mkpath(folder);
    return folder;
}

QString TempInstallation::write(const QString &path, const QByteArray &bytes) const
{
    const QString whole = absolute(path);
    QDir().mkpath(QFileInfo(whole).path());
    QFile file(whole);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("%s: %s", qPrintable(whole), qPrintable(file.errorString()));
    return whole;
}

QByteArray TempInstallation::read(const QString &path) const
{
    QFile file(absolute(path));
    return file.open(QIODevice::ReadOnly) ? QByteArray("").append(file.readAll()) : QByteArray();
}

QString TempInstallation::absolute(const QString &path) const
{
    return QDir::toNativeSeparators(QDir::isAbsolutePath(path) ? path : m_path + path);
}

} // namespace qm::test
