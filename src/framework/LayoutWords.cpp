#include "framework/LayoutWords.h"

#include "framework/TableReader.h"
#include "framework/toml/TomlRewrite.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace qm {

namespace {

constexpr std::array kPapers{
    Paper{PageSize::A4, "A4", 210, 297, 9},           Paper{PageSize::A3, "A3", 297, 420, 8},
    Paper{PageSize::A5, "A5", 148, 210, 11},          Paper{PageSize::Letter, "Letter", 215.9, 279.4, 1},
    Paper{PageSize::Legal, "Legal", 215.9, 355.6, 5},
};

constexpr std::array kCharts{
    std::pair{"", QT_TRANSLATE_NOOP("ReportLayout", "No chart")},
    std::pair{"bar", QT_TRANSLATE_NOOP("ReportLayout", "Bars")},
    std::pair{"column", QT_TRANSLATE_NOOP("ReportLayout", "Columns")},
    std::pair{"stacked-bar", QT_TRANSLATE_NOOP("ReportLayout", "Stacked bars")},
    std::pair{"stacked-column", QT_TRANSLATE_NOOP("ReportLayout", "Stacked columns")},
    std::pair{"line", QT_TRANSLATE_NOOP("ReportLayout", "Line")},
    std::pair{"area", QT_TRANSLATE_NOOP("ReportLayout", "Area")},
    std::pair{"pie", QT_TRANSLATE_NOOP("ReportLayout", "Pie")},
    std::pair{"heat", QT_TRANSLATE_NOOP("ReportLayout", "Heat map")},
    std::pair{"histogram", QT_TRANSLATE_NOOP("ReportLayout", "Histogram")},
};

} // namespace

std::span<const Paper> papers()
{
    return kPapers;
}

const Paper &paperOf(PageSize size)
{
    const auto found = std::find_if(kPapers.begin(), kPapers.end(), [size](const Paper &paper) { return paper.size == size; });
    return found == kPapers.end() ? kPapers.front() : *found;
}

int paperNumber(double widthMm, double heightMm)
{
    const auto [shorter, longer] = std::minmax(widthMm, heightMm);
    for (const Paper &paper : kPapers)
        if (std::fabs(paper.widthMm - shorter) < 1 && std::fabs(paper.heightMm - longer) < 1)
            return paper.number;
    return kPapers.front().number;
}

const QStringList &paperWords()
{
    static const QStringList words = [] {
        QStringList list;
        for (const Paper &paper : kPapers)
            list << QString::fromLatin1(paper.word);
        return list;
    }();
    return words;
}

const QStringList &chartWords()
{
    static const QStringList words = [] {
        QStringList list;
        for (const auto &chart : kCharts)
            list << QString::fromLatin1(chart.first);
        return list;
    }();
    return words;
}

QStringList chartLabels()
{
    QStringList labels;
    for (const auto &chart : kCharts)
        labels << QCoreApplication::translate("ReportLayout", chart.second);
    return labels;
}

const QStringList &alignmentWords()
{
    static const QStringList words = wordList({"automatic", "left", "centre", "right"});
    return words;
}

const QStringList &orientationWords()
{
    static const QStringList words = wordList({"portrait", "landscape"});
    return words;
}

const QStringList &aggregateWords()
{
    static const QStringList words = wordList({"count", "sum", "average", "minimum", "maximum", "distinct", "share", "running"});
    return words;
}

const QStringList &groupOrderWords()
{
    static const QStringList words = wordList({"automatic", "ascending", "descending", "rows"});
    return words;
}

const QStringList &ruleTestWords()
{
    static const QStringList words = wordList({"=", "<>", "<", "<=", ">", ">=", "contains", "null"});
    return words;
}

const QStringList &emphasisWords()
{
    static const QStringList words = wordList({"strong", "warning", "alarm"});
    return words;
}

} // namespace qm
