/// \file
/// The tables of a package's embedded event database: one schema for each kind of events.
#pragma once

#include <span>
#include <string_view>

namespace qm {

enum class EventKind { Server, Mail, File };

/// Columns of server_events in table order, without the row id.
enum class ServerColumn {
    TimeGenerated,
    RecordId,
    EventId,
    Level,
    Type,
    Source,
    Channel,
    Category,
    Computer,
    UserDomain,
    UserName,
    TargetUser,
    LogonType,
    IpAddress,
    Process,
    StatusCode,
    Message,
    DataSource
};
/// Columns of mail_events in table order, without the row id.
enum class MailColumn {
    Time,
    Event,
    Server,
    Protocol,
    Sender,
    SenderDomain,
    Recipient,
    RecipientDomain,
    RecipientCount,
    SizeBytes,
    MessageId,
    ClientIp,
    ClientHost,
    Status,
    Diagnostic,
    Classification,
    Subject,
    DataSource
};
/// Columns of file_events in table order, without the row id.
enum class FileColumn {
    Time,
    Server,
    Share,
    Path,
    Folder,
    FileExt,
    Operation,
    UserName,
    ClientIp,
    Result,
    Process,
    AccessMask,
    EventId,
    RecordId,
    DataSource
};

enum class EventColumnType { Text, Integer, Time };

struct EventColumn
{
    std::string_view name;
    EventColumnType type = EventColumnType::Text;
    bool required = false;        ///< NOT NULL
    std::string_view defaultText; ///< for a required column without a value; empty: a value must be there
    bool derived = false;         ///< computed from other columns, never read
};

/// A column whose values a look-up table explains.
struct LookupReference
{
    int column = -1;
    std::string_view table, key;
};

struct EventSchema
{
    EventKind kind;
    std::string_view name; ///< "server", "mail", "file": as on the command line
    std::string_view table;
    std::span<const EventColumn> columns; ///< without the row id "id"
    std::string_view tablesSql;           ///< creates the events table and its look-up tables
    std::string_view indexesSql;
    LookupReference lookup; ///< of the column that reports join on; column -1: none

    /// Position of a column by its name in any letter case; -1 when there is none.
    [[nodiscard]] int indexOf(std::string_view columnName) const;
};

[[nodiscard]] const EventSchema &eventSchema(EventKind kind);
/// By the word on the command line; nullptr for another word.
[[nodiscard]] const EventSchema *eventSchema(std::string_view name);

/// Title of a Windows event number as the look-up table event_types has it; empty when it is not listed.
[[nodiscard]] std::string_view eventTitle(long long eventId);

/// Whether two ASCII texts are the same without letter case.
[[nodiscard]] bool sameName(std::string_view a, std::string_view b);

} // namespace qm
