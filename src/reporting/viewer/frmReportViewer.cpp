#include "reporting/viewer/frmReportViewer.h"
#include "reporting/viewer/ChartPane.h"

#include "core/InputDuringRun.h"
#include "core/Prompts.h"
#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "reporting/common/Icons.h"
#include "reporting/common/ReportDesk.h"
#include "reporting/common/ReportingUiServices.h"
#include "reporting/common/UiSettings.h"
#include "reporting/common/VisibleText.h"
#include "reporting/common/frmReportDone.h"
#include "reporting/viewer/DetailPane.h"
#include "reporting/viewer/MatchDelegate.h"
#include "reporting/viewer/ReportHeading.h"
#include "reporting/viewer/SearchBar.h"
#include "reporting/viewer/SelectionText.h"
#include "reporting/viewer/SpoolModel.h"
#include "reporting/viewer/WorkBar.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableView>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr qint64 kMaxCopiedCells = 5'000'000;
const QString kSizeKey = QStringLiteral("viewer/size");
constexpr int kSampledRows = 100;   ///< rows that the first column widths are taken from
constexpr int kWidestAtFirst = 320; ///< pixels

} // namespace

frmReportViewer::frmReportViewer(ReportingUiServices &services, SpooledReport report, const QString &queryFile, const QString &note)
    : m_services(services), m_report(std::move(report)), m_queryFile(queryFile), m_rows(m_report)
{
    setObjectName(QStringLiteral("frmReportViewer"));
    setAttribute(Qt::WA_DeleteOnClose);
    setProperty(kInputDuringRun, true);
    const QString title = visibleText(QString::fromStdString(m_report.head.title));
    setWindowTitle(title + QStringLiteral("[*] \u2013 ") + tr("Report"));
    setWindowIcon(uiIcon("report"));

    auto central = new QWidget(this);
    auto layout = new QVBoxLayout(central);
    layout->setContentsMargins(12, 10, 12, 6);
    layout->setSpacing(8);
    m_search = new SearchBar(m_report.shownColumns(), central);
    layout->addWidget(new ReportHeading(m_report.head, m_report.tail, note, central));
    layout->addWidget(m_search);
    buildTable();
    auto split = new QSplitter(Qt::Vertical, central);
    const bool charts = m_report.tail.rows > 0 && !m_report.tail.charts.empty();
    if (charts)
        split->addWidget(new ChartPane(m_report.shape.charts, m_report.tail.charts, split));
    m_details = new DetailPane(split);
    m_stack = new QStackedWidget(split);
    m_empty = plainLabel({}, m_stack);
    m_empty->setObjectName(QStringLiteral("emptyState"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setForegroundRole(QPalette::PlaceholderText);
    QFont large = m_empty->font();
    large.setPointSizeF(large.pointSizeF() * 1.3);
    m_empty->setFont(large);
    m_stack->addWidget(m_table);
    m_stack->addWidget(m_empty);
    split->addWidget(m_stack);
    split->addWidget(m_details);
    split->setStretchFactor(split->indexOf(m_stack), 1);
    split->setCollapsible(split->indexOf(m_stack), false);
    split->setSizes(charts ? QList<int>{240, 320, 160} : QList<int>{560, 160});
    layout->addWidget(split, 1);
    setCentralWidget(central);

    buildActions();
    buildStatus();
    restoreWidths();
    const auto search = [this] { m_rows.search(m_search->terms(), m_search->onlyMatches()); };
    connect(m_search, &SearchBar::termsChanged, this, search);
    connect(m_search, &SearchBar::onlyMatchesChanged, this, search);
    connect(m_search, &SearchBar::step, this, &frmReportViewer::stepHit);
    connect(&m_rows, &ViewerRows::changed, this, &frmReportViewer::showRows);
    connect(&m_rows, &ViewerRows::stopped, this, [this] { m_search->showText(tr("Stopped")); });
    connect(&m_rows, &ViewerRows::exported, this, &frmReportViewer::showExported);
    connect(&m_rows, &ViewerRows::failed, this, [this](const QString &why) {
        m_services.prompts.messageBox(why, box::ok | box::critical, QString::fromLatin1(kApplicationTitle));
    });
    m_details->setVisible(m_report.tail.rows > 0);
    resize(uiSettings()->value(kSizeKey, QSize(1100, 740)).toSize());
    showRowCount();
    if (m_report.tail.rows > 0)
        m_table->setCurrentIndex(m_model->index(0, 0));
    m_table->setFocus();
}

frmReportViewer::~frmReportViewer()
{
    saveWidths();
    delete m_model;
}

void frmReportViewer::buildTable()
{
    m_table = new QTableView(this);
    m_table->setObjectName(QStringLiteral("reportRows"));
    m_table->setAccessibleName(tr("Rows of the report"));
    m_model = new SpoolModel(m_report, this);
    m_delegate = new MatchDelegate(this);
    m_table->setModel(m_model);
    m_table->setItemDelegate(m_delegate);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->setTextElideMode(Qt::ElideRight);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_table->setTabKeyNavigation(false);
    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 8);
    m_table->verticalHeader()->setDefaultAlignment(Qt::AlignRight | Qt::AlignVCenter);
    QHeaderView *header = m_table->horizontalHeader();
    header->setSectionsClickable(true);
    header->setSectionsMovable(true);
    header->setHighlightSections(false);
    header->setSortIndicatorShown(true);
    header->setSortIndicator(-1, Qt::AscendingOrder);
    header->setMinimumSectionSize(32);
    header->setToolTip(tr("Click to sort: ascending, descending, original order (Ctrl+Shift+Up, Ctrl+Shift+Down)"));
    connect(header, &QHeaderView::sectionClicked, &m_rows, &ViewerRows::sortNext);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, &frmReportViewer::currentChanged);
    connect(m_table, &QWidget::customContextMenuRequested, this, &frmReportViewer::contextMenu);
}

