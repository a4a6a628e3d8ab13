#include "documents/columns/ColumnFit.h"

#include "documents/columns/LineSharing.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>

namespace qm::columns {

namespace {

constexpr std::array<Tenths, 3> kLetters{kUsualLetters, 70, kSmallLetters};
constexpr std::int64_t kNaturalPercent = 70; ///< of the page: a narrower table is not stretched
constexpr Tenths kNarrowest = 20;            ///< of a column that holds nothing

Tenths widthOf(Em width, Tenths letters)
{
    return static_cast<Tenths>((static_cast<std::int64_t>(width) * letters + 999) / 1000);
}

/// A table of some of the columns on a page of some width, in letters of one size.
class Table final
{
public:
    Table(std::span<const Column> columns, std::span<const std::size_t> shown, Tenths letters) : m_letters(letters)
    {
        for (const std::size_t index : shown) {
            m_columns.push_back(&columns[index]);
            m_floors.push_back(std::max(kNarrowest, widthOf(columns[index].floor, letters)));
        }
    }

    /// \returns the boxes, nothing where the floors do not fit.
    std::optional<std::vector<Box>> fit(Tenths page)
    {
        const Tenths room = page - gutters();
        if (sum(m_floors) > room)
            return std::nullopt;
        m_widths = m_floors;
        takeGiven(room);
        const std::vector<std::size_t> free = freeColumns();
        std::vector<Tenths> wishes = m_widths;
        for (const std::size_t i : free)
            wishes[i] = std::max(m_floors[i], std::min(kWidestWish, widthOf(m_columns[i]->wish, m_letters)));
        const std::int64_t wanted = sum(wishes);
        if (wanted <= room)
            m_widths = wishes;
        if (wanted > room || (wanted + gutters()) * 100 >= page * kNaturalPercent)
            share(free, static_cast<Tenths>(room - sum(m_widths)));
        return boxes();
    }

private:
    [[nodiscard]] Tenths gutterAfter(std::size_t index) const
    {
        return m_columns[index]->right && !m_columns[index + 1]->right ? kWideGutter : kGutter;
    }

    [[nodiscard]] Tenths gutters() const
    {
        Tenths all = 2 * kEdge;
        for (std::size_t i = 0; i + 1 < m_columns.size(); ++i)
            all += gutterAfter(i);
        return all;
    }

    static std::int64_t sum(const std::vector<Tenths> &widths) { return std::accumulate(widths.begin(), widths.end(), std::int64_t{0}); }

    /// Widths that the layout gives are kept; where the floors of the others do not leave room, each gives up the same part of what it has
    /// above its own.
    void takeGiven(Tenths room)
    {
        std::int64_t above = 0;
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            if (m_columns[i]->given <= 0)
                continue;
            const Tenths before = i == 0 ? 2 * kEdge : gutterAfter(i - 1);
            const Tenths after = i + 1 == m_columns.size() ? 2 * kEdge : gutterAfter(i);
            m_widths[i] = std::max(m_floors[i], std::min(m_columns[i]->given, room) - (before + after) / 2);
            above += m_widths[i] - m_floors[i];
        }
        const std::int64_t left = room - sum(m_floors);
        if (above <= left)
            return;
        for (std::size_t i = 0; i < m_columns.size(); ++i)
            m_widths[i] = m_floors[i] + static_cast<Tenths>((m_widths[i] - m_floors[i]) * left / above);
    }

    /// Text columns whose width is not given: they alone are stretched.
    [[nodiscard]] std::vector<std::size_t> freeColumns() const
    {
        std::vector<std::size_t> free;
        for (std::size_t i = 0; i < m_columns.size(); ++i)
            if (m_columns[i]->kind == Kind::Text && m_columns[i]->given <= 0)
                free.push_back(i);
        return free;
    }

    void share(const std::vector<std::size_t> &free, Tenths room)
    {
        std::vector<Sharer> sharers;
        for (const std::size_t i : free)
            sharers.push_back({&m_columns[i]->texts, m_widths[i]});
        const std::vector<Tenths> shares = shareForFewestLines(sharers, room, m_letters);
        for (std::size_t i = 0; i < free.size(); ++i)
            m_widths[free[i]] += shares[i];
    }

    [[nodiscard]] std::vector<Box> boxes() const
    {
        std::vector<Box> made;
        Tenths left = kEdge;
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            made.push_back({left, left + m_widths[i], m_columns[i]->kind});
            if (i + 1 < m_columns.size())
                left += m_widths[i] + gutterAfter(i);
        }
        return made;
    }

    Tenths m_letters;
    std::vector<const Column *> m_columns;
    std::vector<Tenths> m_floors, m_widths;
};

bool fitTable(std::span<const Column> columns, Tenths page, Fit &fit)
{
    for (const Tenths letters : kLetters) {
        if (auto boxes = Table(columns, fit.shown, letters).fit(page)) {
            fit.boxes = std::move(*boxes);
            fit.letters = letters;
            fit.width = fit.boxes.back().right + kEdge;
            return true;
        }
    }
    return false;
}

/// Moves the columns with the property \p what from those shown to \p out; the last one that is left stays.
bool leaveOut(std::span<const Column> columns, bool Column::*what, Fit &fit, std::vector<std::size_t> &out)
{
    std::vector<std::size_t> kept;
    for (const std::size_t index : fit.shown)
        (columns[index].*what ? out : kept).push_back(index);
    if (kept.empty()) {
        kept.push_back(out.front());
        out.erase(out.begin());
    }
    fit.shown = std::move(kept);
    return !out.empty();
}

} // namespace

Fit fitColumns(std::span<const Column> columns, const Page &page, bool whole)
{
    Fit fit;
    fit.shown.resize(columns.size());
    std::iota(fit.shown.begin(), fit.shown.end(), std::size_t{0});
    if (columns.empty() || fitTable(columns, page.width, fit))
        return fit;
    if (whole && leaveOut(columns, &Column::valueless, fit, fit.leftOut) && fitTable(columns, page.width, fit))
        return fit;
    if (whole && leaveOut(columns, &Column::constant, fit, fit.saidOnce) && fitTable(columns, page.width, fit))
        return fit;
    if (page.larger > page.width && fitTable(columns, page.larger, fit)) {
        fit.larger = true;
        return fit;
    }
    fit.cards = true;
    fit.letters = kUsualLetters;
    fit.width = page.width;
    return fit;
}

} // namespace qm::columns
