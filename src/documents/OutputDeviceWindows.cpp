#include "core/RuntimeError.h"
#include "documents/OutputDevice.h"
#include "platform/SystemFileWindows.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

#include <windows.h>

namespace qm {

namespace {

constexpr qsizetype kLongestName = 255; ///< characters of one part of a path

[[noreturn]] void fail(std::int32_t number, const QString &what, const QString &path, const QString &why)
{
    raise(number, QStringLiteral("%1 \"%2\": %3").arg(what, QDir::toNativeSeparators(path), why), kFrameworkSource);
}

[[noreturn]] void failWriting(const QString &target, DWORD code)
{
    const bool full = win::classicNumber(code) == err::diskFull;
    const QString advice =
        full ? QStringLiteral("%1. Free some space or choose another folder, then run the report again.") : QStringLiteral("%1.");
    fail(full ? err::diskFull : err::deviceIo, QStringLiteral("The report could not be written to"), target,
         advice.arg(win::systemWords(code)));
}

/// A failure to make or rename an entry of a folder.
[[noreturn]] void failInFolder(const QString &target, DWORD code)
{
    const QString folder = QFileInfo(target).path();
    if (code == ERROR_ACCESS_DENIED || code == ERROR_WRITE_PROTECT)
        fail(err::pathFileAccess, QStringLiteral("The report cannot be written into the folder"), folder,
             QStringLiteral("%1. Choose another folder, or have it made writable.").arg(win::systemWords(code)));
    if (code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION || code == ERROR_USER_MAPPED_FILE)
        fail(err::permissionDenied, QStringLiteral("The report cannot replace"), target,
             QStringLiteral("the file is open in another program. Close it there or choose another name."));
    switch (const std::int32_t number = win::classicNumber(code, err::pathNotFound)) {
    case err::pathNotFound:
        fail(number, QStringLiteral("There is no folder"), folder, QStringLiteral("make it first, or choose another folder."));
    case err::badFileName:
        fail(number, QStringLiteral("The report cannot be named"), target, win::systemWords(code) + u'.');
    default:
        failWriting(target, code);
    }
}

std::wstring native(const QString &path)
{
    return win::native(QFileInfo(path).absoluteFilePath());
}

} // namespace

struct OutputFile::Device::State
{
    QString target;
    bool isThere = false; ///< whether the target is
    win::TemporaryFile temporary;
    DWORD failure = ERROR_SUCCESS;

    explicit State(const QString &name) : target(name) {}
    ~State() = default;
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    void examineTarget();
    void makeTemporary();
    void seek(std::uint64_t offset, DWORD from) const;
    void writeAll(std::string_view bytes);
};

void OutputFile::Device::State::examineTarget()
{
    if (target.isEmpty() || target.contains(QChar(u'\0')) || target.contains(u'*') || target.contains(u'?') || !target.isValidUtf16())
        fail(err::badFileName, QStringLiteral("The report cannot be named"), target, QStringLiteral("give the name of a file."));
    if (QFileInfo(target).fileName().size() > kLongestName)
        failInFolder(target, ERROR_FILENAME_EXCED_RANGE);
    const DWORD attributes = GetFileAttributesW(native(target).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD code = GetLastError();
        if (code != ERROR_FILE_NOT_FOUND)
            failInFolder(target, code);
        return;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        fail(err::pathFileAccess, QStringLiteral("The report cannot replace"), target,
             QStringLiteral("it is a folder. Give the name of a file."));
    }
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        fail(err::permissionDenied, QStringLiteral("The report cannot replace"), target,
             QStringLiteral("the file is read-only. Remove its write protection or choose another name."));
    }
    // A program that has the file open without sharing would make the rename fail after all the work.
    const HANDLE probe = CreateFileW(native(target).c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (probe == INVALID_HANDLE_VALUE)
        failInFolder(target, GetLastError());
    CloseHandle(probe);
    isThere = true;
}

void OutputFile::Device::State::makeTemporary()
{
    const DWORD code = temporary.make(QFileInfo(target).absolutePath(), isThere ? native(target) : std::wstring());
    if (code != ERROR_SUCCESS)
        failInFolder(target, code);
}

void OutputFile::Device::State::seek(std::uint64_t offset, DWORD from) const
{
    LARGE_INTEGER place;
    place.QuadPart = static_cast<LONGLONG>(offset);
    if (SetFilePointerEx(temporary.handle(), place, nullptr, from) == 0)
        failWriting(target, GetLastError());
}

void OutputFile::Device::State::writeAll(std::string_view bytes)
{
    if (failure != ERROR_SUCCESS)
        failWriting(target, failure);
    while (!bytes.empty()) {
        DWORD written = 0;
        const auto part = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), std::size_t{1} << 24));
        if (WriteFile(temporary.handle(), bytes.data(), part, &written, nullptr) == 0) {
            failure = GetLastError();
            failWriting(target, failure);
        }
        bytes.remove_prefix(written);
    }
}

OutputFile::Device::Device(const QString &target) : m_state(std::make_unique<State>(target))
{
    m_state->examineTarget();
    m_state->makeTemporary();
}

OutputFile::Device::~Device() = default;

void OutputFile::Device::append(std::string_view bytes)
{
    m_state->writeAll(bytes);
}

void OutputFile::Device::overwrite(std::uint64_t offset, std::string_view bytes)
{
    m_state->seek(offset, FILE_BEGIN);
    m_state->writeAll(bytes);
    m_state->seek(0, FILE_END);
}

std::size_t OutputFile::Device::read(std::uint64_t offset, char *into, std::size_t size) const
{
    m_state->seek(offset, FILE_BEGIN);
    std::size_t got = 0;
    while (got < size) {
        DWORD part = 0;
        if (ReadFile(m_state->temporary.handle(), into + got, static_cast<DWORD>(size - got), &part, nullptr) == 0)
            failWriting(m_state->target, GetLastError());
        if (part == 0)
            break;
        got += part;
    }
    m_state->seek(0, FILE_END);
    return got;
}

void OutputFile::Device::publish()
{
    State &state = *m_state;
    if (state.failure != ERROR_SUCCESS)
        failWriting(state.target, state.failure);
    const DWORD code = state.temporary.replace(native(state.target), FILE_ATTRIBUTE_NORMAL);
    if (code != ERROR_SUCCESS) {
        state.failure = code;
        failInFolder(state.target, code == ERROR_ACCESS_DENIED ? ERROR_SHARING_VIOLATION : code);
    }
}

} // namespace qm
