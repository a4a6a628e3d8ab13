// Listing, finding, renaming, copying, deleting, folders and attributes.

#include "platform/Files.h"

#include "core/RuntimeError.h"
#include "platform/FoldedNames.h"
#include "platform/SystemFileWindows.h"

#include <QDir>

#include <memory>
#include <vector>

namespace qm::files {

using namespace qm::win;

namespace {

constexpr std::size_t kBlock = 262144;
constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// The bits of attr for what the system calls \p attributes. A link is a file.
int bitsOf(DWORD attributes)
{
    int bits = attr::normal;
    const auto add = [&](DWORD theirs, int ours) { bits |= (attributes & theirs) != 0 ? ours : 0; };
    add(FILE_ATTRIBUTE_READONLY, attr::readOnly);
    add(FILE_ATTRIBUTE_HIDDEN, attr::hidden);
    add(FILE_ATTRIBUTE_SYSTEM, attr::system);
    add(FILE_ATTRIBUTE_ARCHIVE, attr::archive);
    add(FILE_ATTRIBUTE_DEVICE, attr::system);
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        bits |= attr::directory;
    return bits;
}

struct Found
{
    QString path;
    Entry entry;
};

Found require(const QString &path, std::int32_t missing = err::fileNotFound)
{
    const QString whole = trimmed(path);
    (void)native(whole);
    const auto entry = entryAt(whole);
    if (!entry)
        raiseSystem(ERROR_FILE_NOT_FOUND, path, missing);
    return {whole, *entry};
}

void copyContent(const Found &from, Replacement &to)
{
    const Handle source(
        CreateFileW(native(from.path).c_str(), GENERIC_READ, kShared, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!source.isOpen())
        raiseSystem(GetLastError(), from.path);
    to.open(false);
    std::vector<char> block(kBlock);
    for (;;) {
        DWORD got = 0;
        if (!ReadFile(source.get(), block.data(), static_cast<DWORD>(block.size()), &got, nullptr))
            raiseSystem(GetLastError(), from.path);
        if (got == 0)
            break;
        to.write(block.data(), got);
    }
    FILETIME accessed{};
    FILETIME changed{};
    if (GetFileTime(source.get(), nullptr, &accessed, &changed))
        SetFileTime(to.handle(), nullptr, &accessed, &changed);
    to.commit((from.entry.attributes & FILE_ATTRIBUTE_READONLY) | FILE_ATTRIBUTE_ARCHIVE);
}

/// \returns the system's error number.
DWORD move(const QString &from, const QString &to)
{
    return MoveFileExW(native(from).c_str(), native(to).c_str(), MOVEFILE_WRITE_THROUGH) ? DWORD{ERROR_SUCCESS} : GetLastError();
}

/// Gives the entry at \p path that spelling: some file systems take a change of letter case for no change at all.
void spellAs(const QString &path)
{
    const auto entry = entryAt(path);
    if (!entry || entry->name == lastPart(path) || entry->name.compare(lastPart(path), Qt::CaseInsensitive) != 0)
        return;
    const QString between = path + QStringLiteral(".renamed");
    if (move(path, between) == ERROR_SUCCESS && move(between, path) != ERROR_SUCCESS)
        move(between, folderOf(path) + kSep + entry->name);
}

/// Moves a file to another drive.
void moveAcross(const Found &from, const QString &to)
{
    if (from.entry.isFolder())
        raiseSystem(ERROR_NOT_SAME_DEVICE, from.path + QStringLiteral(" to ") + to);
    Replacement target(to);
    copyContent(from, target);
    const std::wstring name = native(from.path);
    if (from.entry.isReadOnly())
        SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (!DeleteFileW(name.c_str()))
        raiseSystem(GetLastError(), from.path);
}

struct Identity
{
    DWORD volume;
    std::uint64_t index;
    bool operator==(const Identity &) const = default;
};

std::optional<Identity> identityOf(const QString &path)
{
    if (!entryAt(path))
        return std::nullopt;
    const Handle file(CreateFileW(native(path).c_str(), 0, kShared, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION about{};
    if (!file.isOpen() || !GetFileInformationByHandle(file.get(), &about))
        return std::nullopt;
    return Identity{about.dwVolumeSerialNumber, (static_cast<std::uint64_t>(about.nFileIndexHigh) << 32U) | about.nFileIndexLow};
}

} // namespace

QStringList list(const QString &folder, const QString &pattern, int mask)
{
    const Pattern wanted(pattern);
    const int listed = mask | attr::readOnly | attr::archive;
    const auto there = entryAt(trimmed(folder));
    if (!there || (there->attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return {};
    WIN32_FIND_DATAW found{};
    const std::wstring all = native(trimmed(folder)) + L"\\*";
    const HANDLE search = FindFirstFileExW(all.c_str(), FindExInfoBasic, &found, FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE) {
        const DWORD code = GetLastError();
        if (code == ERROR_FILE_NOT_FOUND) // a root that holds nothing
            return {};
        raiseSystem(code, folder, err::pathFileAccess);
    }
    FoldedNames names;
    do {
        const QString name = QString::fromWCharArray(found.cFileName);
        if (name != QStringLiteral(".") && name != QStringLiteral("..") && (bitsOf(found.dwFileAttributes) & ~listed) == 0)
            names.add(name, wanted);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return names.ordered();
}

QString existingSpelling(const QString &path)
{
    const QString whole = trimmed(path);
    const auto nameAt = lastSeparator(whole) + 1;
    const auto entry = nameAt < whole.size() ? entryAt(whole) : std::nullopt;
    return entry ? whole.first(nameAt) + entry->name : path;
}

bool fileExists(const QString &path)
{
    if (path.endsWith(kSep) || path.endsWith(u'/'))
        return false;
    const auto entry = entryAt(path);
    return entry && (entry->attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool entryExists(const QString &path)
{
    return entryAt(trimmed(path)).has_value();
}

bool sameFile(const QString &a, const QString &b)
{
    if (QDir::cleanPath(a).compare(QDir::cleanPath(b), Qt::CaseInsensitive) == 0)
        return true;
    const auto left = identityOf(a);
    return left && left == identityOf(b);
}

void rename(const QString &from, const QString &to)
{
    const Found source = require(from);
    const QString target = trimmed(to);
    if (source.path == target && source.entry.name == lastPart(target))
        return;
    requireName(target);
    if (entryAt(target) && QDir::cleanPath(source.path).compare(QDir::cleanPath(target), Qt::CaseInsensitive) != 0)
        raise(err::fileAlreadyExists, existingSpelling(target));
    const DWORD code = move(source.path, target);
    if (code == ERROR_SUCCESS)
        spellAs(target);
    else if (code == ERROR_NOT_SAME_DEVICE)
        moveAcross(source, target);
    else
        raiseSystem(code, source.path + QStringLiteral(" to ") + target, err::pathNotFound);
}

void copy(const QString &from, const QString &to)
{
    const Found source = require(from);
    if (source.entry.isFolder())
        raise(err::pathFileAccess, source.path + QStringLiteral(": is a folder"));
    Replacement target(to);
    if (sameFile(source.path, target.target()))
        raise(err::pathFileAccess, source.path + QStringLiteral(": cannot be copied onto itself"));
    copyContent(source, target);
}

void kill(const QString &path)
{
    const Found file = require(path);
    requireWritable(file.path, file.entry);
    const std::wstring name = native(file.path);
    // The link itself goes, never what it points to.
    const bool isFolderLink = (file.entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!(isFolderLink ? RemoveDirectoryW(name.c_str()) : DeleteFileW(name.c_str())))
        raiseSystem(GetLastError(), file.path);
}

void makeFolder(const QString &path)
{
    const QString folder = trimmed(path);
    requireName(folder);
    if (CreateDirectoryW(native(folder).c_str(), nullptr))
        return;
    const DWORD code = GetLastError();
    if (code == ERROR_ALREADY_EXISTS)
        raise(err::pathFileAccess, existingSpelling(folder) + QStringLiteral(": exists already"));
    raiseSystem(code, folder, err::pathNotFound);
}

void removeFolder(const QString &path)
{
    const Found folder = require(path, err::pathNotFound);
    if (!folder.entry.isFolder())
        raise(err::pathFileAccess, folder.path + QStringLiteral(": is not a folder"));
    if (RemoveDirectoryW(native(folder.path).c_str()))
        return;
    const DWORD code = GetLastError();
    if (code == ERROR_DIR_NOT_EMPTY)
        raise(err::pathFileAccess, folder.path + QStringLiteral(": the folder is not empty"));
    raiseSystem(code, folder.path, err::pathNotFound);
}

bool isHiddenName(const QString &)
{
    return false; // only the attribute hides
}

int fileAttributes(const QString &path)
{
    return bitsOf(require(path).entry.attributes);
}

void setFileAttributes(const QString &path, int attributes)
{
    const Found file = require(path);
    const bool wanted = (attributes & attr::readOnly) != 0;
    if (wanted == file.entry.isReadOnly())
        return;
    const DWORD bits = wanted ? file.entry.attributes | FILE_ATTRIBUTE_READONLY : file.entry.attributes & ~DWORD{FILE_ATTRIBUTE_READONLY};
    if (!SetFileAttributesW(native(file.path).c_str(), bits))
        raiseSystem(GetLastError(), file.path);
}

void setCurrentFolder(const QString &path)
{
    if (!SetCurrentDirectoryW(native(path).c_str()))
        raiseSystem(ERROR_PATH_NOT_FOUND, path, err::pathNotFound);
}

QString currentFolder()
{
    return QDir::toNativeSeparators(QDir::currentPath());
}

} // namespace qm::files
