#include "scheduler/frmScheduledReport.h"

#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "core/HelpViewer.h"
#include "core/Prompts.h"
#include "platform/Files.h"
#include "scheduler/NextRun.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTimeEdit>
#include <QVBoxLayout>

#include <algorithm>

namespace qm {

namespace {

constexpr char kModule[] = "frmReportScheduleJob.frm"; // not the dialog's own name
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured within the application");
constexpr Procedure kLoad{"frmReportScheduleJob::Form_Load", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while loading form"),
                          kModule};
constexpr Procedure kQueryFile{"cmdQueryFile_Click", kUnanticipated, kModule};
constexpr Procedure kOk{"cmdDlgSchOK_Click", kUnanticipated, kModule};
constexpr Procedure kCancel{"cmdDlgSchCancel_Click", kUnanticipated, kModule};
constexpr Procedure kHelp{"cmdHelp_Click", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while displaying the help file."),
                          "frmScheduledReport.frm"};

QLocale pickerLocale()
{
    return QLocale(QLocale::English, QLocale::UnitedStates);
}

} // namespace

frmScheduledReport::frmScheduledReport(const Globals &globals, ErrorReporter &errors, Prompts &prompts, HelpViewer &help, QWidget *parent)
    : QDialog(parent), m_globals(globals), m_errors(errors), m_prompts(prompts), m_help(help)
{
    setObjectName(QStringLiteral("frmScheduledReport"));
    setWindowTitle(tr("Report Scheduled Job"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    buildControls();
}

void frmScheduledReport::buildControls()
{
    const auto named = [](auto *widget, const char *name) {
        widget->setObjectName(QLatin1StringView(name));
        return widget;
    };
    m_txtJobDesc = named(new QLineEdit, "txtJobDesc");
    m_txtQueryFile = named(new QLineEdit, "txtQueryFile");
    m_txtQueryFile->setMinimumWidth(360);
    m_cmdQueryFile = named(new QPushButton(tr("...")), "cmdQueryFile");
    m_cmdQueryFile->setToolTip(tr("Choose a report query file"));
    m_cmdQueryFile->setAccessibleName(tr("Choose a report query file"));
    m_cmdQueryFile->setAutoDefault(false);
    m_cboFreq = named(new QComboBox, "cboFreq");
    m_txtStartDate = named(new QDateEdit, "txtStartDate");
    m_txtStartDate->setCalendarPopup(true);
    m_txtStartDate->setLocale(pickerLocale());
    m_txtStartDate->setDisplayFormat(QStringLiteral("MMM dd, yyyy"));
    m_txtStartDate->setDateRange(QDate(100, 1, 1), QDate(9999, 12, 31));
    m_txtStartTime = named(new QTimeEdit, "txtStartTime");
    m_txtStartTime->setLocale(pickerLocale());
    m_txtStartTime->setDisplayFormat(QStringLiteral("HH:mm"));
    m_cmdDlgSchOK = named(new QPushButton(tr("OK")), "cmdDlgSchOK");
    m_cmdDlgSchOK->setDefault(true);
    m_cmdDlgSchCancel = named(new QPushButton(tr("Cancel")), "cmdDlgSchCancel");
    m_cmdHelp = named(new QPushButton(tr("&Help")), "cmdHelp");

    auto *page = new QWidget;
    auto *form = new QFormLayout(page);
    form->addRow(tr("&Job Description:"), m_txtJobDesc);
    auto *fileRow = new QHBoxLayout;
    fileRow->addWidget(m_txtQueryFile, 1);
    fileRow->addWidget(m_cmdQueryFile);
    form->addRow(tr("&Query File To Use:"), fileRow);
    static_cast<QLabel *>(form->labelForField(fileRow))->setBuddy(m_txtQueryFile);
    form->addRow(tr("&Frequency:"), m_cboFreq);
    form->addRow(tr("Start &Date:"), m_txtStartDate);
    form->addRow(tr("Start &Time:"), m_txtStartTime);

    auto *tabs = new QTabWidget;
    tabs->addTab(page, tr("Schedule Job Information"));
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(m_cmdDlgSchOK, QDialogButtonBox::ActionRole);
    buttons->addButton(m_cmdDlgSchCancel, QDialogButtonBox::ActionRole);
    buttons->addButton(m_cmdHelp, QDialogButtonBox::HelpRole);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetMinimumSize);
    // The order of the form, then the buttons.
    QWidget *const order[] = {m_txtJobDesc,   m_txtQueryFile, m_cmdQueryFile,    m_cboFreq, m_txtStartDate,
                              m_txtStartTime, m_cmdDlgSchOK,  m_cmdDlgSchCancel, m_cmdHelp};
    for (std::size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);

    connect(m_cmdQueryFile, &QPushButton::clicked, this, &frmScheduledReport::cmdQueryFile_Click);
    connect(m_cmdDlgSchOK, &QPushButton::clicked, this, &frmScheduledReport::cmdDlgSchOK_Click);
    connect(m_cmdDlgSchCancel, &QPushButton::clicked, this, &frmScheduledReport::cmdDlgSchCancel_Click);
    connect(m_cmdHelp, &QPushButton::clicked, this, &frmScheduledReport::cmdHelp_Click);
    connect(m_txtStartTime, &QTimeEdit::userTimeChanged, this, [this] { m_hiddenSeconds = 0; });
}

void frmScheduledReport::showModal()
{
    trap(m_errors, kLoad, [&] { Form_Load(); });
    m_txtJobDesc->setFocus();
    m_txtJobDesc->selectAll();
    exec();
}

void frmScheduledReport::Form_Load()
{
    m_cboFreq->clear();
    for (const Frequency each : kFrequencies)
        m_cboFreq->addItem(frequencyText(each));
    m_cboFreq->setCurrentIndex(std::max(0, m_cboFreq->findText(FrequencyString)));

    m_txtJobDesc->setText(JobDescriptionString);
    m_txtStartDate->setDate(parseDate(StartDateString));
    const int second = parseTime(StartTimeString);
    m_txtStartTime->setTime(QTime(0, 0).addSecs(second - second % 60));
    m_hiddenSeconds = second % 60;
    m_txtQueryFile->setText(QueryFileNameString);
}

void frmScheduledReport::cmdQueryFile_Click()
{
    trap(m_errors, kQueryFile, [&] {
        FileDialogRequest request;
        request.title = windowTitle();
        request.folder = m_globals.gstrInstallPath;
        request.filter = tr("Quillmark Report Query File (*.rqn) | *.rqn");
        if (const auto chosen = m_prompts.chooseOpenFile(request); chosen && !chosen->isEmpty())
            m_txtQueryFile->setText(*chosen);
    });
}

void frmScheduledReport::cmdDlgSchOK_Click()
{
    trap(m_errors, kOk, [&] {
        const QString file = m_txtQueryFile->text();
        if (file.isEmpty()) {
            warn(tr("Please choose a Report Query File."));
            m_txtQueryFile->setFocus();
            m_isOk = false;
            return;
        }
        if (!files::fileExists(file)) {
            warn(tr("Cannot find report query file ") + file);
            return;
        }
        JobDescriptionString = m_txtJobDesc->text();
        StartDateString = dialogDateText(m_txtStartDate->date());
        const QTime time = m_txtStartTime->time();
        StartTimeString = time24Text(time.hour() * 3600 + time.minute() * 60 + m_hiddenSeconds);
        QueryFileNameString = file;
        FrequencyString = m_cboFreq->currentText();
        m_isOk = true;
        done(Accepted);
    });
}

void frmScheduledReport::cmdDlgSchCancel_Click()
{
    trap(m_errors, kCancel, [&] {
        m_isOk = false;
        done(Rejected);
    });
}

void frmScheduledReport::cmdHelp_Click()
{
    trap(m_errors, kHelp, [&] { m_help.showContext(helpcontext::scheduledJob); });
}

void frmScheduledReport::warn(const QString &text)
{
    m_prompts.messageBox(text, box::ok | box::exclamation, QString::fromLatin1(kApplicationTitle));
}

void frmScheduledReport::closeEvent(QCloseEvent *event)
{
    event->accept(); // not QDialog's: that would be the Cancel button
}

} // namespace qm
