#include "ScheduleHarness.h"

#include "scheduler/NextRun.h"

#include <QRandomGenerator>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// The schedule as a plain list: what the program must agree with after every step.
class Model
{
public:
    struct Job
    {
        int id = 0;
        QString description, file;
        WallTime when; ///< in the collection and the file
        QString frequency;
        WallTime shown{}; ///< in the table, which lags behind while the timer stands still
    };
    std::vector<Job> jobs;
    QStringList runs;

    void add(const Job &job, const WallTime &now)
    {
        int largest = 0;
        for (const Job &each : jobs)
            largest = std::max(largest, each.id);
        jobs.push_back(job);
        jobs.back().id = largest + 1;
        jobs.back().shown = job.when;
        settle(now);
    }
    /// What is due runs, what is later is armed; a missing file stops everything the first time.
    void settle(const WallTime &now)
    {
        for (int rounds = 0; !jobs.empty(); ++rounds) {
            std::size_t chosen = 0;
            for (std::size_t i = 1; i < jobs.size(); ++i)
                if (jobs[i].shown < jobs[chosen].shown)
                    chosen = i;
            const bool missing = !files::fileExists(jobs[chosen].file);
            if (missing)
                m_lastShown = jobs[chosen].shown;
            if (!missing && jobs[chosen].shown > now) {
                m_lastShown = jobs[chosen].shown;
                return;
            }
            const Job before = jobs[chosen];
            if (!process(chosen, now))
                return;
            repopulate();
            const bool stuck = chosen < jobs.size() && jobs[chosen].id == before.id && jobs[chosen].shown == before.shown;
            m_standstill = stuck ? m_standstill + 1 : 0;
            if (m_standstill == 2) {
                m_standstill = 0;
                return;
            }
        }
    }
    void mature(const WallTime &now)
    {
        std::size_t chosen = 0;
        for (std::size_t i = 1; i < jobs.size(); ++i)
            if (m_lastShown && jobs[i].shown == *m_lastShown)
                chosen = i;
        if (!jobs.empty() && process(chosen, now)) {
            repopulate();
            settle(now);
        }
    }
    void restart()
    {
        m_lastShown.reset();
        repopulate();
        m_missing = 0;
    }

private:
    void repopulate()
    {
        for (Job &job : jobs)
            job.shown = job.when;
    }
    /// Moves one job on and runs it. False: the chain ends here.
    bool process(std::size_t index, const WallTime &now)
    {
        const Job job = jobs[index];
        if (job.frequency == u"Single"_s) {
            if (job.shown.date <= now.date)
                jobs.erase(jobs.begin() + static_cast<std::ptrdiff_t>(index));
        } else {
            WallTime next = job.shown;
            while (next.date <= now.date) {
                const QDate date = next.date;
                next.date = job.frequency == u"Daily"_s    ? date.addDays(1)
                            : job.frequency == u"Weekly"_s ? date.addDays(7)
                                                           : date.addMonths(1);
                jobs[index].when = next;
            }
        }
        if (files::fileExists(job.file)) {
            runs.append(files::lastPart(job.file));
            return true;
        }
        return ++m_missing != 1;
    }

    std::optional<WallTime> m_lastShown;
    int m_missing = 0;
    int m_standstill = 0;
};

} // namespace

/// Random add, modify, delete, mature, restart and clock jump, against the plain model; file, collection and table compared after each
/// step.
class ScheduleModelTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void random_operations_agree_with_the_model_data()
    {
        QTest::addColumn<quint32>("seed");
        for (const quint32 seed : {1U, 2U, 3U, 4U, 5U, 6U})
            QTest::addRow("seed %u", seed) << seed;
    }
    void random_operations_agree_with_the_model()
    {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        ScheduleHarness real;
        Model model;
        for (const char *name : {"a", "b", "c"})
            real.makeQuery(QString::fromLatin1(name));
        for (int step = 0; step < 250; ++step) {
            const int action = static_cast<int>(random.bounded(100U));
            if (action < 35)
                add(real, model, random);
            else if (action < 45 && real.table->rows() > 0)
                modify(real, model, random);
            else if (action < 58 && real.table->rows() > 0)
                remove(real, model, random);
            else if (action < 80)
                matureBoth(real, model);
            else if (action < 86)
                restartBoth(real, model);
            else if (action < 94)
                jump(real, model, random);
            else
                toggleFile(real, random);
            compare(real, model, step);
            if (QTest::currentTestFailed())
                return;
        }
        QVERIFY2(model.runs.size() > 20, "the random walk ran hardly any report");
    }

