#include "scheduler/SchedulePane.h"

#include "core/ErrorReporter.h"
#include "scheduler/MissingFileNotice.h"
#include "scheduler/ScheduleTableView.h"

#include <QCoreApplication>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");
constexpr Procedure kLfDblClick{"dtblScheduleTable_LfDblClick", kUnanticipated, kModule};
constexpr Procedure kKeyDown{"dtblScheduleTable_KeyDown", kUnanticipated, kModule};
constexpr Procedure kRtClick{"dtblScheduleTable_RtClick", kUnanticipated, kModule};

constexpr int kEnterCode = 13, kDeleteCode = 46;

} // namespace

SchedulePane::SchedulePane(const ScheduleServices &services, HelpViewer &help, ScheduleTimer::ReportMaker runReport, QWidget *window)
    : QObject(window), m_services(services), m_dialog(services.globals, services.errors, services.prompts, help, window), m_watch(services),
      m_timer(m_watch.watched(services), m_table, std::move(runReport)), m_jobs(m_watch.watched(services), m_table, m_dialog, m_timer),
      m_contents(new QWidget(window)), m_view(new ScheduleTableView(m_table, m_contents))
{
    auto *layout = new QVBoxLayout(m_contents);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new MissingFileNotice(m_table, m_contents));
    layout->addWidget(m_view, 1);
    connect(&m_timer, &ScheduleTimer::rowsWanted, &m_jobs, &ScheduledJobs::PopulateJobs);
    m_watch.watch(m_timer);
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
            // The first job of an empty schedule begins without a query file, whatever an earlier showing of the dialog holds.
            m_jobs.AddNewScheduledJob({}, {}, true);
    });
}

void SchedulePane::dtblScheduleTable_KeyDown(int keyCode)
{
    trap(m_services.errors, kKeyDown, [&] {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        if (keyCode == kEnterCode) {
            m_jobs.ModifyScheduledJob();
            Q_EMIT left();
        } else if (keyCode == kDeleteCode && m_table.rows() > 0) {
            Q_EMIT deleteRequested();
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
        Q_EMIT chosen();
        Q_EMIT menuRequested(position);
    });
}

void SchedulePane::rowChosen(int row)
{
    trapSilently([&] {
        m_services.globals.gstrCurrentQueryFile = m_table.row(row).queryFile;
        Q_EMIT chosen();
    });
}

} // namespace qm
