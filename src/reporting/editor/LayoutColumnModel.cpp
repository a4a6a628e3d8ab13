#include "reporting/editor/LayoutColumnModel.h"

#include "core/RuntimeError.h"
#include "framework/LayoutWords.h"
#include "reporting/common/VisibleText.h"

#include <QRegularExpression>

#include <algorithm>

namespace qm {

QStringList columnFormats()
{
    return {QString(),
            QStringLiteral("#,##0"),
            QStringLiteral("#,##0.00"),
            QStringLiteral("0"),
            QStringLiteral("percent"),
            QStringLiteral("bytes"),
            QStringLiteral("date"),
            QStringLiteral("time"),
            QStringLiteral("datetime"),
            QStringLiteral("datetime-ms"),
            QStringLiteral("boolean")};
}

QString aggregatesText(const std::vector<LayoutAggregate> &aggregates)
{
    QStringList parts;
    for (const LayoutAggregate &aggregate : aggregates) {
        QString part = aggregateWords().value(static_cast<int>(aggregate.function));
        if (!aggregate.field.isEmpty())
            part += u'(' + aggregate.field + u')';
        if (!aggregate.caption.isEmpty())
            part += QStringLiteral(" as ") + aggregate.caption;
        parts << part;
    }
    return parts.join(QStringLiteral("; "));
}

std::vector<LayoutAggregate> readAggregates(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^(%1)\\s*(?:\\(\\s*([^)]*?)\\s*\\))?(?:\\s+as\\s+(.+))?$").arg(aggregateWords().join(u'|')),
        QRegularExpression::CaseInsensitiveOption);
    std::vector<LayoutAggregate> aggregates;
    for (const QString &part : text.split(u';')) {
        if (part.trimmed().isEmpty())
            continue;
        const auto match = form.match(part.trimmed());
        LayoutAggregate aggregate;
        if (match.hasMatch()) {
            aggregate.function = static_cast<Aggregate>(aggregateWords().indexOf(match.captured(1).toLower()));
            aggregate.field = match.captured(2);
            aggregate.caption = match.captured(3).trimmed();
        }
        if (!match.hasMatch() || (aggregate.field.isEmpty() && aggregate.function != Aggregate::Count))
            raise(err::reportFailed,
                  QStringLiteral("\"%1\" is no total. Write count, or sum, average, minimum or maximum with a column in brackets: "
                                 "sum(attempts); count; maximum(size) as Largest")
                      .arg(part.trimmed()),
                  kFrameworkSource);
        aggregates.push_back(aggregate);
    }
    return aggregates;
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
    default:
        return {};
    }
}

QVariant LayoutColumnModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return QStringList{tr("Column"), tr("Caption"), tr("Width (mm)"), tr("Alignment"), tr("Format"), tr("Shown"), tr("Wrap")}.value(
        section);
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
    }
    Q_EMIT dataChanged(index, index);
    return true;
}

} // namespace qm
