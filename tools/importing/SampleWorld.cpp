#include "importing/SampleWorld.h"

namespace qm::sample {

namespace {

constexpr std::array<std::string_view, 40> kPeople{
    "m.okafor", "a.lindqvist", "j.tanaka", "s.haddad",  "p.novak",    "l.moreau",    "r.oconnor",  "f.silva",   "e.kowalska", "d.petrov",
    "h.nguyen", "c.fernandez", "t.jansen", "n.rossi",   "k.mueller",  "g.papadakis", "i.svensson", "b.adeyemi", "o.horvat",   "y.chen",
    "z.rahman", "v.kumar",     "w.dubois", "u.eriksen", "q.zhang",    "x.ibarra",    "m.fischer",  "a.costa",   "j.murphy",   "s.yamada",
    "p.larsen", "l.weber",     "r.singh",  "f.marino",  "e.virtanen", "d.cohen",     "h.berg",     "c.laurent", "t.szabo",    "n.ozturk"};
constexpr std::array<std::string_view, 4> kAdministrators{"adm-okafor", "adm-novak", "Administrator", "adm-chen"};
constexpr std::array<std::string_view, 10> kServers{
    "SRV-DC01.example.com",  "SRV-DC02.example.com",   "SRV-SQL01.example.com", "SRV-FILE01.example.com", "SRV-FILE02.example.com",
    "SRV-WEB01.example.com", "SRV-MAIL01.example.com", "SRV-APP01.example.com", "SRV-APP02.example.com",  "SRV-BACKUP01.example.com"};

std::uint64_t hashOf(std::string_view text)
{
    std::uint64_t hash = 0xCBF29CE484222325U; // FNV-1a
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return hash ^ (hash >> 29U);
}

} // namespace

std::string_view person(Dice &dice)
{
    constexpr std::size_t kBusy = 12;
    return kPeople[dice.chance(60) ? dice.below(kBusy) : dice.below(kPeople.size())];
}

std::string_view administrator(Dice &dice)
{
    return dice.pick(kAdministrators);
}

std::string workstationOf(std::string_view account)
{
    std::string number = std::to_string(hashOf(account) % 900 + 100);
    return "WS-0" + number + ".example.com";
}

std::string_view server(Dice &dice)
{
    return dice.pick(kServers);
}

std::string addressOf(std::string_view account)
{
    constexpr std::string_view kHex = "0123456789abcdef";
    const std::uint64_t hash = hashOf(account);
    if (hash % 10 == 0) {
        std::string address = "2001:db8::1:";
        address += kHex[1 + hash / 16 % 15];
        address += kHex[hash / 256 % 16];
        return address;
    }
    return "192.0.2." + std::to_string(hash / 16 % 250 + 2);
}

std::string outsideAddress(Dice &dice)
{
    const char *range = dice.chance(50) ? "198.51.100." : "203.0.113.";
    return range + std::to_string(dice.below(60) + 10);
}

} // namespace qm::sample
