#include "shell/Icons.h"

#include "shell/PictureEngine.h"

/// Resources of a static library are linked in by name; the macro needs the global namespace.
static void initShellResources()
{
    Q_INIT_RESOURCE(shell);
}

namespace qm::icons {

QString resource(const QString &name)
{
    initShellResources();
    return QStringLiteral(":/shell/") + name;
}

QIcon icon(const QString &name)
{
    return QIcon(new PictureEngine(resource(QStringLiteral("icons/%1.svg").arg(name)))); // owned by the icon
}

ImageList imageList()
{
    return {{QStringLiteral("Event"), icon(QStringLiteral("event"))},
            {QStringLiteral("ReportGroup"), icon(QStringLiteral("report-group"))},
            {QStringLiteral("ReportQuery"), icon(QStringLiteral("report-query"))},
            {QStringLiteral("ScheduleJob"), icon(QStringLiteral("schedule-job"))},
            {QStringLiteral("Drag"), icon(QStringLiteral("drag"))},
            {QStringLiteral("Drop"), icon(QStringLiteral("drop"))},
            {QStringLiteral("Invalid"), icon(QStringLiteral("invalid"))}};
}

QIcon applicationIcon()
{
    return QIcon(resource(QStringLiteral("icons/quillmark.svg")));
}

} // namespace qm::icons
