#include "shell/CommandTable.h"

#include <QtGlobal>

#include <cstring>

namespace qm {

namespace {

constexpr ToolDefinition kTools[]{
    {"ID_System", QT_TRANSLATE_NOOP("qm::Commands", "&System"), "", ""},
    {"ID_NewMenu", QT_TRANSLATE_NOOP("qm::Commands", "&New"), "", ""},
    {"ID_ReportGroup", QT_TRANSLATE_NOOP("qm::Commands", "Report &Group"), QT_TRANSLATE_NOOP("qm::Commands", "New Report Group"),
     "new-report-group"},
    {"ID_ReportQuery", QT_TRANSLATE_NOOP("qm::Commands", "Report &Query..."), QT_TRANSLATE_NOOP("qm::Commands", "New Report Query"),
     "new-report-query"},
    {"ID_ReportJob", QT_TRANSLATE_NOOP("qm::Commands", "Scheduled Report..."), QT_TRANSLATE_NOOP("qm::Commands", "New Scheduled Report"),
     "new-report-job"},
    {"ID_Modify", QT_TRANSLATE_NOOP("qm::Commands", "&Modify..."), QT_TRANSLATE_NOOP("qm::Commands", "Modify"), "modify"},
    {"ID_Delete", QT_TRANSLATE_NOOP("qm::Commands", "&Delete"), QT_TRANSLATE_NOOP("qm::Commands", "Delete"), "delete"},
    {"ID_Rename", QT_TRANSLATE_NOOP("qm::Commands", "&Rename"), QT_TRANSLATE_NOOP("qm::Commands", "[&Rename]"), "rename"},
    {"ID_SaveAs", QT_TRANSLATE_NOOP("qm::Commands", "Save Report Query &As"), "", "save-as"},
    {"ID_Cut", QT_TRANSLATE_NOOP("qm::Commands", "C&ut"), "", "cut"},
    {"ID_Copy", QT_TRANSLATE_NOOP("qm::Commands", "&Copy"), QT_TRANSLATE_NOOP("qm::Commands", "Copy"), "copy"},
    {"ID_Paste", QT_TRANSLATE_NOOP("qm::Commands", "&Paste"), QT_TRANSLATE_NOOP("qm::Commands", "Paste"), "paste"},
    {"ID_Generate", QT_TRANSLATE_NOOP("qm::Commands", "&Generate"), QT_TRANSLATE_NOOP("qm::Commands", "Generate Report"), "generate"},
    {"ID_ExitMenu", QT_TRANSLATE_NOOP("qm::Commands", "E&xit"), "", "exit"},
    {"ID_Options", QT_TRANSLATE_NOOP("qm::Commands", "&Options"), "", ""},
    {"ID_ConnectionInformation", QT_TRANSLATE_NOOP("qm::Commands", "Database &Connection Information"), "", "connection"},
    {"ID_E-mailSettings", QT_TRANSLATE_NOOP("qm::Commands", "&E-mail Settings"), "", "e-mail"},
    {"ID_KeepOnTaskbarMenu", QT_TRANSLATE_NOOP("qm::Commands", "&Keep On Taskbar"),
     QT_TRANSLATE_NOOP("qm::Commands", "Minimize And Keep On Taskbar"), "tray"},
    {"ID_HelpMenu", QT_TRANSLATE_NOOP("qm::Commands", "&Help"), "", ""},
    {"ID_ContentsMenu", QT_TRANSLATE_NOOP("qm::Commands", "&Contents"), "", "contents"},
    {"ID_AboutQuillmarkReportsMenu", QT_TRANSLATE_NOOP("qm::Commands", "About Quillmark Report Generator"), "", "about"},
    {"ID_HelpButton", QT_TRANSLATE_NOOP("qm::Commands", "Help Button"), QT_TRANSLATE_NOOP("qm::Commands", "Help"), "help"},
    {"ID_RightClick", QT_TRANSLATE_NOOP("qm::Commands", "RightClick"), "", ""},
    {"ID_TaskBar", QT_TRANSLATE_NOOP("qm::Commands", "TaskBar"), "", ""},
    {"ID_RtClickDragDropMenu", QT_TRANSLATE_NOOP("qm::Commands", "RtClickDragDropMenu"),
     QT_TRANSLATE_NOOP("qm::Commands", "RtClickDragDrop"), ""},
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
