/// \file
/// Checksums of outputs.
#pragma once

#include <QString>

#include <memory>
#include <string_view>

namespace qm {

/// The SHA-256 of bytes that arrive piece by piece.
class Sha256 final
{
public:
    /// \throws RuntimeError 7 when the library has no memory for it.
    Sha256();
    ~Sha256();
    Sha256(const Sha256 &) = delete;
    Sha256 &operator=(const Sha256 &) = delete;

    void update(std::string_view bytes);
    /// The sum of everything so far as 64 lower-case hexadecimal digits. More may follow.
    [[nodiscard]] QString hex() const;

private:
    struct Context;
    std::unique_ptr<Context> m_context;
};

} // namespace qm
