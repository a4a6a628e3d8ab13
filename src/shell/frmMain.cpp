#include "shell/frmMain.h"

#include "catalogue/CatalogueKeys.h"
#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "core/WorkAtHand.h"
#include "datasources/ConnectionTester.h"
#include "datasources/frmAddNewDataSource.h"
#include "datasources/frmDataSource.h"
#include "email/frmEmailSettings.h"
#include "framework/Readers.h"
#include "help/HelpFile.h"
#include "help/HelpKey.h"
#include "platform/DueTimer.h"
#include "platform/Files.h"
#include "scheduler/ScheduleTableView.h"
#include "shell/CaptionPanel.h"
#include "shell/CatalogueCommands.h"
#include "shell/ElidedLabel.h"
#include "shell/Icons.h"
#include "shell/LeftToRightDelegate.h"
#include "shell/MenuKey.h"
#include "shell/ScheduleStatus.h"
#include "shell/ScreenFit.h"
#include "shell/frmAbout.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");
constexpr Procedure kFormLoad{"Form_Load", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while loading the form.")};
constexpr Procedure kRestoreFromTray{"RestoreFromTray", kUnanticipated, kModule};
constexpr Procedure kTrayDoubleClick{"TrayIcon_LeftDoubleClick", kUnanticipated, kModule};
constexpr Procedure kHelpContents{"HelpContentsClicked", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to display Help."),
                                  kModule};

const QString kScheduleCode = QStringLiteral("D");
constexpr QSize kFirstSize(1180, 760);
constexpr int kTreeWidth = 300;
constexpr int kButtonIcon = 22;
constexpr int kCloseAgainMs = 300;

} // namespace

frmMain::frmMain(MainWindowServices services)
    : m_services(std::move(services)), m_state(m_services.stateFile), m_commands(m_services.errors, *this, this),
      m_selectionCommands(m_active, m_services.errors),
      m_runner(m_services.globals, m_services.components, m_services.prompts, m_services.journal),
      m_loader(m_services.globals, m_services.errors, m_services.readers)
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(tr("Quillmark SQL Report Generator V8.0 SP4"));
    setWindowIcon(icons::applicationIcon());
    layout()->setSizeConstraint(QLayout::SetNoConstraint);
    resize(kFirstSize);

    m_catalogue = std::make_unique<CataloguePane>(CatalogueServices{m_services.globals, m_services.errors, m_services.prompts,
                                                                    m_services.components, m_services.makeQueryReader, icons::imageList()},
                                                  this);
    m_schedule = std::make_unique<SchedulePane>(
        ScheduleServices{m_services.globals, m_services.jobReader, m_services.errors, m_services.prompts, m_services.clock,
                         m_services.journal, m_services.work},
        m_services.help,
        [this](const QString &interfaceId, bool interactive, std::function<void()> over) {
            m_runner.RunReport(interfaceId, interactive, std::move(over));
        },
        this);
    m_schedule->table().setPicture(icons::imageList().value(QStringLiteral("ScheduleJob")));
    for (const int column : {CatalogueList::QueryFile, CatalogueList::ReportFile})
        m_catalogue->lvListView().setItemDelegateForColumn(column, new LeftToRightDelegate(this));
    for (const int column : {JobTable::Date, JobTable::Time, JobTable::QueryFile})
        m_schedule->dtblScheduleTable().setItemDelegateForColumn(column, new LeftToRightDelegate(this));
    m_addDataSource = std::make_unique<frmAddNewDataSource>(m_services.globals, m_services.errors, m_services.prompts, this);

    m_catalogueCommands = std::make_unique<CatalogueCommands>(*m_catalogue, m_commands, m_selectionCommands);
    connectCatalogue();

    buildBars();
    buildPanes();
    buildTray();
    connectSchedule();
    setCommands();
    setShortcuts();

    m_active.watch(m_catalogue->tvTreeView(), ActiveControl::View::TreeView);
    m_active.watch(m_catalogue->lvListView(), ActiveControl::View::ListView);
    m_active.watch(m_schedule->dtblScheduleTable(), ActiveControl::View::Datatbl);
    new HelpKey(m_services.help, m_services.errors, this);
    new MenuKey(this);
    new ScreenFit(this);
    connect(&m_active, &ActiveControl::changed, this, &frmMain::activeControlChanged);
    m_state.restore(parts());
    m_catalogue->tvTreeView().setFocus();
}

