#include "framework/toml/TomlRewrite.h"

#include "core/RuntimeError.h"
#include "framework/toml/TomlText.h"

#include <algorithm>
#include <cmath>

namespace qm {
namespace {

struct Edit
{
    qsizetype begin;
    qsizetype end;
    QByteArray text;
};

bool collectEdits(const TomlNode *place, const TomlNode &before, const TomlNode &after, std::vector<Edit> &edits)
{
    if (before == after)
        return true;
    if (place == nullptr || before.kind != after.kind)
        return false;
    if (before.kind == TomlNode::Kind::Table) {
        if (before.members.size() != after.members.size())
            return false;
        for (const auto &[key, value] : before.members) {
            const TomlNode *const changed = after.find(key);
            if (changed == nullptr || !collectEdits(place->find(key), value, *changed, edits))
                return false;
        }
        return true;
    }
    if (before.isTableArray()) {
        if (!after.isTableArray() || before.items.size() != after.items.size() || place->items.size() != before.items.size())
            return false;
        for (std::size_t i = 0; i < before.items.size(); ++i)
            if (!collectEdits(&place->items[i], before.items[i], after.items[i], edits))
                return false;
        return true;
    }
    if (place->begin < 0 || place->end <= place->begin)
        return false;
    Edit edit{place->begin, place->end, {}};
    toml_text::appendValue(edit.text, after);
    edits.push_back(std::move(edit));
    return true;
}

/// The table of \p candidates that \p target continues: the one of the same identity, else the one at the same place of a list as long.
const TomlNode *predecessor(const TomlNode &target, std::size_t index, const std::vector<TomlNode> &targets,
                            const std::vector<TomlNode> &candidates, const QStringList &identity)
{
    const auto same = [&identity](const TomlNode &a, const TomlNode &b) {
        return std::all_of(identity.begin(), identity.end(), [&](const QString &key) {
            const TomlNode *const left = a.find(key);
            const TomlNode *const right = b.find(key);
            return left == nullptr ? right == nullptr : right != nullptr && *left == *right;
        });
    };
    for (const TomlNode &candidate : candidates)
        if (same(target, candidate))
            return &candidate;
    if (targets.size() != candidates.size())
        return nullptr;
    const TomlNode &candidate = candidates[index];
    const bool taken = std::any_of(targets.begin(), targets.end(), [&](const TomlNode &other) { return same(other, candidate); });
    return taken ? nullptr : &candidate;
}

} // namespace

void TableWriter::put(const char *key, TomlNode value, bool isDefault)
{
    const QString name = QString::fromLatin1(key);
    if (!isDefault || (m_original != nullptr && m_original->find(name) != nullptr))
        m_table.put(name, std::move(value));
}

void TableWriter::text(const char *key, const QString &value, const QString &otherwise)
{
    put(key, TomlNode::ofText(value), value == otherwise);
}

void TableWriter::texts(const char *key, const QStringList &values)
{
    TomlNode list = TomlNode::array();
    for (const QString &value : values)
        list.items.push_back(TomlNode::ofText(value));
    put(key, std::move(list), values.isEmpty());
}

void TableWriter::integer(const char *key, qint64 value, qint64 otherwise)
{
    put(key, TomlNode::ofInteger(value), value == otherwise);
}

void TableWriter::number(const char *key, double value, double otherwise)
{
    const bool isWhole = std::abs(value) < 1e15 && std::trunc(value) == value;
    put(key, isWhole ? TomlNode::ofInteger(static_cast<qint64>(value)) : TomlNode::ofNumber(value), value == otherwise);
}

void TableWriter::boolean(const char *key, bool value, bool otherwise)
{
    put(key, TomlNode::ofBoolean(value), value == otherwise);
}

void TableWriter::always(const char *key, TomlNode value)
{
    put(key, std::move(value), false);
}

void keepUnknown(TomlNode &target, const TomlNode &original, const TomlSchema &schema)
{
    if (target.kind != TomlNode::Kind::Table || original.kind != TomlNode::Kind::Table)
        return;
    for (auto &[key, value] : target.members) {
        const TomlNode *const old = original.find(key);
        const auto child = schema.children.find(key);
        if (old == nullptr || child == schema.children.end())
            continue;
        if (value.kind == TomlNode::Kind::Table) {
            keepUnknown(value, *old, child->second);
            continue;
        }
        for (std::size_t i = 0; i < value.items.size(); ++i)
            if (const TomlNode *const from = predecessor(value.items[i], i, value.items, old->items, child->second.identity))
                keepUnknown(value.items[i], *from, child->second);
    }
    if (schema.anyKey)
        return;
    for (const auto &[key, value] : original.members) {
        if (target.find(key) != nullptr)
            continue;
        const auto child = schema.children.find(key);
        if (!schema.keys.contains(key) && child == schema.children.end()) {
            target.put(key, value);
        } else if (child != schema.children.end() && value.kind == TomlNode::Kind::Table && !child->second.goesWhole) {
            TomlNode rest; // a table that is not needed any more stays for the sake of the keys in it that are not ours
            keepUnknown(rest, value, child->second);
            if (!rest.members.empty())
                target.put(key, std::move(rest));
        }
    }
}

std::optional<QByteArray> spliceChanges(const QByteArray &text, const TomlNode &tree, const TomlNode &before, const TomlNode &after)
{
    std::vector<Edit> edits;
    if (!collectEdits(&tree, before, after, edits))
        return std::nullopt;
    std::sort(edits.begin(), edits.end(), [](const Edit &a, const Edit &b) { return a.begin > b.begin; });
    const bool windowsLines = text.contains("\r\n");
    QByteArray result = text;
    for (Edit &edit : edits) {
        if (windowsLines)
            edit.text.replace("\n", "\r\n");
        result.replace(edit.begin, edit.end - edit.begin, edit.text);
    }
    return result;
}

QStringList wordList(std::initializer_list<const char *> words)
{
    QStringList result;
    for (const char *const word : words)
        result.append(QString::fromLatin1(word));
    return result;
}

const TomlNode *childOf(const TomlNode *table, const char *key)
{
    return table != nullptr ? table->find(QString::fromLatin1(key)) : nullptr;
}

QByteArray rewrite(const QByteArray &oldText, const TomlNode &oldTree, const TomlNode &after, const QString &path,
                   const std::function<TomlNode(const QByteArray &)> &treeOf)
{
    try {
        if (!oldText.isEmpty()) {
            const std::optional<QByteArray> spliced = spliceChanges(oldText, oldTree, treeOf(oldText), after);
            if (spliced && treeOf(*spliced) == after)
                return *spliced;
        }
        QByteArray text = toml_text::document(after);
        if (treeOf(text) == after)
            return text;
    } catch (const RuntimeError &error) {
        raise(err::invalidProcedureCall, QStringLiteral("%1 was not written: %2").arg(path, error.description()), kFrameworkSource);
    }
    raise(err::invalidProcedureCall, QStringLiteral("%1 was not written: one of the values cannot be kept in a file.").arg(path),
          kFrameworkSource);
}

} // namespace qm
