/// \file
/// The invented company behind the sample events: its dice, people, computers and the makers of each kind of event.
#pragma once

#include "importing/EventRecord.h"

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace qm::sample {

/// Numbers that look random and depend on the seed alone: splitmix64 (Steele, Lea, Flood: "Fast splittable pseudorandom number
/// generators").
class Dice
{
public:
    Dice(std::uint64_t seed, std::uint64_t stream) : m_state(mixed(seed) ^ mixed(stream + 0x632BE59BD9B4E019U)) {}

    std::uint64_t next()
    {
        m_state += 0x9E3779B97F4A7C15U;
        return mixed(m_state);
    }
    /// 0 to \p count - 1.
    std::size_t below(std::size_t count) { return static_cast<std::size_t>((next() >> 32U) * count >> 32U); }
    /// True in \p percent of 100 cases.
    bool chance(std::size_t percent) { return below(100) < percent; }
    template <class Item, std::size_t Count>
    const Item &pick(const std::array<Item, Count> &items)
    {
        return items[below(Count)];
    }
    /// An item drawn by its member `weight`, in thousandths that add up to \p total.
    template <class Item, std::size_t Count>
    const Item &pickWeighted(const std::array<Item, Count> &items, std::size_t total)
    {
        std::size_t at = below(total);
        for (const Item &item : items) {
            if (at < item.weight)
                return item;
            at -= item.weight;
        }
        return items.back();
    }

private:
    static constexpr std::uint64_t mixed(std::uint64_t x)
    {
        x = (x ^ (x >> 30U)) * 0xBF58476D1CE4E5B9U;
        x = (x ^ (x >> 27U)) * 0x94D049BB133111EBU;
        return x ^ (x >> 31U);
    }
    std::uint64_t m_state;
};

/// What an event maker is given.
struct Moment
{
    std::uint64_t seed;
    std::int64_t index;
    EventTime time;
    /// Time of another index, for events that belong together.
    const std::function<EventTime(std::int64_t)> &timeOf;
};

inline constexpr std::string_view kDataSource = "sample data";
inline constexpr std::string_view kDomain = "EXAMPLE";
inline constexpr EventTime kSecond = 1000, kMinute = 60 * kSecond, kHour = 60 * kMinute;

/// One of the company's forty people ("m.okafor"), a few of whom are busier than the rest.
[[nodiscard]] std::string_view person(Dice &dice);
/// An administrator's account.
[[nodiscard]] std::string_view administrator(Dice &dice);
/// A workstation of a person, always the same one: "WS-0137.example.com".
[[nodiscard]] std::string workstationOf(std::string_view account);
/// A server: "SRV-DC01.example.com".
[[nodiscard]] std::string_view server(Dice &dice);
/// An address inside the company (192.0.2.0/24 or 2001:db8::/32), always the same for the same account.
[[nodiscard]] std::string addressOf(std::string_view account);
/// An address outside (198.51.100.0/24, 203.0.113.0/24).
[[nodiscard]] std::string outsideAddress(Dice &dice);

void fillServerEvent(const Moment &moment, EventRecord &record);
/// A line of a Linux server's log for about every eighth index, as the importer would read it. \returns false for the others.
[[nodiscard]] bool fillLinuxEvent(const Moment &moment, EventRecord &record);
void fillMailEvent(const Moment &moment, EventRecord &record);
void fillFileEvent(const Moment &moment, EventRecord &record);

} // namespace qm::sample
