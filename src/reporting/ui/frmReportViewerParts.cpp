// How the viewer's window is put together, and what its commands do.
#include "reporting/ui/frmReportViewer.h"

#include "core/Prompts.h"
#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "reporting/ui/DetailPane.h"
#include "reporting/ui/Icons.h"
#include "reporting/ui/InputGate.h"
#include "reporting/ui/MatchDelegate.h"
#include "reporting/ui/NoticeStrip.h"
#include "reporting/ui/PackageReportInterface.h"
#include "reporting/ui/ReportDesk.h"
#include "reporting/ui/SearchBar.h"
#include "reporting/ui/SpoolModel.h"
#include "reporting/ui/UiSettings.h"
#include "reporting/ui/VisibleText.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QProgressBar>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <set>

namespace qm {

namespace {

constexpr qint64 kMaxCopiedCells = 5'000'000;
const QString kSizeKey = QStringLiteral("viewer/size");
constexpr int kSampledRows = 100;   ///< rows that the first column widths are taken from
constexpr int kWidestAtFirst = 320; ///< pixels

QLabel *plainLabel(const QString &text, QWidget *parent = nullptr)
{
    auto label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    return label;
}

QString quotedForTable(const QString &text)
{
    if (!text.contains(u'\t') && !text.contains(u'\n') && !text.contains(u'\r') && !text.startsWith(u'"'))
        return text;
    QString quoted = text;
    quoted.replace(u'"', QStringLiteral("\"\""));
    return u'"' + quoted + u'"';
}

} // namespace

frmReportViewer::frmReportViewer(ReportingUiServices &services, SpooledReport report, const QString &queryFile, const QString &note)
    : m_services(services), m_report(std::move(report)), m_queryFile(queryFile), m_note(note)
{
    setObjectName(QStringLiteral("frmReportViewer"));
    setAttribute(Qt::WA_DeleteOnClose);
    setProperty(InputGate::kAlwaysOpen, true);
    const QString title = visibleText(QString::fromStdString(m_report.head.title));
    setWindowTitle(title + QStringLiteral("[*] \u2013 ") + tr("Report"));
    setWindowIcon(uiIcon("report"));
    m_have.sorted = m_have.shown = RowOrder::original(m_report.tail.rows);

    auto central = new QWidget(this);
    auto layout = new QVBoxLayout(central);
    layout->setContentsMargins(12, 10, 12, 6);
    layout->setSpacing(8);
    m_search = new SearchBar(m_report.columns, central);
    buildHeading(central);
    layout->addWidget(m_search);
    buildTable();
    auto split = new QSplitter(Qt::Vertical, central);
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
    split->setStretchFactor(0, 1);
    split->setCollapsible(0, false);
    split->setSizes({560, 160});
    layout->addWidget(split, 1);
    setCentralWidget(central);

    buildActions();
    buildStatus();
    restoreWidths();
    connect(m_search, &SearchBar::termsChanged, this, &frmReportViewer::search);
    connect(m_search, &SearchBar::onlyMatchesChanged, this, &frmReportViewer::search);
    connect(m_search, &SearchBar::step, this, &frmReportViewer::stepHit);
    m_details->setVisible(m_report.tail.rows > 0);
    resize(uiSettings()->value(kSizeKey, QSize(1100, 740)).toSize());
    showRowCount();
    if (m_report.tail.rows > 0)
        m_table->setCurrentIndex(m_model->index(0, 0));
    m_table->setFocus();
}

QString frmReportViewer::headFact(const char *name) const
{
    for (const auto &[fact, words] : m_report.head.facts)
        if (fact == name)
            return visibleText(QString::fromStdString(words));
    return {};
}

void frmReportViewer::buildHeading(QWidget *into)
{
    auto layout = static_cast<QVBoxLayout *>(into->layout());
    auto title = plainLabel(visibleText(QString::fromStdString(m_report.head.title)), into);
    title->setObjectName(QStringLiteral("reportTitle"));
    title->setWordWrap(true);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.35);
    font.setWeight(QFont::DemiBold);
    title->setFont(font);
    layout->addWidget(title);
    QStringList below;
    if (!m_report.head.subtitle.empty())
        below << visibleText(QString::fromStdString(m_report.head.subtitle));
    // The rest stands in the status line, or is known to whoever opened the report.
    static const std::set<std::string> elsewhere{"Package", "Report group", "Query", "Source", "Made"};
    for (const auto &[fact, words] : m_report.head.facts) {
        const QString text = visibleText(QString::fromStdString(words));
        if (fact == "Times")
            below << text;
        else if (!elsewhere.contains(fact) && !text.isEmpty())
            below << visibleText(QString::fromStdString(fact)) + QStringLiteral(": ") + text;
    }
    if (!below.isEmpty()) {
        auto facts = plainLabel(below.join(QStringLiteral("  ·  ")), into);
        facts->setObjectName(QStringLiteral("reportFacts"));
        facts->setWordWrap(true);
        facts->setForegroundRole(QPalette::PlaceholderText);
        layout->addWidget(facts);
    }
    QString warning = m_note;
    if (m_report.tail.truncated) {
        const QString cut = tr("Cut off: the report holds only the first %1 rows, as the query's row limit says.")
                                .arg(QLocale().toString(m_report.tail.rows));
        warning = warning.isEmpty() ? cut : cut + u'\n' + warning;
    }
    auto strip = new NoticeStrip("reportWarning", into);
    strip->show(warning);
    layout->addWidget(strip);
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
    connect(header, &QHeaderView::sectionClicked, this, &frmReportViewer::headerClicked);
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
    static constexpr std::pair<const char *, const char *> formats[] = {
        {"pdf", "PDF document…"}, {"xlsx", "Excel workbook…"}, {"html", "HTML page…"}, {"csv", "CSV file…"}};
    for (const auto &[format, label] : formats) {
        QAction *action = menu->addAction(tr(label));
        action->setObjectName(QStringLiteral("export_") + QLatin1String(format));
        connect(action, &QAction::triggered, this, [this, name = QString::fromLatin1(format)] { chooseExport(name); });
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
    connect(&m_services.desk, &ReportDesk::runEnded, this, [this] { m_export->setEnabled(!m_task); });

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
    shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Up), "sortAscending", [this] { sortBy(m_table->currentIndex().column(), false); });
    shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Down), "sortDescending",
             [this] { sortBy(m_table->currentIndex().column(), true); });
    shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C), "copyWithCaptions", [this] { copySelection(true); });
}

