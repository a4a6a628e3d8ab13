#include "shell/Commands.h"

#include "core/ErrorReporter.h"
#include "shell/Icons.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");

constexpr Procedure interfaceProcedure(const char *name)
{
    return {name, kUnanticipated, kModule};
}

using Switch = void (Commands::*)(bool);
/// The procedures of the tool groups, in the order of ToolGroup.
constexpr Switch kSwitches[]{&Commands::NewReportGroupEnabled,
                             &Commands::AddNewReportQueryEnabled,
                             &Commands::NewReportScheduleJobEnabled,
                             &Commands::ModEnabled,
                             &Commands::DelEnabled,
                             &Commands::RenameEnabled_EH,
                             &Commands::SaveAsEnabled,
                             &Commands::CutCopyEnabled,
                             &Commands::GenerateEnabled,
                             &Commands::PasteEnabled};
static_assert(std::size(kSwitches) == static_cast<std::size_t>(ToolGroup::Count));

QString withoutMnemonic(QString caption)
{
    return caption.remove(u'&');
}

} // namespace

Commands::Commands(ErrorReporter &errors, const CommandFacts &facts, QWidget *window)
    : QObject(window), m_errors(errors), m_facts(facts), m_window(window)
{
    makeTools();
    fillMenus();
    EnableDisableMenus({});
    RenameEnabled_EH(false);
}

void Commands::makeTools()
{
    for (const MenuDefinition &definition : menuDefinitions()) {
        const QString id = QString(definition.id);
        auto *menu = new QMenu(m_window);
        menu->setObjectName(id);
        m_menus.insert(id, menu);
    }
    for (const ToolDefinition &definition : toolDefinitions()) {
        const QString id = QString(definition.id);
        QMenu *menu = m_menus.value(id);
        QAction *action = menu ? menu->menuAction() : new QAction(this);
        action->setText(tr(definition.caption));
        action->setObjectName(id);
        action->setMenuRole(QAction::NoRole);
        m_tools.insert(id, action);
        if (menu)
            continue;
        action->setToolTip(*definition.tip ? tr(definition.tip) : QString());
        action->setStatusTip(withoutMnemonic(action->text()));
        action->setEnabled(false);
        if (*definition.icon)
            action->setIcon(icons::icon(QString::fromLatin1(definition.icon)));
        connect(action, &QAction::triggered, this, [this, id] { sstbrReportsMenuToolbar_ToolClick(id); });
    }
}

void Commands::fillMenus()
{
    for (const MenuDefinition &definition : menuDefinitions()) {
        QMenu *menu = m_menus.value(QString(definition.id));
        for (const QLatin1StringView item : definition.items)
            if (item == command::separator)
                menu->addSeparator();
            else
                menu->addAction(tool(item));
    }
}

void Commands::fillMenuBar(QMenuBar &bar) const
{
    for (const QLatin1StringView id : menuBarItems())
        bar.addMenu(menu(id));
}

void Commands::fillButtonBar(QToolBar &bar)
{
    for (const QLatin1StringView item : buttonBarItems()) {
        if (item == command::separator) {
            bar.addSeparator();
            continue;
        }
        QAction *action = tool(item);
        bar.addAction(action);
        QWidget *button = bar.widgetForAction(action);
        button->setAccessibleName(withoutMnemonic(action->text()));
        button->setFocusPolicy(Qt::TabFocus);
        button->installEventFilter(this);
    }
}

bool Commands::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto *button = static_cast<QWidget *>(watched);
        for (const QAction *action : button->actions())
            for (const ToolDefinition &definition : toolDefinitions())
                if (action->objectName() == definition.id && !*definition.tip)
                    return true;
    }
    return QObject::eventFilter(watched, event);
}

QAction *Commands::tool(const QString &id) const
{
    QAction *action = m_tools.value(id);
    if (!action)
        raise(err::elementNotFound, id);
    return action;
}

QMenu *Commands::menu(const QString &id) const
{
    QMenu *menu = m_menus.value(id);
    if (!menu)
        raise(err::elementNotFound, id);
    return menu;
}

void Commands::setCommand(const QString &id, std::function<void()> command, std::function<bool()> canRun)
{
    m_commands.insert(id, {std::move(command), std::move(canRun)});
    refresh(id);
}

void Commands::sstbrReportsMenuToolbar_ToolClick(const QString &id)
{
    trap(m_errors, interfaceProcedure("sstbrReportsMenuToolbar_ToolClick"), [&] {
        const auto found = m_commands.constFind(id);
        if (found == m_commands.constEnd() || !m_facts.isReadyForCommand())
            return;
        const Command command = *found;
        if (!command.canRun || command.canRun())
            command.run();
    });
}

void Commands::popUp(const QString &id, const QPoint &globalPosition)
{
    menu(id)->popup(globalPosition);
}

void Commands::EnableDisableMenus(const QString &code)
{
    trap(m_errors, interfaceProcedure("EnableDisableMenus"),
         [&] { apply(enablingRule(code.toLatin1().constData(), m_facts.hasScheduledJobs())); });
}

void Commands::enableForEmptyListSpace(bool groupSelected)
{
    apply(emptyListSpaceRule(groupSelected));
}

void Commands::apply(const EnablingRule &rule)
{
    auto switchTools = std::begin(kSwitches);
    for (const Enabling state : rule.states) {
        if (state != Enabling::Keep)
            (this->**switchTools)(state == Enabling::On || (state == Enabling::WhenPastePending && m_facts.isPastePending()));
        ++switchTools;
    }
    // What a rule leaves as it was may still have lost what it acts on.
    for (const QLatin1StringView kept : {command::rename, command::saveAs, command::paste})
        refresh(kept);
}

void Commands::enable(const QString &id, bool enabled)
{
    if (enabled)
        m_switchedOff.remove(id);
    else
        m_switchedOff.insert(id);
    refresh(id);
}

void Commands::refresh(const QString &id)
{
    const auto command = m_commands.constFind(id);
    const bool runnable = command != m_commands.constEnd() && (!command->canRun || command->canRun());
    tool(id)->setEnabled(runnable && !m_switchedOff.contains(id));
}

void Commands::CutCopyEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("CutCopyEnabled"), [&] {
        enable(command::cut, enabled);
        enable(command::copy, enabled);
    });
}

void Commands::PasteEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("PasteEnabled"), [&] { enable(command::paste, enabled); });
}

void Commands::GenerateEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("GenerateEnabled"), [&] { enable(command::generate, enabled); });
}

void Commands::NewReportGroupEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("NewReportGroupEnabled"), [&] { enable(command::reportGroup, enabled); });
}

void Commands::AddNewReportQueryEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("AddNewReportQueryEnabled"), [&] { enable(command::reportQuery, enabled); });
}

void Commands::SaveAsEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("SaveAsEnabled"), [&] { enable(command::saveAs, enabled); });
}

void Commands::NewReportScheduleJobEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("NewReportScheduleJobEnabled"), [&] { enable(command::reportJob, enabled); });
}

void Commands::RenameEnabled_EH(bool enabled)
{
    trap(m_errors, interfaceProcedure("RenameEnabled_EH"), [&] { enable(command::rename, enabled); });
}

void Commands::ModEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("ModEnabled"), [&] { enable(command::modify, enabled); });
}

void Commands::DelEnabled(bool enabled)
{
    trap(m_errors, interfaceProcedure("DelEnabled"), [&] { enable(command::del, enabled); });
}

} // namespace qm