frmMain::~frmMain()
{
    // The panes' events use the other members, and the focus wanders while widgets go.
    m_active.unwatchAll();
    m_catalogueCommands.reset();
    m_schedule.reset();
    m_catalogue.reset();
}

void frmMain::connectCatalogue()
{
    const CataloguePane *pane = m_catalogue.get();
    connect(pane, &CataloguePane::selected, &m_commands, &Commands::EnableDisableMenus);
    connect(pane, &CataloguePane::emptyListSpaceClicked, &m_commands, &Commands::enableForEmptyListSpace);
    connect(pane, &CataloguePane::captionChanged, this, [this](const QString &caption) { m_ssReportQuery->setCaption(caption); });
    connect(pane, &CataloguePane::rightClickMenuRequested, this, &frmMain::popUpRightClickMenu);
    connect(pane, &CataloguePane::deleteRequested, &m_commands, [this] { m_commands.sstbrReportsMenuToolbar_ToolClick(command::del); });
    connect(m_catalogueCommands.get(), &CatalogueCommands::filesChanged, &m_schedule->table(), &JobTable::refreshFileMarks);
}

bool frmMain::isPastePending() const
{
    return m_catalogue && m_catalogue->pendingPaste().isPending();
}

bool frmMain::hasScheduledJobs() const
{
    return m_schedule && m_schedule->table().rows() > 0;
}

bool frmMain::isReadyForCommand() const
{
    return mayRunCommand() && m_catalogueCommands->endLabelEdit();
}

void frmMain::buildBars()
{
    auto *menus = new QMenuBar(this);
    menus->setObjectName(QStringLiteral("Menu"));
    menus->setNativeMenuBar(false);
    m_commands.fillMenuBar(*menus);
    setMenuBar(menus);

    auto *buttons = new QToolBar(tr("Tools"), this);
    buttons->setObjectName(QStringLiteral("sstbrReportsMenuToolbar"));
    buttons->setMovable(false);
    buttons->setIconSize(QSize(kButtonIcon, kButtonIcon));
    buttons->setContextMenuPolicy(Qt::PreventContextMenu);
    m_commands.fillButtonBar(*buttons);
    addToolBar(buttons);
    setContextMenuPolicy(Qt::PreventContextMenu);

    auto *status = new QStatusBar(this);
    status->setObjectName(QStringLiteral("sbStatusbar"));
    m_nextSchReport = new ElidedLabel(status);
    m_nextSchReport->setObjectName(QStringLiteral("NextSchReport"));
    m_nextSchReport->setContentsMargins(6, 2, 6, 2);
    m_scheduleStatus = new ScheduleStatus(m_runner, status);
    status->addPermanentWidget(m_scheduleStatus);
    status->addPermanentWidget(m_nextSchReport);
    setStatusBar(status);
}

void frmMain::buildPanes()
{
    m_ssReportQuery = new CaptionPanel(QStringLiteral("ssReportQuery"), &m_catalogue->lvListView(), this);
    auto *ssScheduleJob = new CaptionPanel(QStringLiteral("ssScheduleJob"), &m_schedule->contents(), this);
    ssScheduleJob->setCaption(tr("Scheduled Reports"));

    auto *scheduler = new QSplitter(Qt::Vertical, this);
    scheduler->setObjectName(QStringLiteral("SSplitterScheduler"));
    scheduler->addWidget(ssScheduleJob);

    m_splitterListView = new QSplitter(Qt::Vertical, this);
    m_splitterListView->setObjectName(QStringLiteral("SSplitterListView"));
    m_splitterListView->addWidget(m_ssReportQuery);
    m_splitterListView->addWidget(scheduler);
    m_splitterListView->setSizes({2 * kFirstSize.height(), kFirstSize.height()});

    m_splitterMain = new QSplitter(Qt::Horizontal, this);
    m_splitterMain->setObjectName(QStringLiteral("SSplitterMain"));
    m_splitterMain->addWidget(&m_catalogue->tvTreeView());
    m_splitterMain->addWidget(m_splitterListView);
    m_splitterMain->setSizes({kTreeWidth, kFirstSize.width() - kTreeWidth});
    for (QSplitter *splitter : {m_splitterMain, m_splitterListView})
        splitter->setChildrenCollapsible(false);
    setCentralWidget(m_splitterMain);
}

