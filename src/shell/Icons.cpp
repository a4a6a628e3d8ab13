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
    return QIcon(resource(QStringLiteral("icons/%1.svg").arg(name)));
}

ImageList imageList()
{
    const auto picture = [](const QString &name) {
        return QIcon(new PictureEngine(resource(QStringLiteral("icons/%1.svg").arg(name)))); // owned by the icon
    };
    return {{QStringLiteral("Event"), picture(QStringLiteral("event"))},
            {QStringLiteral("ReportGroup"), picture(QStringLiteral("report-group"))},
            {QStringLiteral("ReportQuery"), picture(QStringLiteral("report-query"))},
            {QStringLiteral("ScheduleJob"), picture(QStringLiteral("schedule-job"))},
            {QStringLiteral("Drag"), picture(QStringLiteral("drag"))},
            {QStringLiteral("Drop"), picture(QStringLiteral("drop"))},
            {QStringLiteral("Invalid"), picture(QStringLiteral("invalid"))}};
}

QIcon applicationIcon()
{
    return icon(QStringLiteral("quillmark"));
}

} // namespace qm::icons
