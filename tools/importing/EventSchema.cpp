#include "importing/EventSchema.h"

#include <algorithm>
#include <array>

namespace qm {

namespace {

using enum EventColumnType;

constexpr std::array<EventColumn, 18> kServerColumns{{
    {"time_generated", Time, true, "", false},
    {"record_id", Integer, false, "", false},
    {"event_id", Integer, false, "", false},
    {"level", Text, true, "", false},
    {"type", Text, true, "", false},
    {"source", Text, false, "", false},
    {"channel", Text, true, "Unknown", false},
    {"category", Text, false, "", false},
    {"computer", Text, true, "(unknown)", false},
    {"user_domain", Text, false, "", false},
    {"user_name", Text, false, "", false},
    {"target_user", Text, false, "", false},
    {"logon_type", Integer, false, "", false},
    {"ip_address", Text, false, "", false},
    {"process", Text, false, "", false},
    {"status_code", Text, false, "", false},
    {"message", Text, false, "", false},
    {"data_source", Text, false, "", false},
}};

constexpr std::array<EventColumn, 18> kMailColumns{{
    {"time", Time, true, "", false},
    {"event", Text, true, "", false},
    {"server", Text, false, "", false},
    {"protocol", Text, false, "", false},
    {"sender", Text, false, "", false},
    {"sender_domain", Text, false, "", true},
    {"recipient", Text, false, "", false},
    {"recipient_domain", Text, false, "", true},
    {"recipient_count", Integer, false, "", false},
    {"size_bytes", Integer, false, "", false},
    {"message_id", Text, false, "", false},
    {"client_ip", Text, false, "", false},
    {"client_host", Text, false, "", false},
    {"status", Text, false, "", false},
    {"diagnostic", Text, false, "", false},
    {"classification", Text, false, "", false},
    {"subject", Text, false, "", false},
    {"data_source", Text, false, "", false},
}};

constexpr std::array<EventColumn, 15> kFileColumns{{
    {"time", Time, true, "", false},
    {"server", Text, true, "", false},
    {"share", Text, false, "", false},
    {"path", Text, false, "", false},
    {"folder", Text, false, "", true},
    {"file_ext", Text, false, "", true},
    {"operation", Text, true, "", false},
    {"user_name", Text, false, "", false},
    {"client_ip", Text, false, "", false},
    {"result", Text, true, "", false},
    {"process", Text, false, "", false},
    {"access_mask", Text, false, "", false},
    {"event_id", Integer, false, "", false},
    {"record_id", Integer, false, "", false},
    {"data_source", Text, false, "", false},
}};

static_assert(kServerColumns.size() == static_cast<std::size_t>(ServerColumn::DataSource) + 1);
static_assert(kMailColumns.size() == static_cast<std::size_t>(MailColumn::DataSource) + 1);
static_assert(kFileColumns.size() == static_cast<std::size_t>(FileColumn::DataSource) + 1);

constexpr std::string_view kServerTables = R"sql(
CREATE TABLE event_types (event_id INTEGER PRIMARY KEY, title TEXT NOT NULL, category TEXT NOT NULL, severity INTEGER NOT NULL DEFAULT 0);
CREATE TABLE logon_types (logon_type INTEGER PRIMARY KEY, name TEXT NOT NULL);
CREATE TABLE server_events (
  id INTEGER PRIMARY KEY, time_generated DATETIME NOT NULL, record_id INTEGER, event_id INTEGER, level TEXT NOT NULL, type TEXT NOT NULL,
  source TEXT, channel TEXT NOT NULL, category TEXT, computer TEXT NOT NULL, user_domain TEXT, user_name TEXT COLLATE NOCASE,
  target_user TEXT COLLATE NOCASE, logon_type INTEGER, ip_address TEXT, process TEXT, status_code TEXT, message TEXT, data_source TEXT);
)sql";
constexpr std::string_view kServerIndexes = R"sql(
CREATE INDEX ix_se_time ON server_events(time_generated);
CREATE INDEX ix_se_event_time ON server_events(event_id, time_generated);
CREATE INDEX ix_se_user_time ON server_events(user_name, time_generated);
CREATE INDEX ix_se_computer_time ON server_events(computer, time_generated);
CREATE INDEX ix_se_level_time ON server_events(level, time_generated);
)sql";

