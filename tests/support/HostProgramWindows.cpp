// Wine starts a program of the machine around it, but gives no handle to wait for and no pipes between them. So a shell runs the program,
// and tells in files of a temporary folder what it printed and how it ended.

#include "support/HostProgram.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <qt_windows.h>

namespace qm::test {

using namespace Qt::StringLiterals;

namespace {

constexpr int kRunMs = 120'000, kStopMs = 5000, kPollMs = 5;
constexpr wchar_t kShell[] = L"Z:\\bin\\sh";

/// As the machine around Wine names what \p argument names.
QString outside(QString argument)
{
    static const QRegularExpression path(u"Z:([/\\\\][^'\"]*)"_s, QRegularExpression::CaseInsensitiveOption);
    for (auto match = path.match(argument); match.hasMatch(); match = path.match(argument))
        argument.replace(match.capturedStart(), match.capturedLength(), match.captured(1).replace(u'\\', u'/'));
    return argument;
}

QString quoted(const QString &argument)
{
    return u'\'' + outside(argument).replace(u'\'', u"'\\''"_s) + u'\'';
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Has the shell around Wine run \p script. Not by QProcess: it would close the handles of the process, which are
/// none here but whatever numbers lay about.
bool startShell(const QString &script)
{
    if (GetFileAttributesW(kShell) == INVALID_FILE_ATTRIBUTES)
        return false;
    std::wstring line = QString(u"sh \""_s + outside(script) + u'"').toStdWString();
    STARTUPINFOW how{};
    how.cb = sizeof how;
    PROCESS_INFORMATION process{};
    return CreateProcessW(kShell, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &how, &process) != 0;
}

/// One program, its folder, and the files there: out, err, pid, and code when it has ended.
class Job final
{
public:
    /// \p redirection says where the two streams go.
    Job(const QString &program, const QStringList &arguments, const char *redirection)
    {
        QString line = quoted(program);
        for (const QString &argument : arguments)
            line += u' ' + quoted(argument);
        // QM_TEST_RUN is the process that started Wine: when it is gone, the program ends too.
        const QByteArray script = "cd '" + outside(m_folder.path()).toUtf8() + "'\n" + "(exec " + line.toUtf8() + "\n) </dev/null " +
                                  redirection + " &\nmain=$!\n" +
                                  "(while kill -0 $main && kill -0 ${QM_TEST_RUN:-$main}; do sleep 1; done; kill $main) 2>/dev/null &\n"
                                  "echo $main >pid\nwait $main\necho $? >code.part\nmv code.part code\n";
        QFile file(path(u"run"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(script) != script.size())
            return;
        file.close();
        m_started = startShell(file.fileName());
    }

    [[nodiscard]] bool started() const { return m_started; }
    [[nodiscard]] QByteArray out() const { return contentOf(path(u"out"_s)); }
    [[nodiscard]] QByteArray err() const { return contentOf(path(u"err"_s)); }
    [[nodiscard]] QByteArray pid() const { return contentOf(path(u"pid"_s)).trimmed(); }
    [[nodiscard]] bool ended() const { return !m_started || QFile::exists(path(u"code"_s)); }
    [[nodiscard]] int code() const { return ended() && m_started ? contentOf(path(u"code"_s)).trimmed().toInt() : -1; }
    [[nodiscard]] bool waitForEnd(int ms) const
    {
        QElapsedTimer elapsed;
        elapsed.start();
        while (!ended() && elapsed.elapsed() < ms)
            QThread::msleep(kPollMs);
        return ended();
    }

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
    bool m_started = false;
};

void signalTo(const Job &job, const QString &signal)
{
    if (const QByteArray pid = job.pid(); !pid.isEmpty())
        (void)Job(u"kill"_s, {u'-' + signal, QString::fromLatin1(pid)}, ">out 2>err").waitForEnd(kStopMs);
}

} // namespace

struct HostProcess::State
{
    Job job;
    QByteArray said;
};

HostProcess::HostProcess() = default;

HostProcess::~HostProcess()
{
    stop();
}

void HostProcess::start(const QString &program, const QStringList &arguments)
{
    m_state.reset(new State{Job(program, arguments, ">out 2>&1"), {}});
}

const QByteArray &HostProcess::wait(int ms)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QByteArray now = m_state->job.out();
    while (now.size() == m_state->said.size() && !m_state->job.ended() && elapsed.elapsed() < ms) {
        QThread::msleep(kPollMs);
        now = m_state->job.out();
    }
    return m_state->said = now;
}

bool HostProcess::isRunning() const
{
    return m_state && !m_state->job.ended();
}

QString HostProcess::problem() const
{
    return m_state->job.started() ? QString() : u"there is no machine around Wine"_s;
}

void HostProcess::stop()
{
    if (!isRunning())
        return;
    signalTo(m_state->job, u"TERM"_s);
    if (!m_state->job.waitForEnd(kStopMs)) {
        signalTo(m_state->job, u"KILL"_s);
        (void)m_state->job.waitForEnd(kStopMs);
    }
}

HostResult runHost(const QString &program, const QStringList &arguments)
{
    const Job job(program, arguments, ">out 2>err");
    const bool ended = job.waitForEnd(kRunMs);
    const QByteArray err = job.started() ? job.err() : QByteArray("there is no machine around Wine");
    constexpr int kNotFound = 127;
    const int code = job.code();
    return {!ended || code == kNotFound ? -1 : code, job.out(), err};
}

bool hostHas(const QString &program)
{
    return runHost(u"sh"_s, {u"-c"_s, u"command -v "_s + program}).code == 0;
}

} // namespace qm::test
