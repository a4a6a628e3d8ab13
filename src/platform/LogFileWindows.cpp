#include "platform/LogFile.h"
#include "platform/Sha256.h"
#include "platform/SystemFileWindows.h"

#include <QScopeGuard>

#include <sddl.h>

namespace qm {

namespace {

win::Handle openForAppending(const QString &path)
{
    return win::Handle(CreateFileW(win::native(path).c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                   nullptr));
}

} // namespace

/// A mutex of the log's name. A program that ended in its turn has given it back.
struct LogFile::Turns
{
    static constexpr DWORD kLongestTurnMs = 2000;

    win::Handle mutex;
    bool isStuck = false;

    explicit Turns(const QString &path)
    {
        Sha256 sum;
        sum.update(path.toCaseFolded().toStdString());
        const QString name = QStringLiteral("Global\\quillmark-log-") + sum.hex().first(16);
        // Another user may take part too: SYNCHRONIZE and MUTEX_MODIFY_STATE for everybody who has logged in.
        PSECURITY_DESCRIPTOR users = nullptr;
        ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;0x00100001;;;AU)", SDDL_REVISION_1, &users, nullptr);
        SECURITY_ATTRIBUTES attributes{sizeof attributes, users, FALSE};
        mutex = win::Handle(CreateMutexExW(users ? &attributes : nullptr, win::wide(name), 0, SYNCHRONIZE | MUTEX_MODIFY_STATE));
        LocalFree(users);
    }
    /// \returns whether it is to be given back.
    [[nodiscard]] bool take()
    {
        if (!mutex.isOpen())
            return false;
        const DWORD code = WaitForSingleObject(mutex.get(), isStuck ? 0 : kLongestTurnMs);
        isStuck = code == WAIT_TIMEOUT;
        return code == WAIT_OBJECT_0 || code == WAIT_ABANDONED;
    }
};

LogFile::LogFile(QString path, qint64 fullSize, int oldFiles)
    : m_path(std::move(path)), m_fullSize(fullSize), m_oldFiles(oldFiles), m_turns(std::make_unique<Turns>(m_path))
{
}

LogFile::~LogFile() = default;

bool LogFile::append(std::string_view line)
{
    const bool isMyTurn = m_turns->take();
    const auto end = qScopeGuard([&] {
        if (isMyTurn)
            ReleaseMutex(m_turns->mutex.get());
    });
    win::Handle file = openForAppending(m_path);
    LARGE_INTEGER size{};
    if (isMyTurn && file.isOpen() && GetFileSizeEx(file.get(), &size) && size.QuadPart > 0 &&
        size.QuadPart + static_cast<qint64>(line.size()) > m_fullSize) {
        file.close();
        for (int number = m_oldFiles; number > 0; --number)
            MoveFileExW(win::native(oldPath(number - 1)).c_str(), win::native(oldPath(number)).c_str(), MOVEFILE_REPLACE_EXISTING);
        file = openForAppending(m_path);
    }
    if (!file.isOpen())
        return false;
    DWORD written = 0;
    WriteFile(file.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    return true;
}

} // namespace qm
