#include "reporting/engine/FileDelivery.h"

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "reporting/writers/Writers.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace qm {

namespace {

std::unique_ptr<ReportWriter> makeWriter(OutputFile &file, const QString &format, const OutputSettings &settings, const QString &fontFolder)
{
    if (format == QStringLiteral("csv"))
        return makeCsvWriter(file, {settings.csvByteOrderMark, settings.csvGuardFormulas});
    if (format == QStringLiteral("html"))
        return makeHtmlWriter(file);
    if (format == QStringLiteral("xlsx"))
        return makeXlsxWriter(file);
    return makePdfWriter(file, fontFolder);
}

/// What a cut CSV file cannot say itself.
QByteArray factsText(const QString &file, const ReportHead &head, const ReportTail &tail)
{
    QByteArray text =
        "This file says what " + files::lastPart(file).toUtf8() + " holds.\r\n\r\n" + QByteArray::fromStdString(head.title) + "\r\n";
    text += "Only the first " + QByteArray::number(tail.rows) + " rows: the query's row limit of " + QByteArray::number(tail.rowLimit) +
            " cut the rest off.\r\n";
    for (const auto &[name, value] : head.facts)
        text += QByteArray::fromStdString(name) + ": " + QByteArray::fromStdString(value) + "\r\n";
    return text;
}

QString unfinishedTarget(const OutputName &name)
{
    return name.folder + QStringLiteral(".quillmark-") + QUuid::createUuid().toString(QUuid::Id128) + name.suffix;
}

} // namespace

bool isKnownFormat(const QString &format)
{
    return QStringList{QStringLiteral("pdf"), QStringLiteral("html"), QStringLiteral("xlsx"), QStringLiteral("csv")}.contains(format);
}

std::optional<QString> formatOfFile(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QStringLiteral("htm"))
        return QStringLiteral("html");
    return isKnownFormat(suffix) ? std::optional(suffix) : std::nullopt;
}

FileDelivery::FileDelivery(const QString &path, const QString &format, const OutputSettings &settings, const QString &fontFolder)
    : FileDelivery(path, std::nullopt, format, settings, fontFolder)
{
}

FileDelivery::FileDelivery(const OutputName &name, const QString &format, const OutputSettings &settings, const QString &fontFolder)
    : FileDelivery(unfinishedTarget(name), name, format, settings, fontFolder)
{
}

FileDelivery::FileDelivery(const QString &target, std::optional<OutputName> name, const QString &format, const OutputSettings &settings,
                           const QString &fontFolder)
    : m_name(std::move(name)), m_isCsv(format == QStringLiteral("csv")), m_file(target),
      m_writer(makeWriter(m_file, format, settings, fontFolder))
{
}

FileDelivery::~FileDelivery() = default;

FileDelivery::Delivered FileDelivery::finish(const ReportHead &head, const ReportTail &tail)
{
    const auto committed = m_file.commit();
    Delivered delivered{m_file.target(), committed.bytes, QString::fromStdString(committed.sha256)};
    const bool isCut = m_isCsv && tail.truncated;
    if (m_name) {
        const QString mark = isCut ? QStringLiteral(" (first %1 rows)").arg(tail.rows) : QString();
        try {
            delivered.path = takeName(m_file.target(), *m_name, mark);
        } catch (const RuntimeError &) {
            QFile::remove(m_file.target());
            throw;
        }
    }
    if (isCut)
        files::saveAtomically(delivered.path + QStringLiteral(".txt"), factsText(delivered.path, head, tail));
    return delivered;
}

} // namespace qm
