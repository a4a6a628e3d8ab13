#include "importing/UnixAccess.h"

#include <algorithm>
#include <array>

namespace qm {

namespace {

constexpr std::string_view kSuccess = "Audit Success", kFailure = "Audit Failure";

struct Access
{
    std::string_view user, target, address, type;
};

bool take(std::string_view &text, std::string_view prefix)
{
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

std::string_view firstWord(std::string_view text)
{
    return text.substr(0, text.find(' '));
}

/// An address as sshd writes it: digits, dots, colons, hexadecimal letters and a zone; or the word of a connection without a network.
bool isAddress(std::string_view text)
{
    if (text == "UNKNOWN")
        return true;
    const std::string_view numeric = text.substr(0, text.find('%'));
    return numeric.size() >= 2 && numeric.find_first_not_of("0123456789abcdefABCDEF.:") == std::string_view::npos &&
           numeric.find_first_of(".:") != std::string_view::npos;
}

/// "ADDRESS port N ..." at the beginning of \p text. \returns the address, or nothing.
std::string_view addressBeforePort(std::string_view text)
{
    const std::string_view address = firstWord(text);
    text.remove_prefix(address.size());
    const bool port = take(text, " port ") && !text.empty() && text.front() >= '0' && text.front() <= '9';
    return port && isAddress(address) ? address : std::string_view();
}

/// "USER from ADDRESS port N ...": a user's name may hold " from " itself, and sshd's own one is the last.
bool readUserFrom(std::string_view text, Access &access)
{
    constexpr std::string_view kFrom = " from ";
    for (std::size_t at = text.rfind(kFrom); at != std::string_view::npos;
         at = at == 0 ? std::string_view::npos : text.rfind(kFrom, at - 1)) {
        const std::string_view address = addressBeforePort(text.substr(at + kFrom.size()));
        if (address.empty())
            continue;
        access.user = text.substr(0, at);
        access.address = address;
        return true;
    }
    return false;
}

/// "USER ADDRESS port N ...": the last such address.
bool readUserAddress(std::string_view text, Access &access)
{
    constexpr std::string_view kPort = " port ";
    const std::size_t port = text.rfind(kPort);
    if (port == std::string_view::npos)
        return false;
    const std::size_t blank = text.rfind(' ', port - (port > 0 ? 1 : 0));
    if (blank == std::string_view::npos || addressBeforePort(text.substr(blank + 1)).empty())
        return false;
    access.user = text.substr(0, blank);
    access.address = text.substr(blank + 1, port - blank - 1);
    return true;
}

/// The text behind the first \p name in a list of "NAME=value", which blanks part; to its end.
std::string_view behind(std::string_view list, std::string_view name)
{
    const std::size_t at = list.find(name);
    return at == std::string_view::npos ? std::string_view() : list.substr(at + name.size());
}

/// "bob(uid=1000)" or "bob" at the beginning of \p text.
std::string_view nameBeforeNumber(std::string_view text)
{
    return text.substr(0, text.find_first_of(" ("));
}

/// "pam_unix(sshd:auth): ..." with the module's words, whichever program it works for.
bool readPam(std::string_view text, Access &access)
{
    if (!text.starts_with("pam_"))
        return false;
    const std::size_t end = text.find("): ");
    if (end == std::string_view::npos)
        return false;
    const bool login =
        text.substr(0, end).find("(sshd:") != std::string_view::npos || text.substr(0, end).find("(login:") != std::string_view::npos;
    text.remove_prefix(end + 3);
    if (text.starts_with("authentication failure;")) {
        access.type = kFailure;
        // The name asked for stands last, as it was typed; what stands before it is the module's own.
        const std::string_view host = behind(text, " rhost="), asking = firstWord(behind(text, " ruser=")), user = behind(host, " user=");
        if (isAddress(firstWord(host)))
            access.address = firstWord(host);
        const bool acts = !login && !asking.empty();
        access.user = acts ? asking : user;
        access.target = acts ? user : std::string_view();
        return true;
    }
    const bool opened = take(text, "session opened for user ");
    if (!opened && !take(text, "session closed for user "))
        return false;
    const std::string_view target = nameBeforeNumber(text);
    const std::size_t by = text.find(" by ");
    const std::string_view actor = by == std::string_view::npos ? std::string_view() : nameBeforeNumber(text.substr(by + 4));
    const bool acts = !login && !actor.empty();
    access.type = kSuccess;
    access.user = acts ? actor : target;
    access.target = acts ? target : std::string_view();
    return true;
}

bool readSshd(std::string_view text, Access &access)
{
    take(text, "error: ");
    if (take(text, "Accepted ")) {
        const std::size_t at = text.find(" for ");
        access.type = kSuccess;
        return at != std::string_view::npos && readUserFrom(text.substr(at + 5, text.find(" ssh2", at) - at - 5), access);
    }
    if (take(text, "Failed ")) {
        const std::size_t at = text.find(" for ");
        if (at == std::string_view::npos)
            return false;
        text.remove_prefix(at + 5);
        take(text, "invalid user ");
        access.type = kFailure;
        return readUserFrom(text, access);
    }
    if (take(text, "Invalid user ") || take(text, "maximum authentication attempts exceeded for ")) {
        take(text, "invalid user ");
        access.type = kFailure;
        return readUserFrom(text, access);
    }
    if (take(text, "User ")) { // "User bob from 192.0.2.1 not allowed because not listed in AllowUsers"
        const std::size_t end = text.rfind(" not allowed because "), at = text.substr(0, end).rfind(" from ");
        if (end == std::string_view::npos || at == std::string_view::npos)
            return false;
        access = {text.substr(0, at), {}, text.substr(at + 6, end - at - 6), kFailure};
        return true;
    }
    if (!take(text, "Connection closed by ") && !take(text, "Connection reset by ") && !take(text, "Disconnected from "))
        return false;
    if (take(text, "authenticating user ") || take(text, "invalid user ")) {
        access.type = kFailure;
        return readUserAddress(text, access);
    }
    if (take(text, "user "))
        return readUserAddress(text, access);
    access.address = addressBeforePort(text);
    return !access.address.empty();
}

/// "bob : TTY=pts/0 ; PWD=/home/bob ; USER=root ; COMMAND=/bin/ls", perhaps with what was refused before the first part.
bool readSudo(std::string_view text, Access &access)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::size_t colon = text.find(" : ");
    const std::size_t command = text.find("COMMAND=");
    if (colon == std::string_view::npos || colon > command || text.substr(0, colon).find(' ') != std::string_view::npos)
        return false;
    constexpr std::string_view kUser = " ; USER=";
    const std::size_t user = text.substr(0, command).find(kUser);
    access.user = text.substr(0, colon);
    if (user != std::string_view::npos)
        access.target = firstWord(text.substr(user + kUser.size()));
    access.type = text.substr(colon + 3).starts_with("TTY=") || text.substr(colon + 3).starts_with("PWD=") ? kSuccess : kFailure;
    return true;
}

bool readSu(std::string_view text, Access &access)
{
    access.type = kSuccess;
    if (take(text, "FAILED SU ") || take(text, "FAILED su "))
        access.type = kFailure;
    if (take(text, "(to ")) { // "(to root) bob on pts/0"
        const std::size_t end = text.find(") ");
        if (end == std::string_view::npos)
            return false;
        access.target = text.substr(0, end);
        access.user = firstWord(text.substr(end + 2));
        return true;
    }
    if (take(text, "'su ")) { // "'su root' failed for bob on /dev/pts/8"
        constexpr std::string_view kFailed = "' failed for ";
        const std::size_t end = text.find(kFailed);
        if (end == std::string_view::npos)
            return false;
        access = {firstWord(text.substr(end + kFailed.size())), text.substr(0, end), {}, kFailure};
        return true;
    }
    const bool failed = take(text, "for ");
    if (!failed && !take(text, "Successful su for ")) // "Successful su for root by bob"; "FAILED su for root by bob"
        return false;
    const std::size_t by = text.find(" by ");
    if (by == std::string_view::npos)
        return false;
    access.target = text.substr(0, by);
    access.user = firstWord(text.substr(by + 4));
    return true;
}

/// "(root) CMD (run-parts /etc/cron.hourly)"
bool readCron(std::string_view text, Access &access)
{
    const std::size_t end = text.find(") ");
    if (!text.starts_with('(') || end == std::string_view::npos || end < 2)
        return false;
    access.user = text.substr(1, end - 1);
    return access.user.find(' ') == std::string_view::npos;
}

struct Program
{
    std::string_view name;
    bool (*read)(std::string_view text, Access &access);
};
constexpr std::array kPrograms{
    Program{"sshd", readSshd},
    Program{"sshd-session", readSshd},
    Program{"sshd-auth", readSshd},
    Program{"sudo", readSudo},
    Program{"su", readSu},
    Program{"CRON", readCron},
    Program{"cron", readCron},
    Program{"crond", readCron},
    Program{"/usr/sbin/cron", readCron},
};

} // namespace

void readUnixAccess(std::string_view program, std::string_view message, EventRecord &record)
{
    const auto found = std::find_if(kPrograms.begin(), kPrograms.end(), [&](const Program &known) { return known.name == program; });
    const bool known = found != kPrograms.end();
    Access access;
    if (!readPam(message, access)) {
        access = {};
        if (!known || !found->read(message, access))
            return;
    }
    if (!access.user.empty())
        record.setText(ServerColumn::UserName, access.user);
    if (!access.target.empty())
        record.setText(ServerColumn::TargetUser, access.target);
    if (!access.address.empty() && access.address != "UNKNOWN")
        record.setText(ServerColumn::IpAddress, access.address);
    if (!access.type.empty())
        record.setText(ServerColumn::Type, access.type);
}

} // namespace qm