void frmReportViewer::buildActions()
{
    auto bar = addToolBar(tr("Report"));
    bar->setObjectName(QStringLiteral("reportBar"));
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);

    auto menu = new QMenu(this);
    for (const ReportFormat format : reportFormats()) {
        QAction *action = menu->addAction(tr("%1…", "a format").arg(formatLabel(format)));
        action->setObjectName(QStringLiteral("export_") + formatWord(format));
        connect(action, &QAction::triggered, this, [this, format] { chooseExport(format); });
    }
    auto exportButton = new QToolButton(bar);
    exportButton->setMenu(menu);
    exportButton->setPopupMode(QToolButton::InstantPopup);
    exportButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    exportButton->setIcon(uiIcon("export"));
    exportButton->setText(tr("&Export"));
    exportButton->setToolTip(tr("Write the rows that are shown to a file"));
    exportButton->setObjectName(QStringLiteral("export"));
    exportButton->setFocusPolicy(Qt::TabFocus);
    m_export = bar->addWidget(exportButton);
    connect(m_export, &QAction::changed, exportButton, [this, exportButton] { exportButton->setEnabled(m_export->isEnabled()); });
    connect(&m_services.desk, &ReportDesk::runStarted, this, [this] { m_export->setEnabled(false); });
    connect(&m_services.desk, &ReportDesk::runEnded, this, [this] { m_export->setEnabled(m_rows.work() == ViewerRows::Work::None); });
    connect(&m_rows, &ViewerRows::workBegan, this, [this] { m_export->setEnabled(false); });
    connect(&m_rows, &ViewerRows::workEnded, this, [this] { m_export->setEnabled(!m_services.desk.isProducingRows()); });

    QAction *copy = bar->addAction(uiIcon("copy"), tr("Copy"));
    copy->setObjectName(QStringLiteral("copy"));
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    copy->setToolTip(tr("Copy the selected cells (Ctrl+C)"));
    m_table->addAction(copy);
    connect(copy, &QAction::triggered, this, [this] { copySelection(false); });
    QAction *details = bar->addAction(uiIcon("details"), tr("Details"));
    details->setObjectName(QStringLiteral("details"));
    details->setCheckable(true);
    details->setChecked(true);
    details->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_D));
    details->setToolTip(tr("Show the current row whole (Ctrl+D)"));
    connect(details, &QAction::toggled, this, [this](bool on) {
        m_details->setVisible(on);
        currentChanged();
    });

    const auto shortcut = [this](const QKeySequence &keys, const char *name, auto &&run) {
        auto action = new QAction(this);
        action->setObjectName(QLatin1String(name));
        action->setShortcut(keys);
        addAction(action);
        connect(action, &QAction::triggered, this, run);
    };
    shortcut(QKeySequence::Find, "find", [this] { m_search->focusText(); });
    shortcut(QKeySequence(Qt::Key_F3), "next", [this] { stepHit(1); });
    shortcut(QKeySequence(Qt::SHIFT | Qt::Key_F3), "previous", [this] { stepHit(-1); });
    shortcut(QKeySequence::Close, "close", [this] { close(); });
    shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Up), "sortAscending",
             [this] { m_rows.sortBy(m_table->currentIndex().column(), false); });
    shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Down), "sortDescending",
             [this] { m_rows.sortBy(m_table->currentIndex().column(), true); });
    shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C), "copyWithCaptions", [this] { copySelection(true); });
}

