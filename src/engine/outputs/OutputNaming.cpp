#include "engine/outputs/OutputNaming.h"

#include "core/Failure.h"
#include "core/Utf8.h"
#include "platform/FileRights.h"
#include "platform/Files.h"
#include "platform/PathParts.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>

namespace qm {

namespace {

constexpr int kMostSameNames = 100000;
constexpr int kLockWaitMs = 10000;
constexpr char kCounter[] = "{counter}";

bool isSeparator(QChar c)
{
    return c == u'/' || c == u'\\';
}

/// Cuts to \p maxBytes of UTF-8 without splitting a character or separating its combining marks.
QString cutToBytes(const QString &text, int maxBytes)
{
    if (text.toUtf8().size() <= maxBytes)
        return text;
    qsizetype bytes = 0, end = 0;
    while (end < text.size()) {
        const qsizetype units = text[end].isHighSurrogate() && end + 1 < text.size() ? 2 : 1;
        bytes += text.mid(end, units).toUtf8().size();
        if (bytes > maxBytes)
            break;
        end += units;
    }
    while (end > 0 && end < text.size() && text[end].isMark())
        --end;
    return text.left(end);
}

[[noreturn]] void refusePattern(const QString &pattern, const QString &why)
{
    raise(err::badFileName, QStringLiteral("the output file name \"%1\" %2. Mend it in the query's output settings.").arg(pattern, why),
          kFrameworkSource);
}

void makeFolders(const QString &folder)
{
    if (!QDir().mkpath(folder) || !QFileInfo(folder).isDir())
        raise(err::pathFileAccess,
              QStringLiteral("the folder %1 for reports cannot be made. Check that its parent is a folder that you may write to.")
                  .arg(folder),
              kFrameworkSource);
}

} // namespace

QString fillFields(const QString &text, const QMap<QString, QString> &values, const QString &where, const QStringList &kept)
{
    QString filled;
    qsizetype at = 0;
    while (at < text.size()) {
        const qsizetype open = text.indexOf(u'{', at);
        const qsizetype close = open < 0 ? -1 : text.indexOf(u'}', open);
        if (close < 0)
            break;
        const QString name = text.mid(open + 1, close - open - 1).trimmed().toLower();
        filled += text.mid(at, open - at);
        if (kept.contains(name))
            filled += u'{' + name + u'}';
        else if (const auto value = values.constFind(name); value != values.constEnd())
            filled += *value;
        else
            failReport(QStringLiteral("%1 names the unknown field {%2}. The fields are: {%3}.")
                           .arg(where, name, (values.keys() + kept).join(QStringLiteral("}, {"))));
        at = close + 1;
    }
    return filled + text.mid(at);
}

QString sanitizedName(const QString &text, int maxBytes)
{
    QString name;
    for (const char32_t c : text.toUcs4()) {
        const bool refused =
            c < U' ' || utf8::isHidden(c) || utf8::isSeparator(c) || (c < 0x80 && QStringView(u"<>:\"/\\|?*").contains(QChar(c)));
        name += refused ? QStringView(u"_") : QStringView(QChar::fromUcs4(c));
    }
    name = cutToBytes(name.trimmed(), maxBytes);
    while (name.endsWith(u'.') || name.endsWith(u' '))
        name.chop(1);
    if (paths::isReservedDevice(name))
        name.prepend(u'_');
    return name;
}

namespace {

/// outputName() without its folders being made.
OutputName workedOut(const QString &pattern, const QMap<QString, QString> &values, ReportFormat format, const QString &reportsFolder)
{
    QMap<QString, QString> safe;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        safe.insert(it.key(), sanitizedName(it.value()));
    const QString filled = fillFields(pattern, safe, QStringLiteral("The output file name"), {QStringLiteral("counter")});
    const bool absolute = paths::isAbsolute(filled);
    QStringList parts;
    QString part;
    for (const QChar c : (absolute ? filled.sliced(paths::rootLength(filled)) : filled) + u'/') {
        if (!isSeparator(c)) {
            part += c;
            continue;
        }
        if (part == QStringLiteral(".."))
            refusePattern(pattern, QStringLiteral("leaves its folder by \"..\""));
        if (!part.isEmpty() && part != QStringLiteral("."))
            parts.append(part);
        part.clear();
    }
    if (parts.isEmpty() || isSeparator(filled.back()))
        refusePattern(pattern, QStringLiteral("names no file"));
    const QString suffix = u'.' + formatWord(format);
    QString stem = parts.takeLast();
    if (stem.endsWith(suffix, Qt::CaseInsensitive))
        stem.chop(suffix.size());
    OutputName name{.folder = absolute ? QDir::toNativeSeparators(filled.left(paths::rootLength(filled))) : reportsFolder,
                    .stem = sanitizedName(stem),
                    .suffix = suffix};
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const QString folder = sanitizedName(parts.at(i));
        if (folder.isEmpty())
            refusePattern(pattern, QStringLiteral("has a folder without a name"));
        name.folder += folder + kSep;
    }
    if (name.stem.isEmpty())
        refusePattern(pattern, QStringLiteral("names no file"));
    const QString tried = QString(name.stem).replace(QLatin1String(kCounter), QStringLiteral("1")) + suffix;
    if (const QString why = files::whyNotAName(tried); !why.isEmpty())
        refusePattern(pattern, QStringLiteral("cannot be used: \"%1\" %2").arg(tried, why));
    return name;
}

} // namespace

OutputName outputName(const QString &pattern, const QMap<QString, QString> &values, ReportFormat format, const QString &reportsFolder)
{
    OutputName name = workedOut(pattern, values, format, reportsFolder);
    makeFolders(name.folder);
    return name;
}

void checkOutputName(const QString &pattern, const QMap<QString, QString> &values, ReportFormat format)
{
    static_cast<void>(workedOut(pattern, values, format, {}));
}

QString takeName(const QString &from, const OutputName &name, const QString &mark)
{
    const QString lockFile = name.folder + QStringLiteral(".quillmark-names.lock");
    if (files::isPipeOrDevice(lockFile))
        raise(err::pathFileAccess, QStringLiteral("%1 is no file. Remove it, and run the report again.").arg(lockFile), kFrameworkSource);
    QLockFile lock(lockFile);
    if (!lock.tryLock(kLockWaitMs))
        raise(err::permissionDenied, QStringLiteral("another program is naming reports in %1. Run the report again.").arg(name.folder),
              kFrameworkSource);
    const bool counted = name.stem.contains(QLatin1String(kCounter));
    const QStringList there = files::list(name.folder, QStringLiteral("*"), attr::hidden | attr::system | attr::directory);
    QSet<QString> taken;
    for (const QString &entry : there)
        taken.insert(entry.toCaseFolded());
    for (int counter = 1; counter < kMostSameNames; ++counter) {
        QString stem = QString(name.stem).replace(QLatin1String(kCounter), QString::number(counter)) + mark;
        if (!counted && counter > 1)
            stem += QStringLiteral(" (%1)").arg(counter);
        const QString file = stem + name.suffix;
        if (taken.contains(file.toCaseFolded()))
            continue;
        files::rename(from, name.folder + file);
        return name.folder + file;
    }
    raise(err::permissionDenied, QStringLiteral("there are too many reports named \"%1\" in %2").arg(name.stem, name.folder),
          kFrameworkSource);
}

} // namespace qm
