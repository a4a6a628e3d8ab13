/// \file
/// A log file being read, as UTF-8 text in blocks.
#pragma once

#include <QFile>
#include <QString>
#include <QStringDecoder>

#include <optional>
#include <string>
#include <string_view>

namespace qm {

/// Reads a file, or standard input for "-". A byte-order mark is taken off; UTF-16 with a mark arrives as UTF-8.
class InputFile final
{
public:
    /// \throws RuntimeError 53 missing, 75 not readable (a folder, no permission).
    explicit InputFile(const QString &path);

    /// For messages: the path, or "standard input".
    [[nodiscard]] const QString &name() const { return m_name; }
    /// The first block, before nextBlock() gives it: enough to tell formats apart. Empty for an empty file.
    [[nodiscard]] std::string_view head() const { return m_head; }
    /// The next block; empty at the end. Valid until the next call. \throws RuntimeError 57 when reading fails.
    [[nodiscard]] std::string_view nextBlock();

    /// Share of the file read so far, 0 to 1; nothing when its size is not known.
    [[nodiscard]] std::optional<double> progress() const;
    /// Milliseconds since 1970 when the file was last written; now for standard input.
    [[nodiscard]] qint64 lastWritten() const;

private:
    void readBlock();

    QString m_name;
    QFile m_file;
    QByteArray m_raw;
    std::string m_block, m_head;
    std::optional<QStringDecoder> m_decoder; ///< set when the file is UTF-16
    qint64 m_bytesRead = 0;
    bool m_headTaken = false;
};

/// Cuts an input into lines at LF or CRLF. A last line without an end counts.
class LineReader final
{
public:
    explicit LineReader(InputFile &input) : m_input(input) {}

    /// The next line without its end; valid until the next call. \returns false at the end.
    /// \throws RuntimeError 321 for a line longer than 64 MiB.
    bool next(std::string_view &line);
    /// Number of the line last given, from 1.
    [[nodiscard]] long long lineNumber() const { return m_lineNumber; }

private:
    InputFile &m_input;
    std::string_view m_block;
    std::string m_carried; ///< begin of a line that the previous block did not finish
    long long m_lineNumber = 0;
};

/// Whether a text is well-formed UTF-8.
[[nodiscard]] bool isUtf8(std::string_view text);
/// \p text with each malformed part and each NUL replaced by U+FFFD.
[[nodiscard]] std::string repairedText(std::string_view text);

} // namespace qm
