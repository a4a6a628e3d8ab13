#include "shell/CommandTable.h"

#include <QtGlobal>

#include <cstring>

namespace qm {

namespace {

constexpr ToolDefinition kTools[]{
    {command::system, QT_TRANSLATE_NOOP("qm::Commands", "&System"), "", ""},
    {command::newMenu, QT_TRANSLATE_NOOP("qm::Commands", "&New"), "", ""},
    {command::reportGroup, QT_TRANSLATE_NOOP("qm::Commands", "Report &Group"), QT_TRANSLATE_NOOP("qm::Commands", "New Report Group"),
     "new-report-group"},
    {command::reportQuery, QT_TRANSLATE_NOOP("qm::Commands", "Report &Query..."), QT_TRANSLATE_NOOP("qm::Commands", "New Report Query"),
     "new-report-query"},
    {command::reportJob, QT_TRANSLATE_NOOP("qm::Commands", "Scheduled Report..."),
     QT_TRANSLATE_NOOP("qm::Commands", "New Scheduled Report"), "new-report-job"},
    {command::modify, QT_TRANSLATE_NOOP("qm::Commands", "&Modify..."), QT_TRANSLATE_NOOP("qm::Commands", "Modify"), "modify"},
    {command::del, QT_TRANSLATE_NOOP("qm::Commands", "&Delete"), QT_TRANSLATE_NOOP("qm::Commands", "Delete"), "delete"},
    {command::rename, QT_TRANSLATE_NOOP("qm::Commands", "&Rename"), QT_TRANSLATE_NOOP("qm::Commands", "[&Rename]"), "rename"},
    {command::saveAs, QT_TRANSLATE_NOOP("qm::Commands", "Save Report Query &As"), "", "save-as"},
    {command::cut, QT_TRANSLATE_NOOP("qm::Commands", "C&ut"), "", "cut"},
    {command::copy, QT_TRANSLATE_NOOP("qm::Commands", "&Copy"), QT_TRANSLATE_NOOP("qm::Commands", "Copy"), "copy"},
    {command::paste, QT_TRANSLATE_NOOP("qm::Commands", "&Paste"), QT_TRANSLATE_NOOP("qm::Commands", "Paste"), "paste"},
    {command::generate, QT_TRANSLATE_NOOP("qm::Commands", "&Generate"), QT_TRANSLATE_NOOP("qm::Commands", "Generate Report"), "generate"},
    {command::exit, QT_TRANSLATE_NOOP("qm::Commands", "E&xit"), "", "exit"},
    {command::options, QT_TRANSLATE_NOOP("qm::Commands", "&Options"), "", ""},
    {command::connectionInformation, QT_TRANSLATE_NOOP("qm::Commands", "Database &Connection Information"), "", "connection"},
    {command::emailSettings, QT_TRANSLATE_NOOP("qm::Commands", "&E-mail Settings"), "", "e-mail"},
    {command::keepOnTaskbar, QT_TRANSLATE_NOOP("qm::Commands", "&Keep On Taskbar"),
     QT_TRANSLATE_NOOP("qm::Commands", "Minimize And Keep On Taskbar"), "tray"},
    {command::help, QT_TRANSLATE_NOOP("qm::Commands", "&Help"), "", ""},
    {command::contents, QT_TRANSLATE_NOOP("qm::Commands", "&Contents"), "", "contents"},
    {command::about, QT_TRANSLATE_NOOP("qm::Commands", "About Quillmark Report Generator"), "", "about"},
    {command::helpButton, QT_TRANSLATE_NOOP("qm::Commands", "Help Button"), QT_TRANSLATE_NOOP("qm::Commands", "Help"), "help"},
    {command::rightClick, QT_TRANSLATE_NOOP("qm::Commands", "RightClick"), "", ""},
    {command::taskBar, QT_TRANSLATE_NOOP("qm::Commands", "TaskBar"), "", ""},
    {command::dragDrop, QT_TRANSLATE_NOOP("qm::Commands", "RtClickDragDropMenu"), QT_TRANSLATE_NOOP("qm::Commands", "RtClickDragDrop"), ""},
};

constexpr QLatin1StringView kSystem[]{command::newMenu,  command::modify,    command::del, command::separator,
                                      command::generate, command::separator, command::exit};
constexpr QLatin1StringView kNew[]{command::reportGroup, command::reportQuery, command::reportJob};
constexpr QLatin1StringView kOptions[]{command::connectionInformation, command::emailSettings, command::separator, command::keepOnTaskbar};
constexpr QLatin1StringView kHelp[]{command::contents, command::separator, command::about};
constexpr QLatin1StringView kRightClick[]{command::newMenu,   command::separator, command::modify,    command::del,     command::rename,
                                          command::separator, command::saveAs,    command::cut,       command::copy,    command::paste,
                                          command::separator, command::options,   command::separator, command::generate};
constexpr QLatin1StringView kTaskBar[]{command::exit};
constexpr QLatin1StringView kDragDrop[]{command::cut, command::copy, command::paste};

constexpr MenuDefinition kMenus[]{
    {command::newMenu, kNew},           {command::system, kSystem},   {command::options, kOptions},   {command::help, kHelp},
    {command::rightClick, kRightClick}, {command::taskBar, kTaskBar}, {command::dragDrop, kDragDrop},
};

constexpr QLatin1StringView kMenuBar[]{command::system, command::options, command::help};
constexpr QLatin1StringView kButtonBar[]{
    command::reportGroup, command::reportQuery, command::reportJob, command::separator, command::connectionInformation,
    command::separator,   command::modify,      command::del,       command::generate,  command::separator,
    command::cut,         command::copy,        command::paste,     command::separator, command::helpButton};

constexpr Enabling N = Enabling::Off, Y = Enabling::On, o = Enabling::Keep, P = Enabling::WhenPastePending;

// Columns: new group, new query, new job, modify, delete, rename, save as, cut and copy, generate, paste.
constexpr EnablingRule kPackageRule{"R", {Y, N, Y, N, N, o, N, N, N, N}};
constexpr EnablingRule kGroupRule{"G", {Y, Y, Y, Y, Y, Y, N, N, N, P}};
constexpr EnablingRule kQueryRule{"Q", {N, Y, N, Y, Y, Y, Y, Y, Y, P}};
constexpr EnablingRule kScheduleRule{"D", {Y, N, Y, Y, Y, o, o, N, Y, o}};
constexpr EnablingRule kEmptyScheduleRule{"D", {Y, N, Y, N, N, o, o, N, N, o}};
constexpr EnablingRule kListSpaceOfGroupRule{nullptr, {Y, Y, Y, N, N, o, N, N, N, P}};
constexpr EnablingRule kListSpaceRule{nullptr, {Y, N, Y, N, N, o, N, N, N, o}};
constexpr EnablingRule kOtherRule{nullptr, {Y, N, Y, N, N, o, N, N, N, N}};

} // namespace

std::span<const ToolDefinition> toolDefinitions()
{
    return kTools;
}

std::span<const MenuDefinition> menuDefinitions()
{
    return kMenus;
}

std::span<const QLatin1StringView> menuBarItems()
{
    return kMenuBar;
}

std::span<const QLatin1StringView> buttonBarItems()
{
    return kButtonBar;
}

const EnablingRule &enablingRule(const char *code, bool scheduleHasRows)
{
    if (std::strcmp(code, kScheduleRule.code) == 0)
        return scheduleHasRows ? kScheduleRule : kEmptyScheduleRule;
    for (const EnablingRule *rule : {&kPackageRule, &kGroupRule, &kQueryRule})
        if (std::strcmp(code, rule->code) == 0)
            return *rule;
    return kOtherRule;
}

const EnablingRule &emptyListSpaceRule(bool groupSelected)
{
    return groupSelected ? kListSpaceOfGroupRule : kListSpaceRule;
}

} // namespace qm
