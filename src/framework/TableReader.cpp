#include "framework/TableReader.h"

#include "core/RuntimeError.h"
#include "framework/UnknownWords.h"

namespace qm {
namespace {

QString nameOf(const char *key)
{
    return u'"' + QString::fromLatin1(key) + u'"';
}

} // namespace

const TomlNode *TableReader::find(const char *key) const
{
    const QLatin1String wanted(key);
    for (const TomlNode::Member &member : m_table.members)
        if (member.first == wanted)
            return &member.second;
    return nullptr;
}

void TableReader::failAt(int line, const QString &what) const
{
    raise(err::invalidFileFormat, QStringLiteral("%1, line %2: %3").arg(m_path, QString::number(qMax(1, line)), what), kFrameworkSource);
}

void TableReader::fail(const char *key, const QString &what) const
{
    const TomlNode *const node = find(key);
    failAt(node != nullptr ? node->line : m_table.line, what);
}

void TableReader::wrongKind(const char *key, const TomlNode &found, const char *expected) const
{
    failAt(found.line, QStringLiteral("%1 must be %2, not %3. Correct the line in a text editor.")
                           .arg(nameOf(key), QString::fromLatin1(expected), found.kindText()));
}

QString TableReader::text(const char *key, const QString &otherwise) const
{
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return otherwise;
    if (node->kind != TomlNode::Kind::String)
        wrongKind(key, *node, "a text in quotes");
    return node->text;
}

QString TableReader::requiredText(const char *key) const
{
    if (!has(key))
        fail(key, QStringLiteral("%1 is missing. Add a line %2 = \"...\"%3.").arg(nameOf(key), QString::fromLatin1(key), misspelling(key)));
    return text(key);
}

QStringList TableReader::texts(const char *key) const
{
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return {};
    if (node->kind != TomlNode::Kind::Array)
        wrongKind(key, *node, "a list of texts such as [\"a\", \"b\"]");
    QStringList result;
    for (const TomlNode &item : node->items) {
        if (item.kind != TomlNode::Kind::String)
            wrongKind(key, item, "a list of texts such as [\"a\", \"b\"]");
        result.append(item.text);
    }
    return result;
}

QString TableReader::misspelling(const char *key) const
{
    QStringList keys;
    for (const TomlNode::Member &member : m_table.members)
        keys << member.first;
    const QString near = nearestWord(QString::fromLatin1(key), keys);
    return near.isEmpty() ? QString() : QStringLiteral(", or correct \"%1\" if that is what is meant").arg(near);
}

bool TableReader::boolean(const char *key, bool otherwise) const
{
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return otherwise;
    if (node->kind != TomlNode::Kind::Boolean)
        wrongKind(key, *node, "true or false (without quotes)");
    return node->boolean;
}

qint64 TableReader::integer(const char *key, qint64 otherwise, qint64 least, qint64 most) const
{
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return otherwise;
    if (node->kind != TomlNode::Kind::Integer)
        wrongKind(key, *node, "a whole number (without quotes)");
    if (node->integer < least || node->integer > most)
        failAt(node->line, QStringLiteral("%1 must be between %2 and %3, not %4. Correct the line in a text editor.")
                               .arg(nameOf(key), QString::number(least), QString::number(most), QString::number(node->integer)));
    return node->integer;
}

double TableReader::number(const char *key, double otherwise, double least, double most) const
{
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return otherwise;
    if (node->kind != TomlNode::Kind::Float && node->kind != TomlNode::Kind::Integer)
        wrongKind(key, *node, "a number (without quotes)");
    const double value = node->kind == TomlNode::Kind::Integer ? static_cast<double>(node->integer) : node->number;
    if (!(value >= least && value <= most)) // also refuses "nan"
        failAt(node->line, QStringLiteral("%1 must be between %2 and %3. Correct the line in a text editor.")
                               .arg(nameOf(key), QString::number(least), QString::number(most)));
    return value;
}

WallTime TableReader::requiredLocalTime(const char *key) const
{
    const TomlNode *const node = find(key);
    if (node == nullptr)
        fail(key, QStringLiteral("%1 is missing. Add a line such as %2 = 2026-11-21T14:05:00.").arg(nameOf(key), QString::fromLatin1(key)));
    if (node->kind != TomlNode::Kind::Time)
        wrongKind(key, *node, "a date and time such as 2026-11-21T14:05:00 (without quotes)");
    const std::optional<WallTime> time = localTimeOf(node->text);
    if (!time)
        failAt(node->line, QStringLiteral("%1 must be a local date and time such as 2026-11-21T14:05:00, without fractions of a second "
                                          "and without a time zone, not %2. Correct the line in a text editor.")
                               .arg(nameOf(key), node->text));
    return *time;
}

int TableReader::word(const char *key, int otherwise, const QStringList &words) const
{
    if (!has(key))
        return otherwise;
    const QString found = text(key);
    for (int i = 0; i < words.size(); ++i)
        if (words[i].compare(found, Qt::CaseInsensitive) == 0)
            return i;
    QStringList offered = words;
    offered.removeAll(QString());
    fail(key, QStringLiteral("%1 must be one of %2, not \"%3\". Correct the line in a text editor.")
                  .arg(nameOf(key), offered.join(QStringLiteral(", ")), found));
}

std::vector<std::pair<QString, QString>> TableReader::textTable(const char *key) const
{
    std::vector<std::pair<QString, QString>> texts;
    for (const auto &[name, node] : table(key).members) {
        if (node.kind != TomlNode::Kind::String)
            failAt(node.line, QStringLiteral("what %1 says for \"%2\" must be a text in quotes, not %3. Correct the line in a text editor.")
                                  .arg(nameOf(key), name, node.kindText()));
        texts.emplace_back(name, node.text);
    }
    return texts;
}

std::optional<QString> TableReader::scalarAsText(const char *key) const
{
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return std::nullopt;
    switch (node->kind) {
    case TomlNode::Kind::String:
        return node->text;
    case TomlNode::Kind::Time:
        return QString(node->text).replace(u'T', u' ');
    case TomlNode::Kind::Integer:
        return QString::number(node->integer);
    case TomlNode::Kind::Float:
        return QString::number(node->number, 'g', QLocale::FloatingPointShortest);
    case TomlNode::Kind::Boolean:
        return node->boolean ? QStringLiteral("true") : QStringLiteral("false");
    case TomlNode::Kind::Array:
    case TomlNode::Kind::Table:
        break;
    }
    wrongKind(key, *node, "a single value");
}

const TomlNode &TableReader::table(const char *key) const
{
    static const TomlNode none;
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return none;
    if (node->kind != TomlNode::Kind::Table)
        wrongKind(key, *node, "a table");
    return *node;
}

const std::vector<TomlNode> &TableReader::tables(const char *key) const
{
    static const std::vector<TomlNode> none;
    const TomlNode *const node = find(key);
    if (node == nullptr)
        return none;
    if (node->kind != TomlNode::Kind::Array || (!node->items.empty() && !node->isTableArray()))
        wrongKind(key, *node, "a list of tables");
    return node->items;
}

void TableReader::checkFormat() const
{
    const TomlNode *const node = find("format");
    if (node == nullptr)
        return;
    if (node->kind != TomlNode::Kind::Integer || node->integer < 1)
        failAt(node->line, QStringLiteral("\"format\" must be 1. Correct the line in a text editor."));
    if (node->integer > 1)
        failAt(node->line, QStringLiteral("the file has format %1 and was written by a later version of the program; this version reads "
                                          "format 1. Update the program, or restore an older copy of the file.")
                               .arg(node->integer));
}

void TableReader::refuseUnknown(const QStringList &known) const
{
    for (const TomlNode::Member &member : m_table.members)
        if (!known.contains(member.first))
            failAt(member.second.line,
                   QStringLiteral("\"%1\" is not a key of this file. Correct its spelling or remove the line; known keys "
                                  "are %2.")
                       .arg(member.first, known.join(QStringLiteral(", "))));
}

std::optional<WallTime> localTimeOf(QStringView spelling)
{
    constexpr QStringView shape = u"0000-00-00T00:00:00";
    if (spelling.size() != shape.size())
        return std::nullopt;
    for (qsizetype i = 0; i < shape.size(); ++i) {
        const QChar c = spelling[i];
        const bool fits = shape[i] == u'0'   ? (c >= u'0' && c <= u'9')
                          : shape[i] == u'T' ? (c == u'T' || c == u't' || c == u' ')
                                             : c == shape[i];
        if (!fits)
            return std::nullopt;
    }
    const auto part = [spelling](qsizetype at, qsizetype size) {
        int value = 0;
        for (qsizetype i = at; i < at + size; ++i)
            value = value * 10 + (spelling[i].unicode() - u'0');
        return value;
    };
    const QDate date(part(0, 4), part(5, 2), part(8, 2));
    const int hour = part(11, 2);
    const int minute = part(14, 2);
    const int second = part(17, 2);
    if (!date.isValid() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    return WallTime{date, hour * 3600 + minute * 60 + second};
}

} // namespace qm
