/// \file
/// What the windows of reports and queries work with.
#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace qm {

class ApplicationLog;
class Clock;
class LayoutReader;
class Prompts;
class QueryAccess;
class ReportDesk;
class ReportEngine;

/// What the windows of reports and queries ask the program that they run in.
class ReportingHost
{
public:
    [[nodiscard]] virtual QString installPath() const = 0;        ///< installation folder with trailing separator
    [[nodiscard]] virtual QStringList dataSourceKeys() const = 0; ///< keys of the saved data sources
    [[nodiscard]] virtual QWidget *window() const = 0;            ///< the main window, parent of dialogs; may be null
    /// Writes down a report that was not even begun, and why.
    virtual void refused(const QString &queryFile, bool interactive, const QString &why) = 0;

protected:
    ReportingHost() = default;
    ReportingHost(const ReportingHost &) = default;
    ReportingHost &operator=(const ReportingHost &) = default;
    ~ReportingHost() = default;
};

/// What report interfaces work with. Everything outlives them and the windows they open.
struct ReportingUiServices
{
    Prompts &prompts;
    ReportEngine &engine;
    QueryAccess &queries;
    LayoutReader &layouts;
    const Clock &clock;
    ApplicationLog &log;
    ReportDesk &desk;
    ReportingHost &host;
    QString fontFolder; ///< the shipped fonts
};

} // namespace qm
