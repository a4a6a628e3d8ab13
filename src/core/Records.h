/// \file
/// The plain records that configuration files are read into and written from.
#pragma once

#include "core/WallTime.h"

#include <QString>

#include <memory>
#include <vector>

namespace qm {

/// One event-log package as "Packages.ini" lists it. Member order is part of its interface.
struct PackageInfo
{
    QString PackageName;
    QString Interface;   ///< programmatic identifier of the package's report interface
    QString InstallPath; ///< absolute folder of the package, ends with a separator
    QString QueryAccess; ///< programmatic identifier of the package's query access component
    QString Database;    ///< absolute path of the package's embedded event database
};

/// One scheduled report.
struct ScheduledReportJob
{
    QString JobDescription;
    QString QueryFileName;
    WallTime DateTime;
    int Frequency = 0; ///< 0 Single, 1 Daily, 2 Weekly, 3 Monthly; other values are kept
    std::int32_t JobId = 0;

    friend bool operator==(const ScheduledReportJob &, const ScheduledReportJob &) = default;
};
using JobCollection = std::vector<std::shared_ptr<ScheduledReportJob>>;

/// The SMTP settings of "Config\Email.cfg".
struct EmailSettings
{
    QString SmtpServer;
    std::int32_t SmtpPort = 25;
    std::int32_t Timeout = 60000; ///< milliseconds
    QString SmtpUser;
    QString SmtpPassword;

    friend bool operator==(const EmailSettings &, const EmailSettings &) = default;
};

/// Connection information of one data source. Exactly two classes exist; a file may hold others, which are skipped.
class DatabaseInfo
{
public:
    virtual ~DatabaseInfo() = default;
    [[nodiscard]] virtual QString className() const = 0;
};

class QMMDSMSSql final : public DatabaseInfo
{
public:
    [[nodiscard]] QString className() const override { return QStringLiteral("QMMDSMSSql"); }
    QString ServerName;
    QString DatabaseName;
    QString UserName;
    QString Password;
    int ConnectionType = 0; ///< 0 integrated security, 1 a specific user
};

class QMMDSOracle final : public DatabaseInfo
{
public:
    [[nodiscard]] QString className() const override { return QStringLiteral("QMMDSOracle"); }
    QString ServerName;
    QString UserName;
    QString Password;
};

/// One entry of the data source table.
struct QMKDataSource
{
    QString DatasourceName;             ///< key: type prefix + file name, for example MSSQL::Payroll.dsf
    std::shared_ptr<DatabaseInfo> Info; ///< never null once in the table
};

} // namespace qm
