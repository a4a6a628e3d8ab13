/// \file
/// The tools of the menu and tool bar control, their places, and when they are enabled: all of it data.
#pragma once

#include <array>
#include <span>

namespace qm {

/// One tool. A tool with items is a menu.
struct ToolDefinition
{
    const char *id;
    const char *caption; ///< "&" before the access letter; source text in the context of Commands, as is the tip
    const char *tip;     ///< empty: none
    const char *icon;    ///< picture name; empty: none
};

/// The items of one menu or bar by identifier; "" is a separator.
struct MenuDefinition
{
    const char *id;
    std::span<const char *const> items;
};

/// How a command state follows from what is selected.
enum class Enabling { Off, On, Keep, WhenPastePending };

/// The ten groups of tools that selections switch, in the order of EnablingRule::states.
enum class ToolGroup { NewGroup, NewQuery, NewJob, Modify, Delete, Rename, SaveAs, CutCopy, Generate, Paste, Count };

struct EnablingRule
{
    const char *code; ///< selection code; nullptr: any other
    std::array<Enabling, static_cast<std::size_t>(ToolGroup::Count)> states;
};

[[nodiscard]] std::span<const ToolDefinition> toolDefinitions();
/// Menus of the menu bar, sub-menus and pop-ups.
[[nodiscard]] std::span<const MenuDefinition> menuDefinitions();
[[nodiscard]] std::span<const char *const> menuBarItems();
[[nodiscard]] std::span<const char *const> buttonBarItems();
/// The rule of a selection code; "D" depends on whether the schedule table has rows.
[[nodiscard]] const EnablingRule &enablingRule(const char *code, bool scheduleHasRows);

} // namespace qm
