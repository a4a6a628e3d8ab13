#include "framework/QueryFiles.h"

#include "core/ConnectionString.h"
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

bool isOwnFile(const Query &query, const QString &path)
{
    return !query.QueryFile.isEmpty() && files::sameFile(path, query.QueryFile);
}

/// A description with a separator in it, appended to a folder, would name a file in another folder.
void requireNameFromDescription(const Query &query, const QString &path)
{
    if (!hasSeparator(query.Description) || isOwnFile(query, path))
        return;
    const qsizetype dot = path.lastIndexOf(u'.');
    if (path.left(dot).endsWith(query.Description))
        refuseName(query.Description, QStringLiteral("contains a separator"));
}

/// A file that has a hidden name already may keep it.
void requireQueryName(const Query &query, const QString &path)
{
    const QString name = files::lastPart(path);
    const QString why = isOwnFile(query, path) ? files::whyNotAName(name) : whyNotAQueryName(name);
    if (!why.isEmpty())
        refuseName(name, why);
}

/// A connection string with a password makes the file private.
files::Privacy privacyOf(const Query &query)
{
    return holdsSecret(query.dataSource) ? files::Privacy::Secret : files::Privacy::Normal;
}

} // namespace

QString whyNotAQueryName(const QString &name)
{
    if (name.left(name.lastIndexOf(u'.')).trimmed().isEmpty())
        return QStringLiteral("has nothing before the extension");
    if (files::isHiddenName(name))
        return QStringLiteral("begins with a dot, which hides a file");
    return files::whyNotAName(name);
}

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
    requireQueryName(query, path);
    requireNameFromDescription(query, path);
    if (files::entryExists(path) && !isOwnFile(query, path))
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
