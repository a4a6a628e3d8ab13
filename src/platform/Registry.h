/// \file
/// The machine's registry and private-profile (INI) files.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace qm {

/// Key path under the local machine's hive that holds the installation folder.
inline constexpr char kRegistryKey[] = "SOFTWARE\\Tarrowind\\Quillmark\\Report Framework\\8.50.000";

/// A private-profile value: section and key compared without letter case, value verbatim but for outer blanks and one pair of quotes.
/// Accepts a byte-order mark and either line end; the first section and the first key of a name count.
/// \returns nullopt when file, section or key is missing. \throws RuntimeError 75 when the file is there but cannot be read.
[[nodiscard]] std::optional<QString> privateProfileString(const QString &path, const QString &section, const QString &key);
/// Names of the sections in file order, as written.
[[nodiscard]] QStringList privateProfileSections(const QString &path);
/// Writes one value and keeps every other line. \throws RuntimeError 5 for a line break in a part; what saving throws.
void setPrivateProfileString(const QString &path, const QString &section, const QString &key, const QString &value);

/// A short value as the system's private-profile function gives it: at most 254 characters, cut at the first zero character, empty when
/// file, section or key is missing. On Windows GetPrivateProfileStringA reads it, elsewhere privateProfileString.
[[nodiscard]] QString shortProfileString(const QString &path, const QString &section, const QString &key);

/// The string value \p name under \p key of the machine-wide hive, else of the user's own. Elsewhere than on Windows the hive is
/// "tarrowind/registry.ini" in the user's, then the system's XDG configuration folders. \throws RuntimeError 53 / 13 with the place looked
/// at and what to do when it is missing or not a string.
[[nodiscard]] QString registryString(const QString &key, const QString &name);
/// Writes it (installation and trial set-up only): for the machine; for the user where only an administrator may and the machine has none.
void setRegistryString(const QString &key, const QString &name, const QString &value);

/// The installation folder: value "InstallPath" of kRegistryKey, unchanged.
[[nodiscard]] QString GetInstallPath();

} // namespace qm
