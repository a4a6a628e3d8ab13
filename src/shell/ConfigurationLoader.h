/// \file
/// Loads the installation's configuration into the global tables.
#pragma once

#include "core/Globals.h"

#include <functional>
#include <memory>

namespace qm {

class EmailConfigReader;
class ErrorReporter;
class JobConfigReader;
class PackageConfigReader;

/// The framework's file readers, made on first use.
struct ReaderFactories
{
    std::function<std::unique_ptr<PackageConfigReader>()> packages;
    std::function<std::unique_ptr<JobConfigReader>()> jobs;
    std::function<std::unique_ptr<EmailConfigReader>()> email;
    std::function<std::shared_ptr<DataSourceFileReader>()> dataSources;
};

class ConfigurationLoader final
{
public:
    ConfigurationLoader(Globals &globals, ErrorReporter &errors, ReaderFactories readers);

    /// Installation folder (from the registry), packages, jobs, e-mail settings, data sources, in this order. A failure is reported and
    /// ends it: what was loaded stays, what follows is left out.
    void ReadReportConfigurations();

private:
    void readPackages();
    void readDataSources();
    [[nodiscard]] QString configFolder() const;

    Globals &m_globals;
    ErrorReporter &m_errors;
    ReaderFactories m_readers;
};

} // namespace qm
