#include "reporting/editor/ParameterTable.h"

#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"
#include "reporting/editor/ChoiceDelegate.h"

#include <QFont>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>

namespace qm {

QStringList parameterTypeWords()
{
    return {QStringLiteral("text"), QStringLiteral("integer"), QStringLiteral("number"), QStringLiteral("date"),
            QStringLiteral("time"), QStringLiteral("boolean"), QStringLiteral("list")};
}

void ParameterModel::setParameters(const std::vector<QueryParameter> &parameters)
{
    beginResetModel();
    m_rows.clear();
    for (const QueryParameter &parameter : parameters)
        m_rows.push_back({parameter, false});
    endResetModel();
}

std::vector<QueryParameter> ParameterModel::parameters() const
{
    std::vector<QueryParameter> parameters;
    for (const Row &row : m_rows)
        parameters.push_back(row.parameter);
    return parameters;
}

void ParameterModel::setNamesInSql(const QStringList &names)
{
    m_inSql = names;
    for (int row = static_cast<int>(m_rows.size()) - 1; row >= 0; --row)
        if (m_rows[static_cast<std::size_t>(row)].found && !isInSql(m_rows[static_cast<std::size_t>(row)].parameter.name))
            remove(row);
    for (const QString &name : names) {
        const auto known = [&name](const Row &row) { return row.parameter.name.compare(name, Qt::CaseInsensitive) == 0; };
        if (std::any_of(m_rows.begin(), m_rows.end(), known))
            continue;
        beginInsertRows({}, rowCount(), rowCount());
        Row row;
        row.parameter.name = name;
        row.found = true;
        m_rows.push_back(row);
        endInsertRows();
    }
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
}

void ParameterModel::add()
{
    beginInsertRows({}, rowCount(), rowCount());
    m_rows.emplace_back();
    endInsertRows();
}

void ParameterModel::remove(int row)
{
    beginRemoveRows({}, row, row);
    m_rows.erase(m_rows.begin() + row);
    endRemoveRows();
}

int ParameterModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int ParameterModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ParameterModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Row &row = m_rows[static_cast<std::size_t>(index.row())];
    const QueryParameter &parameter = row.parameter;
    if (role == Qt::CheckStateRole && index.column() == Asked)
        return parameter.hasDefault ? Qt::Unchecked : Qt::Checked;
    if (role == Qt::ToolTipRole && !isInSql(parameter.name))
        return tr("The SQL does not use this parameter.");
    if (role == Qt::FontRole && !isInSql(parameter.name)) {
        QFont font;
        font.setItalic(true);
        return font;
    }
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return {};
    const auto shown = [role](const QString &text) { return role == Qt::EditRole ? text : visibleText(text); };
    switch (index.column()) {
    case Name:
        return shown(parameter.name);
    case Label:
        return shown(parameter.label);
    case Type:
        return parameterTypeWords().value(static_cast<int>(parameter.type));
    case Default:
        return parameter.hasDefault ? shown(parameter.defaultValue) : QString();
    case Choices:
        return shown(parameter.values.join(QStringLiteral("; ")));
    default:
        return {};
    }
}

QVariant ParameterModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return QStringList{tr("Name"), tr("Label"), tr("Type"), tr("Always ask"), tr("Default"), tr("Choices (a; b; c)")}.value(section);
}

Qt::ItemFlags ParameterModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    const QueryParameter &parameter = m_rows[static_cast<std::size_t>(index.row())].parameter;
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    if (index.column() == Asked)
        flags |= Qt::ItemIsUserCheckable;
    else if (index.column() != Choices || parameter.type == ParameterType::List)
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool ParameterModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return false;
    Row &row = m_rows[static_cast<std::size_t>(index.row())];
    QueryParameter &parameter = row.parameter;
    if (role == Qt::CheckStateRole && index.column() == Asked) {
        parameter.hasDefault = value.toInt() != Qt::Checked;
        parameter.defaultValue = parameter.hasDefault ? parameter.defaultValue : QString();
    } else if (role != Qt::EditRole) {
        return false;
    } else if (index.column() == Name) {
        QString name = value.toString().trimmed();
        while (!name.isEmpty() && QStringLiteral(":@$").contains(name.front()))
            name.remove(0, 1);
        parameter.name = name;
    } else if (index.column() == Label) {
        parameter.label = value.toString();
    } else if (index.column() == Type) {
        parameter.type = static_cast<ParameterType>(std::max<qsizetype>(0, parameterTypeWords().indexOf(value.toString())));
    } else if (index.column() == Default) {
        if (!parameter.hasDefault && value.toString().isEmpty())
            return false;
        parameter.defaultValue = value.toString();
        parameter.hasDefault = true;
    } else if (index.column() == Choices) {
        parameter.values.clear();
        for (const QString &choice : value.toString().split(u';'))
            if (!choice.trimmed().isEmpty())
                parameter.values << choice.trimmed();
    }
    row.found = false;
    Q_EMIT dataChanged(this->index(index.row(), 0), this->index(index.row(), ColumnCount - 1));
    return true;
}

ParameterTable::ParameterTable(QWidget *parent) : QWidget(parent), m_model(new ParameterModel(this)), m_table(new QTableView(this))
{
    auto hint =
        new QLabel(tr("Parameters are written :name in the SQL and appear here by themselves. A period gives :date_from and :date_to. "
                      "A parameter that is always asked for has no default, so its report cannot be scheduled."),
                   this);
    hint->setTextFormat(Qt::PlainText);
    hint->setWordWrap(true);
    m_table->setModel(m_model);
    m_table->setObjectName(QStringLiteral("parameters"));
    m_table->setAccessibleName(tr("Parameters"));
    m_table->setItemDelegateForColumn(ParameterModel::Type, new ChoiceDelegate(parameterTypeWords(), false, m_table));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false); // Tab leads out of the table
    m_table->setEditTriggers(QAbstractItemView::AllEditTriggers);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setColumnWidth(ParameterModel::Name, 140);
    m_table->setColumnWidth(ParameterModel::Label, 200);
    m_table->setColumnWidth(ParameterModel::Default, 150);
    auto add = new QPushButton(uiIcon("add"), tr("&Add"), this);
    auto remove = new QPushButton(uiIcon("remove"), tr("&Remove"), this);
    connect(add, &QPushButton::clicked, this, [this] {
        m_model->add();
        const QModelIndex name = m_model->index(m_model->rowCount() - 1, ParameterModel::Name);
        m_table->setCurrentIndex(name);
        m_table->edit(name);
    });
    connect(remove, &QPushButton::clicked, this, [this] {
        if (m_table->currentIndex().isValid())
            m_model->remove(m_table->currentIndex().row());
    });
    auto buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch();
    auto layout = new QVBoxLayout(this);
    layout->addWidget(hint);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttons);
}

void ParameterTable::select(const QString &name)
{
    for (int row = 0; row < m_model->rowCount(); ++row)
        if (m_model->index(row, ParameterModel::Name).data(Qt::EditRole).toString() == name)
            m_table->setCurrentIndex(m_model->index(row, ParameterModel::Default));
}

} // namespace qm
