#include "reporting/editor/SqlCheck.h"

#include <utility>

namespace qm {

namespace {

constexpr int kCheckAfterMs = 600;

} // namespace

SqlCheck::SqlCheck(QObject *parent) : QObject(parent)
{
    m_soon.setSingleShot(true);
    m_soon.setInterval(kCheckAfterMs);
    connect(&m_soon, &QTimer::timeout, this, &SqlCheck::becomeDue);
}

SqlCheck::~SqlCheck() = default;

void SqlCheck::becomeDue()
{
    if (m_task)
        m_again = true;
    else
        Q_EMIT due();
}

void SqlCheck::start(const ProbeRequest &request)
{
    const auto cancel = std::make_shared<CancelFlag>();
    m_task = std::make_unique<BackgroundTask>([request, cancel](CancelFlag &) { checkSql(request, cancel); }, cancel);
    connect(m_task.get(), &BackgroundTask::finished, this, &SqlCheck::end);
    m_task->start();
}

void SqlCheck::end()
{
    m_task->wait();
    const auto task = std::move(m_task);
    if (m_again || m_soon.isActive()) {
        m_again = false;
        schedule();
        return;
    }
    Q_EMIT ended(task->failed() ? task->failure().description() : QString());
}

} // namespace qm
