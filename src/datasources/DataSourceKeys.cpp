#include "datasources/DataSourceKeys.h"

#include "core/RuntimeError.h"
#include "platform/Files.h"

#include <QCoreApplication>

namespace qm {

bool isSqlServerKey(const QString &key)
{
    return key.contains(QLatin1StringView(kSqlServerPrefix));
}

bool isOracleKey(const QString &key)
{
    return key.contains(QLatin1StringView(kOraclePrefix));
}

QString dataSourcePath(const QString &installPath, const QString &key, const char *prefix)
{
    QString name = key;
    name.remove(QLatin1StringView(prefix));
    if (const QString reason = files::whyNotAName(name); !reason.isEmpty())
        raise(err::badFileName,
              QCoreApplication::translate("qm::frmDataSource", "a data source cannot be saved as '%1': the name %2").arg(name, reason));
    if (installPath.isEmpty())
        raise(err::pathNotFound,
              QCoreApplication::translate("qm::frmDataSource", "the installation folder is not known, so the data source cannot be saved"));
    return installPath + QStringLiteral("Config") + kSep + name;
}

} // namespace qm
