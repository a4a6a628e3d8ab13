#include "importing/LookupRows.h"

#include <algorithm>
#include <array>

namespace qm {

namespace {

struct EventType
{
    int id;
    std::string_view title, category;
    int severity; ///< 0 routine, 1 notable, 2 important, 3 alarming
};

/// Windows events that reports name, ordered by number.
constexpr std::array<EventType, 85> kEventTypes{{
    {104, "Event log cleared", "Log", 3},
    {1100, "Event logging service shut down", "System", 2},
    {1102, "Audit log cleared", "Log", 3},
    {4616, "System time changed", "System", 2},
    {4624, "Successful logon", "Logon", 0},
    {4625, "Failed logon", "Logon", 2},
    {4634, "Logoff", "Logon", 0},
    {4647, "User initiated logoff", "Logon", 0},
    {4648, "Logon with explicit credentials", "Logon", 1},
    {4657, "Registry value modified", "Object access", 1},
    {4662, "Directory object operation", "Directory", 1},
    {4670, "Object permissions changed", "Policy", 2},
    {4672, "Special privileges assigned", "Privilege", 1},
    {4673, "Privileged service called", "Privilege", 1},
    {4674, "Operation on privileged object", "Privilege", 1},
    {4688, "Process created", "Process", 0},
    {4689, "Process exited", "Process", 0},
    {4697, "Service installed", "Service", 3},
    {4698, "Scheduled task created", "Task", 2},
    {4699, "Scheduled task deleted", "Task", 2},
    {4700, "Scheduled task enabled", "Task", 1},
    {4701, "Scheduled task disabled", "Task", 1},
    {4702, "Scheduled task updated", "Task", 2},
    {4703, "Token right adjusted", "Privilege", 1},
    {4704, "User right assigned", "Policy", 2},
    {4705, "User right removed", "Policy", 2},
    {4706, "Domain trust created", "Policy", 3},
    {4713, "Kerberos policy changed", "Policy", 3},
    {4716, "Trusted domain changed", "Policy", 3},
    {4717, "System access granted", "Policy", 2},
    {4718, "System access removed", "Policy", 2},
    {4719, "System audit policy changed", "Policy", 3},
    {4720, "User account created", "Account", 2},
    {4722, "User account enabled", "Account", 2},
    {4723, "Password change attempt", "Account", 1},
    {4724, "Password reset attempt", "Account", 2},
    {4725, "User account disabled", "Account", 2},
    {4726, "User account deleted", "Account", 2},
    {4728, "Member added to global group", "Group", 3},
    {4729, "Member removed from global group", "Group", 2},
    {4732, "Member added to local group", "Group", 3},
    {4733, "Member removed from local group", "Group", 2},
    {4735, "Local group changed", "Group", 2},
    {4737, "Global group changed", "Group", 2},
    {4738, "User account changed", "Account", 2},
    {4739, "Domain policy changed", "Policy", 3},
    {4740, "Account locked out", "Account", 3},
    {4741, "Computer account created", "Account", 2},
    {4742, "Computer account changed", "Account", 1},
    {4743, "Computer account deleted", "Account", 2},
    {4755, "Universal group changed", "Group", 2},
    {4756, "Member added to universal group", "Group", 3},
    {4757, "Member removed from universal group", "Group", 2},
    {4765, "SID history added", "Account", 3},
    {4767, "Account unlocked", "Account", 2},
    {4768, "Kerberos TGT requested", "Kerberos", 0},
    {4769, "Kerberos service ticket requested", "Kerberos", 0},
    {4771, "Kerberos pre-authentication failed", "Kerberos", 2},
    {4776, "Credential validation", "Logon", 0},
    {4781, "Account name changed", "Account", 2},
    {4794, "DSRM password set attempt", "Account", 3},
    {4798, "Local group membership enumerated", "Directory", 1},
    {4799, "Security group membership enumerated", "Directory", 1},
    {4904, "Event source registered", "Policy", 2},
    {4905, "Event source unregistered", "Policy", 2},
    {4906, "CrashOnAuditFail changed", "Policy", 3},
    {4907, "Object audit settings changed", "Policy", 2},
    {4908, "Special groups table modified", "Policy", 2},
    {4912, "Per-user audit policy changed", "Policy", 3},
    {4946, "Firewall rule added", "Firewall", 2},
    {4947, "Firewall rule modified", "Firewall", 2},
    {4948, "Firewall rule deleted", "Firewall", 2},
    {4950, "Firewall setting changed", "Firewall", 3},
    {5025, "Firewall service stopped", "Firewall", 3},
    {5136, "Directory object modified", "Directory", 2},
    {5137, "Directory object created", "Directory", 2},
    {5140, "Network share accessed", "Share", 0},
    {5145, "Share object checked", "Share", 0},
    {5152, "Packet blocked", "Firewall", 1},
    {5156, "Connection permitted", "Firewall", 0},
    {5157, "Connection blocked", "Firewall", 1},
    {5447, "Filtering platform filter changed", "Firewall", 1},
    {7036, "Service state changed", "Service", 0},
    {7040, "Service start type changed", "Service", 2},
    {7045, "Service installed", "Service", 3},
}};
static_assert(std::ranges::is_sorted(kEventTypes, {}, &EventType::id));

constexpr std::string_view kLogonTypes = R"sql(
INSERT INTO logon_types VALUES
  (0, 'System'),
  (2, 'Interactive'),
  (3, 'Network'),
  (4, 'Batch'),
  (5, 'Service'),
  (7, 'Unlock'),
  (8, 'Network cleartext'),
  (9, 'New credentials'),
  (10, 'Remote interactive (RDP)'),
  (11, 'Cached interactive'),
  (12, 'Cached remote interactive'),
  (13, 'Cached unlock');
)sql";

constexpr std::string_view kMailRows = R"sql(
INSERT INTO mail_event_types VALUES
  ('RECEIVE', 'Received over the network', 'Inbound', 0),
  ('SUBMIT', 'Submitted locally', 'Outbound', 0),
  ('DELIVER', 'Delivered to a mailbox', 'Inbound', 0),
  ('SEND', 'Relayed to another server', 'Outbound', 0),
  ('EXPAND', 'Distribution list expanded', 'Internal', 0),
  ('DEFER', 'Delivery delayed', 'Outbound', 1),
  ('FAIL', 'Delivery failed', 'Outbound', 1),
  ('REJECT', 'Refused at the gateway', 'Inbound', 1),
  ('AUTHFAIL', 'Mailbox logon failed', 'Access', 1),
  ('DISCONNECT', 'Connection dropped', 'Inbound', 1);
INSERT INTO mail_status VALUES
  ('5.0', 'Other permanent failure'),
  ('5.1', 'Bad destination or sender address'),
  ('5.2', 'Mailbox full, disabled or too large'),
  ('5.3', 'Mail system problem'),
  ('5.4', 'Network or routing failure'),
  ('5.5', 'Protocol error'),
  ('5.6', 'Content not accepted'),
  ('5.7', 'Refused by policy or security'),
  ('4.0', 'Other temporary failure'),
  ('4.1', 'Temporary address problem'),
  ('4.2', 'Mailbox temporarily unavailable'),
  ('4.3', 'Mail system temporarily unavailable'),
  ('4.4', 'Network temporarily unavailable'),
  ('4.5', 'Temporary protocol problem'),
  ('4.6', 'Temporary content problem'),
  ('4.7', 'Temporary policy refusal'),
  ('2.0', 'Success');
)sql";

