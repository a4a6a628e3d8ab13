// The help window's controls.

#include "help/viewer/HelpText.h"
#include "help/viewer/frmHelp.h"
#include "pictures/PictureIcon.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSplitter>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

/// Resources of a static library are linked in by name; the macro needs the global namespace.
static void initHelpResources()
{
    Q_INIT_RESOURCE(qm_help_pictures);
}

namespace qm {

namespace {

constexpr int kPageRole = Qt::UserRole;
constexpr int kButtonIcon = 20;
constexpr int kSideWidth = 280, kPageWidth = 700;

QIcon helpIcon(const char *name)
{
    initHelpResources();
    return pictureIcon(QStringLiteral(":/help/icons/") + QLatin1String(name));
}

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

} // namespace

frmHelp::frmHelp(std::unique_ptr<HelpBook> book, QString stateFile, QWidget *parent)
    : QMainWindow(parent), m_book(std::move(book)), m_stateFile(std::move(stateFile)), m_page(new HelpText)
{
    setObjectName(QStringLiteral("frmHelp"));
    setWindowTitle(m_book->title());
    setContextMenuPolicy(Qt::PreventContextMenu);
    setProperty("inputDuringRun", true); // reading goes on while a report is made
    m_page->setBook(m_book.get());
    buildSides();
    buildTools();
    connect(m_page, &QTextBrowser::sourceChanged, this, &frmHelp::followPage);
    connect(m_page, &HelpText::zoomRequested, this, [this](int steps) { setZoom(m_page->zoom() + steps); });
    connect(m_page, &HelpText::leftForDesktop, this,
            [this](const QUrl &url) { statusBar()->showMessage(tr("Opened on the desktop: %1").arg(url.toDisplayString())); });
    restoreLook();
    showPage({});
    m_page->setFocus();
}

QAction *frmHelp::addTool(QToolBar &tools, const char *name, const QString &text, const QList<QKeySequence> &keys)
{
    auto *action = new QAction(helpIcon(name), text, this);
    action->setObjectName(QString::fromLatin1(name));
    action->setShortcuts(keys);
    action->setToolTip(keys.isEmpty() ? text : tr("%1 (%2)").arg(text, keys.first().toString(QKeySequence::NativeText)));
    tools.addAction(action);
    QWidget *button = tools.widgetForAction(action);
    button->setAccessibleName(text);
    button->setFocusPolicy(Qt::TabFocus);
    return action;
}

void frmHelp::buildTools()
{
    auto *tools = new QToolBar(tr("Help tools"), this);
    tools->setObjectName(QStringLiteral("helpTools"));
    tools->setMovable(false);
    tools->setIconSize(QSize(kButtonIcon, kButtonIcon));
    addToolBar(tools);

    QAction *back = addTool(*tools, "back", tr("Back"), QKeySequence::keyBindings(QKeySequence::Back));
    QAction *forward = addTool(*tools, "forward", tr("Forward"), QKeySequence::keyBindings(QKeySequence::Forward));
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(m_page, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(m_page, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    connect(back, &QAction::triggered, m_page, &QTextBrowser::backward);
    connect(forward, &QAction::triggered, m_page, &QTextBrowser::forward);
    connect(addTool(*tools, "home", tr("Home"), {Qt::ALT | Qt::Key_Home}), &QAction::triggered, this, [this] { showPage({}); });
    tools->addSeparator();
    connect(addTool(*tools, "print", tr("Print"), {QKeySequence::Print}), &QAction::triggered, this, &frmHelp::print);
    connect(addTool(*tools, "find", tr("Find on this page"), {QKeySequence::Find}), &QAction::triggered, this, &frmHelp::showFindBar);
    tools->addSeparator();
    addZoomTools(*tools);
}

void frmHelp::addZoomTools(QToolBar &tools)
{
    connect(addTool(tools, "zoom-in", tr("Larger"), {QKeySequence::ZoomIn, Qt::CTRL | Qt::Key_Equal}), &QAction::triggered, this,
            [this] { setZoom(m_page->zoom() + 1); });
    connect(addTool(tools, "zoom-out", tr("Smaller"), {QKeySequence::ZoomOut}), &QAction::triggered, this,
            [this] { setZoom(m_page->zoom() - 1); });
    const auto addKeys = [this](const QList<QKeySequence> &keys, auto &&body) {
        auto *action = new QAction(this);
        action->setShortcuts(keys);
        connect(action, &QAction::triggered, this, body);
        addAction(action);
    };
    addKeys({Qt::CTRL | Qt::Key_0}, [this] { setZoom(0); });
    addKeys({Qt::Key_F3, Qt::CTRL | Qt::Key_G}, [this] { findInPage(false); });
    addKeys({Qt::SHIFT | Qt::Key_F3, Qt::CTRL | Qt::SHIFT | Qt::Key_G}, [this] { findInPage(true); });
    addKeys({QKeySequence::Close}, [this] { close(); });
}

void frmHelp::buildSides()
{
    m_tabs = new QTabWidget;
    m_tabs->setObjectName(QStringLiteral("tabsHelp"));
    m_tabs->setDocumentMode(true);
    m_tabs->addTab(makeContents(), tr("&Contents"));
    m_tabs->addTab(makeIndex(), tr("&Index"));
    m_tabs->addTab(makeSearch(), tr("&Search"));
    m_tabs->tabBar()->installEventFilter(this);
    connect(m_tabs, &QTabWidget::currentChanged, this, &frmHelp::focusSide);
    auto *splitter = new QSplitter(Qt::Horizontal, this);
    splitter->setObjectName(QStringLiteral("splitterHelp"));
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(m_tabs);
    splitter->addWidget(makePage());
    splitter->setSizes({kSideWidth, kPageWidth});
    splitter->setStretchFactor(1, 1);
    setCentralWidget(splitter);
}

QWidget *frmHelp::makeContents()
{
    m_contents = makeTree("tvContents", tr("Contents"), m_book->contents());
    m_contents->setFrameShape(QFrame::NoFrame);
    connect(m_contents, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *item) { openItem(item); });
    connect(m_contents, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem *item) { openItem(item); });
    return m_contents;
}

QWidget *frmHelp::makeIndex()
{
    auto *side = new QWidget;
    m_indexFilter = listed(new QLineEdit, "txtIndex", tr("Word of the index"));
    m_indexFilter->setPlaceholderText(tr("Word of the index"));
    m_indexFilter->setClearButtonEnabled(true);
    m_index = makeTree("tvIndex", tr("Index"), m_book->index());
    m_index->setRootIsDecorated(false);
    connect(m_indexFilter, &QLineEdit::textChanged, this, &frmHelp::filterIndex);
    connect(m_indexFilter, &QLineEdit::returnPressed, this, [this] { openItem(m_index->currentItem()); });
    connect(m_index, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *item) { openItem(item); });
    connect(m_index, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem *item) { openItem(item); });
    auto *layout = new QVBoxLayout(side);
    layout->addWidget(m_indexFilter);
    layout->addWidget(m_index, 1);
    return side;
}

