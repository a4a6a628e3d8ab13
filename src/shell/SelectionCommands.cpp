#include "shell/SelectionCommands.h"

#include "core/ErrorReporter.h"

#include <QtGlobal>

namespace qm {

namespace {
constexpr char kModule[] = "frmMain.frm";
constexpr Procedure kModify{"Modify", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to modify the item"), kModule};
constexpr Procedure kRename{"Rename", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to Rename the item"), kModule};
constexpr Procedure kDelete{"Delete", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to delete the item"), kModule};
} // namespace

bool SelectionCommands::canRun(Verb verb) const
{
    const auto found = m_actions.find({m_active.current(), verb});
    return found != m_actions.end() && (!found->second.canRun || found->second.canRun());
}

void SelectionCommands::run(Verb verb) const
{
    if (const auto found = m_actions.find({m_active.current(), verb}); found != m_actions.end())
        found->second.run();
}

void SelectionCommands::Modify()
{
    trap(m_errors, kModify, [&] { run(Verb::Modify); });
}

void SelectionCommands::Rename()
{
    trap(m_errors, kRename, [&] { run(Verb::Rename); });
}

void SelectionCommands::Delete()
{
    trap(m_errors, kDelete, [&] { run(Verb::Delete); });
}

} // namespace qm
