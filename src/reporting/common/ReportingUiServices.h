/// \file
/// What the windows of reports and queries work with.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

namespace qm {

class ApplicationLog;
class Clock;
class LayoutReader;
class Prompts;
class QueryAccess;
class ReportDesk;
class ReportEngine;

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
    QString fontFolder;                          ///< the shipped fonts
    std::function<QString()> installPath;        ///< installation folder with trailing separator
    std::function<QStringList()> dataSourceKeys; ///< keys of the saved data sources
    std::function<QWidget *()> window;           ///< the main window, parent of dialogs; may be empty or give null
    /// Writes down a report that was not even begun, and why; may be empty.
    std::function<void(const QString &queryFile, bool interactive, const QString &why)> refused = {};
};

} // namespace qm
