#include "shell/CommandTable.h"

#include <cstring>

namespace qm {

namespace {

constexpr ToolDefinition kTools[]{
    {"ID_System", "&System", "", ""},
    {"ID_NewMenu", "&New", "", ""},
    {"ID_ReportGroup", "Report &Group", "New Report Group", "new-report-group"},
    {"ID_ReportQuery", "Report &Query...", "New Report Query", "new-report-query"},
    {"ID_ReportJob", "Scheduled Report...", "New Scheduled Report", "new-report-job"},
    {"ID_Modify", "&Modify...", "Modify", "modify"},
    {"ID_Delete", "&Delete", "Delete", "delete"},
    {"ID_Rename", "&Rename", "[&Rename]", "rename"},
    {"ID_SaveAs", "Save Report Query &As", "", "save-as"},
    {"ID_Cut", "C&ut", "", "cut"},
    {"ID_Copy", "&Copy", "Copy", "copy"},
    {"ID_Paste", "&Paste", "Paste", "paste"},
    {"ID_Generate", "&Generate", "Generate Report", "generate"},
    {"ID_ExitMenu", "E&xit", "", "exit"},
    {"ID_Options", "&Options", "", ""},
    {"ID_ConnectionInformation", "Database &Connection Information", "", "connection"},
    {"ID_E-mailSettings", "&E-mail Settings", "", "e-mail"},
    {"ID_KeepOnTaskbarMenu", "&Keep On Taskbar", "Minimize And Keep On Taskbar", "tray"},
    {"ID_HelpMenu", "&Help", "", ""},
    {"ID_ContentsMenu", "&Contents", "", "contents"},
    {"ID_AboutQuillmarkReportsMenu", "About Quillmark Report Generator", "", "about"},
    {"ID_HelpButton", "Help Button", "Help", "help"},
    {"ID_RightClick", "RightClick", "", ""},
    {"ID_TaskBar", "TaskBar", "", ""},
    {"ID_RtClickDragDropMenu", "RtClickDragDropMenu", "RtClickDragDrop", ""},
};

constexpr const char *kSystem[]{"ID_NewMenu", "ID_Modify", "ID_Delete", "", "ID_Generate", "", "ID_ExitMenu"};
constexpr const char *kNew[]{"ID_ReportGroup", "ID_ReportQuery", "ID_ReportJob"};
constexpr const char *kOptions[]{"ID_ConnectionInformation", "ID_E-mailSettings", "", "ID_KeepOnTaskbarMenu"};
constexpr const char *kHelp[]{"ID_ContentsMenu", "", "ID_AboutQuillmarkReportsMenu"};
constexpr const char *kRightClick[]{"ID_NewMenu", "",        "ID_Modify", "ID_Delete", "ID_Rename",  "", "ID_SaveAs",
                                    "ID_Cut",     "ID_Copy", "ID_Paste",  "",          "ID_Options", "", "ID_Generate"};
constexpr const char *kTaskBar[]{"ID_ExitMenu"};
constexpr const char *kDragDrop[]{"ID_Cut", "ID_Copy", "ID_Paste"};

constexpr MenuDefinition kMenus[]{
    {"ID_NewMenu", kNew},
    {"ID_System", kSystem},
    {"ID_Options", kOptions},
    {"ID_HelpMenu", kHelp},
    {"ID_RightClick", kRightClick},
    {"ID_TaskBar", kTaskBar},
    {"ID_RtClickDragDropMenu", kDragDrop},
};

constexpr const char *kMenuBar[]{"ID_System", "ID_Options", "ID_HelpMenu"};
constexpr const char *kButtonBar[]{"ID_ReportGroup",
                                   "ID_ReportQuery",
                                   "ID_ReportJob",
                                   "",
                                   "ID_ConnectionInformation",
                                   "",
                                   "ID_Modify",
                                   "ID_Delete",
                                   "ID_Generate",
                                   "",
                                   "ID_Cut",
                                   "ID_Copy",
                                   "ID_Paste",
                                   "",
                                   "ID_HelpButton"};

constexpr Enabling N = Enabling::Off, Y = Enabling::On, o = Enabling::Keep, P = Enabling::WhenPastePending;

// Columns: new group, new query, new job, modify, delete, rename, save as, cut and copy, generate, paste.
constexpr EnablingRule kPackageRule{"R", {Y, N, Y, N, N, o, N, N, N, N}};
constexpr EnablingRule kGroupRule{"G", {Y, Y, Y, Y, Y, Y, N, N, N, P}};
constexpr EnablingRule kQueryRule{"Q", {N, Y, N, Y, Y, Y, Y, Y, Y, P}};
constexpr EnablingRule kScheduleRule{"D", {Y, N, Y, Y, Y, o, o, N, Y, o}};
constexpr EnablingRule kEmptyScheduleRule{"D", {Y, N, Y, N, N, o, o, N, N, o}};
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

std::span<const char *const> menuBarItems()
{
    return kMenuBar;
}

std::span<const char *const> buttonBarItems()
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

} // namespace qm
