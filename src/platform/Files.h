/// \file
/// The file operations of the front end, failing with the classic error numbers on every platform.
///
/// Names that differ only in letter case clash everywhere. A path ends with a separator only where said.
#pragma once

#include <QString>
#include <QStringList>

namespace qm {

/// The platform's path separator, used wherever a path is built by concatenation.
#ifdef Q_OS_WIN
inline constexpr QChar kSep = u'\\';
#else
inline constexpr QChar kSep = u'/';
#endif

/// Attribute mask bits of a listing, and of fileAttributes().
namespace attr {
inline constexpr int normal = 0, readOnly = 1, hidden = 2, system = 4, directory = 16, archive = 32;
} // namespace attr

namespace files {

/// Names in \p folder that match \p pattern ("*", "*.rqn"; letter case ignored, exact suffix), ordered by orderedBefore().
/// Normal and read-only files always; hidden (2), system (4) and directories (16) when the mask has their bit. "." and ".." never.
/// A missing folder lists nothing. A link counts as a file, whatever it points to; pipes, sockets and devices count as system.
/// \throws RuntimeError 75 when the folder is there but cannot be read.
[[nodiscard]] QStringList list(const QString &folder, const QString &pattern, int mask);
/// The listing order: letter case folded, UTF-16 code units; ties by exact code units. The same on every platform.
[[nodiscard]] bool orderedBefore(QStringView a, QStringView b);
/// Whether list() takes a file of that name for hidden, whatever its attributes.
[[nodiscard]] bool isHiddenName(const QString &name);
/// Whether a normal file is at \p path (letter case ignored; wildcards have no meaning; an empty path is no file).
[[nodiscard]] bool fileExists(const QString &path);
/// Whether anything, directories included, is at \p path (letter case ignored).
[[nodiscard]] bool entryExists(const QString &path);
/// \p path with its last part spelled as the folder has it, when an entry of that name exists in any letter case; else \p path.
[[nodiscard]] QString existingSpelling(const QString &path);

/// Renames or moves a file or a folder. The same name does nothing. To another drive only files move: copied, flushed, deleted.
/// \throws RuntimeError 53 missing, 58 target exists (a change of letter case only is allowed), 76 its folder missing, 75, 52 bad name.
void rename(const QString &from, const QString &to);
/// Copies content, permission bits and time of change beside the target, flushes, replaces. A target that differs only in letter case is
/// the one replaced. \throws RuntimeError 53, 75 (read-only target), 76, 61, 52.
void copy(const QString &from, const QString &to);
/// Deletes a file. \throws RuntimeError 53 missing, 75 read-only or not permitted.
void kill(const QString &path);
/// \throws RuntimeError 75 exists, 76 parent missing, 52 bad name.
void makeFolder(const QString &path);
/// \throws RuntimeError 75 not empty or not a folder, 76 missing.
void removeFolder(const QString &path);
/// Bits of attr. Read-only means that nobody has write permission. \throws RuntimeError 53.
[[nodiscard]] int fileAttributes(const QString &path);
/// Sets or clears read-only, the one attribute that every platform can change. \throws RuntimeError 53, 75.
void setFileAttributes(const QString &path, int attributes);
/// \throws RuntimeError 76.
void setCurrentFolder(const QString &path);
[[nodiscard]] QString currentFolder();

/// Whether \p name can be a file name on every platform. \returns an empty text, or the reason ("contains '*'", "is a reserved device
/// name", ...).
[[nodiscard]] QString whyNotAName(const QString &name);
/// The part after the last backslash or slash.
[[nodiscard]] QString lastPart(const QString &path);
/// Whether both paths name the same file (same spelling without letter case, or the same file on disk).
[[nodiscard]] bool sameFile(const QString &a, const QString &b);

/// How private a saved file is.
enum class Privacy { Normal, Secret /* never readable by others than owner and the folder's group */ };
/// Replaces \p path by \p bytes: temporary file in the same folder, flush, rename. Bytes equal to the file's are not written again.
/// An existing file keeps its group, its permission bits (less those of others for Secret) and its access list; links are followed.
/// \throws RuntimeError 76, 75, 61, 57, 52; the old file is then whole.
void saveAtomically(const QString &path, const QByteArray &bytes, Privacy privacy = Privacy::Normal);
/// The whole file, 64 MB at most. \throws RuntimeError 53, 75, 321 when it is larger.
[[nodiscard]] QByteArray readAll(const QString &path);
/// Renames a file out of the way as NAME.unreadable-1, -2, ... \returns the new path.
QString setAside(const QString &path);

} // namespace files
} // namespace qm
