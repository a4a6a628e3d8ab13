#include "importing/SampleWorld.h"

namespace qm::sample {

namespace {

struct FileOperation
{
    std::string_view name;
    std::size_t weight;
    int eventId;
    std::string_view accessMask;
};
constexpr std::array<FileOperation, 14> kOperations{{{"READ", 400, 4663, "0x1"},
                                                     {"OPEN READ", 100, 4656, "0x120089"},
                                                     {"WRITE", 150, 4663, "0x2"},
                                                     {"CREATE", 110, 11, ""},
                                                     {"ATTRIBUTES", 40, 4663, "0x80"},
                                                     {"OPEN WRITE", 30, 4656, "0x12019f"},
                                                     {"EXECUTE", 25, 4663, "0x20"},
                                                     {"DELETE", 40, 4663, "0x10000"},
                                                     {"OPEN DELETE", 10, 4656, "0x10000"},
                                                     {"PERMISSION", 8, 4663, "0x40000"},
                                                     {"CONNECT", 75, 5140, "0x1"},
                                                     {"SHARE ADD", 3, 5142, ""},
                                                     {"SHARE MODIFY", 5, 5143, ""},
                                                     {"SHARE DELETE", 4, 5144, ""}}};
constexpr std::size_t kOperationWeight = 1000;

struct Place
{
    std::string_view share, folder;
};
constexpr std::array<Place, 14> kPlaces{{{"Projects", "D:\\Shares\\Projects\\Bridge South"},
                                         {"Projects", "D:\\Shares\\Projects\\Brücke Süd\\Pläne"},
                                         {"Projects", "D:\\Shares\\Projects\\東京オフィス"},
                                         {"Finance", "D:\\Shares\\Finance\\2026\\Invoices"},
                                         {"Finance", "D:\\Shares\\Finance\\2026\\Payroll"},
                                         {"Finance", "D:\\Shares\\Finance\\Budget"},
                                         {"HR", "D:\\Shares\\HR\\Contracts"},
                                         {"HR", "D:\\Shares\\HR\\Applications"},
                                         {"Public", "D:\\Shares\\Public"},
                                         {"Public", "D:\\Shares\\Public\\Photos"},
                                         {"Home$", "D:\\Home"},
                                         {"C$", "C:\\Windows\\Temp"},
                                         {"ADMIN$", "C:\\Windows\\System32"},
                                         {"SYSVOL", "C:\\Windows\\SYSVOL\\example.com\\Policies"}}};
constexpr std::size_t kOrdinaryPlaces = 11; ///< the first ones; the rest is for administrators
constexpr std::array<std::string_view, 4> kFileServers{"SRV-FILE01.example.com", "SRV-FILE02.example.com", "SRV-APP01.example.com",
                                                       "SRV-DC01.example.com"};
constexpr std::array<std::string_view, 14> kStems{"plan",     "offer", "minutes", "report", "photo",  "Übersicht", "budget",
                                                  "contract", "draft", "export",  "日程",   "backup", "figures",   "réunion"};
constexpr std::array<std::string_view, 16> kExtensions{".docx", ".xlsx", ".pdf", ".docx", ".xlsx", ".jpg", ".txt", ".pptx",
                                                       ".csv",  ".zip",  ".tmp", ".dwg",  ".msg",  "",     ".png", ".XML"};
constexpr std::array<std::string_view, 6> kProgramExtensions{".exe", ".dll", ".ps1", ".bat", ".vbs", ".msi"};
constexpr std::array<std::string_view, 5> kProcesses{"C:\\Program Files\\Backup\\agent.exe", "C:\\Windows\\explorer.exe",
                                                     "C:\\Windows\\System32\\robocopy.exe", "C:\\Windows\\System32\\svchost.exe",
                                                     "C:\\Program Files\\Antivirus\\scan.exe"};

std::string fileIn(std::string_view folder, Dice &dice, bool program)
{
    std::string path(folder);
    path += '\\';
    path += dice.pick(kStems);
    path += '-';
    path += std::to_string(dice.below(400) + 1);
    path += program ? dice.pick(kProgramExtensions) : dice.pick(kExtensions);
    return path;
}

/// A clean-up, an accident or worse: a dozen and more deletions within one minute.
constexpr std::int64_t kBlock = 64, kBlocksPerIncident = 10, kDeletions = 14;

bool fillMassDeletion(const Moment &moment, EventRecord &record)
{
    const std::int64_t block = moment.index / kBlock, place = moment.index % kBlock;
    if (block % kBlocksPerIncident != 4 || place >= kDeletions)
        return false;
    Dice dice(moment.seed, static_cast<std::uint64_t>(block) ^ 0x6465'6C65'7465'0000U);
    const Place &where = kPlaces[dice.below(kOrdinaryPlaces)];
    record.setText(FileColumn::Server, dice.pick(kFileServers));
    record.setText(FileColumn::Share, where.share);
    const std::string_view user = person(dice);
    record.setText(FileColumn::UserName, user);
    record.setText(FileColumn::ClientIp, addressOf(user));
    if (dice.chance(30))
        record.setText(FileColumn::Process, dice.pick(kProcesses));
    record.setText(FileColumn::Operation, "DELETE");
    record.setText(FileColumn::Result, "SUCCESS");
    record.setText(FileColumn::AccessMask, "0x10000");
    record.setInteger(FileColumn::EventId, 4663);
    Dice own(moment.seed, static_cast<std::uint64_t>(moment.index));
    record.setText(FileColumn::Path, fileIn(where.folder, own, false));
    const EventTime start = moment.timeOf(block * kBlock) / kMinute * kMinute;
    record.setTime(FileColumn::Time, start + place * 4 * kSecond + static_cast<EventTime>(own.below(1000)));
    return true;
}

} // namespace

void fillFileEvent(const Moment &moment, EventRecord &record)
{
    record.setInteger(FileColumn::RecordId, 500'000 + moment.index);
    if (fillMassDeletion(moment, record))
        return;
    Dice dice(moment.seed, static_cast<std::uint64_t>(moment.index));
    const FileOperation &operation = dice.pickWeighted(kOperations, kOperationWeight);
    const bool ofShare = operation.name.starts_with("SHARE ") || operation.name == "CONNECT";
    const bool byAdministrator = operation.name.starts_with("SHARE ") || dice.chance(6);
    const std::string_view user = byAdministrator ? administrator(dice) : person(dice);
    const Place &where = kPlaces[byAdministrator ? dice.below(kPlaces.size()) : dice.below(kOrdinaryPlaces)];
    record.setTime(FileColumn::Time, moment.time);
    record.setText(FileColumn::Server, dice.pick(kFileServers));
    record.setText(FileColumn::Share, where.share);
    record.setText(FileColumn::Path,
                   ofShare ? std::string(where.folder) : fileIn(where.folder, dice, dice.chance(operation.name == "CREATE" ? 7 : 1)));
    record.setText(FileColumn::Operation, operation.name);
    record.setText(FileColumn::AccessMask, operation.accessMask);
    record.setInteger(FileColumn::EventId, operation.eventId);
    record.setText(FileColumn::Result, !ofShare && dice.chance(1) ? "FAILURE" : "SUCCESS");
    if (dice.chance(12)) { // done on the server itself
        record.setText(FileColumn::Process, dice.pick(kProcesses));
        record.setText(FileColumn::Share, ofShare ? where.share : std::string_view());
        record.setText(FileColumn::UserName, dice.chance(50) ? std::string_view("SYSTEM") : user);
    } else {
        record.setText(FileColumn::UserName, user);
        record.setText(FileColumn::ClientIp, addressOf(user));
    }
}

} // namespace qm::sample
