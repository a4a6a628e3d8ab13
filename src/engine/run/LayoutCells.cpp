#include "engine/run/LayoutCells.h"

#include "documents/CellFormat.h"
#include "framework/UnknownWords.h"

namespace qm {

namespace {

CellRule::Test testOf(RuleTest test)
{
    switch (test) {
    case RuleTest::Equal:
        return CellRule::Test::Equal;
    case RuleTest::NotEqual:
        return CellRule::Test::NotEqual;
    case RuleTest::Less:
        return CellRule::Test::Less;
    case RuleTest::LessOrEqual:
        return CellRule::Test::LessOrEqual;
    case RuleTest::Greater:
        return CellRule::Test::Greater;
    case RuleTest::GreaterOrEqual:
        return CellRule::Test::GreaterOrEqual;
    case RuleTest::Contains:
        return CellRule::Test::Contains;
    case RuleTest::Null:
        break;
    }
    return CellRule::Test::Null;
}

Emphasis emphasisOf(RuleEmphasis emphasis)
{
    switch (emphasis) {
    case RuleEmphasis::Strong:
        return Emphasis::Strong;
    case RuleEmphasis::Warning:
        return Emphasis::Warning;
    case RuleEmphasis::Alarm:
        break;
    }
    return Emphasis::Alarm;
}

} // namespace

void applyCells(const LayoutColumn &asked, ReportColumn &column)
{
    for (const auto &[code, word] : asked.words)
        column.words.emplace_back(code.toStdString(), word.toStdString());
    for (const LayoutRule &rule : asked.rules)
        column.rules.push_back({testOf(rule.test), rule.operand.toStdString(), emphasisOf(rule.emphasis)});
    column.nullText = asked.nullText.toStdString();
}

QStringList layoutWarnings(const ReportLayout &layout)
{
    QStringList warnings = layout.warnings;
    QStringList names;
    for (const std::string_view name : formatNames())
        names << QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    const auto check = [&](const QString &format, const QString &where) {
        if (isFormat(format.toStdString()))
            return;
        const QString near = nearestWord(format, names);
        warnings << QStringLiteral("The format \"%1\" of %2 is not known and has no effect; ").arg(format.left(60), where) +
                        (near.isEmpty()
                             ? QStringLiteral("known are %1 and number patterns such as #,##0.00.").arg(names.join(QStringLiteral(", ")))
                             : QStringLiteral("did you mean \"%1\"?").arg(near));
    };
    for (const LayoutColumn &column : layout.columns)
        check(column.format, QStringLiteral("the column \"%1\"").arg(column.field));
    for (const LayoutFigure &figure : layout.figures)
        check(figure.format, QStringLiteral("the key figure \"%1\"").arg(figure.caption.isEmpty() ? figure.field : figure.caption));
    return warnings;
}

} // namespace qm
