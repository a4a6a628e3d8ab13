#include "importing/EventXmlReader.h"
#include "importing/ImportError.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace qm {

namespace {

constexpr std::string_view kSecurityChannel = "Security";

struct TaskName
{
    int number;
    std::string_view name;
};

/// Audit subcategories, which the provider of the Security log keeps as task numbers.
constexpr std::array<TaskName, 56> kTasks{{
    {103, "Service shutdown"},
    {104, "Log clear"},
    {12288, "Security State Change"},
    {12289, "Security System Extension"},
    {12290, "System Integrity"},
    {12291, "IPsec Driver"},
    {12292, "Other System Events"},
    {12544, "Logon"},
    {12545, "Logoff"},
    {12546, "Account Lockout"},
    {12547, "IPsec Main Mode"},
    {12548, "Special Logon"},
    {12549, "IPsec Extended Mode"},
    {12550, "IPsec Quick Mode"},
    {12551, "Other Logon/Logoff Events"},
    {12552, "Network Policy Server"},
    {12553, "User / Device Claims"},
    {12554, "Group Membership"},
    {12800, "File System"},
    {12801, "Registry"},
    {12802, "Kernel Object"},
    {12803, "SAM"},
    {12804, "Other Object Access Events"},
    {12805, "Certification Services"},
    {12806, "Application Generated"},
    {12807, "Handle Manipulation"},
    {12808, "File Share"},
    {12809, "Filtering Platform Packet Drop"},
    {12810, "Filtering Platform Connection"},
    {12811, "Detailed File Share"},
    {12812, "Removable Storage"},
    {12813, "Central Policy Staging"},
    {13056, "Sensitive Privilege Use"},
    {13057, "Non Sensitive Privilege Use"},
    {13058, "Other Privilege Use Events"},
    {13312, "Process Creation"},
    {13313, "Process Termination"},
    {13314, "DPAPI Activity"},
    {13315, "RPC Events"},
    {13316, "Plug and Play Events"},
    {13317, "Token Right Adjusted Events"},
    {13568, "Audit Policy Change"},
    {13569, "Authentication Policy Change"},
    {13570, "Authorization Policy Change"},
    {13571, "MPSSVC Rule-Level Policy Change"},
    {13572, "Filtering Platform Policy Change"},
    {13573, "Other Policy Change Events"},
    {13824, "User Account Management"},
    {13825, "Computer Account Management"},
    {13826, "Security Group Management"},
    {13827, "Distribution Group Management"},
    {14080, "Directory Service Access"},
    {14081, "Directory Service Changes"},
    {14336, "Credential Validation"},
    {14337, "Kerberos Service Ticket Operations"},
    {14339, "Kerberos Authentication Service"},
}};
static_assert(std::ranges::is_sorted(kTasks, {}, &TaskName::number));

/// Events in which the account that logs on is the "target" and not the acting one.
constexpr std::array<int, 12> kLogonEvents{4624, 4625, 4634, 4647, 4768, 4769, 4770, 4771, 4772, 4773, 4776, 4777};

std::optional<std::int64_t> wholeNumber(std::string_view text)
{
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::string_view levelName(std::string_view number)
{
    constexpr std::array<std::string_view, 6> kLevels{"Information", "Critical", "Error", "Warning", "Information", "Verbose"};
    const auto level = number.empty() ? std::optional<std::int64_t>(0) : wholeNumber(number);
    return level && *level >= 0 && *level < 6 ? kLevels[static_cast<std::size_t>(*level)] : number;
}

/// "Audit Success" or "Audit Failure" by the keyword bits, else the level.
std::string_view typeName(const WindowsEvent &event)
{
    constexpr std::uint64_t kAuditFailure = 0x0010000000000000, kAuditSuccess = 0x0020000000000000;
    std::string_view digits = event.keywords;
    if (digits.starts_with("0x") || digits.starts_with("0X"))
        digits.remove_prefix(2);
    std::uint64_t bits = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), bits, 16);
    if ((bits & kAuditFailure) != 0)
        return "Audit Failure";
    return (bits & kAuditSuccess) != 0 ? std::string_view("Audit Success") : levelName(event.level);
}

std::string_view categoryName(const WindowsEvent &event)
{
    if (!event.renderedTask.empty())
        return event.renderedTask;
    const auto number = wholeNumber(event.task);
    if (!number || *number == 0)
        return {};
    if (event.channel == kSecurityChannel || event.provider == "Microsoft-Windows-Eventlog") {
        const auto found = std::ranges::find(kTasks, *number, &TaskName::number);
        if (found != kTasks.end())
            return found->name;
    }
    return event.task;
}

