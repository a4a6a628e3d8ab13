#include "reporting/common/BackgroundTask.h"

#include "core/ErrorReporter.h"

namespace qm {

BackgroundTask::BackgroundTask(Work work, std::shared_ptr<CancelFlag> cancel, QObject *parent)
    : QObject(parent), m_cancel(cancel ? std::move(cancel) : std::make_shared<CancelFlag>())
{
    m_thread.reset(QThread::create([this, work = std::move(work)] {
        try {
            work(*m_cancel);
        } catch (...) {
            m_failure = std::current_exception();
        }
        m_ended.store(true, std::memory_order_release);
    }));
    connect(m_thread.get(), &QThread::finished, this, &BackgroundTask::finished);
}

BackgroundTask::~BackgroundTask()
{
    disconnect();
    if (m_thread->isRunning()) {
        m_cancel->cancel();
        m_thread->wait();
    }
}

void BackgroundTask::start()
{
    m_thread->start();
}

void BackgroundTask::wait()
{
    m_thread->wait();
}

void BackgroundTask::rethrow() const
{
    if (m_failure)
        std::rethrow_exception(m_failure);
}

RuntimeError BackgroundTask::failure() const
{
    try {
        rethrow();
    } catch (...) {
        return currentError();
    }
    return RuntimeError(0, {});
}

} // namespace qm
