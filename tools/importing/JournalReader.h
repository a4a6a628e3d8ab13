/// \file
/// The journal's JSON export: `journalctl -o json`, one object a line.
/// Fields: https://www.freedesktop.org/software/systemd/man/systemd.journal-fields.html
#pragma once

#include "importing/InputFile.h"
#include "importing/RecordReader.h"

namespace qm {

/// Reads one journal entry a line. A field may be a text, a list of byte values (text that is not UTF-8), a list of either (set more than
/// once) or null (left out by journalctl for its size; `--all` brings it).
class JournalReader final : public RecordReader
{
public:
    JournalReader(InputFile &input, const QString &dataSource);

    bool next(EventRecord &record) override;
    [[nodiscard]] long long line() const override { return m_lines.lineNumber(); }

private:
    LineReader m_lines;
    std::string m_dataSource;
};

} // namespace qm
