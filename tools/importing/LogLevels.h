/// \file
/// Words for the numbers of syslog: severities and facilities (RFC 5424, section 6.2.1).
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace qm {

/// The level that the database keeps for a syslog severity: 0 to 2 Critical, 3 Error, 4 Warning, 5 and 6 Information, 7 Verbose.
[[nodiscard]] constexpr std::string_view levelOfSeverity(int severity)
{
    constexpr std::array<std::string_view, 8> kLevels{"Critical", "Critical",    "Critical",    "Error",
                                                      "Warning",  "Information", "Information", "Verbose"};
    return severity >= 0 && severity < 8 ? kLevels[static_cast<std::size_t>(severity)] : std::string_view("Information");
}

/// "kern", "user", "mail", ... "local7"; empty for another number.
[[nodiscard]] constexpr std::string_view facilityName(int facility)
{
    constexpr std::array<std::string_view, 24> kFacilities{
        "kern", "user",     "mail",    "daemon",       "auth",   "syslog", "lpr",    "news",   "uucp",   "cron",   "authpriv", "ftp",
        "ntp",  "security", "console", "solaris-cron", "local0", "local1", "local2", "local3", "local4", "local5", "local6",   "local7"};
    return facility >= 0 && facility < 24 ? kFacilities[static_cast<std::size_t>(facility)] : std::string_view();
}

} // namespace qm
