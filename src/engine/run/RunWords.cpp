#include "engine/run/RunWords.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qm {

namespace {

constexpr std::array kTriggers{std::pair{RunTrigger::Operator, "operator"}, std::pair{RunTrigger::Schedule, "schedule"},
                               std::pair{RunTrigger::CommandLine, "command line"}};
constexpr std::array kStatuses{std::pair{RunStatus::Running, "running"},         std::pair{RunStatus::Done, "done"},
                               std::pair{RunStatus::Failed, "failed"},           std::pair{RunStatus::Cancelled, "cancelled"},
                               std::pair{RunStatus::Interrupted, "interrupted"}, std::pair{RunStatus::NotRun, "not run"}};

template <class Table, class Code>
QString wordOf(const Table &table, Code code)
{
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto &entry) { return entry.first == code; });
    return found == table.end() ? QString() : QString::fromLatin1(found->second);
}

template <class Code, class Table>
Code codeOf(const Table &table, const QString &word)
{
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto &entry) { return word == QLatin1String(entry.second); });
    return found == table.end() ? Code::Unknown : found->first;
}

} // namespace

QString runWord(RunTrigger trigger)
{
    return wordOf(kTriggers, trigger);
}

QString runWord(RunStatus status)
{
    return wordOf(kStatuses, status);
}

RunTrigger runTriggerOf(const QString &word)
{
    return codeOf<RunTrigger>(kTriggers, word);
}

RunStatus runStatusOf(const QString &word)
{
    return codeOf<RunStatus>(kStatuses, word);
}

} // namespace qm
