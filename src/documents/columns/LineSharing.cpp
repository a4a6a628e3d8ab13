#include "documents/columns/LineSharing.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

namespace qm::columns {

namespace {

constexpr Tenths kFinestStep = 10;
constexpr std::int64_t kMostSteps = 400;
constexpr std::size_t kMostForExchange = 16;
constexpr int kMostExchanges = 30;

/// Rows' lines first; lines of single cells decide between equals.
struct Cost
{
    std::int64_t rows = 0, cells = 0;
    friend auto operator<=>(const Cost &, const Cost &) = default;
};

class Sharing final
{
public:
    Sharing(std::span<const Sharer> sharers, Tenths room, Tenths letters) : m_sharers(sharers), m_letters(letters), m_room(room)
    {
        for (const Sharer &sharer : sharers)
            m_rows = std::max(m_rows, sharer.texts->cells());
    }

    std::vector<Tenths> share()
    {
        beginWithAllThatHelps();
        std::vector<Tenths> shares = m_most;
        const std::int64_t wanted = std::accumulate(m_most.begin(), m_most.end(), std::int64_t{0});
        if (wanted > m_room) {
            narrow(wanted);
            exchange();
            for (std::size_t i = 0; i < shares.size(); ++i)
                shares[i] = widthAt(i, m_steps[i]) - m_sharers[i].least;
        }
        spread(shares);
        return shares;
    }

private:
    void beginWithAllThatHelps()
    {
        for (const Sharer &sharer : m_sharers) {
            std::int64_t widest = 0;
            for (std::size_t row = 0; row < sharer.texts->cells(); ++row)
                widest = std::max<std::int64_t>(widest, sharer.texts->natural(row));
            const std::int64_t width = (widest * m_letters + 999) / 1000;
            m_most.push_back(static_cast<Tenths>(std::clamp<std::int64_t>(width - sharer.least, 0, m_room)));
        }
    }

    /// Width of column \p index with \p steps: all steps are its widest text, none its least width.
    [[nodiscard]] Tenths widthAt(std::size_t index, std::int64_t steps) const
    {
        const std::int64_t missing = (m_all[index] - steps) * m_step;
        return m_sharers[index].least + static_cast<Tenths>(std::max<std::int64_t>(0, m_most[index] - missing));
    }

    const std::vector<std::uint16_t> &linesAt(std::size_t index, std::int64_t steps)
    {
        std::vector<std::uint16_t> &lines = m_lines[index][static_cast<std::size_t>(steps)];
        if (lines.empty()) {
            const SampleTexts &texts = *m_sharers[index].texts;
            const Em limit = widthAt(index, steps) * 1000 / m_letters;
            lines.resize(m_rows, 1);
            for (std::size_t row = 0; row < texts.cells(); ++row)
                lines[row] = static_cast<std::uint16_t>(std::min(texts.lines(row, limit), std::uint32_t{10000}));
        }
        return lines;
    }

    /// The columns with the most lines of each row, so that what others need is known without any two of them.
    struct Highest
    {
        std::array<std::uint16_t, 3> lines{1, 1, 1};
        std::array<std::size_t, 3> column{kNone, kNone, kNone};
    };
    static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

    void findHighest()
    {
        m_highest.assign(m_rows, {});
        for (std::size_t i = 0; i < m_sharers.size(); ++i) {
            const auto &lines = linesAt(i, m_steps[i]);
            for (std::size_t row = 0; row < m_rows; ++row) {
                Highest &highest = m_highest[row];
                std::size_t place = 3;
                while (place > 0 && lines[row] > highest.lines[place - 1])
                    --place;
                for (std::size_t k = 2; k > place; --k) {
                    highest.lines[k] = highest.lines[k - 1];
                    highest.column[k] = highest.column[k - 1];
                }
                if (place < 3) {
                    highest.lines[place] = lines[row];
                    highest.column[place] = i;
                }
            }
        }
    }

    [[nodiscard]] std::uint16_t othersLines(std::size_t row, std::size_t one, std::size_t other) const
    {
        const Highest &highest = m_highest[row];
        std::size_t place = 0;
        while (place < 2 && (highest.column[place] == one || highest.column[place] == other) && highest.column[place] != kNone)
            ++place;
        return highest.lines[place];
    }

