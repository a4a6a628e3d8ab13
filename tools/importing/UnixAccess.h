/// \file
/// Who did what from where, as the messages of Unix's programs for logging in and for acting as another user say it.
#pragma once

#include "importing/EventRecord.h"

#include <string_view>

namespace qm {

/// Sets the record's user, target user, address and type ("Audit Success", "Audit Failure") from a message of OpenSSH's sshd, sudo, su,
/// cron or their PAM modules; other programs' messages and other messages of these leave it as it is. For log-ins the user is the account
/// that logs in; for sudo and su it is the one who acts, and the target user the one acted as. Names in messages may be chosen by
/// strangers ("Failed password for invalid user a from 192.0.2.1 from 198.51.100.7 port 22 ssh2"): the address is the one that the program
/// itself wrote. \p program: the syslog tag without its process number.
void readUnixAccess(std::string_view program, std::string_view message, EventRecord &record);

} // namespace qm
