#include "framework/UnknownWords.h"

#include "framework/toml/TomlRewrite.h"

#include <algorithm>
#include <vector>

namespace qm {

namespace {

constexpr qsizetype kLongestWord = 40; ///< longer ones are no slips of a word of ours
constexpr int kMostToldKeys = 20;

/// How many letters must be added, left out, exchanged or swapped with their neighbour to make \p b of \p a.
/// (Optimal string alignment distance.)
int slipsBetween(const QString &a, const QString &b)
{
    std::vector<std::vector<int>> rows(static_cast<std::size_t>(a.size()) + 1, std::vector<int>(static_cast<std::size_t>(b.size()) + 1));
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = 0; j < rows[i].size(); ++j) {
            if (i == 0 || j == 0) {
                rows[i][j] = static_cast<int>(i + j);
                continue;
            }
            const auto letter = [](const QString &text, std::size_t at) { return text[static_cast<qsizetype>(at) - 1]; };
            rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + (letter(a, i) == letter(b, j) ? 0 : 1)});
            if (i > 1 && j > 1 && letter(a, i) == letter(b, j - 1) && letter(a, i - 1) == letter(b, j))
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
        }
    return rows.back().back();
}

/// As a person would write it who is told about it.
QString tableName(const QString &path, bool isList)
{
    if (path.isEmpty())
        return QStringLiteral("here");
    return isList ? QStringLiteral("in [[%1]]").arg(path) : QStringLiteral("in [%1]").arg(path);
}

class Search final
{
public:
    QStringList told;

    void look(const TomlNode &table, const TomlSchema &schema, const QString &path, bool isList)
    {
        if (table.kind != TomlNode::Kind::Table)
            return;
        QStringList known = schema.keys;
        for (const auto &child : schema.children)
            known << child.first;
        for (const auto &[key, value] : table.members) {
            const auto child = schema.children.find(key);
            if (child != schema.children.end())
                lookBelow(value, child->second, path.isEmpty() ? key : path + u'.' + key);
            else if (!schema.anyKey && !schema.keys.contains(key) && !key.startsWith(QStringLiteral("x_")))
                tell(key, value.line, known, path, isList);
        }
    }

private:
    void lookBelow(const TomlNode &value, const TomlSchema &schema, const QString &path)
    {
        look(value, schema, path, false);
        for (const TomlNode &item : value.items)
            look(item, schema, path, true);
    }

    void tell(const QString &key, int line, const QStringList &known, const QString &path, bool isList)
    {
        if ((path.isEmpty() && nearestWord(key, known).isEmpty()) || told.size() > kMostToldKeys)
            return;
        told << (told.size() == kMostToldKeys ? QStringLiteral("There are further keys that are not known.")
                                              : QStringLiteral("Line %1: \"%2\" is not known %3 and has no effect%4")
                                                    .arg(QString::number(std::max(1, line)), key.left(kLongestWord),
                                                         tableName(path, isList), nearestAdvice(key, known)));
    }
};

} // namespace

QString nearestWord(const QString &word, const QStringList &words)
{
    const QString wanted = word.toLower().replace(u'-', u'_');
    QString nearest;
    int fewest = static_cast<int>(std::max<qsizetype>(1, wanted.size() / 3)) + 1;
    if (wanted.size() > kLongestWord)
        return nearest;
    for (const QString &candidate : words) {
        const int slips = slipsBetween(wanted, QString(candidate).toLower().replace(u'-', u'_'));
        if (slips < fewest && slips < candidate.size()) {
            fewest = slips;
            nearest = candidate;
        }
    }
    return nearest;
}

QString nearestAdvice(const QString &word, const QStringList &words)
{
    const QString nearest = nearestWord(word, words);
    if (!nearest.isEmpty())
        return QStringLiteral("; did you mean \"%1\"?").arg(nearest);
    QStringList offered = words;
    offered.removeAll(QString());
    return QStringLiteral("; known are %1.").arg(offered.join(QStringLiteral(", ")));
}

QStringList unknownKeys(const TomlNode &root, const TomlSchema &schema)
{
    Search search;
    search.look(root, schema, {}, false);
    return search.told;
}

} // namespace qm
