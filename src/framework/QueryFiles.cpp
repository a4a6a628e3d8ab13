#include "framework/QueryFiles.h"

#include "core/RuntimeError.h"
#include "framework/LayoutFile.h"
#include "framework/QueryFile.h"
#include "platform/Files.h"

#include <QDir>

namespace qm {
namespace {

[[noreturn]] void refuseName(const QString &name, const QString &why)
{
    raise(err::badFileName, QStringLiteral("\"%1\" %2. Choose another description or file name.").arg(name, why), kFrameworkSource);
}

bool hasSeparator(const QString &text)
{
    return text.contains(u'/') || text.contains(u'\\');
}

/// A description with a separator in it, appended to a folder, would name a file in another folder.
void requireNameFromDescription(const Query &query, const QString &path)
{
    if (!hasSeparator(query.Description) || (!query.QueryFile.isEmpty() && files::sameFile(path, query.QueryFile)))
        return;
    const qsizetype dot = path.lastIndexOf(u'.');
    if (path.left(dot).endsWith(query.Description))
        refuseName(query.Description, QStringLiteral("contains a separator"));
}

void requireQueryName(const QString &path)
{
    const QString name = files::lastPart(path);
    const qsizetype dot = name.lastIndexOf(u'.');
    if ((dot < 0 ? name : name.left(dot)).trimmed().isEmpty())
        refuseName(name, QStringLiteral("has nothing before the extension"));
    if (const QString why = files::whyNotAName(name); !why.isEmpty())
        refuseName(name, why);
}

/// A connection string with a password makes the file private.
files::Privacy privacyOf(const Query &query)
{
    const QString source = query.dataSource;
    const bool holdsPassword =
        source.contains(QLatin1String("PWD"), Qt::CaseInsensitive) || source.contains(QLatin1String("password"), Qt::CaseInsensitive);
    return holdsPassword ? files::Privacy::Secret : files::Privacy::Normal;
}

} // namespace

std::shared_ptr<Query> TomlQueryReader::ReadQuery(const QString &path)
{
    const QByteArray bytes = files::readAll(path);
    auto query = std::make_shared<Query>();
    if (auto summary = scanQuerySummary({bytes.constData(), static_cast<std::size_t>(bytes.size())})) {
        query->Description = std::move(summary->description);
        query->ReportFile = std::move(summary->reportFile);
        query->OutputSettings.OutputType = summary->outputType;
    } else {
        const Query whole = parseQuery(bytes, path);
        query->Description = whole.Description;
        query->ReportFile = whole.ReportFile;
        query->OutputSettings.OutputType = whole.OutputSettings.OutputType;
    }
    query->QueryFile = QDir::toNativeSeparators(path);
    query->original = QueryFileText::summary();
    return query;
}

std::shared_ptr<Query> TomlQueryAccess::ReadFile(const QString &path)
{
    return std::make_shared<Query>(parseQuery(files::readAll(path), QDir::toNativeSeparators(path)));
}

void TomlQueryAccess::WriteFile(const Query &query, const QString &path)
{
    requireQueryName(path);
    requireNameFromDescription(query, path);
    if (files::entryExists(path) && (query.QueryFile.isEmpty() || !files::sameFile(path, query.QueryFile)))
        raise(
            err::fileAlreadyExists,
            QStringLiteral("%1 is the file of another query. Choose another description or file name.").arg(files::existingSpelling(path)),
            kFrameworkSource);
    files::saveAtomically(files::existingSpelling(path), queryText(query, path), privacyOf(query));
}

ReportLayout TomlLayoutReader::ReadLayout(const QString &path)
{
    return parseLayout(files::readAll(path), QDir::toNativeSeparators(path));
}

void TomlLayoutReader::WriteLayout(const ReportLayout &layout, const QString &path)
{
    if (const QString why = files::whyNotAName(files::lastPart(path)); !why.isEmpty())
        refuseName(files::lastPart(path), why);
    files::saveAtomically(path, layoutText(layout, path));
}

} // namespace qm
