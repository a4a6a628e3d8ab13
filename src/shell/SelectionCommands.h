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

    /// What \p verb does while \p view is the active control. \p canRun tells whether there is something to do it to; none: always.
    void set(View view, Verb verb, std::function<void()> action, std::function<bool()> canRun = {})
    {
        m_actions[{view, verb}] = {std::move(action), std::move(canRun)};
    }
    [[nodiscard]] bool canRun(Verb verb) const;

    void Modify();
    void Rename();
    void Delete();

private:
    struct Action
    {
        std::function<void()> run;
        std::function<bool()> canRun;
    };
    void run(Verb verb) const;

    const ActiveControl &m_active;
    ErrorReporter &m_errors;
    std::map<std::pair<View, Verb>, Action> m_actions;
};

} // namespace qm
