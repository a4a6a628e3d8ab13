#include "reporting/engine/OutputNaming.h"

#include "platform/Files.h"
#include "reporting/engine/Failure.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QSet>

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

bool isReservedDevice(const QString &stem)
{
    static const QSet<QString> names{QStringLiteral("CON"), QStringLiteral("PRN"), QStringLiteral("AUX"), QStringLiteral("NUL")};
    const QString upper = stem.section(u'.', 0, 0).trimmed().toUpper();
    const bool numbered = upper.size() == 4 && (upper.startsWith(QStringLiteral("COM")) || upper.startsWith(QStringLiteral("LPT"))) &&
                          upper[3] >= u'0' && upper[3] <= u'9';
    return numbered || names.contains(upper);
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
    for (const QChar c : text) {
        const bool refused = c.unicode() < 0x20 || c.unicode() == 0x7F || c.category() == QChar::Other_Control ||
                             c.category() == QChar::Other_Format || QStringView(u"<>:\"/\\|?*").contains(c);
        const bool lineEnd = c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph;
        name += refused || lineEnd ? QChar(u'_') : c;
    }
    name = cutToBytes(name.trimmed(), maxBytes);
    while (name.endsWith(u'.') || name.endsWith(u' '))
        name.chop(1);
    if (isReservedDevice(name))
        name.prepend(u'_');
    return name;
}

OutputName outputName(const QString &pattern, const QMap<QString, QString> &values, const QString &format, const QString &reportsFolder)
{
    QMap<QString, QString> safe;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        safe.insert(it.key(), sanitizedName(it.value()));
    const QString filled = fillFields(pattern, safe, QStringLiteral("The output file name"), {QStringLiteral("counter")});
    const bool absolute = QDir::isAbsolutePath(filled);
    QStringList parts;
    QString part;
    for (const QChar c : filled + u'/') {
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
    const QString suffix = u'.' + format;
    QString stem = parts.takeLast();
    if (stem.endsWith(suffix, Qt::CaseInsensitive))
        stem.chop(suffix.size());
    OutputName name{.folder = absolute ? filled.left(isSeparator(filled.front()) ? 1 : 0) : reportsFolder,
                    .stem = sanitizedName(stem),
                    .suffix = suffix};
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const bool drive = absolute && i == 0 && parts.at(i).endsWith(u':');
        const QString folder = drive ? parts.at(i) : sanitizedName(parts.at(i));
        if (folder.isEmpty())
            refusePattern(pattern, QStringLiteral("has a folder without a name"));
        name.folder += folder + kSep;
    }
    if (name.stem.isEmpty())
        refusePattern(pattern, QStringLiteral("names no file"));
    const QString tried = QString(name.stem).replace(QLatin1String(kCounter), QStringLiteral("1")) + suffix;
    if (const QString why = files::whyNotAName(tried); !why.isEmpty())
        refusePattern(pattern, QStringLiteral("cannot be used: \"%1\" %2").arg(tried, why));
    makeFolders(name.folder);
    return name;
}

QString takeName(const QString &from, const OutputName &name, const QString &mark)
{
    QLockFile lock(name.folder + QStringLiteral(".quillmark-names.lock"));
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
