#include "catalogue/CatalogueList.h"

#include "catalogue/CatalogueKeys.h"
#include "core/RuntimeError.h"

#include <QTextDocument>

#include <algorithm>

namespace qm {

namespace {

constexpr ListColumn kPackageColumns[]{{QT_TRANSLATE_NOOP("qm::CatalogueList", "Report Groups"), 4500}};
constexpr ListColumn kGroupColumns[]{{QT_TRANSLATE_NOOP("qm::CatalogueList", "Query Description"), 3500},
                                     {QT_TRANSLATE_NOOP("qm::CatalogueList", "Query File"), 3500},
                                     {QT_TRANSLATE_NOOP("qm::CatalogueList", "Rpt File"), 2500},
                                     {QT_TRANSLATE_NOOP("qm::CatalogueList", "Output"), 2500}};
constexpr const char *kOutputTexts[]{"Screen", "Printer", "File", "Email"};

/// A tool tip that shows \p text as it stands, markup characters included.
QString plainToolTip(const QString &text)
{
    return Qt::mightBeRichText(text) ? QStringLiteral("<p style='white-space:pre'>%1</p>").arg(text.toHtmlEscaped()) : text;
}

} // namespace

std::span<const ListColumn> columnsOfLevel(QChar level)
{
    if (level == selection::package)
        return kPackageColumns;
    if (level == selection::group)
        return kGroupColumns;
    return {};
}

QString outputText(int outputType)
{
    const auto code = static_cast<std::size_t>(outputType);
    return code < std::size(kOutputTexts) ? QString::fromLatin1(kOutputTexts[code]) : QString();
}

CatalogueList::CatalogueList(ImageList images, QObject *parent)
    : QAbstractTableModel(parent), m_images(std::move(images)), m_groupPicture(m_images.value(QStringLiteral("ReportGroup"))),
      m_queryPicture(m_images.value(QStringLiteral("ReportQuery")))
{
}

void CatalogueList::setLevel(QChar level)
{
    beginResetModel();
    m_level = level;
    m_columns = columnsOfLevel(level);
    endResetModel();
}

void CatalogueList::clearRows()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
}

void CatalogueList::appendRows(std::vector<ListRow> rows)
{
    if (rows.empty())
        return;
    const int first = this->rows();
    beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
    if (m_rows.empty())
        m_rows = std::move(rows);
    else
        m_rows.insert(m_rows.end(), std::make_move_iterator(rows.begin()), std::make_move_iterator(rows.end()));
    endInsertRows();
}

void CatalogueList::renameRow(const QString &key, const QString &newKey, const QString &newText)
{
    for (int i = 0; i < rows(); ++i) {
        ListRow &row = m_rows[static_cast<std::size_t>(i)];
        if (row.key != key)
            continue;
        row.key = newKey;
        row.text = newText;
        Q_EMIT dataChanged(index(i, 0), index(i, columnCount() - 1));
    }
}

void CatalogueList::removeRow(const QString &key)
{
    const auto found = std::find_if(m_rows.begin(), m_rows.end(), [&](const ListRow &row) { return row.key == key; });
    if (found == m_rows.end())
        return;
    const int at = static_cast<int>(found - m_rows.begin());
    beginRemoveRows({}, at, at);
    m_rows.erase(found);
    endRemoveRows();
}

const ListRow &CatalogueList::row(int index) const
{
    if (index < 0 || index >= rows())
        raise(err::objectNotSet, QStringLiteral("no row of the list is selected"));
    return m_rows[static_cast<std::size_t>(index)];
}

int CatalogueList::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : rows();
}

int CatalogueList::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant CatalogueList::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const ListRow &row = m_rows[static_cast<std::size_t>(index.row())];
    const auto text = [&] { return index.column() == Text ? row.text : row.subItems[static_cast<std::size_t>(index.column() - 1)]; };
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return text();
    case Qt::ToolTipRole:
        return plainToolTip(text());
    case Qt::UserRole:
        return row.tag.isEmpty() ? QVariant() : row.tag;
    case Qt::DecorationRole:
        if (index.column() == Text)
            return isLevel(row.key, selection::query) ? m_queryPicture : m_groupPicture;
        return {};
    default:
        return {};
    }
}

Qt::ItemFlags CatalogueList::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    return index.column() == Text ? flags | Qt::ItemIsEditable : flags;
}

QVariant CatalogueList::headerData(int section, Qt::Orientation orientation, int role) const
{
    const auto column = static_cast<std::size_t>(section);
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && column < m_columns.size())
        return tr(m_columns[column].caption);
    return QAbstractTableModel::headerData(section, orientation, role);
}

} // namespace qm
