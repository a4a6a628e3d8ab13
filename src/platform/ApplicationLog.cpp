#include "platform/ApplicationLog.h"

#include "platform/Files.h"

#include <QFile>
#include <QScopeGuard>

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#ifdef Q_OS_WIN
#include "platform/Sha256.h"
#include "platform/SystemFileWindows.h"

#include <sddl.h>
#endif

namespace qm {

namespace {

constexpr std::size_t kFileSize = 5U << 20U;
constexpr std::size_t kOldFiles = 5;

/// \p path in the form that the log's library opens.
spdlog::filename_t fileName(const QString &path)
{
#ifdef Q_OS_WIN
    return path.toStdWString();
#else
    return QFile::encodeName(path).toStdString();
#endif
}

/// \p text on one line: what would break the line, move the cursor or change the reading direction is written as an escape.
std::string escaped(const QString &text)
{
    QString line;
    line.reserve(text.size());
    for (const QChar c : text) {
        const bool breaks = c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
                            c.category() == QChar::Separator_Paragraph || (c >= u'\u202A' && c <= u'\u202E') ||
                            (c >= u'\u2066' && c <= u'\u2069');
        if (c == u'\n')
            line += QStringLiteral("\\n");
        else if (c == u'\r')
            line += QStringLiteral("\\r");
        else if (c == u'\t')
            line += QStringLiteral("\\t");
        else if (breaks)
            line += QStringLiteral("\\u%1").arg(static_cast<int>(c.unicode()), 4, 16, QLatin1Char('0'));
        else
            line += c;
    }
    return line.toStdString();
}

#ifdef Q_OS_WIN

/// Takes turns with whoever writes the same log: appending is two steps on Windows, and a line written between them would be lost.
class Turns final
{
public:
    explicit Turns(const QString &path)
    {
        Sha256 sum;
        sum.update(path.toCaseFolded().toStdString());
        const QString name = QStringLiteral("Global\\quillmark-log-") + sum.hex().first(16);
        // Another user may take part too: SYNCHRONIZE and MUTEX_MODIFY_STATE for everybody who has logged in.
        PSECURITY_DESCRIPTOR users = nullptr;
        ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;0x00100001;;;AU)", SDDL_REVISION_1, &users, nullptr);
        SECURITY_ATTRIBUTES attributes{sizeof attributes, users, FALSE};
        m_mutex = win::Handle(CreateMutexExW(users ? &attributes : nullptr, win::wide(name), 0, SYNCHRONIZE | MUTEX_MODIFY_STATE));
        LocalFree(users);
    }
    /// \returns whether it is to be given back. A program that stands still in its turn holds up nobody for long, and only once.
    [[nodiscard]] bool take()
    {
        if (!m_mutex.isOpen())
            return false;
        const DWORD code = WaitForSingleObject(m_mutex.get(), m_isStuck ? 0 : kLongestTurnMs);
        m_isStuck = code == WAIT_TIMEOUT;
        return code == WAIT_OBJECT_0 || code == WAIT_ABANDONED;
    }
    void give() const { ReleaseMutex(m_mutex.get()); }

private:
    static constexpr DWORD kLongestTurnMs = 2000;

    win::Handle m_mutex;
    bool m_isStuck = false;
};

#else

/// A line is appended in one step here.
struct Turns final
{
    explicit Turns(const QString &) {}
    [[nodiscard]] bool take() const { return false; }
    void give() const {}
};

#endif

} // namespace

struct ApplicationLog::Sink
{
    spdlog::logger logger;
    Turns turns;
};

ApplicationLog::ApplicationLog(const QString &installPath, const QString &program)
{
    if (installPath.isEmpty() || !files::entryExists(installPath))
        return; // making the folders here would put them in the wrong place
    try {
        const QString path = installPath + QStringLiteral("Logs") + kSep + program + QStringLiteral(".log");
        auto file = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(fileName(path), kFileSize, kOldFiles);
        m_sink = std::make_unique<Sink>(Sink{spdlog::logger(program.toStdString(), std::move(file)), Turns(path)});
        m_sink->logger.set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %P %l: %v");
        m_sink->logger.flush_on(spdlog::level::trace);
        m_sink->logger.set_error_handler([](const std::string &) {});
    } catch (const std::exception &) {
        m_sink.reset();
    }
}

ApplicationLog::~ApplicationLog() = default;

void ApplicationLog::write(Level level, const QString &text) noexcept
{
    if (!m_sink)
        return;
    try {
        const auto severity = level == Level::Info      ? spdlog::level::info
                              : level == Level::Warning ? spdlog::level::warn
                                                        : spdlog::level::err;
        const std::string line = escaped(text);
        const bool taken = m_sink->turns.take();
        const auto end = qScopeGuard([this, taken] {
            if (taken)
                m_sink->turns.give();
        });
        m_sink->logger.log(severity, spdlog::string_view_t(line));
    } catch (const std::exception &) { // NOLINT(bugprone-empty-catch): a log that cannot be written stays silent
    }
}

void ApplicationLog::info(const QString &text) noexcept
{
    write(Level::Info, text);
}

void ApplicationLog::warning(const QString &text) noexcept
{
    write(Level::Warning, text);
}

void ApplicationLog::error(const QString &text) noexcept
{
    write(Level::Error, text);
}

} // namespace qm
