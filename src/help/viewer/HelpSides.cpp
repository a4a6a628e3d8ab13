#include "help/viewer/HelpSides.h"

#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTabBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr int kPageRole = Qt::UserRole;

template <class View>
View *listed(View *view, const char *name, const QString &accessibleName)
{
    view->setObjectName(QString::fromLatin1(name));
    view->setAccessibleName(accessibleName);
    return view;
}

QTreeWidget *makeTree(const char *name, const QString &accessibleName, const std::vector<HelpTopic> &topics)
{
    auto *tree = listed(new QTreeWidget, name, accessibleName);
    tree->setHeaderHidden(true);
    tree->setColumnCount(1);
    tree->setUniformRowHeights(true);
    const auto add = [](const auto &self, QTreeWidgetItem &parent, const std::vector<HelpTopic> &entries) -> void {
        for (const HelpTopic &topic : entries) {
            auto *item = new QTreeWidgetItem(&parent, {topic.title}); // owned by its parent
            item->setData(0, kPageRole, topic.page);
            self(self, *item, topic.children);
        }
    };
    add(add, *tree->invisibleRootItem(), topics);
    return tree;
}

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

HelpSides::HelpSides(const HelpBook &book, QWidget *parent) : QTabWidget(parent), m_book(book)
{
    setObjectName(QStringLiteral("tabsHelp"));
    setDocumentMode(true);
    addTab(makeContents(), tr("&Contents"));
    addTab(makeIndex(), tr("&Index"));
    addTab(makeSearch(), tr("&Search"));
    tabBar()->installEventFilter(this);
    connect(this, &QTabWidget::currentChanged, this, &HelpSides::focusSide);
}

QWidget *HelpSides::makeContents()
{
    m_contents = makeTree("tvContents", tr("Contents"), m_book.contents());
    m_contents->setFrameShape(QFrame::NoFrame);
    connect(m_contents, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *item) { openItem(item); });
    connect(m_contents, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem *item) { openItem(item); });
    return m_contents;
}

QWidget *HelpSides::makeIndex()
{
    auto *side = new QWidget;
    m_indexFilter = listed(new QLineEdit, "txtIndex", tr("Word of the index"));
    m_indexFilter->setPlaceholderText(tr("Word of the index"));
    m_indexFilter->setClearButtonEnabled(true);
    m_index = makeTree("tvIndex", tr("Index"), m_book.index());
    m_index->setRootIsDecorated(false);
    connect(m_indexFilter, &QLineEdit::textChanged, this, &HelpSides::filterIndex);
    connect(m_indexFilter, &QLineEdit::returnPressed, this, [this] { openItem(m_index->currentItem()); });
    connect(m_index, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *item) { openItem(item); });
    connect(m_index, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem *item) { openItem(item); });
    auto *layout = new QVBoxLayout(side);
    layout->addWidget(m_indexFilter);
    layout->addWidget(m_index, 1);
    return side;
}

QWidget *HelpSides::makeSearch()
{
    auto *side = new QWidget;
    m_searchWords = listed(new QLineEdit, "txtSearch", tr("Words to search for"));
    m_searchWords->setPlaceholderText(tr("Words to search for"));
    m_searchWords->setClearButtonEnabled(true);
    m_hits = listed(new QListWidget, "lstHits", tr("Pages found"));
    m_hits->setWordWrap(true);
    m_hits->setAlternatingRowColors(true);
    m_hitCount = new QLabel(tr("Enter lists the pages that hold all words."));
    m_hitCount->setTextFormat(Qt::PlainText);
    m_hitCount->setWordWrap(true);
    connect(m_searchWords, &QLineEdit::returnPressed, this, &HelpSides::search);
    const auto open = [this](const QListWidgetItem *item) {
        Q_EMIT hitChosen(item->data(kPageRole).toString(), m_searchWords->text().simplified().section(u' ', 0, 0));
    };
    connect(m_hits, &QListWidget::itemClicked, this, open);
    connect(m_hits, &QListWidget::itemActivated, this, open);
    auto *layout = new QVBoxLayout(side);
    layout->addWidget(m_searchWords);
    layout->addWidget(m_hitCount);
    layout->addWidget(m_hits, 1);
    return side;
}

void HelpSides::followPage(const QString &page)
{
    const QTreeWidgetItem *current = m_contents->currentItem();
    if (current && current->data(0, kPageRole).toString().section(u'#', 0, 0) == page)
        return;
    if (QTreeWidgetItem *item = itemOfPage(*m_contents->invisibleRootItem(), page)) {
        m_contents->setCurrentItem(item);
        m_contents->scrollToItem(item);
    }
}

void HelpSides::openItem(const QTreeWidgetItem *item)
{
    if (item)
        if (const QString page = item->data(0, kPageRole).toString(); !page.isEmpty())
            Q_EMIT pageChosen(page);
}

void HelpSides::filterIndex(const QString &text)
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

void HelpSides::search()
{
    m_hits->clear();
    const std::vector<HelpHit> hits = m_book.search(m_searchWords->text());
    for (const HelpHit &hit : hits) {
        auto *item = new QListWidgetItem(hit.title + u'\n' + hit.excerpt, m_hits); // owned by the list
        item->setData(kPageRole, hit.page);
    }
    m_hitCount->setText(hits.empty() ? tr("No page holds all of these words.") : tr("Pages found: %1").arg(hits.size()));
    if (!hits.empty())
        m_hits->setCurrentRow(0);
}

void HelpSides::focusSide()
{
    QWidget *const first[]{m_contents, m_indexFilter, m_searchWords};
    first[currentIndex()]->setFocus();
}

bool HelpSides::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Shortcut)
        QMetaObject::invokeMethod(this, &HelpSides::focusSide, Qt::QueuedConnection);
    return QTabWidget::eventFilter(watched, event);
}

} // namespace qm
