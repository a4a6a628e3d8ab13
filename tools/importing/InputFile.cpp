#include "importing/InputFile.h"

#include "importing/ImportError.h"
#include "importing/StandardInput.h"

#include <QDateTime>
#include <QFileInfo>

#include <algorithm>

namespace qm {

namespace {

constexpr qint64 kBlockBytes = 256 * 1024;
constexpr int kStandardInput = 0; ///< as a stream of the C library it would read its end as an error on Windows
constexpr std::size_t kLongestLine = 64UL * 1024 * 1024;

bool isPlain(std::string_view text)
{
    return std::ranges::all_of(text, [](char c) { return c != '\0' && static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

InputFile::InputFile(const QString &path) : m_name(path == QStringLiteral("-") ? QStringLiteral("standard input") : path)
{
    if (path == QStringLiteral("-")) {
        useStandardInputBytes();
        if (!m_file.open(kStandardInput, QIODevice::ReadOnly | QIODevice::Unbuffered))
            failImport(err::deviceIo, QStringLiteral("standard input cannot be read"));
    } else {
        const QFileInfo info(path);
        if (!info.exists())
            failImport(err::fileNotFound, QStringLiteral("%1: there is no such file").arg(path));
        if (info.isDir())
            failImport(err::pathFileAccess, QStringLiteral("%1 is a folder; name the files in it").arg(path));
        m_file.setFileName(path);
        if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
            failImport(err::pathFileAccess, QStringLiteral("%1 cannot be read: %2").arg(path, m_file.errorString()));
    }
    readBlock();
    m_head.swap(m_block);
}

void InputFile::readBlock()
{
    m_block.clear();
    while (m_block.empty()) {
        m_raw.resize(kBlockBytes);
        const qint64 got = m_file.read(m_raw.data(), kBlockBytes);
        if (got < 0)
            failImport(err::deviceIo, QStringLiteral("%1 cannot be read further: %2").arg(m_name, m_file.errorString()));
        if (got == 0)
            return;
        m_raw.truncate(got);
        const bool first = m_bytesRead == 0;
        m_bytesRead += got;
        if (first && m_raw.startsWith("\xEF\xBB\xBF"))
            m_raw.remove(0, 3);
        else if (first && m_raw.startsWith("\xFF\xFE"))
            m_decoder.emplace(QStringDecoder::Utf16LE);
        else if (first && m_raw.startsWith("\xFE\xFF"))
            m_decoder.emplace(QStringDecoder::Utf16BE);
        if (m_decoder) {
            const QString text = m_decoder->decode(m_raw);
            m_block = text.toStdString();
        } else {
            m_block.assign(m_raw.constData(), static_cast<std::size_t>(m_raw.size()));
        }
    }
}

std::string_view InputFile::nextBlock()
{
    if (!m_headTaken) {
        m_headTaken = true;
        return m_head;
    }
    readBlock();
    return m_block;
}

std::optional<double> InputFile::progress() const
{
    const qint64 size = m_file.isSequential() ? 0 : m_file.size();
    if (size <= 0)
        return std::nullopt;
    return std::min(1.0, static_cast<double>(m_bytesRead) / static_cast<double>(size));
}

qint64 InputFile::lastWritten() const
{
    const QDateTime written = m_file.fileName().isEmpty() ? QDateTime() : QFileInfo(m_file.fileName()).lastModified();
    return written.isValid() ? written.toMSecsSinceEpoch() : QDateTime::currentMSecsSinceEpoch();
}

bool LineReader::next(std::string_view &line)
{
    bool joined = false;
    std::string pending;
    while (true) {
        const std::size_t end = m_block.find('\n');
        if (end != std::string_view::npos) {
            line = m_block.substr(0, end);
            if (joined) {
                pending.append(line);
                m_carried.swap(pending);
                line = m_carried;
            }
            m_block.remove_prefix(end + 1);
            break;
        }
        pending.append(m_block);
        joined = true;
        if (pending.size() > kLongestLine) {
            ++m_lineNumber;
            refuseInput(QStringLiteral("the line is longer than 64 MiB; this is not a log file of lines"));
        }
        m_block = m_input.nextBlock();
        if (m_block.empty()) {
            if (pending.empty())
                return false;
            m_carried.swap(pending);
            line = m_carried;
            break;
        }
    }
    ++m_lineNumber;
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return true;
}

bool isUtf8(std::string_view text)
{
    if (isPlain(text))
        return true;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder.decode(QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
    return !decoded.isNull() && !decoder.hasError();
}

std::string repairedText(std::string_view text)
{
    if (isPlain(text))
        return std::string(text);
    QString decoded = toQt(text);
    decoded.replace(QChar(u'\0'), QChar(QChar::ReplacementCharacter));
    return decoded.toStdString();
}

} // namespace qm
