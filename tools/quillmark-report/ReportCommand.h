/// \file
/// The command line of quillmark-report.
#pragma once

#include "engine/run/ReportEngine.h"

#include <QString>
#include <QStringList>

#include <stdexcept>

namespace qm {

/// What is wrong with a command line.
class UsageError final : public std::runtime_error
{
public:
    explicit UsageError(const QString &text) : std::runtime_error(text.toStdString()) {}
};

/// A command line, read.
struct ReportCommand
{
    enum class Action { Generate, History, Resend, Help, Version };
    Action action = Action::Generate;
    QString queryFile;    ///< empty only with History and Resend
    std::int64_t run = 0; ///< with Resend
    bool printRows = false;
    RunOptions options;
};

/// \p arguments without the program's name. \throws UsageError.
[[nodiscard]] ReportCommand readCommand(const QStringList &arguments);
[[nodiscard]] QString usageText();

} // namespace qm
