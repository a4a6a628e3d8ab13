#include "framework/KnownFiles.h"

#include "core/RuntimeError.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace qm {
namespace {

/// Files up to this size are compared by contents; larger ones by size and time, for a digest costs as much as the save.
constexpr qint64 kAlwaysCompare = 1 << 20;

QByteArray digestOf(const QByteArray &bytes)
{
    return bytes.size() > kAlwaysCompare ? QByteArray() : QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

} // namespace

QString KnownFiles::keyOf(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath()).toCaseFolded();
}

void KnownFiles::remember(const QString &path, const QByteArray &bytes)
{
    const qint64 modified = QFileInfo(path).lastModified().toMSecsSinceEpoch();
    State state{bytes.size(), modified, digestOf(bytes)};
    const std::lock_guard lock(m_mutex);
    m_states.insert(keyOf(path), std::move(state));
}

bool KnownFiles::isKnown(const QString &path, const QByteArray &bytes)
{
    State known;
    {
        const std::lock_guard lock(m_mutex);
        known = m_states.value(keyOf(path));
    }
    if (known.size > kAlwaysCompare) {
        const QFileInfo info(path);
        if (info.size() == known.size && info.lastModified().toMSecsSinceEpoch() == known.modified)
            return true;
    }
    try {
        const QByteArray found = files::readAll(path);
        return found == bytes || (!known.digest.isEmpty() && digestOf(found) == known.digest);
    } catch (const RuntimeError &) {
        return false; // what cannot be read was not seen
    }
}

void KnownFiles::protect(const QString &path, const QByteArray &bytes)
{
    if (!files::entryExists(path) || isKnown(path, bytes))
        return;
    const QString aside = files::setAside(path);
    if (m_log != nullptr)
        m_log->warning(
            QStringLiteral("%1 holds contents that this session did not read; it was renamed to %2 before saving").arg(path, aside));
}

void KnownFiles::note(const QString &text)
{
    if (m_log != nullptr)
        m_log->warning(text);
}

} // namespace qm
