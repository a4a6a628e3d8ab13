/// \file
/// A piece of work on a thread of its own, whose failure arrives in the user-interface thread.
#pragma once

#include "core/RuntimeError.h"
#include "engine/run/ReportEngine.h"

#include <QObject>
#include <QThread>

#include <atomic>
#include <exception>
#include <functional>
#include <memory>

namespace qm {

/// Runs a function once. The function must not touch widgets or objects of the user-interface thread other than what it was given.
/// Destroyed while running, the task is cancelled and waited for, and finished() is not emitted.
class BackgroundTask final : public QObject
{
    Q_OBJECT
public:
    using Work = std::function<void(CancelFlag &cancel)>;

    /// \p cancel may be shared with others; null: the task makes its own.
    explicit BackgroundTask(Work work, std::shared_ptr<CancelFlag> cancel = nullptr, QObject *parent = nullptr);
    ~BackgroundTask() override;

    void start();
    void cancel() { m_cancel->cancel(); }
    /// Blocks until the work has ended.
    void wait();
    [[nodiscard]] bool hasEnded() const { return m_ended.load(std::memory_order_acquire); }
    /// Throws the work's failure, if it failed. Call only after the end.
    void rethrow() const;
    /// Whether the work failed, and the failure as a run-time error. Call only after the end.
    [[nodiscard]] bool failed() const { return m_failure != nullptr; }
    [[nodiscard]] RuntimeError failure() const;

Q_SIGNALS:
    /// Emitted in the thread of this object, after the work has ended in any way.
    void finished();

private:
    std::shared_ptr<CancelFlag> m_cancel;
    std::exception_ptr m_failure;
    std::atomic<bool> m_ended{false};
    std::unique_ptr<QThread> m_thread;
};

} // namespace qm
