/// \file
/// What a column says in place of its values, and which of its cells stand out.
#pragma once

#include "documents/ReportColumn.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// Worked out once per report, of columns that have any of it only.
class CellExtras final
{
public:
    explicit CellExtras(const ReportColumn &column);

    [[nodiscard]] static bool areIn(const ReportColumn &column);

    /// Appends what stands in place of \p value: the text for NULL, or the word for the value's text, looked up as it is, then without
    /// letter case. \returns whether there was any.
    bool append(const Value &value, std::string &out) const;
    [[nodiscard]] bool haveTexts() const { return !m_words.empty() || !m_nullText.empty(); }

    [[nodiscard]] bool haveRules() const { return !m_rules.empty(); }
    /// What the first rule says that holds. Numbers, and texts that are numbers, are compared as numbers with an operand that is one, all
    /// else as texts without letter case. NULL and blobs meet no test but that for NULL.
    [[nodiscard]] Emphasis emphasisOf(const Value &value) const;

private:
    struct Rule
    {
        CellRule::Test test;
        Emphasis emphasis;
        std::string text; ///< folded
        std::optional<double> number;
        std::optional<std::int64_t> integer;
    };

    [[nodiscard]] static bool holds(const Rule &rule, const Value &value);

    std::map<std::string, std::string, std::less<>> m_words, m_foldedWords;
    std::string m_nullText;
    std::vector<Rule> m_rules;
};

} // namespace qm
