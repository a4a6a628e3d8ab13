// Listing folders, and finding entries in any letter case.

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/PosixFileUnix.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>

namespace qm::files {

namespace {

using DirectoryStream = std::unique_ptr<DIR, decltype([](DIR *stream) { ::closedir(stream); })>;

DirectoryStream openFolder(const QString &folder)
{
    if (folder.isEmpty() || folder.contains(QChar(u'\0'))) {
        errno = ENOENT;
        return nullptr;
    }
    return DirectoryStream(::opendir(QFile::encodeName(folder).constData()));
}

bool isDots(const char *name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// The attributes that decide whether an entry is listed. A link is a file; a pipe, socket or device belongs to the system.
int listingAttributes(DIR *stream, const dirent &entry)
{
    int bits = entry.d_name[0] == '.' ? attr::hidden : attr::normal;
    unsigned char type = entry.d_type;
    if (type == DT_UNKNOWN) {
        struct stat status
        {
        };
        if (::fstatat(::dirfd(stream), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
            type = static_cast<unsigned char>(IFTODT(status.st_mode));
    }
    if (type == DT_DIR)
        bits |= attr::directory;
    else if (type != DT_REG && type != DT_LNK && type != DT_UNKNOWN)
        bits |= attr::system;
    return bits;
}

/// A listing pattern: a star and a suffix, or a whole name.
class Pattern final
{
public:
    explicit Pattern(const QString &text) : m_star(text.startsWith(u'*')), m_rest(text.mid(m_star ? 1 : 0).toCaseFolded()) {}
    [[nodiscard]] bool matches(QStringView folded) const { return m_star ? folded.endsWith(m_rest) : folded == m_rest; }

private:
    bool m_star;
    QString m_rest;
};

/// Names with their case-folded forms, which lie one behind the other in one text: a big folder costs no allocation a name.
class FoldedNames final
{
public:
    /// Keeps \p name when it matches \p pattern.
    void add(QString name, const Pattern &pattern)
    {
        const std::size_t start = m_text.size();
        const std::size_t size = fold(name);
        Entry entry{0, start, size, std::move(name)};
        if (pattern.matches(folded(entry)))
            m_entries.push_back(std::move(entry));
        else
            m_text.resize(start);
    }

    /// In the order of the folded forms, then of the names themselves.
    [[nodiscard]] QStringList ordered()
    {
        const std::size_t common = commonStart();
        for (Entry &entry : m_entries)
            entry.key = firstUnits(folded(entry).sliced(static_cast<qsizetype>(common)));
        std::sort(m_entries.begin(), m_entries.end(), [this](const Entry &a, const Entry &b) {
            if (a.key != b.key)
                return a.key < b.key;
            const int order = folded(a).compare(folded(b));
            return order != 0 ? order < 0 : a.name < b.name;
        });
        QStringList names;
        names.reserve(static_cast<qsizetype>(m_entries.size()));
        for (Entry &entry : m_entries)
            names.append(std::move(entry.name));
        return names;
    }

private:
    struct Entry
    {
        std::uint64_t key; ///< the first four units behind what all names share, as one number that orders as they do
        std::size_t at;
        std::size_t size;
        QString name;
    };

    [[nodiscard]] QStringView folded(const Entry &entry) const { return QStringView(m_text).sliced(at(entry.at), at(entry.size)); }
    [[nodiscard]] static qsizetype at(std::size_t place) { return static_cast<qsizetype>(place); }

    /// Appends the folded form of \p name. \returns its length.
    std::size_t fold(const QString &name)
    {
        const std::size_t start = m_text.size();
        for (const QChar unit : name) {
            if (unit.unicode() >= 0x80) {
                const QString whole = name.toCaseFolded();
                m_text.replace(start, std::u16string::npos, reinterpret_cast<const char16_t *>(whole.utf16()),
                               static_cast<std::size_t>(whole.size()));
                break;
            }
            m_text.push_back(unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit.unicode() + ('a' - 'A')) : unit.unicode());
        }
        return m_text.size() - start;
    }

    /// How many units all folded names share at their start.
    [[nodiscard]] std::size_t commonStart() const
    {
        if (m_entries.empty())
            return 0;
        const QStringView first = folded(m_entries.front());
        auto shared = first.size();
        for (const Entry &entry : m_entries) {
            const QStringView other = folded(entry);
            const auto limit = std::min(shared, other.size());
            shared = std::mismatch(first.begin(), first.begin() + limit, other.begin()).first - first.begin();
        }
        return static_cast<std::size_t>(shared);
    }

    [[nodiscard]] static std::uint64_t firstUnits(QStringView text)
    {
        std::uint64_t key = 0;
        for (qsizetype i = 0; i < 4; ++i)
            key = key << 16 | (i < text.size() ? text[i].unicode() : 0U);
        return key;
    }

    std::u16string m_text;
    std::vector<Entry> m_entries;
};

/// The name in \p folder that equals \p name when letter case is ignored; the first in listing order when there are several.
QString nameInFolder(const QString &folder, const QString &name)
{
    const QString wanted = name.toCaseFolded();
    QString found;
    const DirectoryStream stream = openFolder(folder);
    while (const dirent *entry = stream ? ::readdir(stream.get()) : nullptr) {
        const QString candidate = QFile::decodeName(entry->d_name);
        if (candidate.toCaseFolded() == wanted && (found.isEmpty() || candidate < found))
            found = candidate;
    }
    return found;
}

} // namespace

QStringList list(const QString &folder, const QString &pattern, int mask)
{
    const Pattern wanted(pattern);
    const int listed = mask | attr::readOnly | attr::archive;
    const DirectoryStream stream = openFolder(folder);
    if (!stream && errno != ENOENT && errno != ENOTDIR)
        posix::raiseSystem(errno, folder);
    FoldedNames names;
    while (const dirent *entry = stream ? ::readdir(stream.get()) : nullptr) {
        if (!isDots(entry->d_name) && (listingAttributes(stream.get(), *entry) & ~listed) == 0)
            names.add(QFile::decodeName(entry->d_name), wanted);
    }
    return names.ordered();
}

QString existingSpelling(const QString &path)
{
    const QString whole = posix::trimmed(path);
    const auto nameAt = whole.lastIndexOf(kSep) + 1;
    const QString name = whole.mid(nameAt);
    if (name.isEmpty() || posix::entryAt(whole))
        return path;
    const QString spelled = nameInFolder(posix::folderOf(whole), name);
    return spelled.isEmpty() ? path : whole.first(nameAt) + spelled;
}

bool fileExists(const QString &path)
{
    if (path.endsWith(kSep))
        return false;
    struct stat status
    {
    };
    const QString found = existingSpelling(path);
    return posix::entryAt(found) && ::stat(QFile::encodeName(found).constData(), &status) == 0 && !S_ISDIR(status.st_mode);
}

bool entryExists(const QString &path)
{
    return posix::entryAt(posix::trimmed(existingSpelling(path))).has_value();
}

bool sameFile(const QString &a, const QString &b)
{
    if (QDir::cleanPath(a).compare(QDir::cleanPath(b), Qt::CaseInsensitive) == 0)
        return true;
    const auto left = posix::entryAt(existingSpelling(a));
    const auto right = posix::entryAt(existingSpelling(b));
    return left && right && left->st_dev == right->st_dev && left->st_ino == right->st_ino;
}

} // namespace qm::files
