#include "catalogue/ReportGroups.h"

#include "catalogue/CatalogueKeys.h"
#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "platform/Files.h"

#include <QDir>
#include <QSet>

#include <QCoreApplication>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr Procedure kAddNewGroup{"AddNewGroup",
                                 QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured while adding query groups."), kModule};
constexpr Procedure kDeleteGroup{"DeleteGroup",
                                 QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured while deleting query groups."), kModule};
constexpr Procedure kCheckIfValidGroupName{
    "CheckIfValidGroupName", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to check for valid group name"), kModule};
constexpr Procedure kDetermineNumber{
    "DetermineNumber", QT_TRANSLATE_NOOP("qm::Procedure", "An error occured while generating a name for the new group"), kModule};
constexpr Procedure kAfterLabelEdit{"tvTreeView_AfterLabelEdit",
                                    QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while modifying the group name"), kModule};

constexpr qsizetype kLongestName = 101;
constexpr int kCandidates = 1000;
constexpr QStringView kForbidden = u"/\\:\"?<>|.";
constexpr int kEverything = attr::hidden | attr::system | attr::directory;

bool holdsForbiddenCharacter(const QString &name)
{
    return std::any_of(name.begin(), name.end(), [](QChar c) { return kForbidden.contains(c); });
}

/// Whether anything has that name in the groups folder; the empty name is the folder itself.
bool isNameTaken(const QString &packageFolder, const QString &name)
{
    const QString folder = groupsFolder(packageFolder);
    return files::entryExists(name.isEmpty() ? folder.chopped(1) : folder + name);
}

} // namespace

ReportGroups::ReportGroups(const CatalogueServices &services, CatalogueSelection &selection, Catalogue &catalogue,
                           PendingPaste &pendingPaste)
    : m_globals(services.globals), m_errors(services.errors), m_prompts(services.prompts), m_selection(selection), m_catalogue(catalogue),
      m_pendingPaste(pendingPaste)
{
}

void ReportGroups::AddNewGroup(const QString &packageName)
{
    trap(m_errors, kAddNewGroup, [&] {
        const QString parentKey = IsRootKey(m_selection.nodeKey()) ? m_selection.nodeKey() : m_selection.parentNode().key;
        if (!m_globals.gdicPackages.Exists(packageName))
            return;
        QMKPackage &package = *m_globals.gdicPackages.at(packageName);
        const QString packageFolder = package.PackageInfo()->InstallPath;
        const QString name = DetermineNumber(packageFolder);
        // The first group of a new package brings the folder of groups with it.
        if (files::entryExists(packageFolder.chopped(1)) && !isNameTaken(packageFolder, {}))
            files::makeFolder(groupsFolder(packageFolder).chopped(1));
        files::makeFolder(groupsFolder(packageFolder) + name);
        if (package.GroupExists(name))
            return;
        package.AddGroup(name);
        const QModelIndex node =
            m_selection.tree().addNode(parentKey, {groupKey(packageName, name), name, packageFolder}, QStringLiteral("ReportGroup"));
        m_selection.selectNode(node);
        m_catalogue.tvTreeView_NodeClick(node);
    });
}

QString ReportGroups::DetermineNumber(const QString &packageFolder)
{
    return trap(m_errors, kDetermineNumber, [&] {
        QSet<QString> taken;
        for (const QString &entry : files::list(groupsFolder(packageFolder), QStringLiteral("*"), kEverything))
            taken.insert(entry.toCaseFolded());
        const QString words = QStringLiteral("New Report Group");
        QString candidate = words;
        for (int i = 1; i <= kCandidates; ++i) {
            if (!taken.contains(candidate.toCaseFolded()))
                return candidate;
            candidate = words + QString::number(i);
        }
        return QString();
    });
}

void ReportGroups::DeleteGroup()
{
    trap(m_errors, kDeleteGroup, [&] {
        const TreeNode node = m_selection.node();
        const TreeNode parent = m_selection.parentNode();
        if (!m_globals.gdicPackages.Exists(parent.text) || !m_globals.gdicPackages.at(parent.text)->GroupExists(node.text))
            return;
        QMKPackage &package = *m_globals.gdicPackages.at(parent.text);
        const QString folder = groupsFolder(package.PackageInfo()->InstallPath) + node.text;
        stepOutOf(folder);
        EmptyFolder(folder);
        files::removeFolder(folder);
        package.RemoveGroup(node.text);

        const bool listShowsGroups = isLevel(m_selection.rowKey(), selection::group);
        m_selection.tree().removeNode(node.key);
        if (listShowsGroups)
            m_selection.list().removeRow(node.key);
        m_selection.selectNode(m_selection.tree().find(parent.key));
    });
}

void ReportGroups::EmptyFolder(const QString &folder)
{
    for (const QString &entry : files::list(folder, QStringLiteral("*"), attr::hidden | attr::directory | attr::archive)) {
        const QString path = folder + kSep + entry;
        if (files::fileAttributes(path) & attr::directory)
            files::removeFolder(path);
        else
            files::kill(path);
    }
}

bool ReportGroups::CheckIfValidGroupName(const QString &packageFolder, const QString &newName)
{
    return trap(m_errors, kCheckIfValidGroupName, [&] {
        const QString title = QString::fromLatin1(kApplicationTitle);
        bool valid = false;
        if (newName.size() > kLongestName)
            m_prompts.messageBox(QCoreApplication::translate("qm::ReportGroups", "Report Group Name is too large"), box::ok | box::critical,
                                 title);
        else if (holdsForbiddenCharacter(newName))
            m_prompts.messageBox(QCoreApplication::translate(
                                     "qm::ReportGroups", "Report Group Name cannot have the following characters: ,  \\ / :  ? < > | ."),
                                 box::ok | box::critical, title);
        else
            valid = true;
        // Asked in every case: one bad name can earn two messages.
        if (isNameTaken(packageFolder, newName)) {
            m_prompts.messageBox(
                QCoreApplication::translate("qm::ReportGroups",
                                            "The Group Name '%1' is currently being used by another Group. Please choose another name.")
                    .arg(newName),
                box::ok | box::exclamation, title);
            return false;
        }
        if (const QString reason = files::whyNotAName(newName); valid && !reason.isEmpty())
            raise(err::badFileName, QStringLiteral("'%1' %2; choose another name").arg(newName, reason));
        return valid;
    });
}

bool ReportGroups::RenameGroup(const QString &newName)
{
    return trapSilently([&] {
        const TreeNode node = m_selection.node();
        const QString packageName = m_selection.parentNode().text;
        const QString oldName = LastKeyPart(node.key);
        if (!CheckIfValidGroupName(node.tag, newName))
            return false;
        if (m_globals.gdicPackages.Exists(packageName))
            renameOnDisk(node, packageName, oldName, newName);
        return true;
    });
}

void ReportGroups::renameOnDisk(const TreeNode &node, const QString &packageName, const QString &oldName, const QString &newName)
{
    QMKPackage &package = *m_globals.gdicPackages.at(packageName);
    const QString oldFolder = groupsFolder(node.tag) + oldName;
    const QString newFolder = groupsFolder(node.tag) + newName;
    stepOutOf(oldFolder);
    files::rename(oldFolder, newFolder);
    package.RemoveGroup(oldName);
    package.AddGroup(newName);
    const QString newKey = groupKey(packageName, newName);
    m_selection.tree().renameNode(node.key, newKey, newName);
    m_selection.list().renameRow(node.key, newKey, newName);
    repointPaths(node.tag, oldName, newName);
    // Rows of the group's queries hold the old folder's paths.
    const bool listShowsItsQueries = m_selection.list().level() == selection::group && m_selection.list().tag == oldName;
    if (listShowsItsQueries)
        m_catalogue.openSelectedGroup();
}

void ReportGroups::repointPaths(const QString &packageFolder, const QString &oldName, const QString &newName)
{
    const QString oldFolder = groupsFolder(packageFolder) + oldName + kSep;
    const QString newFolder = groupsFolder(packageFolder) + newName + kSep;
    // A package's folder may be written with either separator; a listing gives the platform's.
    for (QString *path : {&m_globals.gstrCurrentQueryFile, &m_pendingPaste.sourceFile})
        if (QDir::toNativeSeparators(*path).startsWith(QDir::toNativeSeparators(oldFolder), Qt::CaseInsensitive))
            path->replace(0, oldFolder.size(), newFolder);
    if (m_pendingPaste.sourceGroup == packageFolder + oldName) // as copy and cut record it
        m_pendingPaste.sourceGroup = packageFolder + newName;
}

void ReportGroups::stepOutOf(const QString &folder) const
{
    const QString current = QDir::cleanPath(QDir::fromNativeSeparators(files::currentFolder())) + u'/';
    if (current.startsWith(QDir::cleanPath(QDir::fromNativeSeparators(folder)) + u'/', Qt::CaseInsensitive))
        files::setCurrentFolder(m_globals.gstrInstallPath);
}

bool ReportGroups::tvTreeView_AfterLabelEdit(const QString &newString)
{
    bool renamed = false;
    trap(m_errors, kAfterLabelEdit, [&] {
        renamed = RenameGroup(newString);
        if (renamed)
            files::setCurrentFolder(m_globals.gstrInstallPath);
    });
    return renamed;
}

} // namespace qm
