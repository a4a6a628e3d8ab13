#include "shell/ScheduleStatus.h"

#include "shell/ElidedLabel.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>

namespace qm {

namespace {

constexpr int kTickMs = 250;
constexpr int kBarWidth = 90, kIconSize = 16;
constexpr int kNameChars = 36, kRunChars = 60, kNoticeChars = 70, kLeastChars = 8; ///< what a status bar has room for

/// A text that gives way to the button beside it, down to a few characters behind \p indent pixels.
ElidedLabel *yieldingLabel(const QString &name, int chars, int indent, QWidget *parent)
{
    auto *label = new ElidedLabel(parent);
    label->setObjectName(name);
    label->setContentsMargins(indent, 0, 0, 0);
    const int width = label->fontMetrics().averageCharWidth();
    label->setMinimumWidth(indent + kLeastChars * width);
    label->setMaximumWidth(indent + chars * width);
    return label;
}

} // namespace

ScheduleStatus::ScheduleStatus(const ScheduledProgress &runs, QWidget *parent)
    : QWidget(parent), m_runs(runs), m_run(yieldingLabel(QStringLiteral("scheduledRun"), kRunChars, 0, this)),
      m_notice(yieldingLabel(QStringLiteral("scheduleNotice"), kNoticeChars, kIconSize + 6, this)), m_bar(new QProgressBar(this)),
      m_cancel(new QPushButton(this))
{
    setObjectName(QStringLiteral("scheduleStatus"));
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_bar->setFixedWidth(kBarWidth);
    m_bar->setAccessibleName(tr("A scheduled report is being made"));
    m_cancel->setObjectName(QStringLiteral("cmdCancelScheduledRun"));
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        runEnds();
        Q_EMIT cancelRequested();
    });
    auto *warning = new QLabel(m_notice);
    warning->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(kIconSize, kIconSize));
    warning->setGeometry(0, 0, kIconSize, fontMetrics().height() + 2);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 0, 6, 0);
    layout->setSpacing(8);
    for (QWidget *part : std::initializer_list<QWidget *>{m_notice, m_run, m_bar, m_cancel})
        layout->addWidget(part);
    m_tick.setInterval(kTickMs);
    connect(&m_tick, &QTimer::timeout, this, &ScheduleStatus::refresh);
    updateVisible();
}

void ScheduleStatus::runBegan(const QString &queryFile)
{
    m_isRunning = true;
    m_report = QFileInfo(queryFile).completeBaseName();
    m_cancel->setEnabled(true);
    m_tick.start();
    refresh();
    updateVisible();
    // An interface that lets nothing through until its report is made is seen at work all the same.
    if (!m_runs.progress() && isVisible()) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        window()->repaint();
    }
}

void ScheduleStatus::runEnds()
{
    m_tick.stop();
    m_cancel->setEnabled(false);
    m_run->setText(tr("Cancelling '%1'\u2026").arg(m_report));
}

void ScheduleStatus::runOver()
{
    m_isRunning = false;
    m_tick.stop();
    updateVisible();
}

void ScheduleStatus::setNotice(const QString &notice)
{
    m_notice->setText(notice);
    m_notice->setAccessibleName(notice);
    updateVisible();
}

QString ScheduleStatus::runText() const
{
    return m_isRunning ? tr("Making the scheduled report '%1'").arg(m_report) : QString();
}

void ScheduleStatus::refresh()
{
    const std::optional<ReportProgress> progress = m_runs.progress();
    if (progress)
        m_report = progress->report;
    m_run->setText(progress ? tr("Making '%1': %2").arg(m_report, progress->state) : tr("Making '%1'").arg(m_report));
    const QFontMetrics metrics = m_cancel->fontMetrics();
    const QString name = metrics.elidedText(m_report, Qt::ElideMiddle, kNameChars * metrics.averageCharWidth());
    m_cancel->setText(tr("Cancel '%1'").arg(QString(name).replace(u'&', QStringLiteral("&&"))));
    m_bar->setVisible(progress.has_value());
    m_cancel->setVisible(progress.has_value());
}

void ScheduleStatus::updateVisible()
{
    const bool hasProgress = m_isRunning && m_runs.progress().has_value();
    m_run->setVisible(m_isRunning);
    m_bar->setVisible(hasProgress);
    m_cancel->setVisible(hasProgress);
    m_notice->setVisible(!m_notice->text().isEmpty());
    setVisible(m_isRunning || !m_notice->text().isEmpty());
}

} // namespace qm
