/// \file
/// Carries log files into an event database.
#pragma once

#include "importing/InputFile.h"
#include "importing/RecordReader.h"

#include <QStringList>

#include <functional>
#include <memory>

namespace qm {

class EventDatabase;

enum class LogFormat { Automatic, Csv, Syslog, Journald, EventXml };

/// "auto", "csv", "syslog", "journald", "evtxml"; nullopt for another word.
[[nodiscard]] std::optional<LogFormat> logFormat(const QString &word);

/// The format that the begin of a file shows. \throws RuntimeError 321 for a binary event log or an archive, with what to do instead.
[[nodiscard]] LogFormat detectFormat(std::string_view head);

struct ImportRequest
{
    QString database;
    EventKind kind = EventKind::Server;
    LogFormat format = LogFormat::Automatic;
    QStringList inputs;
    int waitSeconds = 120;
};

/// What the import tells and asks while it runs. Any may be empty.
struct ImportListener
{
    std::function<void(const QString &)> note;                          ///< a sentence for the operator
    std::function<void(const InputFile &, std::int64_t rows)> progress; ///< every few thousand rows
    std::function<bool()> stop;                                         ///< true ends the import; nothing is kept
};

struct ImportResult
{
    std::int64_t rows = 0;
    bool createdSchema = false;
};

/// Imports all inputs in one transaction: either every row arrives or none.
/// \throws RuntimeError (cancelledByOperator when stopped); for a fault in an input its description begins with "FILE, line N: ".
ImportResult importEvents(const ImportRequest &request, const ImportListener &listener);

} // namespace qm
