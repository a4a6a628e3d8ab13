/// \file
/// A whole installation in a temporary folder, and the registry entry that leads to it.
#pragma once

#include "support/PrivateRegistry.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <vector>

namespace qm::test {

/// One section "[Package.<word>]" of "Packages.ini". An empty member other than the name is left out of the section.
struct TempPackage
{
    QString word;        ///< of the section's name, for example "Server"
    QString name;        ///< for example "Server Operating System Logs"
    QString interface;   ///< programmatic identifier
    QString installPath; ///< relative to the installation folder or absolute, with separator at its end
    QString queryAccess; ///< programmatic identifier
    QString database;    ///< relative to the package's folder or absolute
};

/// The three usual packages, each with identifiers of its own and a folder "Packages/<word>/".
[[nodiscard]] std::vector<TempPackage> usualPackages();

/// Makes the folders "Config", "Logs", "Reports" and each package's "Query Groups", "Packages.ini", and a private registry file that points
/// here. While it lives, this process and its children see that registry; afterwards the environment is as it was.
class TempInstallation final
{
public:
    explicit TempInstallation(const std::vector<TempPackage> &packages = usualPackages());
    TempInstallation(const TempInstallation &) = delete;
    TempInstallation &operator=(const TempInstallation &) = delete;

    /// The installation folder, with separator at its end.
    [[nodiscard]] const QString &path() const { return m_path; }
    /// The folder of the package with that word, with separator at its end.
    [[nodiscard]] QString packagePath(const QString &word) const;
    /// The group's folder without separator at its end; made when it is missing.
    QString group(const QString &word, const QString &group) const;
    /// Writes a file, folders included. \p path is relative to the installation folder or absolute. \returns the absolute path.
    QString write(const QString &path, const QByteArray &bytes) const;
    /// The file's bytes; null when it is not there.
    [[nodiscard]] QByteArray read(const QString &path) const;
    /// Takes the registry entry away, as on a machine without the product.
    void removeRegistryEntry() const { m_registry.clear(); }

private:
    [[nodiscard]] QString absolute(const QString &path) const;

    QTemporaryDir m_folder;
    QString m_path;
    std::vector<TempPackage> m_packages;
    PrivateRegistry m_registry;
};

} // namespace qm::test