private:
    static Model::Job randomJob(const ScheduleHarness &real, QRandomGenerator &random)
    {
        static const QStringList kNames{u"a"_s, u"b"_s, u"c"_s};
        const WallTime now = real.clock.wallNow();
        Model::Job job;
        job.description = u"job %1"_s.arg(random.bounded(1000U));
        // The dialog accepts only files that exist; which one is missing later is decided elsewhere.
        for (int i = 0; i < 3 && (job.file.isEmpty() || !files::fileExists(job.file)); ++i)
            job.file = real.query(kNames[random.bounded(3)]);
        job.frequency = frequencyText(random.bounded(4));
        job.when = {now.date.addDays(random.bounded(-40, 40)), random.bounded(1440) * 60};
        return job;
    }
    static DialogEntry entryFor(const Model::Job &job)
    {
        return {job.description, job.file, job.frequency, job.when.date, QTime(job.when.hour(), job.when.minute())};
    }
    static void add(ScheduleHarness &real, Model &model, QRandomGenerator &random)
    {
        const Model::Job job = randomJob(real, random);
        real.addJob(entryFor(job));
        if (real.dialog->IsOK())
            model.add(job, real.clock.wallNow());
    }
    static void modify(ScheduleHarness &real, Model &model, QRandomGenerator &random)
    {
        const int row = random.bounded(real.table->rows());
        real.table->selectRow(row);
        Model::Job job = randomJob(real, random);
        real.modifySelected(entryFor(job));
        if (!real.dialog->IsOK())
            return;
        Model::Job &changed = model.jobs[static_cast<std::size_t>(row)];
        job.id = changed.id;
        job.shown = job.when;
        changed = job;
        model.settle(real.clock.wallNow());
    }
    static void remove(ScheduleHarness &real, Model &model, QRandomGenerator &random)
    {
        const int row = random.bounded(real.table->rows());
        const bool yes = random.bounded(4) != 0;
        real.table->selectRow(row);
        real.prompts.answers.push_back(yes ? box::idYes : box::idNo);
        real.jobs->DeleteScheduledJob();
        if (yes)
            model.jobs.erase(model.jobs.begin() + row);
        model.settle(real.clock.wallNow());
    }
    static void matureBoth(ScheduleHarness &real, Model &model)
    {
        if (!real.due || real.table->rows() == 0)
            return;
        real.mature();
        model.mature(real.clock.wallNow());
    }
    static void restartBoth(ScheduleHarness &real, Model &model)
    {
        real.restart();
        real.start();
        model.restart();
        model.settle(real.clock.wallNow());
    }
    static void jump(ScheduleHarness &real, Model &model, QRandomGenerator &random)
    {
        real.clock.advance(std::chrono::hours(random.bounded(-48, 24 * 20)));
        if (real.due && *real.due <= real.clock.wallNow())
            matureBoth(real, model);
    }
    static void toggleFile(const ScheduleHarness &real, QRandomGenerator &random)
    {
        const QString name = random.bounded(2) ? u"b"_s : u"c"_s;
        if (files::fileExists(real.query(name)))
            files::kill(real.query(name));
        else
            real.makeQuery(name);
    }
    static void compare(ScheduleHarness &real, const Model &model, int step)
    {
        const QByteArray where = "after step " + QByteArray::number(step);
        const auto onDisk = TomlJobConfigReader().LoadJobs(real.jobFile());
        QVERIFY2(real.globals.gcolJobs->size() == model.jobs.size(), where.constData());
        QVERIFY2(onDisk->size() == model.jobs.size(), where.constData());
        for (std::size_t i = 0; i < model.jobs.size(); ++i) {
            const Model::Job &wanted = model.jobs[i];
            const ScheduledReportJob expected{wanted.description, wanted.file, wanted.when, *frequencyCode(wanted.frequency), wanted.id};
            QVERIFY2(*(*real.globals.gcolJobs)[i] == expected, where.constData());
            QVERIFY2(*(*onDisk)[i] == expected, where.constData());
        }
        QVERIFY2(real.table->rows() == static_cast<int>(model.jobs.size()), where.constData());
        for (int i = 0; i < real.table->rows(); ++i)
            QVERIFY2(real.table->nextRun(i) == model.jobs[static_cast<std::size_t>(i)].shown, where.constData());
        QVERIFY2(real.runs == model.runs, where.constData());
    }
};

QTEST_MAIN(ScheduleModelTest)
#include "schedule_model_test.moc"
