/// \file
/// A schedule on a temporary installation: real table, jobs, timer chain, dialog and job file; fake clock, prompts and due timer.
#pragma once

#include "core/ErrorReporter.h"
#include "framework/ConfigReaders.h"
#include "platform/DueTimer.h"
#include "platform/Files.h"
#include "scheduler/JobTable.h"
#include "scheduler/ScheduleTimer.h"
#include "scheduler/ScheduleWatch.h"
#include "scheduler/ScheduledJobs.h"
#include "scheduler/frmScheduledReport.h"
#include "support/FakeJournal.h"
#include "support/Fakes.h"

#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimeEdit>

namespace qm::test {

using namespace Qt::StringLiterals;

/// A due timer that matures when the test says so.
class FakeDueTimer final : public DueTimer
{
public:
    explicit FakeDueTimer(std::optional<WallTime> &due) : m_due(due) {}
    void SetDueTime(const WallTime &due) override { m_due = due; }
    void fire()
    {
        m_due.reset();
        Q_EMIT Mature();
    }

private:
    std::optional<WallTime> &m_due;
};

/// What the operator enters in the job dialog; values left out stay as they are.
struct DialogEntry
{
    std::optional<QString> description, file, frequencyText;
    std::optional<QDate> date;
    std::optional<QTime> time;
    const char *close = "cmdDlgSchOK"; ///< button pressed; nullptr: the window's close box
};

/// One session of the program's scheduler. restart() ends it and begins another on the same files.
class ScheduleHarness
{
public:
    ScheduleHarness() : errors(prompts), clock({QDate(2026, 11, 21), 36'000})
    {
        QDir(folder.path()).mkpath(u"Config"_s);
        QDir(folder.path()).mkpath(u"Server/Query Groups/Daily"_s);
        restart();
    }

    [[nodiscard]] QString installPath() const { return folder.path() + kSep; }
    [[nodiscard]] QString jobFile() const { return installPath() + u"Config/Jobs.cfg"_s; }
    [[nodiscard]] QString query(const QString &name) const { return installPath() + u"Server/Query Groups/Daily/"_s + name + u".rqn"_s; }
    QString makeQuery(const QString &name) const
    {
        files::saveAtomically(query(name), QByteArrayLiteral("description = \"q\"\nsql = \"select 1\"\n"));
        return query(name);
    }

    /// Ends the session and starts another: everything but files, clock and recordings is new.
    void restart()
    {
        jobs.reset();
        timer.reset();
        watch.reset();
        dialog.reset();
        table.reset();
        due.reset();
        globals = Globals();
        globals.gstrInstallPath = installPath();
        const auto info = std::make_shared<PackageInfo>();
        info->PackageName = u"Server"_s;
        info->Interface = u"QuillmarkReports.Server"_s;
        info->InstallPath = installPath() + u"Server/"_s;
        const auto package = std::make_shared<QMKPackage>();
        package->setPackageInfo(info);
        globals.gdicPackages.Add(info->PackageName, package);
        globals.gcolJobs = reader.LoadJobs(jobFile());

        table = std::make_unique<JobTable>();
        const ScheduleServices plain{globals, reader, errors, prompts, clock, journal, work};
        watch = std::make_unique<ScheduleWatch>(plain, std::chrono::milliseconds(10));
        const ScheduleServices services = watch->watched(plain);
        dialog = std::make_unique<frmScheduledReport>(globals, errors, prompts, help);
        timer = std::make_unique<ScheduleTimer>(services, *table, [this](const QString &, bool, std::function<void()> over) {
            runs.append(files::lastPart(globals.gstrCurrentQueryFile));
            if (inBackground)
                endRun = std::move(over);
            else
                over();
        });
        jobs = std::make_unique<ScheduledJobs>(services, *table, *dialog, *timer);
        QObject::connect(jobs.get(), &ScheduledJobs::tableEmptied, jobs.get(), [this] { ++emptied; });
        QObject::connect(timer.get(), &ScheduleTimer::rowsWanted, jobs.get(), &ScheduledJobs::PopulateJobs);
        watch->watch(*timer);
        QObject::connect(watch.get(), &ScheduleWatch::noticeChanged, watch.get(), [this](const QString &text) { notice = text; });
        jobs->PopulateJobs();
        auto dueTimer = std::make_unique<FakeDueTimer>(due);
        m_dueTimer = dueTimer.get();
        timer->setDueTimer(std::move(dueTimer));
    }

    void start() { timer->SetTimer(false); }

    void addJob(const DialogEntry &entry)
    {
        answerDialog(entry);
        jobs->AddNewScheduledJob({}, {}, false);
    }
    void modifySelected(const DialogEntry &entry)
    {
        answerDialog(entry);
        jobs->ModifyScheduledJob();
    }
    /// Lets the armed wake-up come, with the clock on its second.
    void mature()
    {
        if (!due)
            return;
        if (clock.wallNow() < *due)
            clock.set(*due);
        m_dueTimer->fire();
    }
    /// Fires whatever is pending, even after the job has gone.
    void fireAnyway() { m_dueTimer->fire(); }

    void answerDialog(const DialogEntry &entry)
    {
        QTimer::singleShot(0, dialog.get(), [this, entry] {
            if (entry.description)
                dialog->findChild<QLineEdit *>(u"txtJobDesc"_s)->setText(*entry.description);
            if (entry.file)
                dialog->findChild<QLineEdit *>(u"txtQueryFile"_s)->setText(*entry.file);
            if (entry.frequencyText)
                dialog->findChild<QComboBox *>(u"cboFreq"_s)->setCurrentText(*entry.frequencyText);
            if (entry.date)
                dialog->findChild<QDateEdit *>(u"txtStartDate"_s)->setDate(*entry.date);
            if (entry.time) {
                auto *picker = dialog->findChild<QTimeEdit *>(u"txtStartTime"_s);
                picker->setTime(*entry.time);
                Q_EMIT picker->userTimeChanged(*entry.time);
            }
            if (whileDialogIsOpen)
                whileDialogIsOpen();
            if (entry.close)
                dialog->findChild<QPushButton *>(QLatin1StringView(entry.close))->click();
            else
                dialog->close();
            if (dialog->isVisible())
                dialog->findChild<QPushButton *>(u"cmdDlgSchCancel"_s)->click();
        });
    }

    QTemporaryDir folder;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    FakeClock clock;
    FakeHelp help;
    FakeJournal journal;
    TomlJobConfigReader reader;
    Globals globals;
    std::unique_ptr<JobTable> table;
    std::unique_ptr<frmScheduledReport> dialog;
    std::unique_ptr<ScheduleWatch> watch;
    std::unique_ptr<ScheduleTimer> timer;
    std::unique_ptr<ScheduledJobs> jobs;
    std::optional<WallTime> due; ///< with which the due timer is armed now
    QStringList runs;
    int emptied = 0;
    FakeWork work;
    bool inBackground = false;    ///< reports are over only when the test says so
    std::function<void()> endRun; ///< of the report that is being made in the background
    QString notice;               ///< what the watch wants seen
    std::function<void()> whileDialogIsOpen;

private:
    FakeDueTimer *m_dueTimer = nullptr;
};

} // namespace qm::test
