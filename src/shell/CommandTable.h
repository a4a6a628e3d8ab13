/// \file
/// The tools of the menu and tool bar control, their places, and when they are enabled: all of it data.
#pragma once

#include <QLatin1StringView>

#include <array>
#include <span>

namespace qm {

/// The identifiers of the tools.
namespace command {
inline constexpr QLatin1StringView system("ID_System");
inline constexpr QLatin1StringView newMenu("ID_NewMenu");
inline constexpr QLatin1StringView reportGroup("ID_ReportGroup");
inline constexpr QLatin1StringView reportQuery("ID_ReportQuery");
inline constexpr QLatin1StringView reportJob("ID_ReportJob");
inline constexpr QLatin1StringView modify("ID_Modify");
inline constexpr QLatin1StringView del("ID_Delete");
inline constexpr QLatin1StringView rename("ID_Rename");
inline constexpr QLatin1StringView saveAs("ID_SaveAs");
inline constexpr QLatin1StringView cut("ID_Cut");
inline constexpr QLatin1StringView copy("ID_Copy");
inline constexpr QLatin1StringView paste("ID_Paste");
inline constexpr QLatin1StringView generate("ID_Generate");
inline constexpr QLatin1StringView exit("ID_ExitMenu");
inline constexpr QLatin1StringView options("ID_Options");
inline constexpr QLatin1StringView connectionInformation("ID_ConnectionInformation");
inline constexpr QLatin1StringView emailSettings("ID_E-mailSettings");
inline constexpr QLatin1StringView keepOnTaskbar("ID_KeepOnTaskbarMenu");
inline constexpr QLatin1StringView help("ID_HelpMenu");
inline constexpr QLatin1StringView contents("ID_ContentsMenu");
inline constexpr QLatin1StringView about("ID_AboutQuillmarkReportsMenu");
inline constexpr QLatin1StringView helpButton("ID_HelpButton");
inline constexpr QLatin1StringView rightClick("ID_RightClick");
inline constexpr QLatin1StringView taskBar("ID_TaskBar");
inline constexpr QLatin1StringView dragDrop("ID_RtClickDragDropMenu");
/// Stands for a separator in a menu or bar.
inline constexpr QLatin1StringView separator("");
} // namespace command

/// One tool. A tool with items is a menu.
struct ToolDefinition
{
    QLatin1StringView id;
    const char *caption; ///< "&" before the access letter; source text in the context of Commands, as is the tip
    const char *tip;     ///< empty: none
    const char *icon;    ///< picture name; empty: none
};

/// The items of one menu or bar by identifier.
struct MenuDefinition
{
    QLatin1StringView id;
    std::span<const QLatin1StringView> items;
};

/// How a command state follows from what is selected.
enum class Enabling { Off, On, Keep, WhenPastePending };

/// The ten groups of tools that selections switch, in the order of EnablingRule::states.
enum class ToolGroup { NewGroup, NewQuery, NewJob, Modify, Delete, Rename, SaveAs, CutCopy, Generate, Paste, Count };

struct EnablingRule
{
    const char *code; ///< selection code; nullptr: any other, or none
    std::array<Enabling, static_cast<std::size_t>(ToolGroup::Count)> states;
};

[[nodiscard]] std::span<const ToolDefinition> toolDefinitions();
/// Menus of the menu bar, sub-menus and pop-ups.
[[nodiscard]] std::span<const MenuDefinition> menuDefinitions();
[[nodiscard]] std::span<const QLatin1StringView> menuBarItems();
[[nodiscard]] std::span<const QLatin1StringView> buttonBarItems();
/// The rule of a selection code; "D" depends on whether the schedule table has rows.
[[nodiscard]] const EnablingRule &enablingRule(const char *code, bool scheduleHasRows);
/// The rule of a right click on the list beside its rows, by what is selected in the tree.
[[nodiscard]] const EnablingRule &emptyListSpaceRule(bool groupSelected);

} // namespace qm
