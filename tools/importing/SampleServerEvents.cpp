#include "importing/SampleWorld.h"

namespace qm::sample {

namespace {

/// Who an event names.
enum class Cast {
    User,        ///< a person on their workstation or a server
    Admin,       ///< an administrator acting on a server
    AdminOnUser, ///< an administrator changing a person's account
    AdminOnGroup,
    Machine, ///< the computer itself
};

struct ServerEvent
{
    int eventId;
    std::size_t weight;
    std::string_view level, type, source, channel, category;
    Cast cast;
    std::string_view sentence;
};

constexpr std::string_view kAuditing = "Microsoft-Windows-Security-Auditing", kEventlog = "Microsoft-Windows-Eventlog";
constexpr std::string_view kSuccess = "Audit Success", kFailure = "Audit Failure", kInformation = "Information";

constexpr std::array<ServerEvent, 44> kEvents{{
    {4624, 260, kInformation, kSuccess, kAuditing, "Security", "Logon", Cast::User, "An account was logged on."},
    {4634, 120, kInformation, kSuccess, kAuditing, "Security", "Logoff", Cast::User, "An account was logged off."},
    {4625, 22, kInformation, kFailure, kAuditing, "Security", "Logon", Cast::User, "An account could not log on."},
    {4672, 55, kInformation, kSuccess, kAuditing, "Security", "Special Logon", Cast::Admin,
     "Special privileges were given to a new logon."},
    {4648, 20, kInformation, kSuccess, kAuditing, "Security", "Logon", Cast::AdminOnUser, "A logon was tried with explicit credentials."},
    {4688, 110, kInformation, kSuccess, kAuditing, "Security", "Process Creation", Cast::User, "A process was created."},
    {4768, 60, kInformation, kSuccess, kAuditing, "Security", "Kerberos Authentication Service", Cast::User,
     "A Kerberos ticket was requested."},
    {4769, 70, kInformation, kSuccess, kAuditing, "Security", "Kerberos Service Ticket Operations", Cast::User,
     "A Kerberos service ticket was requested."},
    {4776, 40, kInformation, kSuccess, kAuditing, "Security", "Credential Validation", Cast::User,
     "Credentials of an account were checked."},
    {5140, 40, kInformation, kSuccess, kAuditing, "Security", "File Share", Cast::User, "A network share was opened."},
    {4740, 4, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "An account was locked out."},
    {4720, 4, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "An account was created."},
    {4722, 3, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "An account was enabled."},
    {4724, 5, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "A password reset was tried."},
    {4725, 3, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "An account was disabled."},
    {4726, 2, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "An account was deleted."},
    {4738, 5, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "An account was changed."},
    {4767, 2, kInformation, kSuccess, kAuditing, "Security", "User Account Management", Cast::AdminOnUser, "An account was unlocked."},
    {4728, 3, kInformation, kSuccess, kAuditing, "Security", "Security Group Management", Cast::AdminOnGroup,
     "A member was added to a global group."},
    {4729, 2, kInformation, kSuccess, kAuditing, "Security", "Security Group Management", Cast::AdminOnGroup,
     "A member was removed from a global group."},
    {4732, 4, kInformation, kSuccess, kAuditing, "Security", "Security Group Management", Cast::AdminOnGroup,
     "A member was added to a local group."},
    {4733, 2, kInformation, kSuccess, kAuditing, "Security", "Security Group Management", Cast::AdminOnGroup,
     "A member was removed from a local group."},
    {4719, 2, kInformation, kSuccess, kAuditing, "Security", "Audit Policy Change", Cast::Admin,
     "The audit policy of the system was changed."},
    {4907, 5, kInformation, kSuccess, kAuditing, "Security", "Audit Policy Change", Cast::Admin,
     "Audit settings of an object were changed."},
    {4616, 2, kInformation, kSuccess, kAuditing, "Security", "Security State Change", Cast::Machine, "The system time was changed."},
    {1100, 2, kInformation, kSuccess, kEventlog, "Security", "Service shutdown", Cast::Machine, "The event logging service was shut down."},
    {1102, 2, kInformation, kSuccess, kEventlog, "Security", "Log clear", Cast::Admin, "The audit log was cleared."},
    {104, 2, kInformation, kInformation, kEventlog, "System", "Log clear", Cast::Admin, "An event log was cleared."},
    {4697, 3, kInformation, kSuccess, kAuditing, "Security", "Security System Extension", Cast::Admin, "A service was installed."},
    {4698, 4, kInformation, kSuccess, kAuditing, "Security", "Other Object Access Events", Cast::Admin, "A scheduled task was created."},
    {4699, 2, kInformation, kSuccess, kAuditing, "Security", "Other Object Access Events", Cast::Admin, "A scheduled task was deleted."},
    {4702, 4, kInformation, kSuccess, kAuditing, "Security", "Other Object Access Events", Cast::Admin, "A scheduled task was updated."},
    {7045, 4, kInformation, kInformation, "Service Control Manager", "System", "", Cast::Admin, "A service was installed in the system."},
    {7036, 50, kInformation, kInformation, "Service Control Manager", "System", "", Cast::Machine, "A service entered another state."},
    {7040, 4, kInformation, kInformation, "Service Control Manager", "System", "", Cast::Admin, "The start type of a service was changed."},
    {7031, 4, "Error", "Error", "Service Control Manager", "System", "", Cast::Machine, "A service ended unexpectedly."},
    {1000, 12, "Error", "Error", "Application Error", "Application", "Application Crashing Events", Cast::Machine, "A program failed."},
    {1014, 18, "Warning", "Warning", "Microsoft-Windows-DNS-Client", "System", "", Cast::Machine, "A name could not be resolved in time."},
    {36, 10, "Warning", "Warning", "Microsoft-Windows-Time-Service", "System", "", Cast::Machine, "The time has not been synchronised."},
    {153, 6, "Warning", "Warning", "disk", "System", "", Cast::Machine, "An operation on a disk was tried again."},
    {55, 2, "Error", "Error", "Ntfs", "System", "", Cast::Machine, "A file system structure is damaged."},
    {41, 1, "Critical", "Critical", "Microsoft-Windows-Kernel-Power", "System", "", Cast::Machine,
     "The system restarted without shutting down."},
    {400, 10, kInformation, kInformation, "PowerShell", "Windows PowerShell", "Engine Lifecycle", Cast::Admin,
     "The engine state is changed."},
    {4104, 8, "Verbose", "Verbose", "Microsoft-Windows-PowerShell", "Microsoft-Windows-PowerShell/Operational", "Execute a Remote Command",
     Cast::Admin, "A script block was run."},
}};

constexpr std::size_t totalWeight()
{
    std::size_t sum = 0;
    for (const ServerEvent &event : kEvents)
        sum += event.weight;
    return sum;
}

const ServerEvent &eventOf(int eventId)
{
    for (const ServerEvent &event : kEvents)
        if (event.eventId == eventId)
            return event;
    return kEvents.front();
}

struct LogonKind
{
    int type;
    std::size_t weight;
    std::string_view process;
};
constexpr std::array<LogonKind, 8> kLogonKinds{{{3, 48, ""},
                                                {5, 16, "C:\\Windows\\System32\\services.exe"},
                                                {2, 10, "C:\\Windows\\System32\\winlogon.exe"},
                                                {7, 12, "C:\\Windows\\System32\\lsass.exe"},
                                                {10, 8, "C:\\Windows\\System32\\svchost.exe"},
                                                {11, 3, "C:\\Windows\\System32\\lsass.exe"},
                                                {4, 2, "C:\\Windows\\System32\\taskhostw.exe"},
                                                {8, 1, "C:\\inetpub\\w3wp.exe"}}};
constexpr std::array<std::string_view, 4> kReasons{"0xc000006a", "0xc0000064", "0xc0000234", "0xc0000072"};
constexpr std::array<std::string_view, 12> kPrograms{"C:\\Program Files\\Office\\winword.exe",
                                                     "C:\\Program Files\\Office\\excel.exe",
                                                     "C:\\Program Files\\Office\\outlook.exe",
                                                     "C:\\Windows\\System32\\cmd.exe",
                                                     "C:\\Windows\\explorer.exe",
                                                     "C:\\Windows\\System32\\svchost.exe",
                                                     "C:\\Windows\\System32\\conhost.exe",
                                                     "C:\\Program Files\\Browser\\browser.exe",
                                                     "C:\\Windows\\System32\\WindowsPowerShell\\v1.0\\powershell.exe",
                                                     "C:\\Program Files\\Backup\\agent.exe",
                                                     "C:\\Windows\\System32\\wbem\\wmiprvse.exe",
                                                     "C:\\Tools\\Inventar\\übersicht.exe"};
constexpr std::array<std::string_view, 10> kThings{"BackupAgent",  "UpdateOrchestrator", "Druckerübersicht", "InventoryScan",
                                                   "LogShipper",   "RemoteSupport",      "夜间备份",         "CertRenewal",
                                                   "ReportExport", "AntivirusScan"};
constexpr std::array<std::string_view, 6> kGroups{"Domain Admins", "Remote Desktop Users", "Backup Operators",
                                                  "Finance",       "Projektleitung",       "Administrators"};

/// Names the persons and the computer of an event.
void castEvent(const ServerEvent &event, Dice &dice, EventRecord &record)
{
    std::string_view user;
    switch (event.cast) {
    case Cast::User:
        user = person(dice);
        if (dice.chance(45))
            record.setText(ServerColumn::Computer, workstationOf(user));
        else
            record.setText(ServerColumn::Computer, server(dice));
        record.setText(ServerColumn::IpAddress, dice.chance(4) ? outsideAddress(dice) : addressOf(user));
        break;
    case Cast::AdminOnUser:
        record.setText(ServerColumn::TargetUser, person(dice));
        [[fallthrough]];
    case Cast::AdminOnGroup:
    case Cast::Admin:
        user = administrator(dice);
        record.setText(ServerColumn::Computer, server(dice));
        break;
    case Cast::Machine:
        user = "SYSTEM";
        record.setText(ServerColumn::Computer, server(dice));
        break;
    }
    if (event.cast == Cast::AdminOnGroup)
        record.setText(ServerColumn::TargetUser, dice.pick(kGroups));
    record.setText(ServerColumn::UserName, user);
    record.setText(ServerColumn::UserDomain, event.cast == Cast::Machine ? std::string_view("NT AUTHORITY") : kDomain);
}

void addLine(std::string &message, std::string_view name, std::string_view value)
{
    if (value.empty())
        return;
    message += '\n';
    message += name;
    message += ": ";
    message += value;
}

void describe(const ServerEvent &event, Dice &dice, EventRecord &record)
{
    std::string message(event.sentence);
    message += '\n';
    addLine(message, "Account", record.text(static_cast<int>(ServerColumn::UserName)));
    addLine(message, "Changed", record.text(static_cast<int>(ServerColumn::TargetUser)));
    addLine(message, "Address", record.text(static_cast<int>(ServerColumn::IpAddress)));
    addLine(message, "Program", record.text(static_cast<int>(ServerColumn::Process)));
    addLine(message, "Reason", record.text(static_cast<int>(ServerColumn::StatusCode)));
    switch (event.eventId) {
    case 4697:
    case 4698:
    case 4699:
    case 4702:
    case 7031:
    case 7036:
    case 7040:
    case 7045:
        addLine(message, "Name", dice.pick(kThings));
        addLine(message, "Command", dice.pick(kPrograms));
        break;
    case 4104:
        addLine(
            message, "Script",
            "Get-ChildItem -Path 'D:\\Shares' -Recurse |\n\tWhere-Object { $_.Length -gt 1MB } |\n\tExport-Csv \"largest, by folder.csv\"");
        break;
    case 4907:
        addLine(message, "Object", "D:\\Shares\\Finance\\Abschlüsse");
        addLine(message, "Old setting", "success: read, write");
        addLine(message, "New setting", "none");
        break;
    default:
        break;
    }
    record.setText(ServerColumn::Message, message);
}

void fillDetails(const ServerEvent &event, Dice &dice, EventRecord &record)
{
    record.setInteger(ServerColumn::EventId, event.eventId);
    record.setText(ServerColumn::Level, event.level);
    record.setText(ServerColumn::Type, event.type);
    record.setText(ServerColumn::Source, event.source);
    record.setText(ServerColumn::Channel, event.channel);
    record.setText(ServerColumn::Category, event.category);
    if (event.eventId == 4624 || event.eventId == 4625 || event.eventId == 4634) {
        const LogonKind &kind = dice.pickWeighted(kLogonKinds, 100);
        record.setInteger(ServerColumn::LogonType, kind.type);
        record.setText(ServerColumn::Process, kind.process);
    }
    if (event.eventId == 4625)
        record.setText(ServerColumn::StatusCode, dice.pick(kReasons));
    if (event.eventId == 4688)
        record.setText(ServerColumn::Process, dice.pick(kPrograms));
}

/// Guessing at a password: refused several times within minutes, then let in.
constexpr std::int64_t kBlock = 32, kGuesses = 6;
constexpr std::int64_t kBlocksPerIncident = 16;

bool fillGuessing(const Moment &moment, EventRecord &record)
{
    const std::int64_t block = moment.index / kBlock, place = moment.index % kBlock;
    if (block % kBlocksPerIncident != 3 || place > kGuesses)
        return false;
    Dice dice(moment.seed, static_cast<std::uint64_t>(block) ^ 0x6775'6573'7300'0000U);
    const ServerEvent &event = eventOf(place == kGuesses ? 4624 : 4625);
    const std::string_view user = person(dice);
    record.setText(ServerColumn::UserName, user);
    record.setText(ServerColumn::UserDomain, kDomain);
    record.setText(ServerColumn::Computer, server(dice));
    record.setText(ServerColumn::IpAddress, outsideAddress(dice));
    fillDetails(event, dice, record);
    record.setInteger(ServerColumn::LogonType, dice.chance(50) ? 10 : 3);
    if (place < kGuesses)
        record.setText(ServerColumn::StatusCode, "0xc000006a");
    record.setTime(ServerColumn::TimeGenerated,
                   moment.timeOf(block * kBlock) + place * (20 + static_cast<EventTime>(dice.below(30))) * kSecond);
    describe(event, dice, record);
    return true;
}

} // namespace

void fillServerEvent(const Moment &moment, EventRecord &record)
{
    record.setInteger(ServerColumn::RecordId, 100'000 + moment.index);
    if (fillGuessing(moment, record) || fillLinuxEvent(moment, record))
        return;
    Dice dice(moment.seed, static_cast<std::uint64_t>(moment.index));
    const ServerEvent &event = dice.pickWeighted(kEvents, totalWeight());
    record.setTime(ServerColumn::TimeGenerated, moment.time);
    castEvent(event, dice, record);
    fillDetails(event, dice, record);
    describe(event, dice, record);
}

} // namespace qm::sample
