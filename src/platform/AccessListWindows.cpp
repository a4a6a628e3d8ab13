#include "platform/AccessListWindows.h"

#include "platform/SystemFileWindows.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include <aclapi.h>
#include <sddl.h>

namespace qm::win {

namespace {

struct LocalFreer
{
    void operator()(void *memory) const { LocalFree(memory); }
};
template <class T>
using Local = std::unique_ptr<T, LocalFreer>;

struct AccessList
{
    Local<void> descriptor;
    PACL list = nullptr; ///< inside the descriptor; null: everybody may do everything
};

/// \returns the system's error number.
DWORD readAccessList(const std::wstring &path, AccessList &result)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD code = GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &result.list,
                                             nullptr, &descriptor);
    result.descriptor.reset(descriptor);
    return code;
}

DWORD writeAccessList(const std::wstring &path, PACL list, DWORD more = 0)
{
    std::wstring name = path; // the function's parameter is not const, though it changes nothing
    return SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | more, nullptr, nullptr, list, nullptr);
}

/// \returns the owner, inside \p descriptor; null when the system does not tell.
PSID readOwner(const std::wstring &path, Local<void> &descriptor)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR read = nullptr;
    const DWORD code =
        GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr, &read);
    descriptor.reset(read);
    return code == ERROR_SUCCESS ? owner : nullptr;
}

/// A piece of what the system knows about this process's user.
std::vector<std::byte> tokenInformation(TOKEN_INFORMATION_CLASS kind)
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
        return {};
    const Handle token(opened);
    DWORD size = 0;
    GetTokenInformation(token.get(), kind, nullptr, 0, &size);
    std::vector<std::byte> information(size);
    if (size == 0 || !GetTokenInformation(token.get(), kind, information.data(), size, &size))
        return {};
    return information;
}

/// Whether \p sid stands for people in general, not for a user or a group that somebody was put into.
bool isAnybody(PSID sid)
{
    constexpr std::array general{WinWorldSid,       WinAuthenticatedUserSid, WinBuiltinUsersSid, WinBuiltinGuestsSid,    WinAnonymousSid,
                                 WinInteractiveSid, WinNetworkSid,           WinLocalSid,        WinBuiltinPowerUsersSid};
    return std::any_of(general.begin(), general.end(), [&](WELL_KNOWN_SID_TYPE kind) { return IsWellKnownSid(sid, kind) != 0; });
}

/// The entries of \p list that let in users and groups by name, and one for \p user.
std::vector<EXPLICIT_ACCESSW> privateEntries(PACL list, PSID user)
{
    const auto entryFor = [](PSID sid, ACCESS_MASK rights, ACCESS_MODE mode) {
        EXPLICIT_ACCESSW entry{};
        entry.grfAccessPermissions = rights;
        entry.grfAccessMode = mode;
        entry.grfInheritance = NO_INHERITANCE;
        entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
        entry.Trustee.ptstrName = static_cast<wchar_t *>(sid);
        return entry;
    };
    std::vector<EXPLICIT_ACCESSW> entries{entryFor(user, FILE_ALL_ACCESS, GRANT_ACCESS)};
    for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
        void *found = nullptr;
        if (!GetAce(list, i, &found))
            continue;
        const auto *header = static_cast<const ACE_HEADER *>(found);
        if (header->AceType != ACCESS_ALLOWED_ACE_TYPE && header->AceType != ACCESS_DENIED_ACE_TYPE)
            continue;
        auto *ace = static_cast<ACCESS_ALLOWED_ACE *>(found); // both kinds are laid out alike
        PSID sid = &ace->SidStart;
        if (!isAnybody(sid) && !EqualSid(sid, user))
            entries.push_back(entryFor(sid, ace->Mask, header->AceType == ACCESS_ALLOWED_ACE_TYPE ? GRANT_ACCESS : DENY_ACCESS));
    }
    return entries;
}

} // namespace

bool copyAccessList(const std::wstring &from, const std::wstring &to)
{
    AccessList found;
    return readAccessList(from, found) == ERROR_SUCCESS && writeAccessList(to, found.list) == ERROR_SUCCESS;
}

void makePrivate(const std::wstring &path, const QString &shownAs)
{
    const QString what = shownAs + QStringLiteral(" (keeping it private)");
    AccessList found;
    if (const DWORD code = readAccessList(path, found); code != ERROR_SUCCESS)
        raiseSystem(code, what);
    const auto user = tokenInformation(TokenUser);
    if (user.empty())
        raiseSystem(GetLastError(), what);
    auto entries = privateEntries(found.list, reinterpret_cast<const TOKEN_USER *>(user.data())->User.Sid);
    PACL list = nullptr;
    DWORD code = SetEntriesInAclW(static_cast<ULONG>(entries.size()), entries.data(), nullptr, &list);
    const Local<ACL> owned(list);
    if (code == ERROR_SUCCESS)
        code = writeAccessList(path, list, PROTECTED_DACL_SECURITY_INFORMATION); // what the folder gives to all is not inherited again
    if (code != ERROR_SUCCESS)
        raiseSystem(code, what);
}

bool isOwnFile(const std::wstring &path)
{
    Local<void> descriptor;
    const PSID owner = readOwner(path, descriptor);
    if (owner == nullptr)
        return false;
    const auto user = tokenInformation(TokenUser);
    const auto maker = tokenInformation(TokenOwner); // the administrators' group for what an administrator makes
    return (!user.empty() && EqualSid(owner, reinterpret_cast<const TOKEN_USER *>(user.data())->User.Sid)) ||
           (!maker.empty() && EqualSid(owner, reinterpret_cast<const TOKEN_OWNER *>(maker.data())->Owner));
}

bool belongsToTrusted(const std::wstring &path)
{
    Local<void> descriptor;
    const PSID owner = readOwner(path, descriptor);
    if (owner == nullptr)
        return false;
    constexpr std::array trusted{WinBuiltinAdministratorsSid, WinLocalSystemSid};
    if (std::any_of(trusted.begin(), trusted.end(), [&](WELL_KNOWN_SID_TYPE kind) { return IsWellKnownSid(owner, kind) != 0; }))
        return true;
    return isOwnFile(path);
}

QString ownerOf(const std::wstring &path)
{
    Local<void> descriptor;
    const PSID owner = readOwner(path, descriptor);
    std::array<wchar_t, 257> name{}; // the longest account name has 256 characters
    std::array<wchar_t, 257> domain{};
    auto nameSize = static_cast<DWORD>(name.size());
    auto domainSize = static_cast<DWORD>(domain.size());
    SID_NAME_USE use{};
    if (owner == nullptr || !LookupAccountSidW(nullptr, owner, name.data(), &nameSize, domain.data(), &domainSize, &use))
        return {};
    const QString account = QString::fromWCharArray(name.data());
    return domain[0] == L'\0' ? account : QString::fromWCharArray(domain.data()) + u'\\' + account;
}

} // namespace qm::win
