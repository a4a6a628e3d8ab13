#include "reporting/common/Icons.h"

#include "pictures/PictureIcon.h"

static void loadReportingIcons()
{
    Q_INIT_RESOURCE(qm_reporting_pictures);
}

namespace qm {

QIcon uiIcon(const char *name)
{
    loadReportingIcons();
    return pictureIcon(QStringLiteral(":/reporting/icons/") + QLatin1String(name), Ink::Text);
}

} // namespace qm
