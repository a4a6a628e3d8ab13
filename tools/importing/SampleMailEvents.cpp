#include "importing/SampleWorld.h"

#include <algorithm>

namespace qm::sample {

namespace {

constexpr std::array<std::string_view, 14> kPartners{"partner.example.net",    "kunde.example",   "mail.example.org", "lists.example.org",
                                                     "supplier-tokyo.example", "client.example",  "news.example.net", "bank.example",
                                                     "uni.example.org",        "shop.example",    "offers.example",   "amt.example.org",
                                                     "studio.example",         "labs.example.net"};
constexpr std::array<std::string_view, 10> kLocalParts{"info",      "sales",      "m.berger", "orders",     "no-reply",
                                                       "yuki.sato", "anne.petit", "support",  "newsletter", "j.doe"};
constexpr std::array<std::string_view, 24> kSubjects{"Invoice 2026-1187",
                                                     "Re: Minutes of the meeting, draft 2",
                                                     "季度报告已准备好，请查收",
                                                     "تقرير الأحداث الأسبوعي",
                                                     "🚀 Release 8.0 is out",
                                                     "Angebot \"Brücke Süd\", Fassung 3",
                                                     "会議の議事録（最終版）",
                                                     "Réunion déplacée à jeudi",
                                                     "Fwd: Fwd: holiday photos 🏖️📷",
                                                     "Заявка на доступ",
                                                     "דוח חודשי",
                                                     "รายงานประจำวัน",
                                                     "Cafe\xCC\x81 menu for Friday",
                                                     "보안 공지: 비밀번호 변경",
                                                     "Out of office",
                                                     "Delivery note; please sign",
                                                     "मासिक रिपोर्ट",
                                                     "Re: Re: Re: printer on floor 3",
                                                     "Your order 4711 has shipped",
                                                     "Security notice for all staff",
                                                     "Déjà vu, or: the same question again",
                                                     "Nachtrag zum Vertrag Nr. 17/2026",
                                                     "👩‍💻 Welcome to the team",
                                                     "Quarterly figures, 3rd try"};
constexpr std::array<std::string_view, 6> kUnwanted{"You have won a prize!!!",        "Cheap watches, today only", "限时优惠 点击领取",
                                                    "Account suspended - verify now", "💰 Work from home 💰",        "Re: your loan"};

struct Failure
{
    std::string_view event, status, diagnostic;
};
constexpr std::array<Failure, 9> kFailures{{
    {"FAIL", "5.1.1", "550 5.1.1 <{rcpt}>: Recipient address rejected: User unknown in local recipient table"},
    {"FAIL", "5.2.2",
     "552 5.2.2 The mailbox <{rcpt}> is full.\nQuota exceeded: 2,147,483,648 of 2,147,483,648 bytes in use.\nThe sender may try again "
     "after \"{rcpt}\" has "
     "deleted messages, or write to postmaster with the words 'quota, please'."},
    {"FAIL", "5.7.1",
     "554 5.7.1 Message refused by the content policy of {host};\nrule 17 (\"macro in an attachment\") matched attachment 2.3, file "
     "\"Abrechnung, März.xlsm\".\n"
     "Diagnostic-Code: smtp; 554 Transaction failed\nRemote-MTA: dns; {host}\nLast-Attempt-Date: see the time of this event.\nIf you "
     "believe that this is a "
     "mistake, send the whole text of this answer, headers included, to the administrator of the receiving system; do not send the message "
     "again."},
    {"FAIL", "5.4.4", "Host or domain name not found. Name service error for name={host} type=MX: Host not found"},
    {"FAIL", "5.3.4", "552 5.3.4 Message size exceeds fixed limit of 20971520 bytes at {host}"},
    {"FAIL", "5.7.26",
     "550-5.7.26 This mail is unauthenticated, which poses a risk.\n550-5.7.26 The sender must authenticate with SPF or DKIM.\n550 5.7.26 "
     "{host} 拒绝"},
    {"DEFER", "4.4.1", "connect to {host}[203.0.113.25]:25: Connection timed out"},
    {"DEFER", "4.2.0", "451 4.2.0 Greylisted, please try again in 300 seconds"},
    {"DEFER", "4.7.0", "421 4.7.0 Try again later, closing connection. ({host})"},
}};

constexpr std::string_view kGateway = "mx1.example.com", kStore = "SRV-MAIL01.example.com";

std::string replaced(std::string_view text, std::string_view recipient, std::string_view host)
{
    std::string out;
    while (!text.empty()) {
        const std::size_t open = text.find('{');
        out += text.substr(0, open);
        if (open == std::string_view::npos)
            break;
        out += text.substr(open, 6) == "{rcpt}" ? recipient : host;
        text.remove_prefix(text.find('}', open) + 1);
    }
    return out;
}

/// What all rows of one message share.
struct Message
{
    bool inbound, unwanted;
    std::string sender, recipient, id, host, hostAddress;
    std::string_view subject;
    std::int64_t bytes;
    std::int64_t recipients;
    EventTime start, transit; ///< transit: from the first stamp to the last
};

/// Most messages are of some kilobytes, a few of many megabytes.
std::int64_t sizeOf(Dice &dice)
{
    constexpr std::int64_t kLargest = 52'428'800;
    const auto bytes = static_cast<std::int64_t>((1500 + dice.below(3000)) << dice.below(7));
    return dice.chance(4) ? std::min(bytes * 150, kLargest) : bytes;
}

Message messageOf(const Moment &moment, std::int64_t number)
{
    constexpr std::string_view kHex = "0123456789abcdef";
    Dice dice(moment.seed, static_cast<std::uint64_t>(number) ^ 0x6D61'696C'0000'0000U);
    Message message{};
    message.inbound = dice.chance(62);
    const std::size_t partner = dice.below(kPartners.size());
    message.host = "smtp" + std::to_string(dice.below(3) + 1) + '.' + std::string(kPartners[partner]);
    message.hostAddress =
        (partner % 2 == 0 ? "198.51.100." : "203.0.113.") + std::to_string(partner * 4 + static_cast<std::size_t>(message.host[4] - '0'));
    message.unwanted = message.inbound && dice.chance(partner == 6 || partner == 9 || partner == 10 ? 70 : 8);
    const std::string inside = std::string(person(dice)) + "@example.com";
    const std::string outside = std::string(dice.pick(kLocalParts)) + '@' + std::string(kPartners[partner]);
    message.sender = message.inbound ? outside : inside;
    message.recipient = message.inbound ? inside : outside;
    message.subject = message.unwanted ? dice.pick(kUnwanted) : dice.pick(kSubjects);
    message.bytes = sizeOf(dice);
    message.recipients = dice.chance(80) ? 1 : static_cast<std::int64_t>(dice.below(12)) + 2;
    message.id = "<";
    for (std::uint64_t bits = dice.next(); bits != 0; bits >>= 4U)
        message.id += kHex[bits & 15U];
    message.id += message.inbound ? '@' + std::string(kPartners[partner]) + '>' : "@example.com>";
    message.start = moment.timeOf(number * 4);
    message.transit = static_cast<EventTime>(dice.below(40) + 2) * kSecond;
    if (dice.chance(4))
        message.transit += static_cast<EventTime>(dice.below(300) + 11) * kMinute;
    return message;
}

void fillHop(const Message &message, std::int64_t hop, EventRecord &record)
{
    std::string_view event = "RECEIVE", server = kGateway, protocol = "ESMTPS";
    std::string host = message.host, address = message.hostAddress;
    if (!message.inbound && hop == 0) {
        event = "SUBMIT";
        server = kStore;
        host = workstationOf(message.sender);
        address = addressOf(message.sender);
    } else if (hop == 1) {
        server = message.inbound ? kStore : kGateway;
        protocol = "ESMTP";
        host = message.inbound ? std::string(kGateway) : std::string(kStore);
        address = message.inbound ? "192.0.2.25" : "192.0.2.26";
    } else if (hop == 2) {
        event = message.inbound ? "DELIVER" : "SEND";
        server = message.inbound ? kStore : kGateway;
        protocol = message.inbound ? "LMTP" : "ESMTPS";
        host = message.inbound ? "localhost" : message.host;
        address = message.inbound ? "127.0.0.1" : message.hostAddress;
    }
    record.setTime(MailColumn::Time, message.start + message.transit * hop / 2);
    record.setText(MailColumn::Event, event);
    record.setText(MailColumn::Server, server);
    record.setText(MailColumn::Protocol, protocol);
    record.setText(MailColumn::ClientHost, host);
    record.setText(MailColumn::ClientIp, address);
    record.setText(MailColumn::Classification, message.unwanted ? "spam" : "ham");
    record.setInteger(MailColumn::SizeBytes, message.bytes);
}

void fillFailure(const Message &message, Dice &dice, EventRecord &record)
{
    const Failure &failure = dice.pick(kFailures);
    record.setText(MailColumn::Event, failure.event);
    record.setText(MailColumn::Server, kGateway);
    record.setText(MailColumn::Protocol, "SMTP");
    record.setText(MailColumn::Status, failure.status);
    record.setText(MailColumn::Diagnostic, replaced(failure.diagnostic, message.recipient, message.host));
    record.setText(MailColumn::ClientHost, message.host);
    record.setText(MailColumn::ClientIp, message.hostAddress);
    record.setTime(MailColumn::Time, message.start + message.transit);
}

/// A host that is refused at the gateway, or a wrong password at a mailbox.
void fillRefusal(const Message &message, const Moment &moment, Dice &dice, EventRecord &record)
{
    const bool access = dice.chance(40);
    record.setText(MailColumn::Event, access ? "AUTHFAIL" : "REJECT");
    record.setText(MailColumn::Server, access ? kStore : kGateway);
    record.setText(MailColumn::Protocol, access ? "IMAP" : "ESMTP");
    record.setText(MailColumn::Status, access ? "5.7.8" : "5.7.1");
    record.setText(MailColumn::Diagnostic,
                   access ? "535 5.7.8 Error: authentication failed" : "554 5.7.1 Service unavailable; client host is on a block list");
    record.setText(MailColumn::ClientHost, message.host);
    record.setText(MailColumn::ClientIp, outsideAddress(dice));
    record.setTime(MailColumn::Time, moment.time);
}

} // namespace

/// Four rows a message: two hops, the delivery, and now and then its failure; else the second delivery of a list.
void fillMailEvent(const Moment &moment, EventRecord &record)
{
    const std::int64_t hop = moment.index % 4;
    const Message message = messageOf(moment, moment.index / 4);
    Dice dice(moment.seed, static_cast<std::uint64_t>(moment.index));
    record.setText(MailColumn::Sender, message.sender);
    record.setText(MailColumn::Recipient, message.recipient);
    record.setText(MailColumn::MessageId, message.id);
    record.setText(MailColumn::Subject, message.subject);
    record.setInteger(MailColumn::RecipientCount, message.recipients);
    if (hop < 3) {
        fillHop(message, hop, record);
    } else if (dice.chance(10)) {
        fillFailure(message, dice, record);
    } else if (dice.chance(8)) {
        fillRefusal(message, moment, dice, record);
        record.setText(MailColumn::MessageId, {});
        record.setText(MailColumn::Subject, {});
    } else {
        fillHop(message, 2, record);
        record.setText(MailColumn::Recipient, std::string(person(dice)) + "@example.com");
    }
}

} // namespace qm::sample