void frmMain::buildTray()
{
    QMenu *menu = m_commands.menu(command::taskBar);
    m_tray = std::make_unique<TrayIcon>(icons::applicationIcon(), windowTitle(), *menu);
    connect(m_tray.get(), &TrayIcon::LeftDoubleClick, this, &frmMain::TrayIcon_LeftDoubleClick);
    connect(m_tray.get(), &TrayIcon::restoreRequested, this, &frmMain::RestoreFromTray);
    // A dialog or a report does not keep the operator from the tray's menu, but the program cannot end under it.
    connect(menu, &QMenu::aboutToShow, this, [this] { m_commands.tool(command::exit)->setEnabled(mayRunCommand()); });
    connect(menu, &QMenu::aboutToHide, this, [this] { m_commands.tool(command::exit)->setEnabled(true); });
}

void frmMain::connectSchedule()
{
    const auto enable = [this] { m_commands.EnableDisableMenus(kScheduleCode); };
    connect(m_schedule.get(), &SchedulePane::chosen, this, enable);
    connect(m_schedule.get(), &SchedulePane::menuRequested, this, &frmMain::popUpRightClickMenu);
    connect(m_schedule.get(), &SchedulePane::deleteRequested, this, [this] { m_commands.sstbrReportsMenuToolbar_ToolClick(command::del); });
    connect(m_schedule.get(), &SchedulePane::left, this, [this] { m_catalogue->tvTreeView().setFocus(); });
    connect(&m_schedule->jobs(), &ScheduledJobs::tableEmptied, this, [this] { m_catalogue->refreshSelectedNode(); });
    // While the schedule is the active view, its commands follow whether it has rows.
    const auto follow = [this, enable] {
        if (m_active.current() == ActiveControl::View::Datatbl)
            enable();
    };
    for (const auto changed : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&m_schedule->table(), changed, this, follow);
    connect(&m_schedule->table(), &QAbstractItemModel::modelReset, this, follow);
    connect(&m_schedule->timer(), &ScheduleTimer::countdownChanged, this, [this](const QString &text) {
        m_nextSchReport->setText(text);
        m_tray->setCountdown(text);
    });
    connect(&m_schedule->watch(), &ScheduleWatch::noticeChanged, m_scheduleStatus, &ScheduleStatus::setNotice);
    connect(m_scheduleStatus, &ScheduleStatus::cancelRequested, &m_runner, &ReportRunner::cancel);
    connect(&m_runner, &ReportRunner::scheduledRunBegan, this, &frmMain::scheduledRunBegan);
    connect(&m_runner, &ReportRunner::scheduledRunOver, this, &frmMain::scheduledRunOver);
    connect(&m_runner, &ReportRunner::runOver, this, &frmMain::runOver);
}

void frmMain::scheduledRunBegan(const QString &queryFile)
{
    m_scheduleStatus->runBegan(queryFile);
    m_nextSchReport->hide(); // it would count down to what is being made
    m_tray->setCountdown(m_scheduleStatus->runText());
    m_commands.refresh(command::generate);
}

void frmMain::scheduledRunOver()
{
    m_scheduleStatus->runOver();
    m_nextSchReport->show();
}

