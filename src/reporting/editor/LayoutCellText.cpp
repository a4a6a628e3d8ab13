#include "reporting/editor/LayoutCellText.h"

#include "core/RuntimeError.h"
#include "framework/LayoutWords.h"

#include <QRegularExpression>

#include <algorithm>

namespace qm {

namespace {

QString quoted(const QString &text)
{
    static const QRegularExpression needs(QStringLiteral("[;:=\"]"));
    if (!text.isEmpty() && text.trimmed() == text && !text.contains(needs))
        return text;
    return u'"' + QString(text).replace(u'"', QStringLiteral("\"\"")) + u'"';
}

QString unquoted(const QString &text)
{
    const QString part = text.trimmed();
    if (part.size() < 2 || !part.startsWith(u'"') || !part.endsWith(u'"'))
        return part;
    return part.mid(1, part.size() - 2).replace(QStringLiteral("\"\""), QStringLiteral("\""));
}

/// The places of \p separator outside quotes.
std::vector<qsizetype> placesOf(QChar separator, const QString &text)
{
    std::vector<qsizetype> places;
    bool isQuoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'"')
            isQuoted = !isQuoted;
        else if (text[i] == separator && !isQuoted)
            places.push_back(i);
    }
    return places;
}

QStringList partsOf(const QString &text)
{
    QStringList parts;
    qsizetype begin = 0;
    std::vector<qsizetype> ends = placesOf(u';', text);
    ends.push_back(text.size());
    for (const qsizetype end : ends) {
        if (const QString part = text.mid(begin, end - begin).trimmed(); !part.isEmpty())
            parts << part;
        begin = end + 1;
    }
    return parts;
}

QString aggregateText(const LayoutAggregate &aggregate)
{
    QString text = aggregateWords().value(static_cast<int>(aggregate.function));
    if (!aggregate.field.isEmpty())
        text += u'(' + aggregate.field + u')';
    if (!aggregate.caption.isEmpty())
        text += QStringLiteral(" as ") + aggregate.caption;
    return text;
}

LayoutAggregate readAggregate(const QString &part)
{
    static const QRegularExpression form(
        QStringLiteral("^(%1)\\s*(?:\\(\\s*([^)]*?)\\s*\\))?(?:\\s+as\\s+(.+))?$").arg(aggregateWords().join(u'|')),
        QRegularExpression::CaseInsensitiveOption);
    const auto match = form.match(part.trimmed());
    LayoutAggregate aggregate;
    if (match.hasMatch()) {
        aggregate.function = static_cast<Aggregate>(aggregateWords().indexOf(match.captured(1).toLower()));
        aggregate.field = match.captured(2);
        aggregate.caption = match.captured(3).trimmed();
    }
    if (!match.hasMatch() || (aggregate.field.isEmpty() && aggregate.function != Aggregate::Count))
        raise(err::reportFailed,
              QStringLiteral(
                  "\"%1\" is no total. Write count, or sum, average, minimum, maximum, distinct, share or running with a column in "
                  "brackets: sum(attempts); count; maximum(size) as Largest")
                  .arg(part.trimmed()),
              kFrameworkSource);
    return aggregate;
}

} // namespace

QString wordsText(const LayoutWordList &words)
{
    QStringList parts;
    for (const auto &[code, word] : words)
        parts << quoted(code) + QStringLiteral(" = ") + quoted(word);
    return parts.join(QStringLiteral("; "));
}

LayoutWordList readWords(const QString &text)
{
    LayoutWordList words;
    for (const QString &part : partsOf(text)) {
        const std::vector<qsizetype> places = placesOf(u'=', part);
        const QString code = unquoted(places.empty() ? part : part.left(places.front()));
        const QString word = places.empty() ? QString() : unquoted(part.mid(places.front() + 1));
        const auto same = std::find_if(words.begin(), words.end(), [&code](const auto &known) { return known.first == code; });
        if (same == words.end())
            words.emplace_back(code, word);
        else
            same->second = word;
    }
    return words;
}

QString rulesText(const std::vector<LayoutRule> &rules)
{
    QStringList parts;
    for (const LayoutRule &rule : rules) {
        QString part = ruleTestWords().value(static_cast<int>(rule.test));
        if (rule.test != RuleTest::Null)
            part += u' ' + quoted(rule.operand);
        parts << part + QStringLiteral(": ") + emphasisWords().value(static_cast<int>(rule.emphasis));
    }
    return parts.join(QStringLiteral("; "));
}

std::vector<LayoutRule> readRules(const QString &text)
{
    // The longer first: "<=" is not "<".
    static const QRegularExpression form(QStringLiteral("^(<>|!=|<=|>=|=|<|>|contains\\b|null$)(.*)$"),
                                         QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    std::vector<LayoutRule> rules;
    for (const QString &part : partsOf(text)) {
        LayoutRule rule;
        QString condition = part;
        if (const std::vector<qsizetype> colons = placesOf(u':', part); !colons.empty()) {
            const qsizetype emphasis = emphasisWords().indexOf(part.mid(colons.back() + 1).trimmed().toLower());
            if (emphasis >= 0) {
                rule.emphasis = static_cast<RuleEmphasis>(emphasis);
                condition = part.left(colons.back()).trimmed();
            }
        }
        if (const auto match = form.match(condition); match.hasMatch()) {
            const QString test = match.captured(1).toLower();
            rule.test = test == QStringLiteral("!=") ? RuleTest::NotEqual : static_cast<RuleTest>(ruleTestWords().indexOf(test));
            condition = match.captured(2);
        }
        rule.operand = unquoted(condition);
        rules.push_back(rule);
    }
    return rules;
}

QString aggregatesText(const std::vector<LayoutAggregate> &aggregates)
{
    QStringList parts;
    for (const LayoutAggregate &aggregate : aggregates)
        parts << aggregateText(aggregate);
    return parts.join(QStringLiteral("; "));
}

std::vector<LayoutAggregate> readAggregates(const QString &text)
{
    std::vector<LayoutAggregate> aggregates;
    for (const QString &part : text.split(u';'))
        if (!part.trimmed().isEmpty())
            aggregates.push_back(readAggregate(part));
    return aggregates;
}

QString figuresText(const std::vector<LayoutFigure> &figures)
{
    QStringList parts;
    for (const LayoutFigure &figure : figures)
        parts << aggregateText({figure.field, figure.function, figure.caption}) +
                     (figure.format.isEmpty() ? QString() : QStringLiteral(" [") + figure.format + u']');
    return parts.join(QStringLiteral("; "));
}

std::vector<LayoutFigure> readFigures(const QString &text)
{
    static const QRegularExpression format(QStringLiteral("\\s*\\[([^\\]]*)\\]\\s*$"));
    std::vector<LayoutFigure> figures;
    for (QString part : text.split(u';')) {
        if (part.trimmed().isEmpty())
            continue;
        const auto match = format.match(part);
        part = part.left(match.hasMatch() ? match.capturedStart() : part.size());
        const LayoutAggregate aggregate = readAggregate(part);
        figures.push_back({aggregate.caption, aggregate.field, aggregate.function, match.captured(1).trimmed()});
    }
    return figures;
}

} // namespace qm