QWidget *frmHelp::makeSearch()
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
    connect(m_searchWords, &QLineEdit::returnPressed, this, &frmHelp::search);
    const auto open = [this](const QListWidgetItem *item) {
        showPage(item->data(kPageRole).toString());
        m_findText->setText(m_searchWords->text().simplified().section(u' ', 0, 0));
        findInPage(false);
    };
    connect(m_hits, &QListWidget::itemClicked, this, open);
    connect(m_hits, &QListWidget::itemActivated, this, open);
    auto *layout = new QVBoxLayout(side);
    layout->addWidget(m_searchWords);
    layout->addWidget(m_hitCount);
    layout->addWidget(m_hits, 1);
    return side;
}

QWidget *frmHelp::makePage()
{
    auto *side = new QWidget;
    m_findBar = new QToolBar(tr("Find on this page"));
    m_findBar->setObjectName(QStringLiteral("findBar"));
    m_findBar->hide();
    buildFindBar(*m_findBar);
    auto *layout = new QVBoxLayout(side);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_page, 1);
    layout->addWidget(m_findBar);
    return side;
}

void frmHelp::buildFindBar(QToolBar &bar)
{
    m_findText = listed(new QLineEdit, "txtFind", tr("Find on this page"));
    m_findText->setPlaceholderText(tr("Find on this page"));
    m_findText->setClearButtonEnabled(true);
    m_findResult = new QLabel;
    m_findResult->setTextFormat(Qt::PlainText);
    m_findResult->setContentsMargins(8, 0, 8, 0);
    bar.addWidget(m_findText);
    const auto addButton = [&](const QString &text, const QString &tip, auto &&body) {
        auto *button = new QToolButton;
        button->setText(text);
        button->setToolTip(tip);
        button->setFocusPolicy(Qt::TabFocus);
        connect(button, &QToolButton::clicked, this, body);
        bar.addWidget(button);
    };
    addButton(tr("&Previous"), tr("Previous place (Shift+F3)"), [this] { findInPage(true); });
    addButton(tr("&Next"), tr("Next place (F3)"), [this] { findInPage(false); });
    addButton(tr("Close"), tr("Close (Esc)"), [this] { hideFindBar(); });
    bar.addWidget(m_findResult);
    connect(m_findText, &QLineEdit::returnPressed, this, [this] { findInPage(false); });
}

} // namespace qm
