#include "help/viewer/frmHelp.h"

#include "help/viewer/HelpPage.h"
#include "help/viewer/HelpSides.h"
#include "help/viewer/HelpText.h"
#include "pictures/PictureIcon.h"

#include <QAction>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPrintDialog>
#include <QPrinter>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>

/// Resources of a static library are linked in by name; the macro needs the global namespace.
static void initHelpResources()
{
    Q_INIT_RESOURCE(qm_help_pictures);
}

namespace qm {

namespace {

constexpr int kButtonIcon = 20;
constexpr int kSideWidth = 280, kPageWidth = 700;
const QString kGeometry = QStringLiteral("frmHelp/geometry");
const QString kSplitter = QStringLiteral("frmHelp/splitter");
const QString kZoom = QStringLiteral("frmHelp/zoom");

QIcon helpIcon(const char *name)
{
    initHelpResources();
    return pictureIcon(QStringLiteral(":/help/icons/") + QLatin1String(name));
}

} // namespace

frmHelp::frmHelp(std::unique_ptr<HelpBook> book, QString stateFile, QWidget *parent)
    : QMainWindow(parent), m_book(std::move(book)), m_stateFile(std::move(stateFile)), m_sides(new HelpSides(*m_book)),
      m_pane(new HelpPage), m_page(&m_pane->text())
{
    setObjectName(QStringLiteral("frmHelp"));
    setWindowTitle(m_book->title());
    setContextMenuPolicy(Qt::PreventContextMenu);
    setProperty("inputDuringRun", true); // reading goes on while a report is made
    m_page->setBook(m_book.get());
    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setObjectName(QStringLiteral("splitterHelp"));
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(m_sides);
    m_splitter->addWidget(m_pane);
    m_splitter->setSizes({kSideWidth, kPageWidth});
    m_splitter->setStretchFactor(1, 1);
    setCentralWidget(m_splitter);
    buildTools();
    connect(m_sides, &HelpSides::pageChosen, this, &frmHelp::showPage);
    connect(m_sides, &HelpSides::hitChosen, this, [this](const QString &page, const QString &word) {
        showPage(page);
        m_pane->find(word);
    });
    connect(m_page, &QTextBrowser::sourceChanged, this, &frmHelp::followPage);
    connect(m_page, &HelpText::zoomRequested, this, [this](int steps) { m_page->setZoom(m_page->zoom() + steps); });
    connect(m_page, &HelpText::leftForDesktop, this,
            [this](const QUrl &url) { statusBar()->showMessage(tr("Opened on the desktop: %1").arg(url.toDisplayString())); });
    restoreLook();
    showPage({});
    m_page->setFocus();
}

frmHelp::~frmHelp()
{
    m_page->setBook(nullptr);
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
    connect(addTool(*tools, "find", tr("Find on this page"), {QKeySequence::Find}), &QAction::triggered, m_pane, &HelpPage::showFindBar);
    tools->addSeparator();
    addZoomTools(*tools);
}

void frmHelp::addZoomTools(QToolBar &tools)
{
    connect(addTool(tools, "zoom-in", tr("Larger"), {QKeySequence::ZoomIn, Qt::CTRL | Qt::Key_Equal}), &QAction::triggered, this,
            [this] { m_page->setZoom(m_page->zoom() + 1); });
    connect(addTool(tools, "zoom-out", tr("Smaller"), {QKeySequence::ZoomOut}), &QAction::triggered, this,
            [this] { m_page->setZoom(m_page->zoom() - 1); });
    const auto addKeys = [this](const QList<QKeySequence> &keys, auto &&body) {
        auto *action = new QAction(this);
        action->setShortcuts(keys);
        connect(action, &QAction::triggered, this, body);
        addAction(action);
    };
    addKeys({Qt::CTRL | Qt::Key_0}, [this] { m_page->setZoom(0); });
    addKeys({Qt::Key_F3, Qt::CTRL | Qt::Key_G}, [this] { m_pane->findAgain(false); });
    addKeys({Qt::SHIFT | Qt::Key_F3, Qt::CTRL | Qt::SHIFT | Qt::Key_G}, [this] { m_pane->findAgain(true); });
    addKeys({QKeySequence::Close}, [this] { close(); });
}

void frmHelp::showPage(const QString &page)
{
    m_page->showPage(page.isEmpty() ? m_book->home() : page);
}

void frmHelp::followPage(const QUrl &url)
{
    setWindowTitle(m_page->documentTitle().isEmpty() ? m_book->title() : tr("%1 - %2").arg(m_page->documentTitle(), m_book->title()));
    m_sides->followPage(HelpText::pageOf(url));
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

void frmHelp::restoreLook()
{
    resize(980, 700);
    if (m_stateFile.isEmpty())
        return;
    const QSettings settings(m_stateFile, QSettings::IniFormat);
    restoreGeometry(settings.value(kGeometry).toByteArray());
    m_splitter->restoreState(settings.value(kSplitter).toByteArray());
    m_page->setZoom(settings.value(kZoom).toInt());
}

void frmHelp::closeEvent(QCloseEvent *event)
{
    if (!m_stateFile.isEmpty()) {
        QSettings settings(m_stateFile, QSettings::IniFormat);
        settings.setValue(kGeometry, saveGeometry());
        settings.setValue(kSplitter, m_splitter->saveState());
        settings.setValue(kZoom, m_page->zoom());
    }
    QMainWindow::closeEvent(event);
}

void frmHelp::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        QMainWindow::keyPressEvent(event);
    else if (!m_pane->hideFindBar())
        close();
}

} // namespace qm
