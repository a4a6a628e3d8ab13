#include "catalogue/ReportQueries.h"

#include "catalogue/CatalogueKeys.h"
#include "catalogue/ReportGroups.h"
#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "framework/Components.h"
#include "framework/QueryFiles.h"
#include "platform/Files.h"

#include <QDir>

#include <QCoreApplication>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");
constexpr Procedure kAddNewReportQuery{
    "AddNewReportQuery", QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured while creating a new query."), kModule};
constexpr Procedure kModifyReportQuery{
    "ModifyReportQuery", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to modify the report query"), kModule};
constexpr Procedure kDeleteReportQuery{
    "DeleteReportQuery", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to delete the report query"), kModule};
constexpr Procedure kRenameReportQuery{
    "RenameReportQuery", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to rename the report query"), kModule};
constexpr Procedure kRenameNewFile{"RenameNewFileAsDescription", kUnanticipated, kModule};
constexpr Procedure kDetermineQueryName{"DetermineQueryName", kUnanticipated, "frmKOSMAMain.frm"};
constexpr Procedure kAfterLabelEdit{"lvListView_AfterLabelEdit_EH", QT_TRANSLATE_NOOP("qm::Procedure", "Unexpected error occured"),
                                    kModule};
constexpr Procedure kImport{"Import", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to save the Query File"), kModule};

constexpr int kCandidates = 1000;
constexpr QStringView kRemoved = u"\\/:\"?<>|";

/// A path in one spelling, for a test of containment.
QString comparable(const QString &path)
{
    return QDir::cleanPath(QDir::fromNativeSeparators(path)).toUpper();
}

} // namespace

ReportQueries::ReportQueries(const CatalogueServices &services, CatalogueSelection &selection, Catalogue &catalogue, ReportGroups &groups)
    : m_globals(services.globals), m_errors(services.errors), m_prompts(services.prompts), m_components(services.components),
      m_selection(selection), m_catalogue(catalogue), m_groups(groups)
{
}

QString ReportQueries::selectedGroupFolder() const
{
    const TreeNode group = m_selection.node();
    return groupsFolder(group.tag) + group.text;
}

void ReportQueries::listSelectedGroup()
{
    m_catalogue.openSelectedGroup();
}

void ReportQueries::selectFile(const QString &queryFile)
{
    for (int row = 0; row < m_selection.list().rows(); ++row)
        if (m_selection.list().row(row).subItems[CatalogueList::QueryFile - 1] == queryFile)
            m_selection.selectRow(row);
    if (m_selection.rowIndex() >= 0)
        m_catalogue.lvListView_ItemClick(m_selection.rowIndex());
}

bool ReportQueries::AddNewReportQuery(const QString &target)
{
    return trap(m_errors, kAddNewReportQuery, [&] {
        const auto component = m_components.createReportInterface(m_selection.parentNode().tag);
        // Rows are counted before and after, so the list must show this group to begin with.
        const bool listShowsGroup = m_selection.list().level() == selection::group && m_selection.list().tag == m_selection.node().text;
        if (!listShowsGroup)
            listSelectedGroup();
        const int before = m_selection.list().rows();
        const QStringList names = files::list(selectedGroupFolder(), QStringLiteral("*.rqn"), attr::normal);
        m_filesBeforeEdit = QSet<QString>(names.begin(), names.end());
        component->EditQuery(target);
        return m_catalogue.openSelectedGroup() != before;
    });
}

void ReportQueries::RenameNewFileAsDescription()
{
    trap(m_errors, kRenameNewFile, [&] {
        const ListRow last = m_selection.list().row(m_selection.list().rows() - 1);
        const QString file = last.subItems[CatalogueList::QueryFile - 1];
        // A listing that ended early, or a component that names its files otherwise, must not rename a query nobody touched.
        if (m_filesBeforeEdit.contains(files::lastPart(file)))
            return;
        const QString newPath = DetermineQueryName(selectedGroupFolder() + kSep, last.text, QStringLiteral(".rqn"));
        files::rename(file, newPath);
        listSelectedGroup();
    });
}

QString ReportQueries::DetermineQueryName(const QString &groupFolder, const QString &description, const QString &extension)
{
    return trap(m_errors, kDetermineQueryName, [&] {
        QSet<QString> taken;
        for (const QString &name : files::list(groupFolder, QStringLiteral("*"), attr::normal))
            taken.insert(name.toCaseFolded());
        const auto firstFree = [&](const QString &words) {
            QString candidate = words + extension;
            for (int i = 1; i <= kCandidates; ++i) {
                if (!taken.contains(candidate.toCaseFolded()))
                    return candidate;
                candidate = words + QString::number(i) + extension;
            }
            return QString();
        };
        QString name = firstFree(description);
        // The test above is on the name before the forbidden characters go.
        name.removeIf([](QChar c) { return kRemoved.contains(c); });
        while (files::isHiddenName(name) && name.size() > extension.size())
            name.remove(0, 1);
        if (name.compare(extension, Qt::CaseInsensitive) == 0)
            name = firstFree(QStringLiteral("New Report Query"));
        return groupFolder + name;
    });
}

void ReportQueries::ModifyReportQuery(const QString &queryFile, const QString &interfaceId)
{
    trap(m_errors, kModifyReportQuery, [&] {
        m_components.createReportInterface(interfaceId)->EditQuery(queryFile);
        listSelectedGroup();
        selectFile(queryFile);
    });
}

void ReportQueries::DeleteReportQuery(const QString &queryFile)
{
    trap(m_errors, kDeleteReportQuery, [&] {
        files::kill(queryFile);
        listSelectedGroup();
    });
}

bool ReportQueries::RenameReportQuery(const QString &queryFile, const QString &newDescription)
{
    return trap(m_errors, kRenameReportQuery, [&] {
        const auto access = m_components.createQueryAccess(m_catalogue.GetQueryAccess(m_selection.parentNode().text));
        const std::shared_ptr<Query> query = access->ReadFile(queryFile);
        query->Description = newDescription;
        const QString folder = queryFile.chopped(files::lastPart(queryFile).size());
        const QString extension = queryFile.mid(queryFile.lastIndexOf(u'.') + 1);
        const QString newFile = folder + newDescription + u'.' + extension;
        if (files::sameFile(queryFile, newFile)) {
            access->WriteFile(*query, queryFile);
            if (newFile != queryFile)
                files::rename(queryFile, newFile);
        } else {
            access->WriteFile(*query, newFile);
            files::setFileAttributes(queryFile, attr::normal);
            files::kill(queryFile);
        }
        listSelectedGroup();
        selectFile(newFile);
        m_catalogue.lvListView_MouseUp();
        return true;
    });
}

bool ReportQueries::lvListView_AfterLabelEdit(int row, const QString &newString)
{
    return trap(m_errors, kAfterLabelEdit, [&] {
        const ListRow edited = m_selection.list().row(row);
        if (isLevel(edited.key, selection::group))
            return m_groups.RenameGroup(newString);
        return isLevel(edited.key, selection::query) && RenameReportQuery(edited.tag, newString);
    });
}

QString ReportQueries::chooseImportTarget(const TreeNode &group)
{
    FileDialogRequest request;
    request.title = QStringLiteral("Save Report Query As");
    request.folder = groupsFolder(group.tag) + group.text;
    request.filter = QStringLiteral("Report SQL Query File (*.rqn)|*.rqn");
    request.fileName = QStringLiteral("New Report Query.rqn");
    request.defaultSuffix = QStringLiteral("rqn");
    const QString inside = comparable(groupsFolder(group.tag)) + u'/';
    for (;;) {
        const std::optional<QString> chosen = m_prompts.chooseSaveFile(request);
        files::setCurrentFolder(m_globals.gstrInstallPath);
        if (!chosen)
            raise(err::dialogCancelled);
        if (comparable(*chosen).contains(inside))
            return *chosen;
        m_errors.ReportError(
            QCoreApplication::translate("qm::ReportQueries", "Report Query has to be saved in the same report package group."),
            box::critical);
    }
}

void ReportQueries::Import()
{
    trapExcept(m_errors, kImport, {err::dialogCancelled}, [&] {
        const TreeNode group = m_selection.node();
        const QString source = m_selection.row().tag;
        QString target = chooseImportTarget(group);
        while (files::fileExists(target)) {
            const int answer = m_errors.ReportError(
                QCoreApplication::translate("qm::ReportQueries", "Report Query File name already in use.Please choose another name."),
                box::okCancel | box::question);
            if (answer != box::idOk)
                return;
            target = chooseImportTarget(group);
        }
        if (const QString why = whyNotAQueryName(files::lastPart(target)); !why.isEmpty())
            raise(err::badFileName, QStringLiteral("\"%1\" %2; choose another name").arg(files::lastPart(target), why));
        files::rename(source, target);
        // The group's folder stays the current directory afterwards.
        files::setCurrentFolder(groupsFolder(group.tag) + group.text);
        listSelectedGroup();
    });
}

} // namespace qm