constexpr std::string_view kFileRows = R"sql(
INSERT INTO file_operations VALUES
  ('READ', 'Read or list', 'Access', 0),
  ('EXECUTE', 'Execute or traverse', 'Access', 0),
  ('ATTRIBUTES', 'Read attributes', 'Access', 0),
  ('OPEN', 'Handle opened', 'Access', 0),
  ('OPEN READ', 'Opened for reading', 'Access', 0),
  ('OPEN EXECUTE', 'Opened for execution', 'Access', 0),
  ('OPEN ATTRIBUTES', 'Opened for attributes', 'Access', 0),
  ('OPEN WRITE', 'Opened for writing', 'Change', 1),
  ('OPEN DELETE', 'Opened with delete right', 'Deletion', 1),
  ('OPEN PERMISSION', 'Opened to change permissions', 'Permission', 1),
  ('WRITE', 'Written', 'Change', 1),
  ('CREATE', 'Created', 'Change', 1),
  ('DELETE', 'Deleted', 'Deletion', 1),
  ('PERMISSION', 'Permissions or owner changed', 'Permission', 1),
  ('CONNECT', 'Share connected', 'Share', 0),
  ('SHARE ADD', 'Share created', 'Share', 1),
  ('SHARE MODIFY', 'Share changed', 'Share', 1),
  ('SHARE DELETE', 'Share removed', 'Share', 1);
)sql";

std::string quoted(std::string_view text)
{
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'')
            out += '\'';
        out += c;
    }
    return out + '\'';
}

std::string serverRows()
{
    std::string sql = "INSERT INTO event_types VALUES ";
    for (const EventType &type : kEventTypes) {
        if (&type != kEventTypes.data())
            sql += ',';
        sql += '(' + std::to_string(type.id) + ',' + quoted(type.title) + ',' + quoted(type.category) + ',' +
               std::to_string(type.severity) + ')';
    }
    return sql + ';' + std::string(kLogonTypes);
}

} // namespace

std::string lookupRowsSql(EventKind kind)
{
    switch (kind) {
    case EventKind::Server:
        return serverRows();
    case EventKind::Mail:
        return std::string(kMailRows);
    case EventKind::File:
        break;
    }
    return std::string(kFileRows);
}

std::string_view eventTitle(long long eventId)
{
    const auto found = std::ranges::lower_bound(kEventTypes, eventId, {}, [](const EventType &type) -> long long { return type.id; });
    return found != kEventTypes.end() && found->id == eventId ? found->title : std::string_view{};
}

} // namespace qm
