/// \file
/// Bytes on disk for as long as one piece of work takes.
#pragma once

#include "platform/TemporaryFiles.h"

#include <QFile>

#include <cstdint>
#include <memory>
#include <span>

namespace qm {

/// A file that only this user can read and that goes with the process however that ends: it has no name once it is open, where the system
/// allows that; elsewhere it lies in a work folder, which is swept later.
class ScratchFile final
{
public:
    /// \p purpose: what failures say the file is for ("the rows in the order of their groups"). \throws RuntimeError 75.
    explicit ScratchFile(QString purpose);

    [[nodiscard]] std::int64_t size() const { return m_size; }
    /// \throws RuntimeError 61 with what to do.
    void append(std::span<const char> bytes);
    /// Fills \p bytes from \p offset on; all of them must be there. \throws RuntimeError 57.
    void read(std::int64_t offset, std::span<char> bytes);

private:
    QString m_purpose, m_folder;
    std::unique_ptr<WorkFolder> m_work; ///< null once the file has no name
    std::unique_ptr<QFile> m_file;      ///< goes before the folder
    std::int64_t m_size = 0;
};

} // namespace qm
