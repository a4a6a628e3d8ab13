#include "engine/outputs/FileOutput.h"

#include "core/Failure.h"
#include "documents/ReportWords.h"
#include "documents/Writers.h"
#include "platform/Files.h"
#include "platform/TemporaryFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace qm {

namespace {

/// What a cut file without facts cannot say itself.
QByteArray factsText(const QString &file, const ReportHead &head, const ReportTail &tail)
{
    QByteArray text =
        "This file says what " + files::lastPart(file).toUtf8() + " holds.\r\n\r\n" + QByteArray::fromStdString(head.title) + "\r\n";
    text += QByteArray::fromStdString(cutNotice(tail)) + "\r\n";
    for (const Fact &fact : head.facts)
        text += QByteArray::fromStdString(fact.label) + ": " + QByteArray::fromStdString(fact.value) + "\r\n";
    return text;
}

QString unfinishedTarget(const OutputName &name)
{
    return name.folder + temporaryName(name.suffix);
}

/// Whether \p file belongs to the installation \p installPath (may be empty), is no report, and is lost when one takes its place.
bool belongsToInstallation(const QFileInfo &file, const QString &installPath)
{
    static const QStringList kSuffixes{QStringLiteral("rqn"), QStringLiteral("rpt"), QStringLiteral("db"),  QStringLiteral("ini"),
                                       QStringLiteral("cfg"), QStringLiteral("dsf"), QStringLiteral("chm"), QStringLiteral("log")};
    // "EventLog.db-wal" holds rows of "EventLog.db".
    if (installPath.isEmpty() || !kSuffixes.contains(file.suffix().toLower().section(u'-', 0, 0)))
        return false;
    const QString relative = QDir(QDir(installPath).canonicalPath()).relativeFilePath(file.canonicalFilePath());
    return QDir::isRelativePath(relative) && !relative.startsWith(QStringLiteral("..")); // another drive has no relative path
}

/// \throws RuntimeError reportFailed when the report would replace what it is made from, or a file of the installation.
void spareOthers(const QString &target, const OutputContext &context)
{
    const QFileInfo file(target);
    if (!file.exists())
        return;
    const QStringList inputs = context.host.inputs();
    const bool isInput =
        std::any_of(inputs.begin(), inputs.end(), [&](const QString &input) { return !input.isEmpty() && file == QFileInfo(input); });
    if (isInput || belongsToInstallation(file, context.installPath))
        failReport(QStringLiteral("The report cannot replace %1: %2. Name another output file.")
                       .arg(target, isInput ? QStringLiteral("it is made from that file")
                                            : QStringLiteral("that file belongs to the installation")));
}

} // namespace

OutputPattern OutputPattern::inReports(const OutputContext &context)
{
    const QString &asked = context.settings.file;
    return {asked.isEmpty() ? QString::fromLatin1(kDefaultFilePattern) : asked,
            context.installPath.isEmpty() ? QString() : context.installPath + QStringLiteral("Reports") + kSep};
}

OutputPattern OutputPattern::inFolder(const OutputContext &context, const QString &folder)
{
    return {files::lastPart(inReports(context).pattern), folder};
}

FileOutput::FileOutput(const OutputContext &context, const QString &path) : m_context(context), m_path(path) {}

FileOutput::FileOutput(const OutputContext &context, const OutputPattern &pattern) : m_context(context), m_pattern(pattern) {}

FileOutput::~FileOutput() = default;

void FileOutput::check(const QMap<QString, QString> &fields)
{
    if (!m_path.isEmpty()) {
        spareOthers(m_path, m_context);
        // A folder that is not there is told now, not after a long query.
        static_cast<void>(OutputFile(m_path));
        return;
    }
    if (m_pattern.folder.isEmpty())
        failReport(
            QStringLiteral("The query file lies outside any installation, so there is no \"Reports\" folder for its output. Name the "
                           "output file (--output FILE)."));
    checkOutputName(m_pattern.pattern, fields, m_context.format);
}

ReportWriter &FileOutput::open(const DocumentFacts &facts)
{
    m_result = {};
    m_factsFile.clear();
    m_head = facts.head;
    if (m_path.isEmpty())
        m_name = outputName(m_pattern.pattern, facts.fields, m_context.format, m_pattern.folder);
    m_writer.reset();
    const QString target = m_name ? unfinishedTarget(*m_name) : m_path;
    m_context.host.worksIn(QFileInfo(target).absolutePath());
    m_file.emplace(target);
    const OutputSettings &settings = m_context.settings;
    m_writer =
        makeWriter(m_context.format, *m_file,
                   {.csv = {settings.csvByteOrderMark, settings.csvGuardFormulas || m_guardFormulas}, .fontFolder = m_context.fontFolder});
    return *m_writer;
}

void FileOutput::close(const ReportTail &tail)
{
    const auto committed = m_file->commit();
    m_result.bytes = committed.bytes;
    m_result.sha256 = QString::fromStdString(committed.sha256);
    takeNotes(m_writer->notes());
    placeFile(tail.truncated && !formatStatesFacts(m_context.format), tail);
}

void FileOutput::placeFile(bool isCut, const ReportTail &tail)
{
    m_result.file = m_file->target();
    if (m_name) {
        const QString mark = isCut ? QStringLiteral(" (first %1 rows)").arg(tail.rows) : QString();
        try {
            m_result.file = takeName(m_file->target(), *m_name, mark);
        } catch (const RuntimeError &) {
            QFile::remove(m_file->target());
            m_result.file.clear();
            throw;
        }
    }
    if (isCut) {
        m_factsFile = m_result.file + QStringLiteral(".txt");
        files::saveAtomically(m_factsFile, factsText(m_result.file, m_head, tail));
    }
}

void FileOutput::takeNotes(const WriterNotes &notes)
{
    if (notes.cellsCut > 0)
        m_result.notes << QStringLiteral("%1 cells hold more text than the format takes and were cut, each marked.").arg(notes.cellsCut);
    if (notes.missingGlyphs > 0)
        m_result.notes << QStringLiteral("%1 characters have no glyph in any font and are shown as boxes.").arg(notes.missingGlyphs);
}

} // namespace qm
