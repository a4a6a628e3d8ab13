#include "framework/ReportFormat.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>
#include <array>

namespace qm {

namespace {

struct Row
{
    const char *word, *otherSuffix, *mediaType, *label;
    bool statesFacts;
};

#define QM_ROW(name, ...) Row{__VA_ARGS__},
/// In the order of ReportFormat.
constexpr std::array kRows{QM_REPORT_FORMATS(QM_ROW)};
#undef QM_ROW

const Row &rowOf(ReportFormat format)
{
    return kRows[static_cast<std::size_t>(format)];
}

} // namespace

const QList<ReportFormat> &reportFormats()
{
#define QM_FORMAT(name, ...) ReportFormat::name,
    static const QList<ReportFormat> formats{QM_REPORT_FORMATS(QM_FORMAT)};
#undef QM_FORMAT
    return formats;
}

QString formatWord(ReportFormat format)
{
    return QString::fromLatin1(rowOf(format).word);
}

QString formatLabel(ReportFormat format)
{
    return QCoreApplication::translate("ReportFormat", rowOf(format).label);
}

QByteArray formatMediaType(ReportFormat format)
{
    return rowOf(format).mediaType;
}

bool formatStatesFacts(ReportFormat format)
{
    return rowOf(format).statesFacts;
}

QStringList formatWords()
{
    QStringList words;
    for (const Row &row : kRows)
        words << QString::fromLatin1(row.word);
    return words;
}

QString formatChoices()
{
    QStringList words = formatWords();
    const QString last = words.takeLast();
    return words.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last;
}

std::optional<ReportFormat> formatOfWord(QStringView word)
{
    for (const ReportFormat format : reportFormats())
        if (word.compare(QLatin1String(rowOf(format).word), Qt::CaseInsensitive) == 0)
            return format;
    return std::nullopt;
}

std::optional<ReportFormat> formatOfFile(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix();
    for (const ReportFormat format : reportFormats())
        if (const QLatin1String other(rowOf(format).otherSuffix); !other.isEmpty() && suffix.compare(other, Qt::CaseInsensitive) == 0)
            return format;
    return formatOfWord(suffix);
}

} // namespace qm
