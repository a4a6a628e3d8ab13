/// \file
/// The commands of the main window: one action per tool, wherever the tool is placed.
#pragma once

#include "shell/CommandTable.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include <functional>

class QAction;
class QMenu;
class QMenuBar;
class QToolBar;
class QWidget;

namespace qm {

class ErrorReporter;

/// What the commands ask about.
class CommandFacts
{
public:
    [[nodiscard]] virtual bool isPastePending() const = 0;
    [[nodiscard]] virtual bool hasScheduledJobs() const = 0;
    /// Asked before any command runs; while it says no, none does.
    [[nodiscard]] virtual bool isReadyForCommand() const = 0;

protected:
    CommandFacts() = default;
    CommandFacts(const CommandFacts &) = default;
    CommandFacts &operator=(const CommandFacts &) = default;
    ~CommandFacts() = default;
};

/// Owns actions and menus, switches them by what is selected, and runs the command of an identifier.
///
/// A tool can be chosen when its rule switches it on, its command has been set, and that command can run now.
class Commands final : public QObject
{
    Q_OBJECT
public:
    /// \p facts is asked from the constructor on.
    Commands(ErrorReporter &errors, const CommandFacts &facts, QWidget *window);

    void fillMenuBar(QMenuBar &bar) const;
    void fillButtonBar(QToolBar &bar);
    /// \throws RuntimeError 35601 for an unknown identifier.
    [[nodiscard]] QAction *tool(const QString &id) const;
    [[nodiscard]] QMenu *menu(const QString &id) const;

    /// Gives a tool its command. \p canRun tells whether it can run in the present state; none: always.
    void setCommand(const QString &id, std::function<void()> command, std::function<bool()> canRun = {});
    /// Asks a tool's command anew whether it can run.
    void refresh(const QString &id);

    /// Runs the command of a tool. An identifier without a command does nothing.
    void sstbrReportsMenuToolbar_ToolClick(const QString &id);
    /// Shows a pop-up menu and returns at once.
    void popUp(const QString &id, const QPoint &globalPosition);

    void EnableDisableMenus(const QString &code);
    void CutCopyEnabled(bool enabled);
    void PasteEnabled(bool enabled);
    void GenerateEnabled(bool enabled);
    void NewReportGroupEnabled(bool enabled);
    void AddNewReportQueryEnabled(bool enabled);
    void SaveAsEnabled(bool enabled);
    void NewReportScheduleJobEnabled(bool enabled);
    void RenameEnabled_EH(bool enabled);
    void ModEnabled(bool enabled);
    void DelEnabled(bool enabled);
    /// The states for a right click on the list beside its rows.
    void enableForEmptyListSpace(bool groupSelected);

protected:
    /// Keeps tool tips away from tools that have none.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Command
    {
        std::function<void()> run;
        std::function<bool()> canRun;
    };
    void makeTools();
    void fillMenus();
    void apply(const EnablingRule &rule);
    void enable(const QString &id, bool enabled);

    ErrorReporter &m_errors;
    const CommandFacts &m_facts;
    QWidget *m_window;
    QHash<QString, QAction *> m_tools;
    QHash<QString, QMenu *> m_menus;
    QHash<QString, Command> m_commands;
    QSet<QString> m_switchedOff; ///< tools that the enabling rules have switched off
};

} // namespace qm