/// The rendered text, or a title and the data as "Name: value" lines.
std::string messageOf(const WindowsEvent &event)
{
    if (!event.renderedMessage.empty()) {
        std::string text = event.renderedMessage;
        std::erase(text, '\r');
        return text;
    }
    std::string text;
    if (event.channel == kSecurityChannel || event.channel == "System")
        text = eventTitle(wholeNumber(event.eventId).value_or(0));
    if (!text.empty() && !event.data.empty())
        text += ".\n\n";
    bool first = true;
    for (const auto &[name, value] : event.data) {
        if (!first)
            text += '\n';
        first = false;
        if (!name.empty())
            text += name + ": ";
        text += value;
    }
    return text;
}

void fillAccounts(const WindowsEvent &event, std::int64_t eventId, EventRecord &record)
{
    if (std::ranges::find(kLogonEvents, eventId) != kLogonEvents.end()) {
        record.setText(ServerColumn::UserName, event.firstDatum("TargetUserName", "TargetUserSid"));
        record.setText(ServerColumn::UserDomain, event.datum("TargetDomainName"));
        return;
    }
    std::string_view user = event.firstDatum("SubjectUserName", "AccountName", "User", "SubjectUserSid");
    std::string_view domain = event.firstDatum("SubjectDomainName", "AccountDomain");
    if (const std::size_t slash = user.find('\\'); slash != std::string_view::npos) {
        domain = user.substr(0, slash);
        user.remove_prefix(slash + 1);
    }
    record.setText(ServerColumn::UserName, user.empty() ? std::string_view(event.userSid) : user);
    record.setText(ServerColumn::UserDomain, domain);
    record.setText(ServerColumn::TargetUser, event.firstDatum("TargetUserName", "OldTargetUserName"));
}

std::string_view statusOf(const WindowsEvent &event)
{
    const std::string_view reason = event.datum("SubStatus");
    const bool saysSomething = reason.find_first_not_of("0x") != std::string_view::npos;
    return saysSomething ? reason : event.datum("Status");
}

} // namespace

std::string_view WindowsEvent::datum(std::string_view name) const
{
    for (const auto &[key, value] : data)
        if (key == name && !value.empty() && value != "-")
            return value;
    return {};
}

void fillRecord(const WindowsEvent &event, const std::string &dataSource, EventRecord &record)
{
    constexpr std::string_view kMappedAddress = "::ffff:"; // an IPv4 address as an IPv6 one
    const auto time = parseEventTime(event.systemTime);
    if (!time)
        refuseInput(QStringLiteral("the event has no time: TimeCreated SystemTime is \"%1\"").arg(toQt(event.systemTime)));
    const auto eventId = wholeNumber(event.eventId);
    if (!eventId)
        refuseInput(QStringLiteral("the event has no number: EventID is \"%1\"").arg(toQt(event.eventId)));
    record.clear();
    record.setTime(ServerColumn::TimeGenerated, *time);
    record.setInteger(ServerColumn::EventId, *eventId);
    if (const auto recordId = wholeNumber(event.recordId))
        record.setInteger(ServerColumn::RecordId, *recordId);
    record.setText(ServerColumn::Level, levelName(event.level));
    record.setText(ServerColumn::Type, typeName(event));
    record.setText(ServerColumn::Source, event.provider);
    record.setText(ServerColumn::Channel, event.channel);
    record.setText(ServerColumn::Category, categoryName(event));
    record.setText(ServerColumn::Computer, event.computer);
    fillAccounts(event, *eventId, record);
    if (const auto logonType = wholeNumber(event.datum("LogonType")))
        record.setInteger(ServerColumn::LogonType, *logonType);
    std::string_view address = event.firstDatum("IpAddress", "ClientAddress", "SourceAddress", "SourceIp");
    if (address.starts_with(kMappedAddress))
        address.remove_prefix(kMappedAddress.size());
    record.setText(ServerColumn::IpAddress, address);
    record.setText(ServerColumn::Process, event.firstDatum("NewProcessName", "ProcessName", "Image", "CallerProcessName", "Application"));
    record.setText(ServerColumn::StatusCode, statusOf(event));
    record.setText(ServerColumn::Message, messageOf(event));
    record.setText(ServerColumn::DataSource, dataSource);
}

} // namespace qm
