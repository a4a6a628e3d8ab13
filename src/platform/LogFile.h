/// \file
/// A log file that several programs append to at once.
#pragma once

#include <QString>

#include <memory>
#include <string_view>

namespace qm {

/// Appends lines to a file, and moves it aside when it is full: "x.log" becomes "x.1.log", that "x.2.log", and so on. The programs that
/// write the same log take turns, also those of other users of the group that its folder is shared with; one that stands still in its turn
/// holds up the others once, for two seconds. Between two lines no file is open, so a folder that goes away or comes back is noticed.
class LogFile final
{
public:
    /// \p oldFiles is how many full files of about \p fullSize bytes are kept.
    LogFile(QString path, qint64 fullSize, int oldFiles);
    ~LogFile();
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;

    /// \p line with its line end. \returns whether the file could be opened; a line that the disk refuses is lost. What is no file (a pipe,
    /// a device), and a link that neither this user nor the administrator made, is not written to.
    [[nodiscard]] bool append(std::string_view line);

private:
    /// Where the \p number-th old file lies; the log itself for 0.
    [[nodiscard]] QString oldPath(int number) const;

    struct Turns;
    QString m_path;
    qint64 m_fullSize;
    int m_oldFiles;
    std::unique_ptr<Turns> m_turns;
};

} // namespace qm
