#include "platform/InstanceLock.h"

#include "platform/FileRights.h"
#include "platform/Files.h"
#include "platform/RaiseChannel.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLockFile>
#include <QSysInfo>

namespace qm {

namespace {

/// Removes a lock file that says nothing, left by a crash of the whole machine; the system's own lock protects that of a living holder.
bool removeEmptyLock(QLockFile &lock, const QString &path)
{
    constexpr qint64 writingTime = 10; // s; a holder that has just made the file may not have written it yet
    qint64 process = 0;
    QString host;
    QString program;
    const QFileInfo file(path);
    return !lock.getLockInfo(&process, &host, &program) && file.lastModified().secsTo(QDateTime::currentDateTime()) > writingTime &&
           lock.removeStaleLockFile();
}

constexpr int kLastBreath = 300; ///< ms; a holder that was just killed lets go within them

/// Letter case says nothing in a computer's name, and the lock may hold its short form of at most 15 characters.
bool isThisComputer(const QString &host)
{
    constexpr qsizetype shortName = 15;
    const QString name = QSysInfo::machineHostName();
    return host.compare(name, Qt::CaseInsensitive) == 0 ||
           (host.size() == shortName && name.startsWith(host, Qt::CaseInsensitive) && kSep == u'\\');
}

} // namespace

struct InstanceLock::State
{
    explicit State(const QString &lockPath) : path(lockPath), lock(lockPath)
    {
        lock.setStaleLockTime(0); // only the death of the holder ends its lock, never its age
    }

    QString path;
    QLockFile lock;
    std::unique_ptr<RaiseChannel> channel; // after the lock: gone before the lock is free
};

InstanceLock::InstanceLock(const QString &installPath, QObject *parent)
    : QObject(parent), m_state(std::make_unique<State>(installPath + QStringLiteral("Config") + kSep + QStringLiteral("quillmark.lock")))
{
}

InstanceLock::~InstanceLock() = default;

InstanceLock::Result InstanceLock::acquire()
{
    if (m_state->lock.isLocked())
        return Result::Acquired;
    if (files::isPipeOrDevice(m_state->path)) // reading it could wait for ever
        return Result::NotLockable;
    if (m_state->lock.tryLock(kLastBreath) || (removeEmptyLock(m_state->lock, m_state->path) && m_state->lock.tryLock(0))) {
        m_state->channel = std::make_unique<RaiseChannel>(m_state->path);
        connect(m_state->channel.get(), &RaiseChannel::asked, this, &InstanceLock::raiseRequested);
        return Result::Acquired;
    }
    if (m_state->lock.error() != QLockFile::LockFailedError)
        return Result::NotLockable;
    qint64 process = 0;
    QString host;
    QString program;
    const bool known = m_state->lock.getLockInfo(&process, &host, &program);
    return known && isThisComputer(host) && RaiseChannel::isOwnFile(m_state->path) ? Result::HeldBySameUser : Result::HeldByOther;
}

QString InstanceLock::holder() const
{
    qint64 process = 0;
    QString host;
    QString program;
    const QString user = RaiseChannel::ownerOf(m_state->path);
    QString who = user.isEmpty() ? QStringLiteral("another user") : QStringLiteral("the user \"%1\"").arg(user);
    if (!m_state->lock.getLockInfo(&process, &host, &program))
        return who;
    return QStringLiteral("%1 on the computer \"%2\" (%3, process %4)").arg(who, host, program).arg(process);
}

void InstanceLock::askHolderToRaise()
{
    RaiseChannel::ask(m_state->path);
}

} // namespace qm
