#include "platform/TemporaryFiles.h"

#include "core/RuntimeError.h"
#include "platform/FileRights.h"
#include "platform/Files.h"
#include "platform/TemporaryFilesSystem.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QLockFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStandardPaths>

namespace qm {

namespace {

constexpr char kPrefix[] = ".quillmark-";
constexpr char kWorkPrefix[] = "quillmark-work-";
constexpr char kHold[] = "held.lock";
/// A program needs a moment from making a file to holding it, and from closing it to giving it its name.
constexpr qint64 kSecondsUntilLeft = 600;
constexpr qint64 kSecondsUntilOldOneIsLeft = 86400;

bool isOlderThan(const QFileInfo &entry, qint64 seconds)
{
    return entry.lastModified().secsTo(QDateTime::currentDateTime()) >= seconds;
}

/// As earlier versions named theirs; other programs do alike.
bool isOldName(const QString &name)
{
    static const QRegularExpression pattern(QStringLiteral("^(?:\\.qm-[0-9a-z]+\\.tmp|\\..+\\.tmp-[0-9a-z]{6,13})$"));
    return pattern.match(name).hasMatch();
}

bool isLeft(const QFileInfo &entry)
{
    if (isTemporaryName(entry.fileName()))
        return isOlderThan(entry, kSecondsUntilLeft);
    return isOldName(entry.fileName()) && isOlderThan(entry, kSecondsUntilOldOneIsLeft) && isOwn(entry.filePath());
}

/// Where work folders are made: the user's own cache folder, or else the one that all share.
QStringList workPlaces()
{
    return {QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/quillmark"), QDir::tempPath()};
}

std::unique_ptr<QLockFile> holdOf(const QString &folder)
{
    auto hold = std::make_unique<QLockFile>(folder + u'/' + QLatin1String(kHold));
    hold->setStaleLockTime(0); // a report may take any time; only the death of its program leaves it
    return hold;
}

} // namespace

QString temporaryName(const QString &suffix)
{
    return QLatin1String(kPrefix) + QString::number(QRandomGenerator::system()->generate64(), 36) + suffix;
}

bool isTemporaryName(const QString &name)
{
    static const QRegularExpression pattern(QStringLiteral("^\\.quillmark-[0-9a-z]+\\.(?!lock$)[a-z]+$"));
    return pattern.match(name).hasMatch();
}

int sweepTemporaries(const QString &folder)
{
    int removed = 0;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        if (!entries.fileInfo().isSymLink() && isLeft(entries.fileInfo()) && removeUnheld(entries.filePath()))
            ++removed;
    }
    return removed;
}

bool sweepTemporariesOf(const QString &folder, const QDateTime &begin, const QDateTime &end)
{
    const QDir place(folder);
    if (!place.exists())
        return false;
    bool isClean = true;
    const auto found = place.entryInfoList(QDir::Files | QDir::Hidden | QDir::System | QDir::NoSymLinks);
    for (const QFileInfo &entry : found) {
        const QDateTime changed = entry.lastModified();
        if (!isTemporaryName(entry.fileName()) || changed < begin || changed > end || !isOwn(entry.filePath()))
            continue;
        if (!isOlderThan(entry, kSecondsUntilLeft) || !removeUnheld(entry.filePath()))
            isClean = false;
    }
    return isClean;
}

WorkFolder::WorkFolder()
{
    for (const QString &place : workPlaces()) {
        QDir().mkpath(place);
        m_folder = std::make_unique<QTemporaryDir>(place + u'/' + QLatin1String(kWorkPrefix) + QStringLiteral("XXXXXX"));
        if (!m_folder->isValid())
            continue;
        m_hold = holdOf(m_folder->path());
        if (m_hold->tryLock())
            return;
    }
    raise(err::pathFileAccess, QStringLiteral("no temporary folder could be made for the report: %1").arg(m_folder->errorString()),
          kFrameworkSource);
}

WorkFolder::~WorkFolder()
{
    m_hold->unlock();
}

QString WorkFolder::path() const
{
    return QDir::toNativeSeparators(m_folder->path()) + kSep;
}

int sweepWorkFolders()
{
    int removed = 0;
    for (const QString &place : workPlaces()) {
        const auto found = QDir(place).entryInfoList({QLatin1String(kWorkPrefix) + u'*'}, QDir::Dirs | QDir::NoSymLinks);
        for (const QFileInfo &folder : found) {
            // Whoever else could write there could make the lock a pipe, or the folder look left.
            if (!isPrivateFolder(folder.filePath()) || files::isPipeOrDevice(folder.filePath() + u'/' + QLatin1String(kHold)) ||
                !isOlderThan(folder, kSecondsUntilLeft))
                continue;
            const auto hold = holdOf(folder.filePath());
            if (!hold->tryLock())
                continue;
            hold->unlock();
            removed += QDir(folder.filePath()).removeRecursively() ? 1 : 0;
        }
    }
    return removed;
}

} // namespace qm
