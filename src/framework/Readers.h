/// \file
/// Readers and writers of the program's own files, as the front end requires them.
///
/// Every reader throws RuntimeError (source "QMMPRptFW"): 53 file missing, 75 not readable, 321 contents wrong, with the path, the place
/// (line) and what to do. Every writer saves atomically: after a failure the old file is whole.
#pragma once

#include "core/Records.h"
#include "framework/Query.h"
#include "framework/ReportLayout.h"

namespace qm {

/// Reads "Packages.ini". A package without `Interface` is returned with an empty one.
class PackageConfigReader
{
public:
    virtual ~PackageConfigReader() = default;
    [[nodiscard]] virtual std::vector<std::shared_ptr<PackageInfo>> ReadPackages(const QString &path) = 0;
};

/// "Config\Jobs.cfg". A missing file is an empty collection.
class JobConfigReader
{
public:
    virtual ~JobConfigReader() = default;
    [[nodiscard]] virtual std::shared_ptr<JobCollection> LoadJobs(const QString &path) = 0;
    /// Replaces the whole file; may hand back another collection through \p jobs.
    virtual void SaveJobs(std::shared_ptr<JobCollection> &jobs, const QString &path) = 0;
};

/// "Config\Email.cfg". A missing file gives the defaults.
class EmailConfigReader
{
public:
    virtual ~EmailConfigReader() = default;
    [[nodiscard]] virtual std::shared_ptr<EmailSettings> ReadEmailSettings(const QString &path) = 0;
    virtual void WriteEmailSettings(const EmailSettings &settings, const QString &path) = 0;
};

/// "Config\*.dsf".
class DataSourceFileReader
{
public:
    virtual ~DataSourceFileReader() = default;
    /// The record of the file; of a class other than the two known ones when the file says so.
    [[nodiscard]] virtual std::shared_ptr<DatabaseInfo> ReadDataSource(const QString &path) = 0;
    virtual void WriteDataSource(const DatabaseInfo &info, const QString &path) = 0;
};

/// Loads query files for the catalogue's list.
class QueryReader
{
public:
    virtual ~QueryReader() = default;
    [[nodiscard]] virtual std::shared_ptr<Query> ReadQuery(const QString &path) = 0;
};

/// Reads and writes layout files (.rpt).
class LayoutReader
{
public:
    virtual ~LayoutReader() = default;
    [[nodiscard]] virtual ReportLayout ReadLayout(const QString &path) = 0;
    virtual void WriteLayout(const ReportLayout &layout, const QString &path) = 0;
};

} // namespace qm
