#include "framework/toml/TomlNode.h"

#include <cmath>

namespace qm {

TomlNode TomlNode::ofText(const QString &value)
{
    TomlNode node;
    node.kind = Kind::String;
    node.text = value;
    return node;
}

TomlNode TomlNode::ofInteger(qint64 value)
{
    TomlNode node;
    node.kind = Kind::Integer;
    node.integer = value;
    return node;
}

TomlNode TomlNode::ofNumber(double value)
{
    TomlNode node;
    node.kind = Kind::Float;
    node.number = value;
    return node;
}

TomlNode TomlNode::ofBoolean(bool value)
{
    TomlNode node;
    node.kind = Kind::Boolean;
    node.boolean = value;
    return node;
}

TomlNode TomlNode::ofTime(const QString &spelling)
{
    TomlNode node;
    node.kind = Kind::Time;
    node.text = spelling;
    return node;
}

TomlNode TomlNode::array()
{
    TomlNode node;
    node.kind = Kind::Array;
    return node;
}

const TomlNode *TomlNode::find(const QString &key) const
{
    for (const Member &member : members)
        if (member.first == key)
            return &member.second;
    return nullptr;
}

TomlNode &TomlNode::put(const QString &key, TomlNode value)
{
    return members.emplace_back(key, std::move(value)).second;
}

bool TomlNode::isTableArray() const
{
    if (kind != Kind::Array || items.empty())
        return false;
    for (const TomlNode &item : items)
        if (item.kind != Kind::Table)
            return false;
    return true;
}

QString TomlNode::kindText() const
{
    switch (kind) {
    case Kind::String:
        return QStringLiteral("a text");
    case Kind::Integer:
        return QStringLiteral("a whole number");
    case Kind::Float:
        return QStringLiteral("a number with a fraction");
    case Kind::Boolean:
        return QStringLiteral("true or false");
    case Kind::Time:
        return QStringLiteral("a date or time");
    case Kind::Array:
        return QStringLiteral("a list");
    case Kind::Table:
        break;
    }
    return QStringLiteral("a table");
}

bool operator==(const TomlNode &a, const TomlNode &b)
{
    if (a.kind != b.kind)
        return false;
    switch (a.kind) {
    case TomlNode::Kind::String:
    case TomlNode::Kind::Time:
        return a.text == b.text;
    case TomlNode::Kind::Integer:
        return a.integer == b.integer;
    case TomlNode::Kind::Float:
        return a.number == b.number || (std::isnan(a.number) && std::isnan(b.number));
    case TomlNode::Kind::Boolean:
        return a.boolean == b.boolean;
    case TomlNode::Kind::Array:
        return a.items == b.items;
    case TomlNode::Kind::Table:
        break;
    }
    if (a.members.size() != b.members.size())
        return false;
    for (const auto &[key, value] : a.members) {
        const TomlNode *const other = b.find(key);
        if (other == nullptr || !(*other == value))
            return false;
    }
    return true;
}

} // namespace qm
