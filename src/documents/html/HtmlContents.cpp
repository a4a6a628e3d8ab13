#include "documents/html/HtmlContents.h"

#include "documents/NumberText.h"
#include "documents/html/HtmlText.h"

namespace qm {

namespace {

constexpr std::uint64_t kFewestGroups = 8;
constexpr std::size_t kMostEntries = 5000, kEntryBytes = 160;
/// A longer list stays closed until it is asked for.
constexpr std::size_t kMostOpen = 40;

} // namespace

/// Two entries that stand side by side become one.
void HtmlContents::halve()
{
    std::size_t to = 0;
    for (std::size_t from = 0; from < m_entries.size(); ++to) {
        Entry entry = std::move(m_entries[from++]);
        if (from < m_entries.size()) {
            Entry &next = m_entries[from++];
            entry.last = next.last.empty() ? std::move(next.first) : std::move(next.last);
        }
        m_entries[to] = std::move(entry);
    }
    m_entries.resize(to);
    m_each *= 2;
}

void HtmlContents::add(std::string_view text)
{
    std::string shown = escapedWithin(text, kEntryBytes);
    if (m_groups % m_each != 0) {
        m_entries.back().last = std::move(shown);
    } else {
        if (m_entries.size() == kMostEntries)
            halve(); // as the number of entries is even, the new group begins an entry here, too
        m_entries.push_back({m_groups + 1, std::move(shown), {}});
    }
    ++m_groups;
}

std::string HtmlContents::markup() const
{
    if (m_groups < kFewestGroups)
        return {};
    std::string list = std::string("<nav aria-label=\"Contents\">\n<details") + (m_entries.size() <= kMostOpen ? " open" : "") +
                       "><summary>Contents <small>" + numbers::counted(static_cast<std::int64_t>(m_groups), "group", "groups") +
                       "</small></summary>\n<ol>\n";
    for (const Entry &entry : m_entries) {
        list += "<li value=\"" + std::to_string(entry.number) + "\"><a href=\"#g" + std::to_string(entry.number) + "\"><bdi>" +
                entry.first + "</bdi>";
        if (!entry.last.empty())
            list += " \xE2\x80\xA6 <bdi>" + entry.last + "</bdi>";
        list += "</a></li>\n";
    }
    return list + "</ol>\n</details>\n</nav>\n";
}

} // namespace qm
