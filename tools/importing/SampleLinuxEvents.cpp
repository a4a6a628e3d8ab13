#include "importing/SampleWorld.h"
#include "importing/UnixAccess.h"

namespace qm::sample {

namespace {

constexpr std::array<std::string_view, 4> kHosts{"web01.example.com", "web02.example.com", "db01.example.com", "build01.example.com"};
constexpr std::array<std::string_view, 8> kGuessedNames{"admin", "test", "oracle", "ubuntu", "git", "postgres", "root", "deploy"};
/// Those who know how to work on these hosts.
constexpr std::array<std::string_view, 6> kOperators{"m.okafor", "p.novak", "y.chen", "h.berg", "deploy", "backup"};
constexpr std::array<std::string_view, 7> kCommands{"/usr/bin/apt update",
                                                    "/usr/bin/apt -y upgrade",
                                                    "/usr/bin/systemctl restart nginx",
                                                    "/usr/bin/journalctl -u nginx --since today",
                                                    "/usr/bin/tail -f /var/log/nginx/error.log",
                                                    "/usr/sbin/useradd -m contractor",
                                                    "/bin/cat /etc/shadow"};
constexpr std::array<std::string_view, 5> kUnits{"nginx.service", "postgresql.service", "backup.service", "certbot.service",
                                                 "php-fpm.service"};

struct CronJob
{
    std::string_view user, command;
};
constexpr std::array<CronJob, 5> kJobs{{{"root", "cd / && run-parts --report /etc/cron.hourly"},
                                        {"root", "test -x /usr/sbin/anacron || run-parts --report /etc/cron.daily"},
                                        {"backup", "/usr/local/bin/nightly-backup --quiet"},
                                        {"postgres", "/usr/bin/vacuumdb --all --analyze-only"},
                                        {"www-data", "php /srv/shop/cron.php"}}};

struct Fault
{
    std::string_view program, level, message;
};
constexpr std::array<Fault, 7> kFaults{{{"nginx", "Error", "connect() failed (111: Connection refused) while connecting to upstream"},
                                        {"nginx", "Warning", "an upstream response is buffered to a temporary file"},
                                        {"postgres", "Error", "FATAL: remaining connection slots are reserved for superusers"},
                                        {"postgres", "Error", "ERROR: deadlock detected"},
                                        {"kernel", "Warning", "EXT4-fs warning (device sda1): ext4_dx_add_entry: directory index full"},
                                        {"kernel", "Critical", "Out of memory: Killed process 2817 (php-fpm)"},
                                        {"chronyd", "Warning", "Can't synchronise: no selectable sources"}}};

struct Line
{
    std::string_view program, channel, level = "Information";
    std::string message;
};

std::string portText(Dice &dice)
{
    return " port " + std::to_string(20000 + dice.below(40000)) + " ssh2";
}

Line refusedLogin(Dice &dice)
{
    // A few addresses try most of the names.
    const std::string address = dice.chance(60) ? "203.0.113." + std::to_string(10 + dice.below(5)) : outsideAddress(dice);
    const std::string_view name = dice.pick(kGuessedNames);
    const std::string known = name == "root" || name == "deploy" ? "" : "invalid user ";
    return {"sshd", "auth", "Information", "Failed password for " + known + std::string(name) + " from " + address + portText(dice)};
}

Line login(Dice &dice)
{
    const std::string_view user = dice.pick(kOperators);
    const std::string_view method = dice.chance(85) ? "publickey" : "password";
    return {"sshd", "auth", "Information",
            "Accepted " + std::string(method) + " for " + std::string(user) + " from " + addressOf(user) + portText(dice)};
}

Line sudo(Dice &dice)
{
    const std::string user(dice.pick(kOperators)), command(dice.pick(kCommands));
    const std::string refused = dice.chance(6) ? "user NOT in sudoers ; " : "";
    return {"sudo", "auth", refused.empty() ? "Information" : "Critical",
            user + " : " + refused + "TTY=pts/" + std::to_string(dice.below(4)) + " ; PWD=/home/" + user +
                " ; USER=" + (dice.chance(85) ? "root" : "postgres") + " ; COMMAND=" + command};
}

Line su(Dice &dice)
{
    const std::string user(dice.pick(kOperators));
    return {"su", "auth", "Information", (dice.chance(15) ? "FAILED SU (to root) " : "(to root) ") + user + " on pts/0"};
}

Line cron(Dice &dice)
{
    const CronJob &job = dice.pick(kJobs);
    return {"CRON", "cron", "Information", "(" + std::string(job.user) + ") CMD (" + std::string(job.command) + ")"};
}

Line unitFailure(Dice &dice)
{
    const std::string_view reason = dice.chance(70) ? "exit-code" : dice.chance(50) ? "timeout" : "oom-kill";
    return {"systemd", "daemon", "Warning", std::string(dice.pick(kUnits)) + ": Failed with result '" + std::string(reason) + "'."};
}

Line fault(Dice &dice)
{
    const Fault &what = dice.pick(kFaults);
    return {what.program, what.program == "kernel" ? "kern" : "daemon", what.level, std::string(what.message)};
}

Line lineOf(Dice &dice)
{
    struct Maker
    {
        std::size_t weight;
        Line (*make)(Dice &);
    };
    constexpr std::array<Maker, 7> kMakers{
        {{30, refusedLogin}, {12, login}, {14, sudo}, {4, su}, {24, cron}, {4, unitFailure}, {12, fault}}};
    constexpr std::size_t kAll = 100;
    return dice.pickWeighted(kMakers, kAll).make(dice);
}

} // namespace

bool fillLinuxEvent(const Moment &moment, EventRecord &record)
{
    constexpr std::size_t kPercent = 12;
    Dice dice(moment.seed, static_cast<std::uint64_t>(moment.index) ^ 0x6C69'6E75'7800'0000U);
    if (!dice.chance(kPercent))
        return false;
    const Line line = lineOf(dice);
    record.setTime(ServerColumn::TimeGenerated, moment.time);
    record.setText(ServerColumn::Level, line.level);
    record.setText(ServerColumn::Type, line.level);
    record.setText(ServerColumn::Source, line.program);
    record.setText(ServerColumn::Channel, line.channel);
    record.setText(ServerColumn::Computer, dice.pick(kHosts));
    record.setText(ServerColumn::Process, std::string(line.program) + '[' + std::to_string(400 + dice.below(30000)) + ']');
    record.setText(ServerColumn::Message, line.message);
    readUnixAccess(line.program, line.message, record);
    return true;
}

} // namespace qm::sample
