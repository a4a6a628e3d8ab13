/// \file
/// The whole program with scripted boxes: real window, real clock, real timer, real engine.
#pragma once

#include "app/Program.h"
#include "engine/run/RunLedger.h"
#include "platform/Files.h"
#include "scheduler/ScheduleTableView.h"
#include "support/Fakes.h"
#include "support/TempInstallation.h"

#include <QDir>

namespace qm::test {

using namespace Qt::StringLiterals;

inline TempPackage serverPackage()
{
    return {u"Server"_s,           u"Server Operating System Logs"_s,    u"QuillmarkReports.ServerLogs"_s,
            u"Packages/Server/"_s, u"QuillmarkQueryAccess.ServerLogs"_s, u"EventLog.db"_s};
}

/// Made on an installation whose registry entry is in force.
struct WholeProgram
{
    explicit WholeProgram(const TempInstallation &installation)
        : program(prompts, {.installPath = installation.path(), .fontFolder = QCoreApplication::applicationDirPath() + u"/fonts"_s}),
          window(&program.makeMainWindow())
    {
    }

    ScriptedPrompts prompts;
    Program program;
    frmMain *window;
};

inline WallTime secondsFrom(const WallTime &start, int seconds)
{
    const int total = start.secondOfDay + seconds;
    return {start.date.addDays(total / 86400), total % 86400};
}

} // namespace qm::test