constexpr std::string_view kMailTables = R"sql(
CREATE TABLE mail_event_types (event TEXT PRIMARY KEY, title TEXT NOT NULL, direction TEXT NOT NULL, is_failure INTEGER NOT NULL);
CREATE TABLE mail_status (status_class TEXT PRIMARY KEY, title TEXT NOT NULL);
CREATE TABLE mail_events (
  id INTEGER PRIMARY KEY, time DATETIME NOT NULL, event TEXT NOT NULL REFERENCES mail_event_types(event), server TEXT, protocol TEXT,
  sender TEXT COLLATE NOCASE, sender_domain TEXT COLLATE NOCASE, recipient TEXT COLLATE NOCASE, recipient_domain TEXT COLLATE NOCASE,
  recipient_count INTEGER, size_bytes INTEGER, message_id TEXT, client_ip TEXT, client_host TEXT, status TEXT, diagnostic TEXT,
  classification TEXT, subject TEXT, data_source TEXT);
)sql";
constexpr std::string_view kMailIndexes = R"sql(
CREATE INDEX ix_me_time ON mail_events(time);
CREATE INDEX ix_me_event_time ON mail_events(event, time);
CREATE INDEX ix_me_sender_time ON mail_events(sender, time);
CREATE INDEX ix_me_recipient_time ON mail_events(recipient, time);
CREATE INDEX ix_me_msgid ON mail_events(message_id);
)sql";

constexpr std::string_view kFileTables = R"sql(
CREATE TABLE file_operations (operation TEXT PRIMARY KEY, title TEXT NOT NULL, op_group TEXT NOT NULL, changes_data INTEGER NOT NULL);
CREATE TABLE file_events (
  id INTEGER PRIMARY KEY, time DATETIME NOT NULL, server TEXT NOT NULL, share TEXT, path TEXT, folder TEXT, file_ext TEXT COLLATE NOCASE,
  operation TEXT NOT NULL REFERENCES file_operations(operation), user_name TEXT COLLATE NOCASE, client_ip TEXT, result TEXT NOT NULL,
  process TEXT, access_mask TEXT, event_id INTEGER, record_id INTEGER, data_source TEXT);
)sql";
constexpr std::string_view kFileIndexes = R"sql(
CREATE INDEX ix_fe_time ON file_events(time);
CREATE INDEX ix_fe_oper_time ON file_events(operation, time);
CREATE INDEX ix_fe_user_time ON file_events(user_name, time);
CREATE INDEX ix_fe_server_time ON file_events(server, time);
CREATE INDEX ix_fe_path ON file_events(path);
)sql";

constexpr std::array<EventSchema, 3> kSchemas{{
    {EventKind::Server, "server", "server_events", kServerColumns, kServerTables, kServerIndexes, {}},
    {EventKind::Mail,
     "mail",
     "mail_events",
     kMailColumns,
     kMailTables,
     kMailIndexes,
     {static_cast<int>(MailColumn::Event), "mail_event_types", "event"}},
    {EventKind::File,
     "file",
     "file_events",
     kFileColumns,
     kFileTables,
     kFileIndexes,
     {static_cast<int>(FileColumn::Operation), "file_operations", "operation"}},
}};

constexpr char lowered(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

bool sameName(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, {}, lowered, lowered);
}

int EventSchema::indexOf(std::string_view columnName) const
{
    const auto found = std::ranges::find_if(columns, [&](const EventColumn &column) { return sameName(column.name, columnName); });
    return found == columns.end() ? -1 : static_cast<int>(found - columns.begin());
}

const EventSchema &eventSchema(EventKind kind)
{
    return kSchemas[static_cast<std::size_t>(kind)];
}

const EventSchema *eventSchema(std::string_view name)
{
    const auto found = std::ranges::find(kSchemas, name, &EventSchema::name);
    return found == kSchemas.end() ? nullptr : &*found;
}

} // namespace qm
