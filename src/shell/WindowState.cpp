#include "shell/WindowState.h"

#include <QHeaderView>
#include <QSettings>
#include <QSplitter>
#include <QTableView>

namespace qm {

namespace {

/// The keys of the state file.
namespace keys {

const QString geometry = QStringLiteral("frmMain/geometry");
const QString scheduleHeader = QStringLiteral("dtblScheduleTable/header");

QString splitter(const QSplitter &splitter)
{
    return splitter.objectName() + QStringLiteral("/state");
}

QString listWidths(QChar level)
{
    return QStringLiteral("lvListView/widths") + level;
}

} // namespace keys

/// Levels that have columns.
constexpr QChar kLevels[]{u'R', u'G'};

} // namespace

void WindowState::restore(const WindowParts &parts) const
{
    if (m_path.isEmpty())
        return;
    const QSettings settings(m_path, QSettings::IniFormat);
    parts.window.restoreGeometry(settings.value(keys::geometry).toByteArray());
    for (QSplitter *splitter : parts.splitters)
        splitter->restoreState(settings.value(keys::splitter(*splitter)).toByteArray());
    parts.scheduleTable.horizontalHeader()->restoreState(settings.value(keys::scheduleHeader).toByteArray());
    CatalogueListView::ColumnWidths widths;
    for (const QChar level : kLevels) {
        QList<int> pixels;
        for (const QVariant &width : settings.value(keys::listWidths(level)).toList())
            pixels.append(width.toInt());
        if (!pixels.isEmpty() && !pixels.contains(0))
            widths.insert(level, pixels);
    }
    parts.list.setColumnWidths(widths);
}

void WindowState::save(const WindowParts &parts) const
{
    if (m_path.isEmpty())
        return;
    QSettings settings(m_path, QSettings::IniFormat);
    settings.setValue(keys::geometry, parts.window.saveGeometry());
    for (const QSplitter *splitter : parts.splitters)
        settings.setValue(keys::splitter(*splitter), splitter->saveState());
    settings.setValue(keys::scheduleHeader, parts.scheduleTable.horizontalHeader()->saveState());
    for (auto it = parts.list.columnWidths().cbegin(); it != parts.list.columnWidths().cend(); ++it)
        settings.setValue(keys::listWidths(it.key()), QVariantList(it->cbegin(), it->cend()));
}

} // namespace qm
