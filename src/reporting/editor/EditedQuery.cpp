#include "reporting/editor/EditedQuery.h"

#include "core/RuntimeError.h"
#include "engine/outputs/OutputNaming.h"
#include "framework/Components.h"
#include "framework/Readers.h"
#include "platform/Files.h"
#include "reporting/common/ReportingUiServices.h"

#include <QDir>
#include <QFileInfo>

namespace qm {

namespace {

constexpr char16_t kLast = 0xFFFD; ///< sorts after every letter of every alphabet, emoji and private-use characters included

} // namespace

QString newQueryPath(const QString &folder)
{
    const QStringList names = files::list(folder, QStringLiteral("*.rqn"), attr::normal);
    const QString last = names.isEmpty() ? QString() : names.last();
    QString stem = QChar(kLast) + QStringLiteral("New Report Query");
    if (!last.isEmpty() && !last.startsWith(stem) && !files::orderedBefore(last, stem))
        stem = last.chopped(4) + stem;
    for (int counter = 1;; ++counter) {
        // Digits sort before the mark, so a counter with more digits gets more marks.
        const QString digits = QString::number(counter);
        const QString number = counter == 1 ? QString() : QString(digits.size(), QChar(kLast)) + digits;
        const QString name = stem + number + QStringLiteral(".rqn");
        if (!files::entryExists(folder + name) && (last.isEmpty() || files::orderedBefore(last, name)))
            return folder + name;
        if (counter == 999) {
            stem = last.chopped(4) + QChar(kLast);
            counter = 0;
        }
    }
}

EditedQuery::EditedQuery(ReportingUiServices &services, const QString &target) : m_services(services)
{
    const bool isFolder = target.endsWith(kSep) || target.endsWith(u'/') || target.endsWith(u'\\');
    m_folder = isFolder ? target : target.chopped(files::lastPart(target).size());
    const QString install = services.host.installPath();
    m_home = findQueryHome(isFolder ? target + QStringLiteral("new.rqn") : target, install);
    if (isFolder) {
        if (!QFileInfo(m_folder).isDir())
            raise(err::pathNotFound, QStringLiteral("the report group's folder \"%1\" is not there; refresh the tree").arg(m_folder),
                  kFrameworkSource);
        m_saved.query.period = {true, QStringLiteral("last week")};
        return;
    }
    m_path = target;
    m_saved.query = *services.queries.ReadFile(target);
    if (m_saved.query.ReportFile.isEmpty())
        return;
    try {
        m_saved.layout = readLayout(m_saved.query.ReportFile);
    } catch (const RuntimeError &error) {
        m_layoutProblem = error.description();
    }
}

ReportLayout EditedQuery::readLayout(const QString &reportFile) const
{
    return m_services.layouts.ReadLayout(layoutPath(reportFile, m_home.packageFolder));
}

QString EditedQuery::freeLayoutName(const QString &description) const
{
    QString stem = sanitizedName(description, 150);
    if (stem.isEmpty())
        stem = QStringLiteral("New layout");
    for (int counter = 1;; ++counter) {
        const QString name =
            QStringLiteral("Layouts/") + stem + (counter == 1 ? QString() : QString::number(counter)) + QStringLiteral(".rpt");
        if (!files::entryExists(layoutPath(name, m_home.packageFolder)))
            return name;
    }
}

void EditedQuery::writeNew(Query &query)
{
    for (int tries = 0;; ++tries) {
        const QString path = newQueryPath(m_folder);
        try {
            m_services.queries.WriteFile(query, path);
            m_path = path;
            return;
        } catch (const RuntimeError &error) {
            // Somebody else took the name between the listing and the writing.
            if (error.number() != err::fileAlreadyExists || tries > 10)
                throw;
        }
    }
}

void EditedQuery::save(const QueryDraft &draft)
{
    QString createdLayout;
    if (!draft.query.ReportFile.isEmpty()) {
        const QString path = layoutPath(draft.query.ReportFile, m_home.packageFolder);
        const QString folder = QFileInfo(path).absolutePath();
        if (!QFileInfo(folder).isDir())
            files::makeFolder(QDir::toNativeSeparators(folder));
        if (!files::entryExists(path))
            createdLayout = path;
        m_services.layouts.WriteLayout(draft.layout, path);
    }
    QueryDraft written = draft;
    try {
        if (isNew())
            writeNew(written.query);
        else
            m_services.queries.WriteFile(written.query, m_path);
    } catch (...) {
        if (!createdLayout.isEmpty())
            files::kill(createdLayout);
        throw;
    }
    written.query.QueryFile = m_path;
    m_saved = std::move(written);
    m_layoutProblem.clear();
}

} // namespace qm
