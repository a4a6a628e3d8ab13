#include "scheduler/SchedulePane.h"

#include "core/ErrorReporter.h"
#include "scheduler/ScheduleTableView.h"

#include <QCoreApplication>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");
constexpr Procedure kLfDblClick{"dtblScheduleTable_LfDblClick", kUnanticipated, kModule};
constexpr Procedure kKeyDown{"dtblScheduleTable_KeyDown", kUnanticipated, kModule};
constexpr Procedure kRtClick{"dtblScheduleTable_RtClick", kUnanticipated, kModule};

constexpr int kEnterCode = 13, kDeleteCode = 46;

ScheduleServices scheduleServices(const SchedulePane::Services &services, JobTable &table)
{
    return {services.globals, table, services.reader, services.errors, services.prompts, services.clock, services.journal};
}

} // namespace

SchedulePane::SchedulePane(const Services &services, SchedulePaneHooks hooks, QWidget *window)
    : QObject(window), m_services(services), m_hooks(std::move(hooks)),
      m_dialog(services.globals, services.errors, services.prompts, services.help, window),
      m_timer(
          scheduleServices(services, m_table),
          [this](const QString &interfaceId, bool interactive) { m_hooks.runReport(interfaceId, interactive); },
          [this] { return m_hooks.isProducingRows(); }),
      m_jobs(scheduleServices(services, m_table), m_dialog, m_timer, [this] { m_hooks.tableEmptied(); }),
      m_view(new ScheduleTableView(m_table, window))
{
    m_timer.setPopulateJobs([this] { m_jobs.PopulateJobs(); });
    connect(m_view, &ScheduleTableView::LfDblClick, this, &SchedulePane::dtblScheduleTable_LfDblClick);
    connect(m_view, &ScheduleTableView::KeyDown, this, &SchedulePane::dtblScheduleTable_KeyDown);
    connect(m_view, &ScheduleTableView::RtClick, this, &SchedulePane::dtblScheduleTable_RtClick);
    connect(m_view, &ScheduleTableView::RowChosen, this, &SchedulePane::rowChosen);
}

SchedulePane::~SchedulePane() = default;

void SchedulePane::dtblScheduleTable_LfDblClick()
{
    trap(m_services.errors, kLfDblClick, [&] {
        if (m_table.rows() > 0)
            m_jobs.ModifyScheduledJob();
        else
            m_jobs.AddNewScheduledJob({}, {}, false);
    });
}

void SchedulePane::dtblScheduleTable_KeyDown(int keyCode)
{
    trap(m_services.errors, kKeyDown, [&] {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        if (keyCode == kEnterCode) {
            m_jobs.ModifyScheduledJob();
            m_hooks.focusTree();
        } else if (keyCode == kDeleteCode && m_table.rows() > 0) {
            m_hooks.deleteCommand();
        }
    });
}

void SchedulePane::dtblScheduleTable_RtClick(int row, const QPoint &position)
{
    trap(m_services.errors, kRtClick, [&] {
        if (row >= 0) {
            m_table.selectRow(row);
            m_services.globals.gstrCurrentQueryFile = m_table.row(row).queryFile;
        }
        m_hooks.enableDisableMenus(QStringLiteral("D"));
        m_hooks.popUpRightClickMenu(position);
    });
}

void SchedulePane::rowChosen(int row)
{
    trapSilently([&] {
        m_services.globals.gstrCurrentQueryFile = m_table.row(row).queryFile;
        m_hooks.enableDisableMenus(QStringLiteral("D"));
    });
}

} // namespace qm
