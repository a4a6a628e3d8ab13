/// \file
/// Lays out an installation with sample events, to try the program with.
#pragma once

#include "importing/SampleEvents.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <span>

namespace qm {

struct TrialOptions
{
    QString to;                 ///< the installation folder to make
    QString samples;            ///< folder that holds "packages/<package name>/..."
    QString help;               ///< the help file to copy; empty: none
    std::int64_t rows = 20'000; ///< events in each package's database
    EventTime end = 0;          ///< no event is later
    std::uint64_t seed = 1;
    bool force = false; ///< replace files that are there
};

/// One of the three packages that come with the program.
struct TrialPackage
{
    const char *word;   ///< of its section and its folder: "Server"
    const char *name;   ///< as the catalogue shows it
    const char *idWord; ///< of its programmatic identifiers: "ServerLogs"
    EventKind kind;
};
[[nodiscard]] std::span<const TrialPackage> trialPackages();

/// The folder as the registry wants it: absolute, native separators, one at the end.
[[nodiscard]] QString installationPath(const QString &folder);

class TrialInstallation final
{
public:
    /// \p tell receives one sentence for each thing done.
    TrialInstallation(TrialOptions options, std::function<void(const QString &)> tell);

    /// Makes everything. Checks first, so that nothing is written when a file is in the way.
    /// \throws RuntimeError 58 naming what is in the way (without force), 53 when the samples are missing, 61, 75, 76.
    void create();

private:
    struct PlannedFile
    {
        QString target; ///< relative to the installation folder
        QString source; ///< to copy; empty: made by the program
    };

    void plan();
    void refuseExisting() const;
    void makeFolders() const;
    void copySamples() const;
    void writeTexts() const;
    void fillDatabase(const TrialPackage &package) const;

    TrialOptions m_options;
    std::function<void(const QString &)> m_tell;
    QString m_path;
    QList<PlannedFile> m_files;
    QStringList m_folders; ///< relative, parents first
};

} // namespace qm
