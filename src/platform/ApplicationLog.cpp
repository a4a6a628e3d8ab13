#include "platform/ApplicationLog.h"

#include "platform/EscapedText.h"
#include "platform/Files.h"
#include "platform/InstallationFolder.h"
#include "platform/LogFile.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>

#include <mutex>

namespace qm {

namespace {

constexpr qint64 kFullSize = qint64{5} << 20;
constexpr int kOldFiles = 5;

/// The end of the log's library: finished lines go to the file.
class FileSink final : public spdlog::sinks::base_sink<std::mutex>
{
public:
    FileSink(QString installPath, const QString &program)
        : m_installPath(std::move(installPath)),
          m_file(m_installPath + QStringLiteral("Logs") + kSep + program + QStringLiteral(".log"), kFullSize, kOldFiles)
    {
    }

private:
    void sink_it_(const spdlog::details::log_msg &message) override
    {
        spdlog::memory_buf_t text;
        formatter_->format(message, text);
        const std::string_view line(text.data(), text.size());
        if (!m_file.append(line) && makeInstallationFolder(m_installPath, QStringLiteral("Logs")))
            static_cast<void>(m_file.append(line));
    }
    void flush_() override {}

    QString m_installPath;
    LogFile m_file;
};

} // namespace

struct ApplicationLog::Sink
{
    spdlog::logger logger;
};

ApplicationLog::ApplicationLog(const QString &installPath, const QString &program)
{
    if (installPath.isEmpty())
        return;
    try {
        m_sink = std::make_unique<Sink>(Sink{spdlog::logger(program.toStdString(), std::make_shared<FileSink>(installPath, program))});
        m_sink->logger.set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %P %l: %v");
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
        const std::string line = escapedText(text).toStdString();
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
