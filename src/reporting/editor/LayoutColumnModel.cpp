#include "reporting/editor/LayoutColumnModel.h"

#include "documents/CellFormat.h"
#include "framework/LayoutWords.h"
#include "reporting/common/VisibleText.h"
#include "reporting/editor/LayoutCellText.h"

#include <algorithm>

namespace qm {

QStringList columnFormats()
{
    QStringList formats{QString(), QStringLiteral("#,##0"), QStringLiteral("#,##0.00"), QStringLiteral("0")};
    for (const std::string_view name : formatNames())
        formats << QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    return formats;
}

void LayoutColumnModel::setColumns(const std::vector<LayoutColumn> &columns)
{
    beginResetModel();
    m_columns = columns;
    endResetModel();
}

void LayoutColumnModel::addFields(const QStringList &fields)
{
    for (const QString &field : fields) {
        const auto known = [&field](const LayoutColumn &column) { return column.field.compare(field, Qt::CaseInsensitive) == 0; };
        if (std::any_of(m_columns.begin(), m_columns.end(), known))
            continue;
        beginInsertRows({}, rowCount(), rowCount());
        m_columns.emplace_back();
        m_columns.back().field = field;
        endInsertRows();
    }
}

void LayoutColumnModel::add()
{
    beginInsertRows({}, rowCount(), rowCount());
    m_columns.emplace_back();
    endInsertRows();
}

void LayoutColumnModel::remove(int row)
{
    beginRemoveRows({}, row, row);
    m_columns.erase(m_columns.begin() + row);
    endRemoveRows();
}

int LayoutColumnModel::move(int row, int by)
{
    const int to = row + by;
    if (row < 0 || row >= rowCount() || to < 0 || to >= rowCount())
        return row;
    beginMoveRows({}, row, row, {}, by > 0 ? to + 1 : to);
    std::swap(m_columns[static_cast<std::size_t>(row)], m_columns[static_cast<std::size_t>(to)]);
    endMoveRows();
    return to;
}

int LayoutColumnModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

int LayoutColumnModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant LayoutColumnModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const LayoutColumn &column = m_columns[static_cast<std::size_t>(index.row())];
    if (role == Qt::CheckStateRole && index.column() == Visible)
        return column.visible ? Qt::Checked : Qt::Unchecked;
    if (role == Qt::CheckStateRole && index.column() == Wrap)
        return column.wrap ? Qt::Checked : Qt::Unchecked;
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return {};
    const bool shown = role == Qt::DisplayRole;
    switch (index.column()) {
    case Field:
        return shown ? visibleText(column.field) : column.field;
    case Caption:
        return shown ? visibleText(column.caption) : column.caption;
    case Width:
        return column.widthMm > 0 ? QString::number(column.widthMm) : shown ? tr("automatic") : QString();
    case Align:
        return alignmentWords().value(static_cast<int>(column.alignment));
    case Format:
        return column.format.isEmpty() && shown ? tr("automatic") : column.format;
    case Words:
        return shown ? visibleText(wordsText(column.words)) : wordsText(column.words);
    case Rules:
        return shown ? visibleText(rulesText(column.rules)) : rulesText(column.rules);
    case NullText:
        return shown ? visibleText(column.nullText) : column.nullText;
    default:
        return {};
    }
}

QVariant LayoutColumnModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::ToolTipRole && section == Words)
        return tr("What is shown in place of values: 2 = at the desk; 3 = over the network");
    if (role == Qt::ToolTipRole && section == Rules)
        return tr("Cells that stand out: >= 100: alarm; contains fail: warning; null: strong. The first that holds counts.");
    if (role == Qt::ToolTipRole && section == NullText)
        return tr("What is shown where the database has no value");
    if (role != Qt::DisplayRole)
        return {};
    return QStringList{tr("Column"), tr("Caption"), tr("Width (mm)"), tr("Alignment"), tr("Format"),
                       tr("Shown"),  tr("Wrap"),    tr("Words"),      tr("Rules"),     tr("Text for NULL")}
        .value(section);
}

Qt::ItemFlags LayoutColumnModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    const bool box = index.column() == Visible || index.column() == Wrap;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | (box ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
}

bool LayoutColumnModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return false;
    LayoutColumn &column = m_columns[static_cast<std::size_t>(index.row())];
    const QString text = value.toString();
    if (role == Qt::CheckStateRole) {
        (index.column() == Visible ? column.visible : column.wrap) = value.toInt() == Qt::Checked;
    } else if (role != Qt::EditRole) {
        return false;
    } else if (index.column() == Field) {
        column.field = text.trimmed();
    } else if (index.column() == Caption) {
        column.caption = text;
    } else if (index.column() == Width) {
        bool isNumber = false;
        const double width = QString(text).replace(u',', u'.').toDouble(&isNumber);
        if (!text.trimmed().isEmpty() && (!isNumber || width < 0 || width > 1000))
            return false;
        column.widthMm = isNumber ? width : 0;
    } else if (index.column() == Align) {
        column.alignment = static_cast<Alignment>(std::max<qsizetype>(0, alignmentWords().indexOf(text)));
    } else if (index.column() == Format) {
        column.format = text.trimmed();
    } else if (index.column() == Words) {
        column.words = readWords(text);
    } else if (index.column() == Rules) {
        column.rules = readRules(text);
    } else if (index.column() == NullText) {
        column.nullText = text;
    }
    Q_EMIT dataChanged(index, index);
    return true;
}

} // namespace qm
