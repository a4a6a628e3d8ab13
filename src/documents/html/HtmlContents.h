/// \file
/// The list of a report's groups, with links to them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// Keeps a bounded number of entries: where there are more groups, an entry stands for several that follow each other ("A … C").
class HtmlContents final
{
public:
    /// \p text: of the group's key, UTF-8; kept in part when it is long.
    void add(std::string_view text);
    [[nodiscard]] std::uint64_t groups() const { return m_groups; }
    /// The list, with links to "#g1" and so on; empty where the groups are too few for one.
    [[nodiscard]] std::string markup() const;

private:
    struct Entry
    {
        std::uint64_t number = 0; ///< of its first group, from 1
        std::string first, last;  ///< escaped; the last one empty where there is but one
    };
    void halve();

    std::vector<Entry> m_entries;
    std::uint64_t m_groups = 0, m_each = 1; ///< groups of an entry
};

} // namespace qm
