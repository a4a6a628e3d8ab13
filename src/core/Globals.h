/// \file
/// The state that every subsystem works on, made once by main and passed by reference.
#pragma once

#include "core/Package.h"

namespace qm {

class DataSourceFileReader;

struct Globals
{
    QString gstrInstallPath; ///< ends with a separator; every path is built by plain concatenation onto it
    Dictionary<std::shared_ptr<QMKPackage>> gdicPackages;
    std::shared_ptr<JobCollection> gcolJobs;          ///< null until "Jobs.cfg" was read
    std::shared_ptr<EmailSettings> gudoEmailSettings; ///< null until "Email.cfg" was read or the record was first used
    Dictionary<std::shared_ptr<QMKDataSource>> gdicDataSources;
    std::shared_ptr<DataSourceFileReader> gudoDataSourceReader; ///< created on first use
    QString gstrCurrentQueryFile;                               ///< the query that the generate command runs
};

/// The jobs. \throws RuntimeError 91, naming "Jobs.cfg" and what to do, when they were never read.
[[nodiscard]] JobCollection &requireJobs(const Globals &globals);

} // namespace qm
