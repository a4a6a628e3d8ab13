#include "framework/OwnPaths.h"

#include "core/RuntimeError.h"
#include "platform/Files.h"

#include <QDir>
#include <QRegularExpression>

namespace qm {
namespace {

bool isAbsolute(const QString &path)
{
    const bool hasDrive = path.size() > 2 && path[0].isLetter() && path[1] == u':' && (path[2] == u'\\' || path[2] == u'/');
    return hasDrive || path.startsWith(u'/') || path.startsWith(QLatin1String("\\\\"));
}

} // namespace

QString withNativeSeparators(QString path)
{
    const QChar other = kSep == u'/' ? u'\\' : u'/';
    return path.replace(other, kSep);
}

QString endedWithSeparator(QString folder)
{
    if (!folder.endsWith(kSep))
        folder += kSep;
    return folder;
}

QString absolutePathBelow(const QString &path, const QString &folder)
{
    const QString native = withNativeSeparators(path);
    return withNativeSeparators(QDir::cleanPath(isAbsolute(path) ? native : endedWithSeparator(folder) + native));
}

void requireAbsolute(const QString &path)
{
    if (QDir::isAbsolutePath(path))
        return;
    raise(err::pathNotFound,
          QStringLiteral("\"%1\" was not saved, because the installation folder is not known. Correct the registry value InstallPath and "
                         "start the program again.")
              .arg(path),
          kFrameworkSource);
}

void requirePlainConfigName(const QString &path)
{
    static const QRegularExpression separators(QStringLiteral("[/\\\\]"));
    QStringList parts = path.split(separators);
    const QString name = parts.takeLast();
    const auto refuse = [&](const QString &shown, const QString &why) {
        raise(err::badFileName, QStringLiteral("\"%1\" %2. Choose another name.").arg(shown, why), kFrameworkSource);
    };
    qsizetype config = parts.size() - 1;
    while (config >= 0 && parts[config].compare(QLatin1String("Config"), Qt::CaseInsensitive) != 0)
        --config;
    if (config >= 0 && config + 1 < parts.size())
        refuse(parts.mid(config + 1).join(u'/') + u'/' + name, QStringLiteral("contains a separator"));
    if (parts.contains(QStringLiteral("..")))
        refuse(path, QStringLiteral("leads out of its folder"));
    if (const QString why = files::whyNotAName(name); !why.isEmpty())
        refuse(name, why);
    if (name.startsWith(u'.'))
        refuse(name, QStringLiteral("has nothing before the extension"));
}

} // namespace qm
