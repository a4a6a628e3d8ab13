#include "scheduler/MissingFileNotice.h"

#include "core/PlainTip.h"
#include "scheduler/JobTable.h"

#include <QEvent>

#include <algorithm>

namespace qm {

namespace {
constexpr qsizetype kNamed = 5, kNamedInTip = 40; ///< more names than this are only counted

QString listed(const QStringList &names, qsizetype most)
{
    const QString shown = names.first(std::min(most, names.size())).join(QStringLiteral(", "));
    return names.size() > most ? MissingFileNotice::tr("%1 and %2 more").arg(shown, QString::number(names.size() - most)) : shown;
}
} // namespace

MissingFileNotice::MissingFileNotice(JobTable &table, QWidget *parent) : QLabel(parent), m_table(table)
{
    setObjectName(QStringLiteral("lblMissingFiles"));
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setMargin(6);
    setFrameShape(QFrame::StyledPanel);
    setBackgroundRole(QPalette::ToolTipBase);
    setForegroundRole(QPalette::ToolTipText);
    setAutoFillBackground(true);
    setMinimumWidth(1); // a long name breaks nothing but the line
    hide();
    m_soon.setSingleShot(true);
    m_soon.setInterval(0);
    connect(&m_soon, &QTimer::timeout, this, &MissingFileNotice::refresh);
    const auto later = [this] { m_soon.start(); };
    connect(&table, &JobTable::modelReset, this, later);
    connect(&table, &JobTable::rowsInserted, this, later);
    connect(&table, &JobTable::rowsRemoved, this, later);
    connect(&table, &JobTable::dataChanged, this, later);
}

void MissingFileNotice::refresh()
{
    const QStringList names = m_table.jobsWithoutFile();
    setVisible(!names.isEmpty());
    if (names.isEmpty())
        return;
    setText(tr("Scheduled reports whose query file does not exist: %1").arg(listed(names, kNamed)));
    setToolTip(plainTip(listed(names, kNamedInTip)));
}

bool MissingFileNotice::event(QEvent *event)
{
    // Somebody may have removed a file, or put one back, from outside meanwhile.
    if (event->type() == QEvent::WindowActivate)
        m_table.refreshFileMarks();
    return QLabel::event(event);
}

} // namespace qm
