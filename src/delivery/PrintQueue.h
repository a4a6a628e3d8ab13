/// \file
/// The platform's printing system: its queues, and a report on its way through one.
#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <vector>

namespace qm {

struct PrintQueue
{
    QString name, description; ///< description: what people call it; may be empty
    bool isDefault = false;
};

struct PrintQueueList
{
    std::vector<PrintQueue> queues;
    QString problem; ///< why the printing system could not be asked; empty when it could
};

/// The queues of this machine and user.
[[nodiscard]] PrintQueueList printQueues();

/// Why nothing can be printed on \p queue (empty: the default one) now: no such queue, disabled, rejecting jobs, no printing system. Empty
/// when it can.
[[nodiscard]] QString whyNotPrintable(const QString &queue);

struct PrintRequest
{
    QString queue; ///< empty: the default one
    QString file;  ///< a PDF document, which has its pages' orientation in itself
    QString title;
    int copies = 1;
    double pageWidthMm = 0, pageHeightMm = 0;
    std::chrono::milliseconds patience{60000}; ///< how long the job is followed
};

struct PrintOutcome
{
    enum class State {
        Printed, ///< the queue has finished the job
        Taken,   ///< the queue took the job and had not finished it in the time given
        Failed   ///< nothing is printed, and no job is left waiting
    };
    State state = State::Failed;
    QString queue; ///< its name
    int job = 0;   ///< the queue's number; 0: there is none
    QString words; ///< what went wrong, or where the job is
};

/// Prints. A job that cannot go on (its queue was stopped, the job held or aborted), or that \p stopped ends, is taken back.
[[nodiscard]] PrintOutcome printDocument(const PrintRequest &request, const std::function<bool()> &stopped);

} // namespace qm
