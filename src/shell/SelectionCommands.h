/// \file
/// The generic commands, which act on whichever view is the active control.
#pragma once

#include "shell/ActiveControl.h"

#include <functional>
#include <map>
#include <utility>

namespace qm {

class ErrorReporter;

class SelectionCommands final
{
public:
    enum class Verb { Modify, Rename, Delete };
    using View = ActiveControl::View;

    SelectionCommands(const ActiveControl &active, ErrorReporter &errors) : m_active(active), m_errors(errors) {}

    /// What \p verb does while \p view is the active control.
    void set(View view, Verb verb, std::function<void()> action) { m_actions[{view, verb}] = std::move(action); }
    [[nodiscard]] bool canRun(Verb verb) const { return m_actions.contains({m_active.current(), verb}); }

    void Modify();
    void Rename();
    void Delete();

private:
    void run(Verb verb) const;

    const ActiveControl &m_active;
    ErrorReporter &m_errors;
    std::map<std::pair<View, Verb>, std::function<void()>> m_actions;
};

} // namespace qm
