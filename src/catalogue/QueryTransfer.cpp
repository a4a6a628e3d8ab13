#include "catalogue/QueryTransfer.h"

#include "catalogue/CatalogueKeys.h"
#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "platform/Files.h"

#include <QCoreApplication>

namespace qm {

namespace {

constexpr char kModule[] = "frmMain.frm";
constexpr char kUnanticipated[] = QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the User Interface");
constexpr Procedure kCopyFile{"CopyFile", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while copying a query."), kModule};
constexpr Procedure kMoveFile{"MoveFile", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while pasting a query."), kModule};
constexpr Procedure kDragOver{"tvTreeView_DragOver", kUnanticipated, kModule};
constexpr Procedure kDragDrop{"tvTreeView_DragDrop", kUnanticipated, kModule};

const QString kCopyOf = QStringLiteral("Copy of ");

} // namespace

QueryTransfer::QueryTransfer(const CatalogueServices &services, CatalogueSelection &selection, Catalogue &catalogue, PendingPaste &pending)
    : m_globals(services.globals), m_errors(services.errors), m_prompts(services.prompts), m_selection(selection), m_catalogue(catalogue),
      m_pending(pending)
{
}

void QueryTransfer::pickUpSelected(bool cut)
{
    const TreeNode group = m_selection.node();
    m_pending = {group.tag + group.text, m_selection.row().subItems[CatalogueList::QueryFile - 1], m_selection.parentNode().tag, cut};
}

void QueryTransfer::pickUpForDrag(int row)
{
    m_pending.sourcePackage = m_selection.parentNode().tag;
    m_pending.sourceGroup = m_selection.node().tag;
    m_pending.sourceFile = m_selection.list().row(row).tag;
}

void QueryTransfer::paste()
{
    if (m_pending.cut)
        MoveFile();
    else
        CopyFile();
    m_pending.clear();
}

QString QueryTransfer::targetFolder(const TreeNode &target) const
{
    return groupsFolder(target.tag) + target.text;
}

void QueryTransfer::showTarget()
{
    files::setCurrentFolder(m_globals.gstrInstallPath);
    m_catalogue.openSelectedGroup();
}

bool QueryTransfer::CopyFile()
{
    return trap(m_errors, kCopyFile, [&] {
        const TreeNode target = m_selection.node();
        if (m_pending.sourcePackage.compare(m_selection.parentNode().tag, Qt::CaseInsensitive) != 0) {
            m_prompts.messageBox(QCoreApplication::translate("qm::QueryTransfer", "Cannot copy queries across event log packages."),
                                 box::ok | box::exclamation, QString::fromLatin1(kApplicationTitle));
            return false;
        }
        const QString folder = targetFolder(target) + kSep;
        const QString name = files::lastPart(m_pending.sourceFile);
        QString destination = m_pending.sourceGroup == target.tag ? folder + kCopyOf + name : folder + name;
        if (files::fileExists(destination))
            destination = folder + kCopyOf + name;
        files::copy(m_pending.sourceFile, files::existingSpelling(destination));
        showTarget();
        return true;
    });
}

void QueryTransfer::MoveFile()
{
    trap(m_errors, kMoveFile, [&] {
        const TreeNode target = m_selection.node();
        const QString title = QString::fromLatin1(kApplicationTitle);
        if (m_pending.sourceGroup == target.tag + target.text) {
            m_prompts.messageBox(QCoreApplication::translate("qm::QueryTransfer", "Cannot cut and paste into the same Group"),
                                 box::ok | box::exclamation, title);
            return;
        }
        if (m_pending.sourcePackage != m_selection.parentNode().tag) {
            m_prompts.messageBox(
                QCoreApplication::translate("qm::QueryTransfer", "Cannot cut and paste queries across event log packages."),
                box::ok | box::exclamation, title);
            return;
        }
        const QString folder = targetFolder(target) + kSep;
        const QString name = files::lastPart(m_pending.sourceFile);
        QString destination = folder + name;
        if (files::fileExists(destination))
            destination = folder + kCopyOf + name;
        files::copy(m_pending.sourceFile, files::existingSpelling(destination));
        files::kill(m_pending.sourceFile);
        showTarget();
    });
}

std::optional<DragPicture> QueryTransfer::tvTreeView_DragOver(const QModelIndex &node)
{
    return trap(m_errors, kDragOver, [&]() -> std::optional<DragPicture> {
        if (!node.isValid())
            return std::nullopt;
        m_selection.selectNode(node);
        return node.parent().isValid() ? DragPicture::Drop : DragPicture::Invalid;
    });
}

bool QueryTransfer::tvTreeView_DragDrop(bool dragReady)
{
    return trap(m_errors, kDragDrop, [&] {
        const QModelIndex node = m_selection.nodeIndex();
        if (!node.isValid() || !node.parent().isValid() || !dragReady)
            return false;
        return CopyFile();
    });
}

} // namespace qm
