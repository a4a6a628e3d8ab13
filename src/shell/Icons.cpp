#include "shell/Icons.h"

#include "pictures/PictureIcon.h"

/// Resources of a static library are linked in by name; the macro needs the global namespace.
static void initShellResources()
{
    Q_INIT_RESOURCE(qm_shell_texts);
    Q_INIT_RESOURCE(qm_shell_pictures);
}

namespace qm::icons {

QString resource(const QString &name)
{
    initShellResources();
    return QStringLiteral(":/shell/") + name;
}

QIcon icon(const QString &name)
{
    return pictureIcon(resource(QStringLiteral("icons/") + name));
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
    return icon(QStringLiteral("quillmark"));
}

} // namespace qm::icons