void frmReportViewer::buildStatus()
{
    m_rowCount = plainLabel({}, this);
    m_rowCount->setObjectName(QStringLiteral("rowCount"));
    statusBar()->addWidget(m_rowCount);
    for (const auto kind : {Fact::Kind::Source, Fact::Kind::Made})
        if (const QString words = factWords(m_report.head, kind); !words.isEmpty()) {
            auto label = plainLabel((kind == Fact::Kind::Source ? tr("Source: %1") : tr("Made: %1")).arg(words), this);
            label->setForegroundRole(QPalette::PlaceholderText);
            statusBar()->addWidget(label);
        }
    statusBar()->addPermanentWidget(new WorkBar(m_rows, this));
}

void frmReportViewer::restoreWidths()
{
    const auto settings = uiSettings();
    const QFontMetrics metrics(m_table->font());
    const int sampled = std::min(m_model->rowCount(), kSampledRows);
    for (int i = 0; i < m_model->columnCount(); ++i) {
        int natural = m_table->horizontalHeader()->sectionSizeHint(i) + 14;
        for (int row = 0; row < sampled; ++row)
            natural = std::max(natural, metrics.horizontalAdvance(m_model->index(row, i).data().toString().left(120)) + 14);
        const QString key = widthKey(m_queryFile, QString::fromStdString(m_report.shape.columns[static_cast<std::size_t>(i)].field));
        m_table->setColumnWidth(i, std::clamp(settings->value(key, std::min(natural, kWidestAtFirst)).toInt(), 32, 4000));
    }
    m_table->horizontalHeader()->setStretchLastSection(true);
}

void frmReportViewer::saveWidths() const
{
    const auto settings = uiSettings();
    settings->setValue(kSizeKey, size());
    for (int i = 0; m_model && i < m_model->columnCount(); ++i)
        settings->setValue(widthKey(m_queryFile, QString::fromStdString(m_report.shape.columns[static_cast<std::size_t>(i)].field)),
                           m_table->columnWidth(i));
}

