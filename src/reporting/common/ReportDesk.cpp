#include "reporting/common/ReportDesk.h"

namespace qm {

ReportDesk::Producing::Producing(ReportDesk &desk) : m_desk(desk)
{
    m_desk.m_isProducing = true;
    Q_EMIT m_desk.runStarted();
}

ReportDesk::Producing::~Producing()
{
    m_desk.m_isProducing = false;
    Q_EMIT m_desk.runEnded();
}

ReportDesk::~ReportDesk()
{
    for (const auto &viewer : m_viewers)
        delete viewer.data();
}

void ReportDesk::dropClosedViewers()
{
    std::erase_if(m_viewers, [](const QPointer<QWidget> &viewer) { return viewer.isNull(); });
}

void ReportDesk::addViewer(QWidget *viewer)
{
    dropClosedViewers();
    m_viewers.emplace_back(viewer);
    while (m_viewers.size() > kMaxViewers) {
        const QPointer<QWidget> oldest = m_viewers.front();
        m_viewers.pop_front();
        if (oldest) {
            oldest->hide();
            oldest->deleteLater();
        }
    }
}

int ReportDesk::viewerCount() const
{
    int open = 0;
    for (const auto &viewer : m_viewers)
        open += viewer.isNull() ? 0 : 1;
    return open;
}

void ReportDesk::closeViewers()
{
    for (const auto &viewer : m_viewers) {
        if (viewer) {
            viewer->hide();
            viewer->deleteLater();
        }
    }
    m_viewers.clear();
}

} // namespace qm
