#include "reporting/common/UiSettings.h"

#include <QCryptographicHash>

namespace qm {

std::unique_ptr<QSettings> uiSettings()
{
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tarrowind"),
                                       QStringLiteral("reporting-windows"));
}

QString widthKey(const QString &queryFile, const QString &field)
{
    const auto digest = [](const QString &text) {
        return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1).toHex().left(16));
    };
    return QStringLiteral("columns/%1/%2").arg(digest(queryFile), digest(field));
}

} // namespace qm
