// The channel is a named event of the user's session.

#include "platform/AccessListWindows.h"
#include "platform/RaiseChannel.h"
#include "platform/Sha256.h"
#include "platform/SystemFileWindows.h"

#include <QFileInfo>
#include <QWinEventNotifier>

namespace qm {

using namespace qm::win;

namespace {

QString eventFor(const QString &lockFile)
{
    const QFileInfo file(lockFile);
    const QString folder = QFileInfo(file.path()).canonicalFilePath();
    Sha256 sum;
    sum.update(QString(folder + u'/' + file.fileName()).toCaseFolded().toStdString());
    return QStringLiteral("Local\\quillmark-") + sum.hex().first(16) + QStringLiteral("-raise");
}

} // namespace

struct RaiseChannel::State
{
    Handle event;
    std::unique_ptr<QWinEventNotifier> notifier; // after the event: gone before it is closed
};

RaiseChannel::RaiseChannel(const QString &lockFile, QObject *parent) : QObject(parent), m_state(std::make_unique<State>())
{
    m_state->event = Handle(CreateEventW(nullptr, FALSE, FALSE, wide(eventFor(lockFile))));
    if (!m_state->event.isOpen())
        return;
    m_state->notifier = std::make_unique<QWinEventNotifier>(m_state->event.get());
    connect(m_state->notifier.get(), &QWinEventNotifier::activated, this, &RaiseChannel::asked);
}

RaiseChannel::~RaiseChannel() = default;

void RaiseChannel::ask(const QString &lockFile)
{
    const Handle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, wide(eventFor(lockFile))));
    if (!event.isOpen())
        return;
    AllowSetForegroundWindow(ASFW_ANY); // else the holder's window would only blink in the task bar
    SetEvent(event.get());
}

bool RaiseChannel::isOwnFile(const QString &path)
{
    return entryAt(path) && win::isOwnFile(native(path));
}

QString RaiseChannel::ownerOf(const QString &path)
{
    return entryAt(path) ? win::ownerOf(native(path)) : QString();
}

} // namespace qm
