/// \file
/// The bookmarks of a report.
#pragma once

#include "documents/pdf/PdfFile.h"
#include "documents/pdf/ReportPages.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qm::pdf {

/// Gathers the groups of two levels in the order of the pages. Above kMostEntries neighbours are put together as "A … C", so that the
/// memory is bounded however many groups come.
class Outline final
{
public:
    static constexpr std::size_t kMostEntries = 5000;

    /// \p level: 0 or 1. \p text may be of any length. \p top: where it stands on page \p page.
    void addGroup(std::size_t level, std::string_view text, int page, Tenths top);
    void setTotals(int page, Tenths top);

    /// Writes the outline once the pages are written. \returns its object.
    [[nodiscard]] int write(const std::string &title, const ReportPages &pages, PdfFile &file) const;
    [[nodiscard]] bool hasGroups() const { return !m_groups.empty(); }

private:
    struct Entry
    {
        std::string first, last; ///< equal for a group by itself
        int page = 0;
        Tenths top = 0;
        std::uint64_t groups = 1;
    };
    struct Group : Entry
    {
        std::vector<Entry> inner;
    };
    template <typename E>
    static void joinPairs(std::vector<E> &entries);
    void thin();

    std::vector<Group> m_groups;
    Entry m_totals;                               ///< of page 0: none
    std::size_t m_entries = 0;                    ///< of both levels
    std::uint64_t m_perEntry = 1, m_perInner = 1; ///< groups that an entry takes; no inner entries: 0
};

} // namespace qm::pdf
