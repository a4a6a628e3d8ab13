// The channel is a named pipe in the user's runtime folder, private to the user.

#include "platform/RaiseChannel.h"

#include "platform/PosixFileUnix.h"
#include "platform/Sha256.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <array>

#include <fcntl.h>
#include <unistd.h>

namespace qm {

using namespace qm::posix;

namespace {

/// The pipe's path; empty without a runtime folder.
QByteArray pipeFor(const QString &lockFile)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        return {};
    Sha256 sum;
    const QFileInfo file(lockFile);
    sum.update(QFile::encodeName(QFileInfo(file.path()).canonicalFilePath() + kSep + file.fileName()).toStdString());
    return QFile::encodeName(folder + QStringLiteral("/quillmark-") + sum.hex().first(16) + QStringLiteral(".raise"));
}

bool isOwnPipe(const Descriptor &pipe)
{
    struct stat status
    {
    };
    return pipe.isOpen() && ::fstat(pipe.get(), &status) == 0 && S_ISFIFO(status.st_mode) && status.st_uid == ::geteuid();
}

} // namespace

struct RaiseChannel::State
{
    QByteArray path;
    Descriptor pipe;
    std::unique_ptr<QSocketNotifier> notifier;
};

RaiseChannel::RaiseChannel(const QString &lockFile, QObject *parent) : QObject(parent), m_state(std::make_unique<State>())
{
    m_state->path = pipeFor(lockFile);
    if (m_state->path.isEmpty())
        return;
    ::unlink(m_state->path.constData()); // left by a holder that was killed
    if (::mkfifo(m_state->path.constData(), S_IRUSR | S_IWUSR) != 0)
        return;
    // Opened for writing too, so that the pipe does not report its end whenever an asker closes.
    m_state->pipe = Descriptor(::open(m_state->path.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    if (!isOwnPipe(m_state->pipe))
        return;
    m_state->notifier = std::make_unique<QSocketNotifier>(m_state->pipe.get(), QSocketNotifier::Read);
    connect(m_state->notifier.get(), &QSocketNotifier::activated, this, [this] {
        std::array<char, 64> bytes{};
        while (::read(m_state->pipe.get(), bytes.data(), bytes.size()) > 0) {
        }
        Q_EMIT asked();
    });
}

RaiseChannel::~RaiseChannel()
{
    if (m_state->pipe.isOpen())
        ::unlink(m_state->path.constData());
}

void RaiseChannel::ask(const QString &lockFile)
{
    const QByteArray path = pipeFor(lockFile);
    if (path.isEmpty())
        return;
    const Descriptor pipe(::open(path.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    if (isOwnPipe(pipe))
        (void)!::write(pipe.get(), "R", 1);
}

bool RaiseChannel::isOwnFile(const QString &path)
{
    const auto entry = entryAt(path);
    return entry && entry->st_uid == ::geteuid();
}

QString RaiseChannel::ownerOf(const QString &path)
{
    return QFileInfo(path).owner();
}

} // namespace qm
