#include "documents/pdf/Outline.h"

#include "documents/pdf/PdfSyntax.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr std::size_t kMostBytes = 120; ///< of a group's name

std::string shortened(std::string_view text)
{
    std::string name(text.substr(0, kMostBytes));
    if (name.size() < text.size()) {
        while (!name.empty() && (static_cast<unsigned char>(text[name.size()]) & 0xC0) == 0x80)
            name.pop_back();
        name += "\u2026";
    }
    std::replace_if(
        name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
    return name;
}

/// One item of the tree, as it is written.
struct Item
{
    int parent = 0, previous = 0, next = 0, first = 0, last = 0;
    std::int64_t shown = 0; ///< open items below; negative: closed, so many
};

void writeItem(int number, const std::string &title, int page, Tenths top, const Item &item, PdfFile &file)
{
    std::string body = "<</Title";
    appendTextString(body, title);
    const auto refer = [&](const char *key, int object) {
        if (object != 0) {
            body += key;
            appendReference(body, object);
        }
    };
    refer("/Parent ", item.parent);
    refer("/Prev ", item.previous);
    refer("/Next ", item.next);
    refer("/First ", item.first);
    refer("/Last ", item.last);
    if (item.shown != 0) {
        body += "/Count ";
        appendNumber(body, item.shown);
    }
    body += "/Dest[";
    appendReference(body, page);
    body += "/XYZ 0 ";
    appendNumber(body, top / 10);
    body += " 0]>>";
    file.writeObject(number, body);
}

} // namespace

template <typename E>
void Outline::joinPairs(std::vector<E> &entries)
{
    std::size_t kept = 0;
    for (std::size_t i = 0; i < entries.size(); i += 2, ++kept) {
        if (kept != i)
            entries[kept] = std::move(entries[i]);
        if (i + 1 < entries.size()) {
            entries[kept].last = std::move(entries[i + 1].last);
            entries[kept].groups += entries[i + 1].groups;
        }
    }
    entries.resize(kept);
}

void Outline::thin()
{
    if (m_perInner > 0) {
        m_perInner *= 2;
        m_entries = m_groups.size();
        for (Group &group : m_groups) {
            joinPairs(group.inner);
            m_entries += group.inner.size();
        }
        if (m_entries <= kMostEntries * 3 / 4)
            return;
        m_perInner = 0;
        for (Group &group : m_groups)
            std::vector<Entry>().swap(group.inner);
        m_entries = m_groups.size();
    }
    if (m_entries > kMostEntries) {
        m_perEntry *= 2;
        joinPairs(m_groups);
        m_entries = m_groups.size();
    }
}

void Outline::addGroup(std::size_t level, std::string_view text, int page, Tenths top)
{
    const auto extend = [&](Entry &entry) {
        entry.last = shortened(text);
        ++entry.groups;
    };
    if (level == 0) {
        if (!m_groups.empty() && m_groups.back().groups < m_perEntry)
            return extend(m_groups.back());
        Group group;
        group.first = group.last = shortened(text);
        group.page = page;
        group.top = top;
        m_groups.push_back(std::move(group));
    } else {
        if (m_perInner == 0 || m_groups.empty())
            return;
        std::vector<Entry> &inner = m_groups.back().inner;
        if (!inner.empty() && inner.back().groups < m_perInner)
            return extend(inner.back());
        const std::string name = shortened(text);
        inner.push_back({name, name, page, top});
    }
    if (++m_entries > kMostEntries)
        thin();
}

void Outline::setTotals(int page, Tenths top)
{
    m_totals = {"Totals", "Totals", page, top};
}

int Outline::write(const std::string &title, const ReportPages &pages, PdfFile &file) const
{
    const auto nameOf = [](const Entry &entry) { return entry.groups == 1 ? entry.first : entry.first + " \u2026 " + entry.last; };
    const bool hasTotals = m_totals.page > 0;
    const auto groups = static_cast<int>(m_groups.size());
    const int below = groups + (hasTotals ? 1 : 0);
    const int root = file.reserve();
    const int report = file.reserve();
    const int first = below > 0 ? file.reserve(below) : 0;
    const int last = first + below - 1;
    std::string body = "<</Type/Outlines/First ";
    appendReference(body, report);
    body += "/Last ";
    appendReference(body, report);
    body += "/Count ";
    appendNumber(body, 1 + below);
    body += ">>";
    file.writeObject(root, body);
    writeItem(report, shortened(title), pages.pageObject(1), pages.top(),
              {.parent = root, .first = first, .last = below > 0 ? last : 0, .shown = below}, file);
    for (int i = 0; i < below; ++i) {
        const bool isGroup = i < groups;
        const Entry &entry = isGroup ? m_groups[static_cast<std::size_t>(i)] : m_totals;
        const auto inner = isGroup ? static_cast<int>(m_groups[static_cast<std::size_t>(i)].inner.size()) : 0;
        const int firstInner = inner > 0 ? file.reserve(inner) : 0;
        const int own = first + i;
        writeItem(own, nameOf(entry), pages.pageObject(entry.page), entry.top,
                  {report, i > 0 ? own - 1 : 0, i + 1 < below ? own + 1 : 0, firstInner, inner > 0 ? firstInner + inner - 1 : 0, -inner},
                  file);
        for (int k = 0; k < inner; ++k) {
            const Entry &each = m_groups[static_cast<std::size_t>(i)].inner[static_cast<std::size_t>(k)];
            writeItem(firstInner + k, nameOf(each), pages.pageObject(each.page), each.top,
                      {own, k > 0 ? firstInner + k - 1 : 0, k + 1 < inner ? firstInner + k + 1 : 0, 0, 0, 0}, file);
        }
    }
    return root;
}

} // namespace qm::pdf
