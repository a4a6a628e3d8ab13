/// \file
/// The objects that a package names by programmatic identifier, and the factory that makes them.
#pragma once

#include "core/RuntimeError.h"
#include "framework/Query.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

/// A package's report interface: opens its query editor and generates its reports. Made per use.
class ReportInterface
{
public:
    virtual ~ReportInterface() = default;
    /// Opens the query editor on a group folder (ends with a separator: a new query) or on a query file; returns when the operator is done.
    virtual void EditQuery(const QString &target) = 0;
    /// Produces the report of \p queryFile and returns when done. \p reserved is 0, \p flag is false.
    /// \throws RuntimeError on failure; details are in the application log.
    virtual void GenerateReport(const QString &queryFile, int reserved, bool interactive, bool flag) = 0;
};

/// How far a report is, in words for the operator.
struct ReportProgress
{
    QString report; ///< its name
    QString state;  ///< such as "12,345 rows so far · 0:42"
};

/// What a report interface offers besides when it can make an unattended report while its caller goes on.
class BackgroundReports
{
public:
    virtual ~BackgroundReports() = default;
    /// Begins the report of \p queryFile and returns. \p ended is called once, on this thread, after this has returned; it is given the
    /// failure, if there was one. Destroying the object before cancels the run, waits for its end and calls nothing. One run at a time.
    virtual void beginReport(const QString &queryFile, std::function<void(std::optional<RuntimeError> failure)> ended) = 0;
    /// Asks the run to end; it then ends with cancelledByOperator.
    virtual void cancelReport() = 0;
    [[nodiscard]] virtual ReportProgress progress() const = 0;
};

/// A package's query access component: reads and writes query files.
class QueryAccess
{
public:
    virtual ~QueryAccess() = default;
    [[nodiscard]] virtual std::shared_ptr<Query> ReadFile(const QString &path) = 0;
    /// Writes \p query to \p path. 58 when the path is another query's file, 52 when the name is not usable.
    virtual void WriteFile(const Query &query, const QString &path) = 0;
};

/// Creates components by programmatic identifier. An unknown one is error 429, told in the application log.
class ComponentFactory
{
public:
    virtual ~ComponentFactory() = default;
    [[nodiscard]] virtual std::unique_ptr<ReportInterface> createReportInterface(const QString &progId) = 0;
    [[nodiscard]] virtual std::unique_ptr<QueryAccess> createQueryAccess(const QString &progId) = 0;
};

} // namespace qm