    /// What it costs more when \p one gives \p steps to \p other, kNone to nobody.
    Cost costOf(std::size_t one, std::size_t other, std::int64_t steps)
    {
        const auto &before = linesAt(one, m_steps[one]);
        const auto &after = linesAt(one, m_steps[one] - steps);
        static const std::vector<std::uint16_t> kNobody;
        const auto &otherBefore = other == kNone ? kNobody : linesAt(other, m_steps[other]);
        const auto &otherAfter = other == kNone ? kNobody : linesAt(other, m_steps[other] + steps);
        Cost cost;
        for (std::size_t row = 0; row < m_rows; ++row) {
            const std::uint16_t others = othersLines(row, one, other);
            std::uint16_t was = std::max(others, before[row]);
            std::uint16_t becomes = std::max(others, after[row]);
            cost.cells += after[row] - before[row];
            if (other != kNone) {
                was = std::max(was, otherBefore[row]);
                becomes = std::max(becomes, otherAfter[row]);
                cost.cells += otherAfter[row] - otherBefore[row];
            }
            cost.rows += becomes - was;
        }
        return cost;
    }

    void narrow(std::int64_t wanted)
    {
        m_step = std::max<std::int64_t>(kFinestStep, (wanted - m_room) / kMostSteps + 1);
        for (const Tenths most : m_most) {
            m_all.push_back((most + m_step - 1) / m_step);
            m_lines.emplace_back(static_cast<std::size_t>(m_all.back()) + 1);
        }
        m_steps = m_all;
        std::int64_t taken = wanted;
        while (taken > m_room) {
            findHighest();
            std::size_t giver = kNone;
            Cost least;
            for (std::size_t i = 0; i < m_sharers.size(); ++i) {
                if (m_steps[i] == 0)
                    continue;
                const Cost cost = costOf(i, kNone, 1);
                if (giver == kNone || cost < least || (cost == least && widthAt(i, m_steps[i]) > widthAt(giver, m_steps[giver]))) {
                    giver = i;
                    least = cost;
                }
            }
            taken -= widthAt(giver, m_steps[giver]) - widthAt(giver, m_steps[giver] - 1);
            --m_steps[giver];
        }
    }

    void exchange()
    {
        if (m_sharers.size() > kMostForExchange)
            return;
        for (int done = 0; done < kMostExchanges && exchangeOnce(); ++done)
            continue;
    }

    bool exchangeOnce()
    {
        findHighest();
        Cost best;
        std::size_t from = kNone, to = kNone;
        std::int64_t moved = 0;
        for (std::size_t i = 0; i < m_sharers.size(); ++i)
            for (std::size_t k = 0; k < m_sharers.size(); ++k)
                for (const std::int64_t steps : {1, 2, 4, 8, 16, 32}) {
                    // A column's first step may be shorter than the others; who keeps it gives whole ones.
                    if (i == k || m_steps[i] < steps + 1 || m_steps[k] + steps > m_all[k])
                        continue;
                    const Cost cost = costOf(i, k, steps);
                    if (cost < best) {
                        best = cost;
                        from = i;
                        to = k;
                        moved = steps;
                    }
                }
        if (from == kNone)
            return false;
        m_steps[from] -= moved;
        m_steps[to] += moved;
        return true;
    }

    /// Gives what no line needs to all in the ratio of their widths.
    void spread(std::vector<Tenths> &shares) const
    {
        std::int64_t left = m_room, whole = 0;
        for (std::size_t i = 0; i < shares.size(); ++i) {
            left -= shares[i];
            whole += m_sharers[i].least + shares[i];
        }
        for (std::size_t i = 0; i < shares.size() && left > 0; ++i) {
            const std::int64_t width = m_sharers[i].least + shares[i];
            const std::int64_t part = i + 1 == shares.size() || whole <= 0 ? left : left * width / whole;
            shares[i] += static_cast<Tenths>(part);
            left -= part;
            whole -= width;
        }
    }

    std::span<const Sharer> m_sharers;
    Tenths m_letters, m_room;
    std::int64_t m_step = kFinestStep;
    std::size_t m_rows = 0;
    std::vector<Tenths> m_most;                                   ///< shares beyond which no line is saved
    std::vector<std::int64_t> m_all;                              ///< steps in them
    std::vector<std::int64_t> m_steps;                            ///< steps had now
    std::vector<std::vector<std::vector<std::uint16_t>>> m_lines; ///< of each row, by column and steps; empty: not counted yet
    std::vector<Highest> m_highest;
};

} // namespace

std::vector<Tenths> shareForFewestLines(std::span<const Sharer> sharers, Tenths room, Tenths letters)
{
    if (sharers.empty() || room <= 0)
        return std::vector<Tenths>(sharers.size(), 0);
    return Sharing(sharers, room, letters).share();
}

} // namespace qm::columns