void frmReportViewer::buildStatus()
{
    m_rows = plainLabel({}, this);
    m_rows->setObjectName(QStringLiteral("rowCount"));
    m_work = plainLabel({}, this);
    m_bar = new QProgressBar(this);
    m_bar->setTextVisible(false);
    m_bar->setFixedWidth(160);
    m_stop = new QToolButton(this);
    m_stop->setIcon(uiIcon("cancel"));
    m_stop->setText(tr("Cancel"));
    m_stop->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_stop->setAutoRaise(true);
    m_stop->setObjectName(QStringLiteral("stop"));
    m_stop->setFocusPolicy(Qt::TabFocus);
    connect(m_stop, &QToolButton::clicked, this, &frmReportViewer::stopWork);
    m_tick = new QTimer(this);
    m_tick->setInterval(150);
    connect(m_tick, &QTimer::timeout, this, [this] {
        m_bar->setValue(static_cast<int>(std::min<qint64>(m_progress.load(std::memory_order_relaxed), m_bar->maximum())));
        for (QWidget *widget : std::initializer_list<QWidget *>{m_work, m_bar, m_stop})
            widget->show();
    });
    statusBar()->addWidget(m_rows);
    for (const char *name : {"Source", "Made"})
        if (const QString words = headFact(name); !words.isEmpty()) {
            auto label = plainLabel(QLatin1String(name) + QStringLiteral(": ") + words, this);
            label->setForegroundRole(QPalette::PlaceholderText);
            statusBar()->addWidget(label);
        }
    for (QWidget *widget : std::initializer_list<QWidget *>{m_work, m_bar, m_stop}) {
        statusBar()->addPermanentWidget(widget);
        widget->hide();
    }
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
        const QString key = widthKey(m_queryFile, QString::fromStdString(m_report.columns[static_cast<std::size_t>(i)].field));
        m_table->setColumnWidth(i, std::clamp(settings->value(key, std::min(natural, kWidestAtFirst)).toInt(), 32, 4000));
    }
    m_table->horizontalHeader()->setStretchLastSection(true);
}

