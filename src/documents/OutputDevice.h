/// \file
/// The operating system's side of an OutputFile.
#pragma once

#include "documents/OutputFile.h"

namespace qm {

/// The temporary file beside the target. Every failure is a RuntimeError that names the target and gives the system's words; after a failed
/// write nothing more is written and publish() fails with the same error.
struct OutputFile::Device
{
    /// Checks that \p target can be replaced and makes the temporary file.
    explicit Device(const QString &target);
    /// Removes the temporary file unless it was published.
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    void append(std::string_view bytes);
    void overwrite(std::uint64_t offset, std::string_view bytes);
    /// \returns bytes read, fewer than \p size only at the end.
    [[nodiscard]] std::size_t read(std::uint64_t offset, char *into, std::size_t size) const;
    /// Flushes to the disk and puts the file in the target's place.
    void publish();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
