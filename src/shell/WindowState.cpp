#include "shell/WindowState.h"

#include <QHeaderView>
#include <QSettings>
#include <QSplitter>
#include <QTableView>

namespace qm {

namespace {

const QString kGeometry = QStringLiteral("frmMain/geometry");
const QString kScheduleHeader = QStringLiteral("dtblScheduleTable/header");

QString splitterKey(const QSplitter &splitter)
{
    return splitter.objectName() + QStringLiteral("/state");
}

QString widthsKey(QChar level)
{
    return QStringLiteral("lvListView/widths") + level;
}

/// Levels that have columns.
constexpr QChar kLevels[]{u'R', u'G'};

} // namespace

void WindowState::restore(const WindowParts &parts) const
{
    if (m_path.isEmpty())
        return;
    const QSettings settings(m_path, QSettings::IniFormat);
    parts.window.restoreGeometry(settings.value(kGeometry).toByteArray());
    for (QSplitter *splitter : parts.splitters)
        splitter->restoreState(settings.value(splitterKey(*splitter)).toByteArray());
    parts.scheduleTable.horizontalHeader()->restoreState(settings.value(kScheduleHeader).toByteArray());
    CatalogueListView::ColumnWidths widths;
    for (const QChar level : kLevels) {
        QList<int> pixels;
        for (const QVariant &width : settings.value(widthsKey(level)).toList())
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
    settings.setValue(kGeometry, parts.window.saveGeometry());
    for (const QSplitter *splitter : parts.splitters)
        settings.setValue(splitterKey(*splitter), splitter->saveState());
    settings.setValue(kScheduleHeader, parts.scheduleTable.horizontalHeader()->saveState());
    for (auto it = parts.list.columnWidths().cbegin(); it != parts.list.columnWidths().cend(); ++it)
        settings.setValue(widthsKey(it.key()), QVariantList(it->cbegin(), it->cend()));
}

} // namespace qm
