#include "reporting/viewer/WorkBar.h"

#include "reporting/common/Icons.h"
#include "reporting/viewer/ViewerRows.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

#include <algorithm>
#include <limits>

namespace qm {

namespace {

constexpr int kTickMs = 150;
constexpr int kBarWidth = 160; ///< pixels

QString wordsOf(ViewerRows::Work work)
{
    switch (work) {
    case ViewerRows::Work::Sort:
        return WorkBar::tr("Sorting…");
    case ViewerRows::Work::Search:
        return WorkBar::tr("Searching…");
    case ViewerRows::Work::Export:
        return WorkBar::tr("Exporting…");
    case ViewerRows::Work::None:
        break;
    }
    return {};
}

} // namespace

WorkBar::WorkBar(ViewerRows &rows, QWidget *parent) : QWidget(parent), m_rows(rows), m_what(new QLabel(this)), m_bar(new QProgressBar(this))
{
    auto stop = new QToolButton(this);
    stop->setIcon(uiIcon("cancel"));
    stop->setText(tr("Cancel"));
    stop->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    stop->setAutoRaise(true);
    stop->setObjectName(QStringLiteral("stop"));
    stop->setFocusPolicy(Qt::TabFocus);
    m_bar->setTextVisible(false);
    m_bar->setFixedWidth(kBarWidth);
    auto layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_what);
    layout->addWidget(m_bar);
    layout->addWidget(stop);
    m_tick.setInterval(kTickMs);
    hide();

    connect(stop, &QToolButton::clicked, &m_rows, &ViewerRows::stop);
    connect(&m_tick, &QTimer::timeout, this, &WorkBar::showProgress);
    connect(&m_rows, &ViewerRows::workBegan, this, [this] {
        m_what->setText(wordsOf(m_rows.work()));
        m_bar->setRange(0, static_cast<int>(std::min<std::int64_t>(m_rows.progressEnd(), std::numeric_limits<int>::max())));
        m_bar->setValue(0);
        m_tick.start();
    });
    connect(&m_rows, &ViewerRows::workEnded, this, [this] {
        m_tick.stop();
        hide();
    });
}

void WorkBar::showProgress()
{
    m_bar->setValue(static_cast<int>(std::min<std::int64_t>(m_rows.progress(), m_bar->maximum())));
    show();
}

} // namespace qm
