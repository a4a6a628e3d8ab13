#include "reporting/viewer/SpoolModel.h"

#include "documents/Palette.h"
#include "reporting/common/VisibleText.h"

#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <limits>

namespace qm {

namespace {
constexpr int kRowsPerPage = 128;
constexpr int kPages = 64;
constexpr QRgb kWarningOnDark = 0xFFC2AD, kAlarmOnDark = 0xFF9849;
} // namespace

struct SpoolModel::Page
{
    QVector<QString> cells;
    QVector<Emphasis> emphasis; ///< of the cells
};

namespace {

/// Bold always, so that nothing is told by its colour alone.
QVariant standingOut(Emphasis emphasis, int role)
{
    if (emphasis == Emphasis::None)
        return {};
    if (role == Qt::FontRole) {
        QFont font;
        font.setBold(true);
        return font;
    }
    const QPalette colours = QGuiApplication::palette();
    const bool dark = colours.color(QPalette::Base).lightness() < colours.color(QPalette::Text).lightness();
    switch (emphasis) {
    case Emphasis::Warning:
        return QColor::fromRgb(dark ? kWarningOnDark : palette::kNotice);
    case Emphasis::Alarm:
        return QColor::fromRgb(dark ? kAlarmOnDark : palette::kAlarm);
    default:
        return {};
    }
}

} // namespace

SpoolModel::SpoolModel(const SpooledReport &report, QObject *parent)
    : QAbstractTableModel(parent), m_report(report), m_order(RowOrder::original(report.tail.rows)),
      m_reader(report.spool->front(), report.shape.columns.size()), m_pages(kPages)
{
    for (const ReportColumn &column : report.shownColumns())
        m_formats.emplace_back(column);
}

SpoolModel::~SpoolModel() = default;

void SpoolModel::setOrder(std::shared_ptr<const RowOrder> order)
{
    beginResetModel();
    m_order = std::move(order);
    m_pages.clear();
    endResetModel();
}

int SpoolModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    return static_cast<int>(std::min<std::int64_t>(m_order->size(), std::numeric_limits<int>::max() - 1));
}

int SpoolModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_formats.size());
}

QString SpoolModel::formatted(std::size_t column, const Value &value) const
{
    std::string text;
    m_formats[column].append(value, text);
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

const SpoolModel::Page &SpoolModel::pageOf(int row) const
{
    const int number = row / kRowsPerPage;
    const int columns = columnCount();
    Page *page = m_pages.object(number);
    if (!page) {
        page = new Page;
        const int first = number * kRowsPerPage;
        const int end = std::min(first + kRowsPerPage, rowCount());
        page->cells.resize((end - first) * columns);
        page->emphasis.fill(Emphasis::None, page->cells.size());
        for (int at = first; at < end; ++at) {
            const auto values = m_reader.row(m_order->idAt(at));
            for (std::size_t i = 0; i < std::min(values.size(), m_formats.size()); ++i) {
                QString text = formatted(i, values[i]);
                if (m_formats[i].hasRules())
                    page->emphasis[(at - first) * columns + static_cast<int>(i)] = m_formats[i].emphasisOf(values[i]);
                if (text.size() > kShownInGrid) {
                    text.truncate(kShownInGrid - (text[kShownInGrid - 1].isHighSurrogate() ? 1 : 0));
                    text += QChar(u'\u2026');
                }
                page->cells[(at - first) * columns + static_cast<int>(i)] = visibleText(text);
            }
        }
        m_pages.insert(number, page);
    }
    return *page;
}

const QString &SpoolModel::shownCell(int row, int column) const
{
    return pageOf(row).cells.at((row % kRowsPerPage) * columnCount() + column);
}

QString SpoolModel::fullText(int row, int column) const
{
    const auto values = m_reader.row(m_order->idAt(row));
    return values.empty() ? QString() : formatted(static_cast<std::size_t>(column), values[static_cast<std::size_t>(column)]);
}

bool SpoolModel::isNull(int row, int column) const
{
    const auto values = m_reader.row(m_order->idAt(row));
    return values.empty() || values[static_cast<std::size_t>(column)].isNull();
}

QString SpoolModel::caption(int column) const
{
    return QString::fromStdString(m_report.shape.columns[static_cast<std::size_t>(column)].caption);
}

QVariant SpoolModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::DisplayRole)
        return shownCell(index.row(), index.column());
    if ((role == Qt::FontRole || role == Qt::ForegroundRole) && m_formats[static_cast<std::size_t>(index.column())].hasRules())
        return standingOut(pageOf(index.row()).emphasis.at((index.row() % kRowsPerPage) * columnCount() + index.column()), role);
    if (role == Qt::TextAlignmentRole) {
        switch (m_report.shape.columns[static_cast<std::size_t>(index.column())].alignment) {
        case CellAlignment::Right:
            return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter | Qt::AlignAbsolute));
        case CellAlignment::Centre:
            return QVariant::fromValue(Qt::Alignment(Qt::AlignCenter));
        case CellAlignment::Left:
            return QVariant::fromValue(Qt::Alignment(Qt::AlignLeft | Qt::AlignVCenter | Qt::AlignAbsolute));
        }
    }
    return {};
}

QVariant SpoolModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Vertical)
        return role == Qt::DisplayRole ? QVariant(QString::number(qint64{section} + 1)) : QVariant();
    if (section < 0 || section >= columnCount())
        return {};
    const ReportColumn &column = m_report.shape.columns[static_cast<std::size_t>(section)];
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
        return visibleText(QString::fromStdString(column.caption));
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(
            Qt::Alignment((column.alignment == CellAlignment::Right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter));
    return {};
}

} // namespace qm
