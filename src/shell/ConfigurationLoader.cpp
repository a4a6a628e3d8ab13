#include "shell/ConfigurationLoader.h"

#include "core/DataSourcePrefix.h"
#include "core/ErrorReporter.h"
#include "framework/Readers.h"
#include "platform/Files.h"
#include "platform/Registry.h"

#include <QtGlobal>

namespace qm {

namespace {

constexpr Procedure kReadReportConfigurations{
    "ReadReportConfigurations", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while reading the reports configuration information.")};

/// The record as one of its class; a fresh empty one when it is not.
template <class Record>
std::shared_ptr<DatabaseInfo> viewedAs(const std::shared_ptr<DatabaseInfo> &info)
{
    auto record = std::dynamic_pointer_cast<Record>(info);
    return record ? record : std::make_shared<Record>();
}

} // namespace

ConfigurationLoader::ConfigurationLoader(Globals &globals, ErrorReporter &errors, ReaderFactories readers)
    : m_globals(globals), m_errors(errors), m_readers(std::move(readers))
{
}

QString ConfigurationLoader::configFolder() const
{
    return m_globals.gstrInstallPath + QStringLiteral("Config") + kSep;
}

void ConfigurationLoader::ReadReportConfigurations()
{
    trap(m_errors, kReadReportConfigurations, [&] {
        m_globals.gstrInstallPath = GetInstallPath();
        readPackages();
        m_globals.gcolJobs = m_readers.jobs()->LoadJobs(configFolder() + QStringLiteral("Jobs.cfg"));
        m_globals.gudoEmailSettings = m_readers.email()->ReadEmailSettings(configFolder() + QStringLiteral("Email.cfg"));
        readDataSources();
    });
}

void ConfigurationLoader::readPackages()
{
    const auto packages = m_readers.packages()->ReadPackages(m_globals.gstrInstallPath + QStringLiteral("Packages.ini"));
    for (const std::shared_ptr<PackageInfo> &info : packages) {
        auto package = std::make_shared<QMKPackage>();
        package->setPackageInfo(info);
        m_globals.gdicPackages.Add(info->PackageName, std::move(package));
    }
}

void ConfigurationLoader::readDataSources()
{
    for (const QString &name : files::list(configFolder(), QStringLiteral("*.dsf"), attr::normal)) {
        if (!m_globals.gudoDataSourceReader)
            m_globals.gudoDataSourceReader = m_readers.dataSources();
        const std::shared_ptr<DatabaseInfo> info = m_globals.gudoDataSourceReader->ReadDataSource(configFolder() + name);
        const QString className = info ? info->className() : QString();
        auto source = std::make_shared<QMKDataSource>();
        if (className == QLatin1String("QMMDSMSSql")) {
            source->Info = viewedAs<QMMDSMSSql>(info);
            source->DatasourceName = QLatin1StringView(kSqlServerPrefix) + name;
        } else if (className == QLatin1String("QMMDSOracle")) {
            source->Info = viewedAs<QMMDSOracle>(info);
            source->DatasourceName = QLatin1StringView(kOraclePrefix) + name;
        } else {
            continue;
        }
        m_globals.gdicDataSources.Add(source->DatasourceName, source);
    }
}

} // namespace qm
