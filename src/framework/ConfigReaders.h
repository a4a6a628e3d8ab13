/// \file
/// The real readers and writers of the configuration files. Their formats are described in docs/file-formats.md.
#pragma once

#include "framework/KnownFiles.h"
#include "framework/Readers.h"

namespace qm {

/// "Packages.ini": one section "Package.<anything>" a package, in file order. A file with the section "Framework" may hold none.
///
/// \throws RuntimeError 53/75 as Readers.h, 321 when the file holds neither or a package has no name or folder.
class IniPackageConfigReader final : public PackageConfigReader
{
public:
    [[nodiscard]] std::vector<std::shared_ptr<PackageInfo>> ReadPackages(const QString &path) override;
};

/// "Config\Jobs.cfg". An empty file is an empty collection too; duplicate and negative ids are loaded and logged.
class TomlJobConfigReader final : public JobConfigReader
{
public:
    /// \p known is shared by the readers of one session; null: this reader keeps its own.
    explicit TomlJobConfigReader(std::shared_ptr<KnownFiles> known = nullptr);
    [[nodiscard]] std::shared_ptr<JobCollection> LoadJobs(const QString &path) override;
    /// \throws RuntimeError 91 without a collection or with an empty place in it, 76 for a relative path, 13 for a job whose date cannot be
    /// written, and as files::saveAtomically.
    void SaveJobs(std::shared_ptr<JobCollection> &jobs, const QString &path) override;

private:
    std::shared_ptr<KnownFiles> m_known;
};

/// "Config\Email.cfg".
class TomlEmailConfigReader final : public EmailConfigReader
{
public:
    explicit TomlEmailConfigReader(std::shared_ptr<KnownFiles> known = nullptr);
    [[nodiscard]] std::shared_ptr<EmailSettings> ReadEmailSettings(const QString &path) override;
    /// \throws RuntimeError 76 for a relative path, and as files::saveAtomically.
    void WriteEmailSettings(const EmailSettings &settings, const QString &path) override;

private:
    std::shared_ptr<KnownFiles> m_known;
};

/// "Config\*.dsf".
class TomlDataSourceFileReader final : public DataSourceFileReader
{
public:
    explicit TomlDataSourceFileReader(std::shared_ptr<KnownFiles> known = nullptr);
    [[nodiscard]] std::shared_ptr<DatabaseInfo> ReadDataSource(const QString &path) override;
    /// \throws RuntimeError 52 for a name that is not a plain file name, 76 for a relative path, 438 for an unknown class, and as
    /// files::saveAtomically.
    void WriteDataSource(const DatabaseInfo &info, const QString &path) override;

private:
    std::shared_ptr<KnownFiles> m_known;
};

} // namespace qm
