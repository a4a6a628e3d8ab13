/// \file
/// Syslog files: RFC 5424, RFC 3164 as daemons write it to files, and the same with ISO times.
#pragma once

#include "importing/InputFile.h"
#include "importing/RecordReader.h"

namespace qm {

/// Reads lines such as
///   <34>1 2026-11-20T08:15:00.003Z mail.example.org su 231 ID47 [meta@1 seq="1"] text      (RFC 5424)
///   <34>Nov 20 08:15:00 mail su[231]: text       Nov 20 08:15:00 mail su[231]: text         (RFC 3164)
///   2026-11-20T08:15:00.123456+01:00 mail su[231]: text                                     (the same with an ISO time)
/// The local times of RFC 3164 have neither zone nor year: they are taken in this machine's time zone and in the latest year that puts
/// them no more than a day after the file was last written. A line that begins like none of these continues the message before it.
/// Text that is not UTF-8 is kept with replacement characters, as such files hold whatever programs logged.
class SyslogReader final : public RecordReader
{
public:
    SyslogReader(InputFile &input, const QString &dataSource);

    bool next(EventRecord &record) override;
    [[nodiscard]] long long line() const override { return m_line; }

    /// Whether a line begins like syslog: for telling formats apart.
    [[nodiscard]] static bool looksLike(std::string_view line);

private:
    LineReader m_lines;
    std::string m_dataSource;
    qint64 m_lastWritten;  ///< of the file, milliseconds since 1970
    std::string m_pending; ///< first line of the next record, already read
    long long m_pendingLine = 0, m_line = 0;
};

} // namespace qm
