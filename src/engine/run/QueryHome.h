/// \file
/// Where a query file belongs: its installation, package and report group; and what is read with it.
#pragma once

#include "framework/Query.h"
#include "framework/ReportLayout.h"

#include <QString>

namespace qm {

/// The package whose folder a query file lies in. All empty when it lies in none.
struct QueryHome
{
    QString package;       ///< its name
    QString packageFolder; ///< absolute, with trailing separator
    QString database;      ///< absolute path of the embedded event database
    QString group;         ///< name of the report group
    QString
        installPath; ///< the installation, with trailing separator; where it was looked for, even if the file lies in none of its packages
};

/// Finds the package of \p queryFile: the folder above "Query Groups" in the installation \p installPath (with trailing separator; may be
/// empty). \throws RuntimeError as the reader of "Packages.ini" does.
[[nodiscard]] QueryHome findQueryHome(const QString &queryFile, const QString &installPath);

/// Paths with trailing separator; empty: none.
struct FoundInstallation
{
    QString path;
    QString passedOver; ///< the nearest that looks like one and is not trusted: whoever made it would choose mail server, log and data
};

/// The installation that \p queryFile lies in: the nearest folder above it that holds "Packages.ini" and is the \p registered installation
/// (may be empty), or belongs to this user or the administrator and is not everybody's to write.
[[nodiscard]] FoundInstallation installationAbove(const QString &queryFile, const QString &registered);

/// \throws RuntimeError as the reader of query files does.
[[nodiscard]] std::shared_ptr<Query> readQueryFile(const QString &path);
/// Absolute path of the layout file that a query names; empty for the automatic layout.
[[nodiscard]] QString layoutPath(const QString &reportFile, const QString &packageFolder);
/// \throws RuntimeError as the reader of layout files does.
[[nodiscard]] ReportLayout readLayoutFile(const QString &path);

} // namespace qm
