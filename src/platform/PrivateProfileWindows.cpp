#include "platform/Registry.h"
#include "platform/SystemFileWindows.h"

#include <QDir>
#include <QFileInfo>
#include <QStringDecoder>

#include <array>

namespace qm {

namespace {

constexpr std::size_t kBufferSize = 255; ///< bytes, with the zero at the end

/// \p text in the machine's code page; null when it does not hold every character, or a zero is in it.
QByteArray inCodePage(const QString &text)
{
    if (text.contains(QChar(u'\0')))
        return {};
    const auto length = static_cast<int>(text.size());
    BOOL lost = FALSE;
    const UINT page = GetACP();
    const bool isUtf8 = page == CP_UTF8; // which takes none of the two arguments about loss
    const DWORD flags = isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS;
    const int size = WideCharToMultiByte(page, flags, win::wide(text), length, nullptr, 0, nullptr, isUtf8 ? nullptr : &lost);
    if (size <= 0 || lost)
        return {};
    QByteArray bytes(size, '\0');
    WideCharToMultiByte(page, flags, win::wide(text), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

/// The file's bytes come through as they are, or in the code page where the file is UTF-16.
QString decoded(const QByteArray &bytes)
{
    QStringDecoder utf8(QStringConverter::Utf8);
    const QString text = utf8(bytes);
    return utf8.hasError() ? QString::fromLocal8Bit(bytes) : text;
}

} // namespace

QString shortProfileString(const QString &path, const QString &section, const QString &key)
{
    // A name without its folder would be looked for in the Windows folder.
    const QByteArray file = inCodePage(QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath()));
    std::array<char, kBufferSize> buffer{};
    if (!file.isEmpty())
        GetPrivateProfileStringA(inCodePage(section).constData(), inCodePage(key).constData(), "", buffer.data(), kBufferSize,
                                 file.constData());
    const QByteArray bytes(buffer.data()); // up to the first zero
    if (!bytes.isEmpty())
        return decoded(bytes);
    // The function finds no file outside the code page, and not the first section behind the mark of UTF-8.
    return privateProfileString(path, section, key).value_or(QString()).left(static_cast<int>(kBufferSize) - 1).section(QChar(u'\0'), 0, 0);
}

} // namespace qm
