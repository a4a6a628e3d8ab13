/// \file
/// Absolute paths in the platform's spelling, and what a configuration file may be saved as.
#pragma once

#include <QString>

namespace qm {

/// Separators as this platform writes them, whichever the person at the keyboard used.
[[nodiscard]] QString withNativeSeparators(QString path);
/// \p folder ended with one separator.
[[nodiscard]] QString endedWithSeparator(QString folder);
/// \p path below \p folder unless it is absolute (a drive letter counts everywhere); cleaned of "." and "..".
[[nodiscard]] QString absolutePathBelow(const QString &path, const QString &folder);

/// A relative path means that the installation folder is not known; saving would reach whatever folder is current.
/// \throws RuntimeError 76.
void requireAbsolute(const QString &path);

/// The file name of \p path must be a name on every platform, and nothing in it may lead out of the "Config" folder.
/// \throws RuntimeError 52.
void requirePlainConfigName(const QString &path);

} // namespace qm