void frmMain::runOver()
{
    m_commands.refresh(command::generate);
    m_schedule->timer().deliverWaitingMature();
    if (m_closesAfterRun && !m_runner.isRunning())
        QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

void frmMain::setCommands()
{
    using View = ActiveControl::View;
    using Verb = SelectionCommands::Verb;
    const auto modifyJob = [this] { m_schedule->jobs().ModifyScheduledJob(); };
    m_selectionCommands.set(View::Datatbl, Verb::Modify, modifyJob);
    m_selectionCommands.set(View::Datatbl, Verb::Rename, modifyJob);
    m_selectionCommands.set(View::Datatbl, Verb::Delete, [this] { m_schedule->jobs().DeleteScheduledJob(); });

    const auto can = [this](Verb verb) { return [this, verb] { return m_selectionCommands.canRun(verb); }; };
    m_commands.setCommand(
        command::modify, [this] { m_selectionCommands.Modify(); }, can(Verb::Modify));
    m_commands.setCommand(
        command::rename, [this] { m_selectionCommands.Rename(); }, can(Verb::Rename));
    m_commands.setCommand(
        command::del, [this] { m_selectionCommands.Delete(); }, can(Verb::Delete));
    m_commands.setCommand(command::reportJob, [this] { addNewScheduledJob(); });
    m_commands.setCommand(
        command::generate, [this] { generate(); }, [this] { return !m_runner.isRunning(); });
    m_commands.setCommand(command::emailSettings, [this] { editEmailSettings(); });
    if (m_services.connectionTester)
        m_commands.setCommand(command::connectionInformation, [this] { editDataSources(); });
    m_commands.setCommand(command::contents, [this] { HelpContentsClicked(); });
    m_commands.setCommand(command::helpButton, [this] { HelpContentsClicked(); });
    m_commands.setCommand(command::about, [this] { showAbout(); });
    m_commands.setCommand(command::exit, [this] { close(); });
    m_commands.setCommand(command::keepOnTaskbar, [this] { hideToNotificationArea(); });
}

void frmMain::setShortcuts()
{
    m_commands.tool(command::contents)->setShortcut(QKeySequence::HelpContents);
    // Delete has none: the views decide by key what it may delete.
    const std::pair<QLatin1StringView, QKeySequence> ofViews[]{{command::rename, QKeySequence(Qt::Key_F2)},
                                                               {command::cut, QKeySequence::Cut},
                                                               {command::copy, QKeySequence::Copy},
                                                               {command::paste, QKeySequence::Paste}};
    for (const auto &[identifier, keys] : ofViews) {
        QAction *action = m_commands.tool(identifier);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        m_catalogue->tvTreeView().addAction(action);
        m_catalogue->lvListView().addAction(action);
    }
}

WindowParts frmMain::parts()
{
    return {*this, {m_splitterMain, m_splitterListView}, m_catalogue->lvListView(), m_schedule->dtblScheduleTable()};
}

void frmMain::Form_Load()
{
    trap(m_services.errors, kFormLoad, [&] {
        m_loader.ReadReportConfigurations();
        m_catalogue->catalogue().PopulateTreeView();
        m_schedule->jobs().PopulateJobs();
        m_services.help.setPath(m_services.globals.gstrInstallPath + kSep + QStringLiteral("Report Generator.chm"));
        m_schedule->timer().setDueTimer(m_services.makeDueTimer());
        m_schedule->timer().SetTimer(false);
    });
}

void frmMain::closeEvent(QCloseEvent *event)
{
    const bool isRunAtHand = m_runner.isRunning() && !QApplication::activeModalWidget() && !m_services.work.isEditing();
    if ((isRunAtHand || mayRunCommand()) && !m_closesAfterRun && !mayLeaveJobs()) {
        event->ignore();
        return;
    }
    if (isRunAtHand && m_runner.isRunning()) {
        // The end of the program is the end of the run at hand. The jobs behind it stay as they are, for the next start.
        event->ignore();
        m_closesAfterRun = true;
        setEnabled(false);
        m_schedule->timer().end();
        m_scheduleStatus->runEnds();
        m_runner.cancel();
        return;
    }
    if (!mayRunCommand()) {
        event->ignore();
        if (m_closesAfterRun)
            QTimer::singleShot(kCloseAgainMs, this, &QWidget::close);
        return;
    }
    m_schedule->timer().end();
    m_state.save(parts());
    m_tray->removeIcon();
    if (m_about)
        m_about->close();
    m_services.help.closeWindow();
    event->accept();
    Q_EMIT closed();
}

bool frmMain::mayLeaveJobs()
{
    const std::optional<QString> why = m_schedule->watch().saveUnsaved();
    if (!why)
        return true;
    const int answer = m_services.prompts.messageBox(
        tr("The scheduled jobs could not be saved to \"%1\":\r\n%2\r\n\r\n"
           "What has changed in them since is lost when the program ends. End it all the same?")
            .arg(m_services.globals.gstrInstallPath + QStringLiteral("Config") + kSep + QStringLiteral("Jobs.cfg"), *why),
        box::yesNo | box::exclamation | box::defaultButton2, QString::fromLatin1(kApplicationTitle));
    if (answer != box::idYes)
        return false;
    m_services.journal.note(QStringLiteral("the program ends although the job file could not be saved: %1").arg(*why));
    return true;
}

bool frmMain::mayRunCommand() const
{
    return !QApplication::activeModalWidget() && !m_services.work.isProducingRows() && !m_services.work.isEditing();
}

void frmMain::hideToNotificationArea()
{
    if (TrayIcon::isAvailable()) {
        m_tray->showIcon();
        hide();
    } else {
        statusBar()->showMessage(tr("This desktop has no notification area, so the window was minimised. The schedule keeps running."));
        showMinimized();
    }
}

void frmMain::TrayIcon_LeftDoubleClick()
{
    trap(m_services.errors, kTrayDoubleClick, [&] { RestoreFromTray(); });
}

void frmMain::RestoreFromTray()
{
    trap(m_services.errors, kRestoreFromTray, [&] {
        m_tray->removeIcon();
        setWindowState(windowState() & ~Qt::WindowMinimized);
        show();
        QWidget *front = QApplication::activeModalWidget() ? QApplication::activeModalWidget() : this;
        front->raise();
        front->activateWindow();
    });
}

void frmMain::HelpContentsClicked()
{
    trap(m_services.errors, kHelpContents, [&] { m_services.help.showContext(helpcontext::mainWindow); });
}

void frmMain::popUpRightClickMenu(const QPoint &globalPosition)
{
    m_commands.popUp(command::rightClick, globalPosition);
}

void frmMain::activeControlChanged()
{
    const CatalogueSelection &selected = m_catalogue->selection();
    QString code = selectionCode(selected.nodeKey());
    if (m_active.current() == ActiveControl::View::Datatbl) {
        JobTable &jobs = m_schedule->table();
        if (jobs.selectedRow() >= 0)
            m_services.globals.gstrCurrentQueryFile = jobs.row(jobs.selectedRow()).queryFile;
        code = kScheduleCode;
    } else if (m_active.current() == ActiveControl::View::ListView && selected.rowIndex() >= 0) {
        code = selectionCode(selected.rowKey());
    }
    m_commands.EnableDisableMenus(code);
}

void frmMain::generate()
{
    const CatalogueSelection &selected = m_catalogue->selection();
    const JobTable &jobs = m_schedule->table();
    // The schedule may have changed the current query since the row was chosen, or the selected job.
    if (m_active.current() == ActiveControl::View::ListView && isLevel(selected.rowKey(), selection::query))
        m_services.globals.gstrCurrentQueryFile = selected.row().subItems[CatalogueList::QueryFile - 1];
    else if (m_active.current() == ActiveControl::View::Datatbl && jobs.selectedRow() >= 0)
        m_services.globals.gstrCurrentQueryFile = jobs.row(jobs.selectedRow()).queryFile;
    const TreeNode node = selected.node();
    const QString interfaceId = isLevel(node.key, selection::package) ? node.tag : selected.parentNode().tag;
    m_runner.RunReport(interfaceId, true);
}

void frmMain::addNewScheduledJob()
{
    const CatalogueSelection &selected = m_catalogue->selection();
    if (isLevel(selected.rowKey(), selection::query))
        m_schedule->jobs().AddNewScheduledJob(selected.row().tag, selected.parentNode().tag, true);
    else
        m_schedule->jobs().AddNewScheduledJob({}, {}, false);
}

void frmMain::editDataSources()
{
    Globals &globals = m_services.globals;
    if (!globals.gudoDataSourceReader)
        globals.gudoDataSourceReader = m_services.readers.dataSources();
    frmDataSource form({globals, *globals.gudoDataSourceReader, *m_services.connectionTester, m_services.errors, m_services.prompts,
                        m_services.help, *m_addDataSource},
                       this);
    form.showModal();
}

void frmMain::editEmailSettings()
{
    frmEmailSettings form(m_services.globals, m_services.readers.email, m_services.errors, m_services.prompts, m_services.help, this);
    form.exec();
}

void frmMain::showAbout()
{
    if (!m_about)
        m_about = new frmAbout(m_services.globals.gstrInstallPath, this);
    m_about->show();
    m_about->raise();
    m_about->activateWindow();
}

} // namespace qm
