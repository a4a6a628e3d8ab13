/// \file
/// The objects that a package names by programmatic identifier, and the factory that makes them.
#pragma once

#include "framework/Query.h"

#include <QString>

#include <memory>

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
