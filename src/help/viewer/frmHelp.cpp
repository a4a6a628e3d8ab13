#include "help/viewer/frmHelp.h"

#include "help/viewer/HelpText.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPrintDialog>
#include <QPrinter>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeWidget>
#include <QUrl>

namespace qm {

namespace {

constexpr int kPageRole = Qt::UserRole;
const QString kGeometry = QStringLiteral("frmHelp/geometry");
const QString kSplitter = QStringLiteral("frmHelp/splitter");
const QString kZoom = QStringLiteral("frmHelp/zoom");

QTreeWidgetItem *itemOfPage(QTreeWidgetItem &parent, const QString &page)
{
    for (int i = 0; i < parent.childCount(); ++i) {
        QTreeWidgetItem *child = parent.child(i);
        if (child->data(0, kPageRole).toString() == page)
            return child;
        if (QTreeWidgetItem *inner = itemOfPage(*child, page))
            return inner;
    }
    return nullptr;
}

} // namespace

frmHelp::~frmHelp()
{
    m_page->setBook(nullptr);
}

void frmHelp::showPage(const QString &page)
{
    m_page->showPage(page.isEmpty() ? m_book->home() : page);
}

void frmHelp::openItem(const QTreeWidgetItem *item)
{
    if (item)
        if (const QString page = item->data(0, kPageRole).toString(); !page.isEmpty())
            showPage(page);
}

void frmHelp::followPage(const QUrl &url)
{
    const QString page = HelpText::pageOf(url);
    setWindowTitle(m_page->documentTitle().isEmpty() ? m_book->title() : tr("%1 - %2").arg(m_page->documentTitle(), m_book->title()));
    const QTreeWidgetItem *current = m_contents->currentItem();
    if (current && current->data(0, kPageRole).toString().section(u'#', 0, 0) == page)
        return;
    if (QTreeWidgetItem *item = itemOfPage(*m_contents->invisibleRootItem(), page)) {
        m_contents->setCurrentItem(item);
        m_contents->scrollToItem(item);
    }
}

void frmHelp::filterIndex(const QString &text)
{
    QTreeWidgetItem *first = nullptr;
    for (int i = 0; i < m_index->topLevelItemCount(); ++i) {
        QTreeWidgetItem *item = m_index->topLevelItem(i);
        item->setHidden(!item->text(0).contains(text, Qt::CaseInsensitive));
        if (!first && !item->isHidden())
            first = item;
    }
    m_index->setCurrentItem(first);
}

void frmHelp::search()
{
    m_hits->clear();
    const std::vector<HelpHit> hits = m_book->search(m_searchWords->text());
    for (const HelpHit &hit : hits) {
        auto *item = new QListWidgetItem(hit.title + u'\n' + hit.excerpt, m_hits); // owned by the list
        item->setData(kPageRole, hit.page);
    }
    m_hitCount->setText(hits.empty() ? tr("No page holds all of these words.") : tr("Pages found: %1").arg(hits.size()));
    if (!hits.empty())
        m_hits->setCurrentRow(0);
}

void frmHelp::print()
{
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    dialog.setWindowTitle(tr("Print help page"));
    if (m_page->textCursor().hasSelection())
        dialog.setOption(QAbstractPrintDialog::PrintSelection);
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_page->print(&printer);
    statusBar()->showMessage(tr("The page was sent to the printer."));
}

void frmHelp::showFindBar()
{
    m_findBar->show();
    if (const QString selected = m_page->textCursor().selectedText(); !selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_findText->setText(selected);
    m_findText->selectAll();
    m_findText->setFocus();
}

void frmHelp::hideFindBar()
{
    m_findBar->hide();
    m_page->setFocus();
}

void frmHelp::findInPage(bool backward)
{
    if (m_findText->text().isEmpty())
        return showFindBar();
    const QTextDocument::FindFlags flags = backward ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    bool found = m_page->find(m_findText->text(), flags);
    if (!found) { // on from the other end
        m_page->moveCursor(backward ? QTextCursor::End : QTextCursor::Start);
        found = m_page->find(m_findText->text(), flags);
    }
    m_findResult->setText(found ? QString() : tr("Not on this page"));
}

void frmHelp::setZoom(int steps)
{
    m_page->setZoom(steps);
}

void frmHelp::focusSide()
{
    QWidget *const first[]{m_contents, m_indexFilter, m_searchWords};
    first[m_tabs->currentIndex()]->setFocus();
}

bool frmHelp::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Shortcut)
        QMetaObject::invokeMethod(this, &frmHelp::focusSide, Qt::QueuedConnection);
    return QMainWindow::eventFilter(watched, event);
}

void frmHelp::restoreLook()
{
    resize(980, 700);
    if (m_stateFile.isEmpty())
        return;
    const QSettings settings(m_stateFile, QSettings::IniFormat);
    restoreGeometry(settings.value(kGeometry).toByteArray());
    findChild<QSplitter *>(QStringLiteral("splitterHelp"))->restoreState(settings.value(kSplitter).toByteArray());
    setZoom(settings.value(kZoom).toInt());
}

void frmHelp::closeEvent(QCloseEvent *event)
{
    if (!m_stateFile.isEmpty()) {
        QSettings settings(m_stateFile, QSettings::IniFormat);
        settings.setValue(kGeometry, saveGeometry());
        settings.setValue(kSplitter, findChild<QSplitter *>(QStringLiteral("splitterHelp"))->saveState());
        settings.setValue(kZoom, m_page->zoom());
    }
    QMainWindow::closeEvent(event);
}

void frmHelp::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QMainWindow::keyPressEvent(event);
    if (m_findBar->isVisible())
        hideFindBar();
    else
        close();
}

} // namespace qm
