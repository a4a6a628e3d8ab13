/// \file
/// What a layout says of cells, written in one line: words for codes, rules, aggregates, key figures.
#pragma once

#include "framework/ReportLayout.h"

#include <QString>

#include <utility>
#include <vector>

namespace qm {

using LayoutWordList = std::vector<std::pair<QString, QString>>;

/// "2 = at the desk; 0xc000006a = wrong password". What holds a separator, a quote or a blank at an end stands in quotes, which are doubled
/// inside them.
[[nodiscard]] QString wordsText(const LayoutWordList &words);
/// Reads any text: a part without "=" is a code with an empty word; of several words for one code the last counts.
[[nodiscard]] LayoutWordList readWords(const QString &text);

/// ">= 100: alarm; contains fail: warning; null: strong".
[[nodiscard]] QString rulesText(const std::vector<LayoutRule> &rules);
/// Reads any text: without a test "=" is meant, without an emphasis "strong".
[[nodiscard]] std::vector<LayoutRule> readRules(const QString &text);

/// "sum(attempts); count; average(size_bytes) as Mean size". An empty text is no aggregate.
[[nodiscard]] QString aggregatesText(const std::vector<LayoutAggregate> &aggregates);
/// \throws RuntimeError reportFailed naming the part that cannot be read and the form expected.
[[nodiscard]] std::vector<LayoutAggregate> readAggregates(const QString &text);

/// As aggregates, with the format in brackets behind: "average(size_bytes) as Mean size [bytes]".
[[nodiscard]] QString figuresText(const std::vector<LayoutFigure> &figures);
/// \throws RuntimeError as readAggregates().
[[nodiscard]] std::vector<LayoutFigure> readFigures(const QString &text);

} // namespace qm
