// The machine's registry as an INI file in the desktop's configuration folders (XDG Base Directory Specification).

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/Registry.h"

#include <QDir>

namespace qm {

namespace {

QString userConfigFolder()
{
    const QString configured = qEnvironmentVariable("XDG_CONFIG_HOME");
    return QDir::isAbsolutePath(configured) ? configured : QDir::homePath() + QStringLiteral("/.config");
}

QString hiveIn(const QString &folder)
{
    return QDir::cleanPath(folder) + QStringLiteral("/tarrowind/registry.ini");
}

/// The files that may hold the hive, the first that has a value wins.
QStringList hives()
{
    QStringList found{hiveIn(userConfigFolder())};
    const QString configured = qEnvironmentVariable("XDG_CONFIG_DIRS");
    for (const QString &folder : (configured.isEmpty() ? QStringLiteral("/etc/xdg") : configured).split(u':', Qt::SkipEmptyParts))
        if (QDir::isAbsolutePath(folder))
            found.append(hiveIn(folder));
    return found;
}

} // namespace

QString registryString(const QString &key, const QString &name)
{
    const QStringList places = hives();
    for (const QString &place : places) {
        const auto value = privateProfileString(place, key, name);
        if (!value)
            continue;
        if (value->isEmpty())
            raise(err::typeMismatch,
                  QStringLiteral("the value \"%1\" of section [%2] in %3 is empty; write the text it should have behind the "
                                 "equals sign")
                      .arg(name, key, place));
        return *value;
    }
    raise(err::fileNotFound,
          QStringLiteral("no value \"%1\" in a section [%2] of %3; install the product again, or write the section with the "
                         "line %1=<text> into the first of these files")
              .arg(name, key, places.join(QStringLiteral(" or "))));
}

void setRegistryString(const QString &key, const QString &name, const QString &value)
{
    const QString hive = hiveIn(userConfigFolder());
    const QString folder = hive.first(hive.lastIndexOf(u'/'));
    if (!QDir().mkpath(folder))
        raise(err::pathFileAccess, folder + QStringLiteral(": the folder cannot be made"));
    setPrivateProfileString(hive, key, name, value);
}

} // namespace qm
