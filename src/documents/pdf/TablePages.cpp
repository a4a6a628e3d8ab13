// Where the pages of a table end.
#include "documents/pdf/TableBody.h"

#include <algorithm>

namespace qm::pdf {

namespace {
constexpr int kFewestRows = 3; ///< below a heading, and on the last page
} // namespace

void TableBody::Sheet::clear()
{
    page = 0;
    wanted = false;
    bodyTop = end = 0;
    used = 0;
}

TableBody::Entry &TableBody::Sheet::append(Entry::Kind kind, const PageContent::Mark &mark, Tenths top)
{
    if (used == entries.size())
        entries.emplace_back();
    Entry &entry = entries[used++];
    entry.kind = kind;
    entry.level = 0;
    entry.drawn = true;
    entry.counted = entry.suppressed = false;
    entry.before = entry.after = mark;
    entry.top = top;
    entry.name.clear();
    return entry;
}

int TableBody::Sheet::rows() const
{
    return static_cast<int>(std::count_if(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(used),
                                          [](const Entry &entry) { return entry.kind == Entry::Kind::Row; }));
}

std::size_t TableBody::Sheet::firstMovable() const
{
    std::size_t first = 0;
    while (first < used && entries[first].kind == Entry::Kind::Continued)
        ++first;
    return first;
}

void TableBody::pageIsWritten(int page)
{
    const Sheet &sheet = page == m_sheet.page ? m_sheet : m_waiting;
    if (sheet.page != page)
        return;
    for (std::size_t i = 0; i < sheet.used; ++i) {
        const Entry &entry = sheet.entries[i];
        if (entry.kind == Entry::Kind::Total)
            m_outline.setTotals(page, entry.top);
        if (entry.kind != Entry::Kind::Heading)
            continue;
        if (entry.level < 2)
            m_outline.addGroup(entry.level, entry.name, page, entry.top);
        if (entry.drawn && !entry.counted && entry.level < m_open.size()) {
            m_open[entry.level].page = page;
            m_open[entry.level].x = entry.countX;
            m_open[entry.level].y = entry.countY;
        }
    }
}

/// Begins a page for the table, with its captions.
void TableBody::startSheet()
{
    m_sheet.end = m_pages.cursor();
    m_pages.newPage();
    std::swap(m_sheet, m_waiting);
    m_sheet.clear();
    m_sheet.page = m_pages.count();
    placeCaptions();
    m_sheet.bodyTop = m_pages.cursor();
}

/// The groups with a heading that are open before entry \p cut of \p sheet.
std::vector<std::pair<std::size_t, std::string>> TableBody::groupsAt(const Sheet &sheet, std::size_t cut) const
{
    std::vector<std::pair<std::size_t, std::string>> groups;
    if (&sheet == &m_sheet && cut == sheet.used) {
        for (std::size_t level = 0; level < m_open.size(); ++level)
            if (m_levels[level].heading)
                groups.emplace_back(level, m_open[level].name);
        return groups;
    }
    const auto dropFrom = [&](std::size_t level) {
        while (!groups.empty() && groups.back().first >= level)
            groups.pop_back();
    };
    for (std::size_t i = 0; i < cut; ++i) {
        const Entry &entry = sheet.entries[i];
        if (entry.kind != Entry::Kind::Heading && entry.kind != Entry::Kind::Continued)
            continue;
        dropFrom(entry.level);
        if (entry.drawn)
            groups.emplace_back(entry.level, entry.name);
    }
    if (sheet.entries[cut].kind == Entry::Kind::Heading)
        dropFrom(sheet.entries[cut].level);
    return groups;
}

void TableBody::drawContinued(const std::vector<std::pair<std::size_t, std::string>> &groups)
{
    for (const auto &[level, name] : groups)
        drawHeading(level, name, true);
}

void TableBody::moveEntries(Sheet &from, std::size_t cut, Sheet &to, const PageContent::Moved &moved)
{
    for (std::size_t i = cut; i < from.used; ++i) {
        Entry &old = from.entries[i];
        moved.adjust(old.before);
        moved.adjust(old.after);
        old.top += moved.dy;
        old.countY += moved.dy;
        Entry &entry = to.append(old.kind, old.before, old.top);
        std::swap(entry, old);
    }
    from.used = cut;
}

/// The first entry of the current page that cannot stay on it when \p next comes on the following one; their number where all can.
std::size_t TableBody::cutFor(Entry::Kind next) const
{
    using Kind = Entry::Kind;
    std::size_t cut = m_sheet.used;
    if (next != Kind::Row && next != Kind::Heading) { // never alone on a page: takes the last row along
        while (cut > 0 && m_sheet.entries[cut - 1].kind != Kind::Row && m_sheet.entries[cut - 1].kind != Kind::Part)
            --cut;
        if (cut == 0 || m_sheet.entries[cut - 1].kind == Kind::Part)
            return m_sheet.used;
        --cut;
    }
    const bool isRow = cut < m_sheet.used && m_sheet.entries[cut].kind == Kind::Row;
    return withHeadings(m_sheet, cut, isRow ? m_levels.size() : m_open.size());
}

/// No heading of a group that goes on at entry \p cut stays behind with fewer rows than it must have. \p openLevels: of the groups that are
/// open there. \returns where to cut then.
std::size_t TableBody::withHeadings(const Sheet &sheet, std::size_t cut, std::size_t openLevels)
{
    int rows = 0;
    for (std::size_t i = cut; i > 0 && rows < kFewestRows; --i) {
        const Entry &entry = sheet.entries[i - 1];
        if (entry.kind == Entry::Kind::Part)
            break;
        if (entry.kind == Entry::Kind::Row)
            ++rows;
        if (entry.kind == Entry::Kind::Heading && entry.level < openLevels) {
            cut = i - 1;
            openLevels = entry.level;
            rows = 0;
        }
    }
    return cut;
}

void TableBody::turnPageAt(std::size_t cut)
{
    const auto groups = groupsAt(m_sheet, cut);
    const bool moves = cut < m_sheet.used;
    const Tenths end = m_pages.cursor();
    startSheet();
    drawContinued(groups);
    if (!moves)
        return;
    const Tenths top = m_waiting.entries[cut].top;
    const auto moved = m_pages.waiting()->moveTail(m_waiting.entries[cut].before, m_pages.content(), m_pages.cursor() - top);
    moveEntries(m_waiting, cut, m_sheet, moved);
    m_waiting.end = top;
    m_pages.moveDown(top - end);
}

/// Goes on to the next page for something of \p height, and takes along what must not be parted from it.
void TableBody::turnPage(Tenths height, Entry::Kind next)
{
    std::size_t cut = cutFor(next);
    if (cut < m_sheet.used) {
        const Tenths moved = m_sheet.entries[cut].top - m_pages.cursor();
        if (cut <= m_sheet.firstMovable() || moved + height > wholePage())
            cut = m_sheet.used;
    }
    turnPageAt(cut);
}

/// Moves the end of the waiting page, from entry \p cut on, to the top of the current one.
void TableBody::pullFromWaiting(std::size_t cut)
{
    const auto groups = groupsAt(m_waiting, cut);
    PageContent &current = m_pages.content();
    const std::size_t first = m_sheet.firstMovable();
    const Tenths bodyTop = first < m_sheet.used ? m_sheet.entries[first].top : m_pages.cursor();
    const Tenths bodyHeight = bodyTop - m_pages.cursor();
    // Set the page's own rows aside, and drop what said that groups go on.
    PageContent aside(m_layout), dropped(m_layout);
    Sheet asideSheet;
    if (first < m_sheet.used)
        moveEntries(m_sheet, first, asideSheet, current.moveTail(m_sheet.entries[first].before, aside, 0));
    if (m_sheet.used > 0)
        current.moveTail(m_sheet.entries.front().before, dropped, 0);
    m_sheet.used = 0;
    m_pages.setCursor(m_sheet.bodyTop);
    drawContinued(groups);
    const Tenths top = m_waiting.entries[cut].top;
    const Tenths height = top - m_waiting.end;
    const auto moved = m_pages.waiting()->moveTail(m_waiting.entries[cut].before, current, m_pages.cursor() - top);
    moveEntries(m_waiting, cut, m_sheet, moved);
    m_waiting.end = top;
    m_pages.moveDown(height);
    moveEntries(asideSheet, 0, m_sheet, aside.moveTail({}, current, m_pages.cursor() - bodyTop));
    m_pages.moveDown(bodyHeight);
}

/// A group of \p level has ended: where its rows stand on two pages although one would hold them, they go together.
void TableBody::keepTogether(std::size_t level)
{
    if (!m_levels[level].group.keepTogether || !m_pages.waiting() || m_waiting.page + 1 != m_sheet.page)
        return;
    for (std::size_t i = m_waiting.used; i > m_waiting.firstMovable() + 1; --i) {
        const Entry &entry = m_waiting.entries[i - 1];
        if (entry.kind != Entry::Kind::Heading || entry.level != level)
            continue;
        const std::size_t cut = withHeadings(m_waiting, i - 1, level);
        if (cut <= m_waiting.firstMovable())
            return;
        const std::size_t first = m_sheet.firstMovable();
        const bool continues = first > 0 && m_sheet.entries[first - 1].level >= level;
        const bool unheaded = !m_levels[level].heading && first < m_sheet.used && m_sheet.entries[first].kind != Entry::Kind::Heading;
        const Tenths height = m_waiting.entries[cut].top - m_waiting.end + m_sheet.bodyTop - m_pages.cursor();
        if ((continues || unheaded) && height <= wholePage())
            pullFromWaiting(cut);
        return;
    }
}

/// Rows go over from the last page but one where the last would hold too few.
void TableBody::fillLastPage()
{
    using Kind = Entry::Kind;
    const int has = m_sheet.rows();
    if (!m_pages.waiting() || m_sheet.wanted || m_waiting.page + 1 != m_sheet.page || m_sheet.used == 0 || m_waiting.used == 0 ||
        has >= kFewestRows)
        return; // a waiting page without entries holds nothing but the title
    const auto &entries = m_waiting.entries;
    std::size_t cut = m_waiting.used;
    for (int rows = has; rows < kFewestRows && cut > 0; --cut) {
        if (entries[cut - 1].kind == Kind::Part)
            return;
        rows += entries[cut - 1].kind == Kind::Row ? 1 : 0;
        if (rows == kFewestRows) {
            --cut;
            break;
        }
    }
    // No row goes whose group is not said, and no subtotal without a row.
    while (cut > 0 && (entries[cut].suppressed || entries[cut].kind == Kind::Subtotal))
        --cut;
    std::size_t open = entries[cut].kind == Kind::Heading ? entries[cut].level : m_levels.size();
    cut = withHeadings(m_waiting, cut, open);
    // Nor is a group parted that is to stay together.
    for (std::size_t i = cut; i > 0; --i) {
        const Entry &entry = entries[i - 1];
        if (entry.kind == Kind::Subtotal)
            open = std::min(open, std::size_t{entry.level});
        if (entry.kind != Kind::Heading || entry.level >= open)
            continue;
        open = entry.level;
        if (m_levels[open].group.keepTogether)
            cut = withHeadings(m_waiting, i - 1, open);
    }
    if (cut <= m_waiting.firstMovable() || entries[cut - 1].kind == Kind::Part)
        return;
    const Tenths height = entries[cut].top - m_waiting.end + m_sheet.bodyTop - m_pages.cursor();
    if (height <= m_sheet.bodyTop - m_geometry.bottom)
        pullFromWaiting(cut);
}

} // namespace qm::pdf