void frmReportViewer::saveWidths() const
{
    const auto settings = uiSettings();
    settings->setValue(kSizeKey, size());
    for (int i = 0; m_model && i < m_model->columnCount(); ++i)
        settings->setValue(widthKey(m_queryFile, QString::fromStdString(m_report.columns[static_cast<std::size_t>(i)].field)),
                           m_table->columnWidth(i));
}

void frmReportViewer::currentChanged()
{
    if (m_details->isVisible() || !isVisible())
        m_details->showRow(*m_model, m_table->currentIndex().row(), m_table->currentIndex().column());
}

QString frmReportViewer::selectionText(bool withCaptions)
{
    const QItemSelection selection = m_table->selectionModel()->selection();
    std::set<int> rows, columns;
    qint64 cells = 0;
    for (const QItemSelectionRange &range : selection)
        cells += qint64{range.height()} * range.width();
    if (cells > kMaxCopiedCells) {
        statusBar()->showMessage(tr("Too many cells to copy (%1). Export the report instead.").arg(QLocale().toString(cells)), 8000);
        return {};
    }
    for (const QItemSelectionRange &range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.insert(rows.end(), row);
        for (int column = range.left(); column <= range.right(); ++column)
            columns.insert(column);
    }
    QString text;
    const auto addLine = [&text, &columns](auto &&cell) {
        for (auto column = columns.begin(); column != columns.end(); ++column)
            text += (column == columns.begin() ? QString() : QStringLiteral("\t")) + quotedForTable(cell(*column));
        text += u'\n';
    };
    if (withCaptions)
        addLine([this](int column) { return QString::fromStdString(m_report.columns[static_cast<std::size_t>(column)].caption); });
    const bool oneBlock = selection.size() == 1;
    for (const int row : rows)
        addLine([this, row, oneBlock](int column) {
            return oneBlock || m_table->selectionModel()->isSelected(m_model->index(row, column)) ? m_model->fullText(row, column)
                                                                                                  : QString();
        });
    // One cell is copied as it is, ready for a search field.
    if (!withCaptions && cells == 1)
        return m_model->fullText(*rows.begin(), *columns.begin());
    return text;
}

void frmReportViewer::copySelection(bool withCaptions)
{
    const QString text = selectionText(withCaptions);
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text);
}

void frmReportViewer::chooseExport(const QString &format)
{
    static const QMap<QString, QString> labels{{QStringLiteral("pdf"), tr("PDF document")},
                                               {QStringLiteral("xlsx"), tr("Excel workbook")},
                                               {QStringLiteral("html"), tr("HTML page")},
                                               {QStringLiteral("csv"), tr("CSV file")}};
    if (m_task)
        return;
    QString name = QString::fromStdString(m_report.head.title);
    for (QChar &character : name)
        if (QStringLiteral("\\/:*?\"<>|").contains(character) || character.unicode() < 0x20)
            character = u'_';
    FileDialogRequest request;
    request.title = tr("Export report");
    request.fileName = name.left(100).trimmed() + u'.' + format;
    request.filter = QStringLiteral("%1 (*.%2)|*.%2").arg(labels.value(format), format);
    request.defaultSuffix = format;
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
                [this, column] { sortBy(column, false); });
        connect(menu->addAction(uiIcon("down"), tr("Sort descending by this column")), &QAction::triggered, this,
                [this, column] { sortBy(column, true); });
        connect(menu->addAction(tr("Original order")), &QAction::triggered, this, [this] { sortBy(-1, false); });
    }
    menu->popup(m_table->viewport()->mapToGlobal(at));
}

} // namespace qm