void frmReportViewer::showRows()
{
    if (m_model->sharedOrder() != m_rows.order())
        showOrder();
    const SortKey sort = m_rows.sort();
    m_table->horizontalHeader()->setSortIndicator(sort.column, sort.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    m_delegate->setTerms(m_rows.terms());
    m_details->setTerms(m_rows.terms());
    currentChanged();
    m_table->viewport()->update();
    showRowCount();
    if (m_rows.hitCount() > 0 && !m_rows.isHit(m_table->currentIndex().row()))
        stepHit(1);
    showHitCount();
}

void frmReportViewer::showOrder()
{
    const QModelIndex current = m_table->currentIndex();
    const std::int64_t id = current.isValid() ? m_model->order().idAt(current.row()) : 0;
    const int column = std::max(current.column(), 0);
    m_model->setOrder(m_rows.order());
    for (std::int64_t at = 0; id > 0 && at < m_model->rowCount(); ++at) {
        if (m_model->order().idAt(at) == id) {
            const QModelIndex index = m_model->index(static_cast<int>(at), column);
            m_table->setCurrentIndex(index);
            m_table->scrollTo(index, QAbstractItemView::PositionAtCenter);
            break;
        }
    }
}

void frmReportViewer::stepHit(int direction)
{
    const std::int64_t at = m_rows.nextHit(m_table->currentIndex().row(), direction);
    if (at < 0)
        return;
    int column = std::max(m_table->currentIndex().column(), 0);
    const SearchTerms &terms = m_rows.terms();
    const auto letterCase = terms.matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    for (int i = 0; i < m_model->columnCount(); ++i) {
        if ((terms.column < 0 || terms.column == i) && m_model->fullText(static_cast<int>(at), i).contains(terms.text, letterCase)) {
            column = i;
            break;
        }
    }
    const QModelIndex index = m_model->index(static_cast<int>(at), column);
    m_table->setCurrentIndex(index);
    m_table->scrollTo(index);
    showHitCount();
}

void frmReportViewer::showHitCount()
{
    const int row = m_table->currentIndex().row();
    m_search->showCount(m_rows.hitCount(), m_rows.isHit(row) ? m_rows.hitsUpTo(row) : 0);
}

void frmReportViewer::showRowCount()
{
    const QLocale locale;
    const qint64 all = m_report.tail.rows, shown = m_rows.order()->size();
    QString text = all == 1 ? tr("1 row") : tr("%1 rows").arg(locale.toString(all));
    if (shown != all)
        text = tr("%1 of %2 rows").arg(locale.toString(shown), locale.toString(all));
    m_rowCount->setText(text);
    if (all == 0)
        m_empty->setText(factWords(m_report.head, Fact::Kind::Period).isEmpty()
                             ? tr("No rows")
                             : tr("No rows for this period") + u'\n' + factWords(m_report.head, Fact::Kind::Period));
    else if (shown == 0)
        m_empty->setText(tr("No row contains “%1”").arg(m_rows.terms().text));
    m_stack->setCurrentIndex(shown == 0 ? 1 : 0);
}

void frmReportViewer::currentChanged()
{
    if (m_details->isVisible() || !isVisible())
        m_details->showRow(*m_model, m_table->currentIndex().row(), m_table->currentIndex().column());
}

void frmReportViewer::copySelection(bool withCaptions)
{
    const QItemSelection selection = m_table->selectionModel()->selection();
    if (const qint64 cells = cellCount(selection); cells > kMaxCopiedCells)
        statusBar()->showMessage(tr("Too many cells to copy (%1). Export the report instead.").arg(QLocale().toString(cells)), 8000);
    else if (cells > 0)
        QApplication::clipboard()->setText(selectionText(*m_model, selection, withCaptions));
}

void frmReportViewer::chooseExport(ReportFormat format)
{
    if (m_rows.work() != ViewerRows::Work::None)
        return;
    QString name = QString::fromStdString(m_report.head.title);
    for (QChar &character : name)
        if (QStringLiteral("\\/:*?\"<>|").contains(character) || character.unicode() < 0x20)
            character = u'_';
    const QString suffix = formatWord(format);
    FileDialogRequest request;
    request.title = tr("Export report");
    request.fileName = name.left(100).trimmed() + u'.' + suffix;
    request.filter = QStringLiteral("%1 (*.%2)|*.%2").arg(formatLabel(format), suffix);
    request.defaultSuffix = suffix;
    request.remembered = QStringLiteral("export");
    const auto path = m_services.prompts.chooseSaveFile(request);
    if (!path || path->isEmpty())
        return;
    if (files::entryExists(*path)) {
        const int answer =
            m_services.prompts.messageBox(tr("\"%1\" exists. Replace it?").arg(*path), box::yesNo | box::question | box::defaultButton2,
                                          QString::fromLatin1(kApplicationTitle));
        if (answer != box::idYes)
            return;
    }
    exportTo(*path, format);
}

void frmReportViewer::exportTo(const QString &path, ReportFormat format)
{
    m_rows.exportTo({path, format, m_services.fontFolder, {}});
}

void frmReportViewer::showExported(const QString &path, qint64 rows)
{
    auto done =
        new frmReportDone(QString::fromStdString(m_report.head.title), path, rows, static_cast<quint64>(QFileInfo(path).size()), {});
    m_services.desk.addViewer(done);
    done->show();
}

void frmReportViewer::contextMenu(const QPoint &at)
{
    auto menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // The menu key asks in the middle of the table; what counts then is the current cell.
    const QModelIndex index = m_table->indexAt(at).isValid() ? m_table->indexAt(at) : m_table->currentIndex();
    connect(menu->addAction(uiIcon("copy"), tr("Copy")), &QAction::triggered, this, [this] { copySelection(false); });
    connect(menu->addAction(tr("Copy with captions")), &QAction::triggered, this, [this] { copySelection(true); });
    if (index.isValid()) {
        menu->addSeparator();
        const int column = index.column();
        connect(menu->addAction(uiIcon("up"), tr("Sort ascending by this column")), &QAction::triggered, this,
                [this, column] { m_rows.sortBy(column, false); });
        connect(menu->addAction(uiIcon("down"), tr("Sort descending by this column")), &QAction::triggered, this,
                [this, column] { m_rows.sortBy(column, true); });
        connect(menu->addAction(tr("Original order")), &QAction::triggered, this, [this] { m_rows.sortBy(-1, false); });
    }
    menu->popup(m_table->viewport()->mapToGlobal(at));
}

void frmReportViewer::closeEvent(QCloseEvent *event)
{
    if (m_rows.work() == ViewerRows::Work::Export) {
        const int answer =
            m_services.prompts.messageBox(tr("The export is not finished. Stop it and close this window?"),
                                          box::yesNo | box::question | box::defaultButton2, QString::fromLatin1(kApplicationTitle));
        if (answer != box::idYes) {
            event->ignore();
            return;
        }
    }
    QMainWindow::closeEvent(event);
}

} // namespace qm
